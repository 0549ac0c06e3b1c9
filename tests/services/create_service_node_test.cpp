// The steps of creating a service of a home: what is passed on, and what is left when one of them fails.
#include "tests/services/home_on_node.h"
#include "tests/support/guarded_heap.h"

using namespace std::string_literals;

namespace {

using namespace services;
using ServiceCreation = ServiceOnNode;

// The steps that left a mark: c the service itself, t its SID type, s its security, i the group of service SIDs, a that
// of service accounts, g other groups, r rights.
std::string stepsOf(const Lines& plan)
{
    const std::pair<const char*, char> marks[] = {{"SID type", 't'},  {"security", 's'}, {"SVCSIDS", 'i'},
                                                  {"SVCACCTS", 'a'},  {"group", 'g'},    {"right", 'r'},
                                                  {": service ", 'c'}};
    std::string steps;
    for (const std::string& line : plan)
        for (const auto& [text, step] : marks)
            if (line.find(text) != std::string::npos) {
                if (steps.empty() || steps.back() != step)
                    steps += step;
                break;
            }
    return steps;
}

TEST_F(ServiceCreation, IgnoresThreeStepsAndStopsAtTheOthers)
{
    constexpr char noGroup[] = "WSE-000028: Unable to create operating system group.";
    const struct
    {
        const char* function; // that fails
        const wchar_t* user;  // that has the name of a group
        DWORD status;
        const char* message;
        const char* steps;
    } cases[] = {
        {nullptr, L"", 2, "", "ctsiagr"},
        {"ChangeServiceConfig2W", L"", 2, "", "csiagr"},
        {"QueryServiceObjectSecurity", L"", 2, "", "ctiagr"},
        {"SetServiceObjectSecurity", L"", 2, "", "ctiagr"},
        {nullptr, L"KES_H1_SVCSIDS", 2, "", "ctsagr"},
        {nullptr, L"KES_H1_SVCACCTS", 3, noGroup, "ctsi"},
        {nullptr, L"KES_CLIENT_LISTENERS", 3, noGroup, "ctsia"},
    };
    for (const auto& each : cases)
        for (const bool updating : {false, true}) {
            SCOPED_TRACE((updating ? "updating, row "s : "creating, row "s) + std::to_string(&each - cases));
            HomeOnNode home(library);
            home.recordHome("2", "KES_H1_SVCACCTS", "v");
            if (updating)
                home.addService("Service1");
            home.node.accounts.emplace_back(home.node.accounts[0]).name = each.user;
            home.fail({0, ERROR_ACCESS_DENIED, each.function});
            EXPECT_EQ(updating ? home.update("Service1", "keslsnr.exe") : home.create({"keslsnr.exe"}), each.status);
            EXPECT_EQ(messageOf(home.rec), each.message);
            EXPECT_EQ(stepsOf(home.plan()), each.steps);
            EXPECT_EQ(home.created, !updating) << "the handle of a service that exists is given out";
        }
}

TEST_F(ServiceCreation, LooksAtTheDependenciesOnceTheManagerIsOpen)
{
    const guarded::Buffer endless(5120, 'x');
    const struct
    {
        const char* function; // that fails
        DWORD status;
        const char* message;
    } cases[] = {
        {"OpenSCManagerW", 3, "WSE-000011: Cannot open the Windows Service Control Manager."},
        {nullptr, 4, "WSE-000012: Null or invalid Dependencies parameter."},
    };
    for (const auto& each : cases) {
        HomeOnNode home(library);
        home.recordHome("1", "svc");
        home.fail({0, ERROR_ACCESS_DENIED, each.function});
        Wanted wanted;
        wanted.dependencies = endless.data();
        EXPECT_EQ(home.create(wanted), each.status);
        EXPECT_EQ(messageOf(home.rec), each.message);
        EXPECT_FALSE(home.created);
        EXPECT_EQ(home.plan(), Lines());
    }
}

TEST_F(ServiceCreation, PassesTheCallersConfigurationOn)
{
    constexpr DWORD own = SERVICE_WIN32_OWN_PROCESS, shared = SERVICE_WIN32_SHARE_PROCESS;
    constexpr DWORD kernel = SERVICE_KERNEL_DRIVER, fileSystem = SERVICE_FILE_SYSTEM_DRIVER;
    constexpr DWORD manual = SERVICE_DEMAND_START;
    using Names = std::vector<std::wstring>;
    DWORD tag = 99;
    const struct
    {
        DWORD type;
        DWORD start;
        const char* startName;
        const wchar_t* account;
        const char* list = nullptr;
        Names dependencies = {};
        const char* group = nullptr;
        DWORD* tag = nullptr;
    } cases[] = {
        {own, manual, "CORP\\other", L".\\svc"},
        {shared, SERVICE_AUTO_START, nullptr, L".\\svc"},
        {own, manual, nullptr, L".\\svc", "Tcpip\0+Group\0", {L"Tcpip", L"+Group"}},
        {own, manual, nullptr, L".\\svc", ""},
        {kernel, manual, "\\Driver\\kes", L"\\Driver\\kes"},
        {fileSystem, manual, "kesfs", L".\\kesfs"},
        {kernel, manual, nullptr, L""},
        {kernel, manual, "", L""},
        {kernel, SERVICE_BOOT_START, nullptr, L"", nullptr, {}, "Base", &tag},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(&each - cases);
        HomeOnNode home(library);
        home.recordHome("1", "svc");
        ASSERT_EQ(home.create({"other.exe", "Service1", SERVICE_ALL_ACCESS, each.type, each.start, each.group, each.tag,
                               each.list, each.startName}),
                  SSWSE_SUCCESS)
            << home.rec.message;
        const whatif::Service& service = *home.service("Service1");
        EXPECT_EQ(service.account, each.account);
        EXPECT_EQ(service.password, each.type == kernel || each.type == fileSystem ? L"" : L"secret");
        EXPECT_EQ(service.dependencies, each.dependencies);
        EXPECT_EQ(service.loadOrderGroup, each.group ? L"Base" : L"");
        EXPECT_EQ(service.tag, each.tag ? 1u : 0u);
        EXPECT_EQ(service.type, each.type);
        EXPECT_EQ(service.start, each.start);
        EXPECT_EQ(service.errorControl, DWORD{SERVICE_ERROR_IGNORE});
    }
    EXPECT_EQ(tag, 1u);
}

TEST_F(ServiceCreation, LetsAdministratorsInWhereItCan)
{
    const struct
    {
        DWORD access;
        const wchar_t* missing; // group
        const char* steps;
    } cases[] = {
        {READ_CONTROL | WRITE_DAC, L"", "cts"},
        {READ_CONTROL, L"", "ct"},
        {WRITE_DAC, L"", "ct"},
        {SERVICE_ALL_ACCESS, L"KES_DBA", "ct"},
        {SERVICE_ALL_ACCESS, L"KES_H1_DBA", "ct"},
    };
    for (const auto& each : cases) {
        HomeOnNode home(library);
        home.recordHome("1", nullptr);
        for (whatif::Group& group : home.node.groups)
            if (group.name == each.missing)
                group.name = L"Renamed";
        EXPECT_EQ(home.create({"other.exe", "Service1", each.access}), SSWSE_SUCCESS) << home.rec.message;
        EXPECT_EQ(stepsOf(home.plan()), each.steps) << &each - cases;
    }
}

TEST_F(ServiceCreation, NamesTheGroupsAfterTheHome)
{
    const struct
    {
        std::string name;
        DWORD status;
        const char* message;
    } cases[] = {
        {"", 2, ""},
        {std::string(240, 'n'), 2, ""},
        {std::string(500, 'n'), 3, "WSE-000028: Unable to create operating system group."},
        {std::string(600, 'n'), 3, "WSE-000048: Unable to query value for KESTEL_HOME_NAME in registry."},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name.size());
        HomeOnNode home(library);
        home.recordHome("1", "KES_H1_SVCACCTS", "V");
        home.record(home.node, "KESTEL_HOME_NAME", each.name.c_str());
        EXPECT_EQ(home.create({"other.exe"}), each.status);
        EXPECT_EQ(messageOf(home.rec), each.message);
        const Lines plan = home.plan();
        if (each.status == SSWSE_SUCCESS)
            EXPECT_EQ(plan.back(), "NODE: group KES_" + each.name + "_SVCACCTS: member added: NT SERVICE\\Service1");
        else
            EXPECT_EQ(stepsOf(plan), "ct");
    }
}

} // namespace
