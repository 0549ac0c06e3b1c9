// The steps of creating a service of a home: what is passed on, and what is left when one of them fails.
#include "tests/services/home_on_node.h"
#include "tests/support/cases.h"
#include "tests/support/guarded_heap.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>

using namespace std::string_literals;

namespace {

using namespace services;
using support::messageOf;

class ServiceCreation : public testing::Test
{
protected:
    support::TemporaryHome library;
};

void addUser(HomeOnNode& home, const char* name)
{
    whatif::Account user;
    user.name.assign(name, name + strlen(name));
    user.sid = L"S-1-5-21-9-9-9-2000";
    home.node.accounts.push_back(user);
}

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
    const std::optional<Denied::Says> user; // that has the name of a group
    const struct
    {
        const char* inTheWay;
        std::optional<Denied::Says> says;
        DWORD status;
        const char* message;
        const char* steps;
    } cases[] = {
        {"", user, 2, "", "ctsiagr"},
        {"ChangeServiceConfig2W", Denied::zero, 2, "", "csiagr"},
        {"QueryServiceObjectSecurity", Denied::zero, 2, "", "ctiagr"},
        {"SetEntriesInAclA", Denied::result, 2, "", "ctiagr"},
        {"SetServiceObjectSecurity", Denied::zero, 2, "", "ctiagr"},
        {"KES_H1_SVCSIDS", user, 2, "", "ctsagr"},
        {"KES_H1_SVCACCTS", user, 3, noGroup, "ctsi"},
        {"KES_CLIENT_LISTENERS", user, 3, noGroup, "ctsia"},
        {"LsaAddAccountRights", Denied::ntStatus, 3, "WSE-000041: Unable to grant privilege to user.", "ctsiag"},
    };
    for (const auto& each : cases)
        for (const bool updating : {false, true}) {
            SCOPED_TRACE((updating ? "updating, in the way: "s : "creating, in the way: "s) + each.inTheWay);
            HomeOnNode home(library);
            home.record("2", "KES_H1_SVCACCTS", "v");
            if (updating)
                home.addService("Service1");
            std::optional<Denied> denied;
            if (each.says)
                denied.emplace(home, each.inTheWay, *each.says);
            else
                addUser(home, each.inTheWay);
            Wanted wanted;
            wanted.executable = "keslsnr.exe";
            EXPECT_EQ(updating ? home.update("Service1", "keslsnr.exe") : home.create(wanted), each.status);
            EXPECT_EQ(messageOf(home.rec), each.message);
            EXPECT_EQ(stepsOf(home.plan()), each.steps);
            EXPECT_EQ(home.created, !updating) << "the handle of a service that exists is given out";
        }
}

TEST_F(ServiceCreation, FailingEarlyLeavesTheNodeAsItWas)
{
    const guarded::Buffer endless(5120, 'x');
    const struct
    {
        const char* denied; // a function of the platform
        const char* dependencies;
        const char* nodename;
        const char* existing; // service
        DWORD status;
        const char* message;
        const char* osError;
    } cases[] = {
        {"OpenSCManagerW", endless.data(), nullptr, "", 3,
         "WSE-000011: Cannot open the Windows Service Control Manager.", "5"},
        {nullptr, endless.data(), nullptr, "", 4, "WSE-000012: Null or invalid Dependencies parameter.", ""},
        {"CreateServiceW", nullptr, nullptr, "", 3, "WSE-000057: Unable to create service.", "5"},
        {nullptr, nullptr, nullptr, "service1", 3, "WSE-000057: Unable to create service.", "1073"},
        {nullptr, nullptr, "NOWHERE", "", 5, "WSE-000044: Unable to open registry on remote node.", "53"},
        {"OpenServiceW", nullptr, nullptr, "Service1", 3, "WSE-000054: Unable to get a handle to the service.", "5"},
        {"ChangeServiceConfigW", nullptr, nullptr, "Service1", 3, "WSE-000058: Unable to update service.", "5"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.message);
        HomeOnNode home(library);
        home.record("1", "svc");
        home.nodename = each.nodename;
        home.addService(each.existing);
        std::optional<Denied> denied;
        if (each.denied)
            denied.emplace(home, each.denied, Denied::zero);
        Wanted wanted;
        wanted.dependencies = each.dependencies;
        const bool updating = each.existing == "Service1"s;
        EXPECT_EQ(updating ? home.update("Service1", "kestel.exe") : home.create(wanted), each.status);
        EXPECT_EQ(messageOf(home.rec), each.message);
        EXPECT_STREQ(home.rec.oserror, each.osError);
        EXPECT_FALSE(home.created);
        EXPECT_EQ(home.plan(), Lines());
    }
}

TEST_F(ServiceCreation, PassesTheCallersConfigurationOn)
{
    const auto with = [](auto change) {
        Wanted wanted;
        wanted.executable = "other.exe";
        change(wanted);
        return wanted;
    };
    const auto driver = [&](DWORD type, const char* startName) {
        return with([&](Wanted& w) { w.type = type, w.startName = startName; });
    };
    using Names = std::vector<std::wstring>;
    DWORD tag = 99;
    const struct
    {
        Wanted wanted;
        const wchar_t* account;
        Names dependencies = {};
        const wchar_t* group = L"";
        DWORD tag = 0;
    } cases[] = {
        {with([](Wanted& w) { w.startName = "CORP\\other"; }), L".\\svc"},
        {with([](Wanted& w) { w.type = SERVICE_WIN32_SHARE_PROCESS, w.start = SERVICE_AUTO_START; }), L".\\svc"},
        {with([](Wanted& w) { w.dependencies = "Tcpip\0+Group\0"; }), L".\\svc", {L"Tcpip", L"+Group"}},
        {with([](Wanted& w) { w.dependencies = ""; }), L".\\svc"},
        {driver(SERVICE_KERNEL_DRIVER, "\\Driver\\kes"), L"\\Driver\\kes"},
        {driver(SERVICE_FILE_SYSTEM_DRIVER, "kesfs"), L".\\kesfs"},
        {driver(SERVICE_KERNEL_DRIVER, nullptr), L""},
        {driver(SERVICE_KERNEL_DRIVER, ""), L""},
        {with([&](Wanted& w) {
             w.type = SERVICE_KERNEL_DRIVER, w.start = SERVICE_BOOT_START, w.loadOrderGroup = "Base", w.tag = &tag;
         }),
         L"",
         {},
         L"Base",
         1},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(&each - cases);
        HomeOnNode home(library);
        home.record("1", "svc");
        ASSERT_EQ(home.create(each.wanted), SSWSE_SUCCESS) << home.rec.message;
        const whatif::Service& service = *home.service("Service1");
        EXPECT_EQ(service.account, each.account);
        const bool isDriver =
            each.wanted.type == SERVICE_KERNEL_DRIVER || each.wanted.type == SERVICE_FILE_SYSTEM_DRIVER;
        EXPECT_EQ(service.password, isDriver ? L"" : L"secret");
        EXPECT_EQ(service.dependencies, each.dependencies);
        EXPECT_EQ(service.loadOrderGroup, each.group);
        EXPECT_EQ(service.tag, each.tag);
        EXPECT_EQ(service.type, each.wanted.type);
        EXPECT_EQ(service.start, each.wanted.start);
        EXPECT_EQ(service.errorControl, DWORD{SERVICE_ERROR_IGNORE});
    }
    EXPECT_EQ(tag, 1u);
}

TEST_F(ServiceCreation, LetsAdministratorsInWhereItCan)
{
    const auto securityOf = [&](DWORD access, const wchar_t* missing) {
        HomeOnNode home(library);
        home.record("1", nullptr);
        for (whatif::Group& group : home.node.groups)
            if (group.name == missing)
                group.name = L"Renamed";
        Wanted wanted;
        wanted.access = access;
        wanted.executable = "other.exe";
        EXPECT_EQ(home.create(wanted), SSWSE_SUCCESS) << home.rec.message;
        return stepsOf(home.plan());
    };
    EXPECT_EQ(securityOf(READ_CONTROL | WRITE_DAC, L""), "cts");
    EXPECT_EQ(securityOf(READ_CONTROL, L""), "ct");
    EXPECT_EQ(securityOf(WRITE_DAC, L""), "ct");
    EXPECT_EQ(securityOf(SERVICE_ALL_ACCESS, L"KES_DBA"), "ct");
    EXPECT_EQ(securityOf(SERVICE_ALL_ACCESS, L"KES_H1_DBA"), "ct");
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
        home.record("1", "KES_H1_SVCACCTS", "V");
        home.set(home.node, "KESTEL_HOME_NAME", each.name.c_str());
        Wanted wanted;
        wanted.executable = "other.exe";
        EXPECT_EQ(home.create(wanted), each.status);
        EXPECT_EQ(messageOf(home.rec), each.message);
        const Lines plan = home.plan();
        if (each.status == SSWSE_SUCCESS)
            EXPECT_EQ(plan.back(), "NODE: group KES_" + each.name + "_SVCACCTS: member added: NT SERVICE\\Service1");
        else
            EXPECT_EQ(stepsOf(plan), "ct");
    }
}

} // namespace
