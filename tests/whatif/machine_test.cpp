// What a node that reads this machine sees of it, and that nothing it writes gets there.
#include "tests/machine/place.h"
#include "whatif/model/names.h"
#include "whatif/model/registry.h"

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

TEST_F(WhatIfMachine, SecurityIsReadAndStaysAsItIs)
{
    const RegistryHome home;
    const support::ScratchDirectory scratch;
    machine::Place real(nullptr);
    machine::Place place(&world, library.module());
    for (const std::string& object : {'"' + scratch.path().string() + "\" wtype=1 ptype=6",
                                      std::string("MACHINE\\Software\\Kestel\\KEY_keswsec_test wtype=2 ptype=9")}) {
        const std::string read = "GetNamedSecurityInfo " + object, before = real.answer(read);
        EXPECT_EQ(place.answer(read), before);
        EXPECT_EQ(place.answer("AddACLOnObjectForUser usernames=SYSTEM path=" + object), "2");
        EXPECT_NE(place.answer(read), before);
        EXPECT_EQ(real.answer(read), before);
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
