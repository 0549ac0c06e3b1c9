// What a node that reads this machine sees of it, and that nothing it writes gets there; what nodes keep on it.
#include "tests/machine/place.h"
#include "tests/support/program.h"
#include "whatif/model/names.h"
#include "whatif/model/registry.h"

#include <atomic>
#include <set>
#include <thread>

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
    EXPECT_STREQ(real.get("value").c_str(), "real");
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

const std::wstring rootsOfThisProcess = L"keswsec-what-if-" + std::to_wstring(GetCurrentProcessId()) + L"-";

std::set<std::wstring> roots()
{
    std::set<std::wstring> found;
    HKEY software = nullptr;
    RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &software);
    wchar_t name[256];
    for (DWORD i = 0; RegEnumKeyW(software, i, name, 256) == ERROR_SUCCESS; ++i)
        if (std::wstring(name).rfind(rootsOfThisProcess, 0) == 0)
            found.insert(name);
    RegCloseKey(software);
    return found;
}

// The registry that a node has of its own.
TEST(WhatIfRegistry, NodesAndProcessesAreApartAndLeaveNothingBehind)
{
    const std::set<std::wstring> before = roots();
    HKEY key = nullptr; // left by a process that had this one's id
    RegCreateKeyExW(HKEY_CURRENT_USER, (L"Software\\" + rootsOfThisProcess + L"1-1\\NODE").c_str(), 0, nullptr,
                    REG_OPTION_VOLATILE, KEY_READ, nullptr, &key, nullptr);
    RegCloseKey(key);
    EXPECT_EQ(roots().size(), before.size() + 1);
    std::atomic<int> running = 2;
    const auto runOther = [&] {
        const support::Finished other = support::runProgram("--node \"" + support::projectFile("examples/server.ini") +
                                                            "\" CreateSVCEventRegEntry SVCAppKey=a EventMsgFile=b");
        EXPECT_EQ(other.status, 0) << other.output;
        --running;
    };
    std::thread others[] = {std::thread(runOther), std::thread(runOther)};
    while (running) {
        World world(Base::described);
        Registry& registry = world.registry();
        const Node& local = world.local();
        registry.setValue(local, L"SOFTWARE\\Kestel\\KEY_h1", L"KESTEL_HOME_TYPE", registryText(L"1"));
        EXPECT_EQ(registry.value(local, L"software\\kestel\\key_H1", L"kestel_home_type"), registryText(L"1"));
        EXPECT_FALSE(registry.hasKey(world.add(L"db2"), L"SOFTWARE\\Kestel"));
        EXPECT_FALSE(registry.hasKey(local, L"SOFTWARE\\Microsoft"));
    }
    for (std::thread& other : others)
        other.join();
    EXPECT_EQ(roots(), before);
}

} // namespace
