// What a node that reads this machine sees of it, and that nothing it writes gets there.
#include "frame/owned.h"
#include "tests/machine/place.h"
#include "whatif/model/names.h"
#include "whatif/model/registry.h"
#include "whatif/security/descriptors.h"

#include <aclapi.h>

namespace {

using namespace whatif;
using support::RegistryHome;

struct WhatIfMachine : testing::Test
{
    support::TemporaryHome library;
    World world{Base::thisMachine};
    Redirection redirection{library.module(), world};
    Node& node = world.local();
};

TEST_F(WhatIfMachine, NamesAreReadAndGroupsStayInTheNode)
{
    EXPECT_EQ(resolve(node, L"Everyone").value_or(Name()).sid, L"S-1-1-0");
    EXPECT_FALSE(resolve(node, L"no such account"));
    EXPECT_EQ(EXPORT(sswseCreateOSGroup)(nullptr, "KES_DBA", nullptr, nullptr), DWORD{SSWSE_SUCCESS});
    EXPECT_EQ(printableName(node, resolve(node, L"KES_DBA")->sid), node.name + L"\\KES_DBA");
}

TEST_F(WhatIfMachine, RegistryIsReadAndStaysAsItIs)
{
    const RegistryHome real;
    real.set("value", "real");
    Registry& registry = world.registry();
    const std::wstring parent = L"SOFTWARE\\Kestel";
    const std::wstring path = parent + L"\\KEY_keswsec_test";
    EXPECT_TRUE(registry.value(node, path, L"VALUE"));
    EXPECT_EQ(EXPORT(sswseSetKestelHomeType)(nullptr, "KEY_keswsec_test", "1", nullptr), DWORD{SSWSE_SUCCESS});
    EXPECT_EQ(registry.value(node, path, L"KESTEL_HOME_TYPE"), registryText(L"1"));
    EXPECT_EQ(registry.remove({&node, parent}), ERROR_ACCESS_DENIED); // it has a subkey
    EXPECT_EQ(registry.remove({&node, path}), ERROR_SUCCESS);
    EXPECT_EQ(registry.remove({&node, path}), ERROR_FILE_NOT_FOUND);
    registry.createKey(node, path);
    EXPECT_FALSE(registry.value(node, path, L"value")); // new, not the old one
    EXPECT_EQ(registry.remove({&node, path}), ERROR_SUCCESS);
    EXPECT_EQ(registry.remove({&node, parent}), ERROR_SUCCESS); // its subkey is gone
    EXPECT_EQ(real.get("value"), "real");
    EXPECT_EQ(real.get("KESTEL_HOME_TYPE"), "no value");
}

std::wstring realSecurity(const std::wstring& object, SE_OBJECT_TYPE type)
{
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    GetNamedSecurityInfoW(object.c_str(), type, DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr, nullptr,
                          &descriptor);
    const owned::Local<void> owner(descriptor);
    return descriptor ? textOf(securityOf(descriptor)) : L"none";
}

TEST_F(WhatIfMachine, SecurityIsReadAndStaysAsItIs)
{
    const RegistryHome home;
    const support::ScratchDirectory scratch;
    const std::string key = "MACHINE\\Software\\Kestel\\KEY_keswsec_test";
    char user[] = "SYSTEM";
    char* users[] = {user};
    for (const auto& [path, wtype, ptype, type] :
         {std::tuple(scratch.path().string(), 1u, 6, SE_FILE_OBJECT), {key, 2u, 9, SE_REGISTRY_KEY}}) {
        const std::wstring object(path.begin(), path.end());
        const std::wstring before = realSecurity(object, type);
        sswseErrRec rec;
        world.clearPlan();
        EXPECT_EQ(EXPORT(sswseAddACLOnObjectForUser)(&rec, wtype, path.c_str(), users, 1, ptype, 0),
                  DWORD{SSWSE_SUCCESS})
            << rec.message;
        ASSERT_EQ(world.plan().size(), 1u);
        EXPECT_NE(world.plan()[0].before.text.find(before), std::wstring::npos);
        EXPECT_EQ(realSecurity(object, type), before);
    }
}

TEST_F(WhatIfMachine, ServicesAreReadAndStayAsTheyAre)
{
    machine::Place real(nullptr);
    machine::Place place(&world, library.module());
    const std::string asMade = "16 3 1 0 [C:\\kwt\\kwt.exe -x][][LocalSystem][{Real}]";
    const std::tuple<machine::Place*, const char*, std::string> steps[] = {
        {&real, "CreateService {service} display={Real} as=real", "0"},
        {&place, "CreateService {service}", "1073"},
        {&place, "CreateService {none} display={REAL}", "1078"},
        {&place, "OpenService {service} access=0xF01FF as=read", "0"},
        {&place, "QueryServiceConfig read", asMade},
        {&place, "ChangeServiceConfig read display={Node}", "0"},
        {&place, "QueryServiceConfig read", "16 3 1 0 [C:\\kwt\\kwt.exe -x][][LocalSystem][{Node}]"},
        {&place, "DeleteService read", "0"},
        {&place, "CloseServiceHandle read", "0"},
        {&place, "OpenService {service}", "1060"},
        {&place, "CreateService {service}", "0"},
        {&real, "QueryServiceConfig real", asMade},
    };
    for (const auto& [where, call, answer] : steps)
        EXPECT_EQ(where->answer(call), answer) << call;
}

} // namespace
