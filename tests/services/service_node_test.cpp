// Services of a home: created, updated, deleted, asked for their account and their SID.
#include "tests/services/home_on_node.h"
#include "tests/support/guarded_heap.h"
#include "whatif/model/sids.h"

using namespace std::string_literals;

namespace {

using namespace services;
using namespace support;

TEST_F(ServiceOnNode, NeedsAHomeOfAKnownType)
{
    constexpr char noHome[] = "WSE-000052: Unable to determine Kestel home.";
    constexpr char badType[] = "WSE-00008: Unsupported Kestel home type.";
    const struct
    {
        const char* keyFile; // NULL: none
        const char* khtype;  // NULL: none
        DWORD status;
        const char* creating;
        const char* updating;
    } cases[] = {
        {nullptr, "1", 6, noHome, noHome},
        {"X\\KEY_none", "1", 5, "WSE-000010: Unable to open registry key Software\\Kestel\\KEY_none under HKLM.",
         badType},
        {"X\\KEY_keswsec_test", nullptr, 5, "WSE-000048: Unable to query value for KESTEL_HOME_TYPE in registry.",
         badType},
        {"X\\KEY_keswsec_test", "7", 5, badType, ""},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.creating);
        HomeOnNode home(library);
        library.removeKeyFile();
        if (each.keyFile)
            library.writeKeyFile(each.keyFile);
        if (each.khtype)
            home.recordHome(each.khtype, nullptr);
        EXPECT_EQ(home.create({}), each.status);
        EXPECT_EQ(messageOf(home.rec), each.creating);
        EXPECT_FALSE(home.created);
        EXPECT_EQ(home.update("Service1", "other.exe"), each.status);
        EXPECT_EQ(messageOf(home.rec), each.updating);
        EXPECT_EQ(home.plan(), Lines());
    }
}

TEST_F(ServiceOnNode, HasItsDependenciesLookedAtOnceTheManagerIsOpen)
{
    const guarded::Buffer endless(5120, 'x');
    Wanted wanted;
    wanted.dependencies = endless.data();
    HomeOnNode home(library);
    home.recordHome("1", "svc");
    EXPECT_EQ(home.create(wanted), SSWSE_INVALID_ARGUMENT);
    EXPECT_EQ(messageOf(home.rec), "WSE-000012: Null or invalid Dependencies parameter.");
    home.fail(failing("OpenSCManagerW", ERROR_ACCESS_DENIED));
    EXPECT_EQ(home.create(wanted), SSWSE_FAILURE);
    EXPECT_EQ(messageOf(home.rec), "WSE-000011: Cannot open the Windows Service Control Manager.");
    EXPECT_EQ(home.plan(), Lines());
}

TEST_F(ServiceOnNode, HasTheCallersConfiguration)
{
    constexpr DWORD own = SERVICE_WIN32_OWN_PROCESS, kernel = SERVICE_KERNEL_DRIVER;
    constexpr DWORD manual = SERVICE_DEMAND_START;
    const struct
    {
        DWORD type;
        DWORD start;
        const char* startName;
        const wchar_t* account;
        bool isDriver = true;
    } cases[] = {
        {own, manual, "CORP\\other", L".\\svc", false},
        {SERVICE_WIN32_SHARE_PROCESS, SERVICE_AUTO_START, nullptr, L".\\svc", false},
        {kernel, manual, "\\Driver\\kes", L"\\Driver\\kes"},
        {SERVICE_FILE_SYSTEM_DRIVER, manual, "kesfs", L".\\kesfs"},
        {kernel, manual, "", L""},
        {kernel, SERVICE_BOOT_START, nullptr, L""},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(&each - cases);
        HomeOnNode home(library);
        home.recordHome("1", "svc");
        DWORD tag = 99;
        DWORD* const wantsTag = each.start == SERVICE_BOOT_START ? &tag : nullptr;
        EXPECT_EQ(home.create({"other.exe", "Service1", SERVICE_ALL_ACCESS, each.type, each.start, "Base", wantsTag,
                               "Tcpip\0+Group\0", each.startName}),
                  SSWSE_SUCCESS)
            << home.rec.message;
        const whatif::Service& service = *home.service("Service1");
        EXPECT_EQ(service.account, each.account);
        EXPECT_EQ(service.password, each.isDriver ? L"" : L"secret");
        EXPECT_EQ(service.dependencies, (std::vector<std::wstring>{L"Tcpip", L"+Group"}));
        EXPECT_EQ(service.displayName, L"Display");
        EXPECT_EQ(service.loadOrderGroup, L"Base");
        EXPECT_EQ(service.type, each.type);
        EXPECT_EQ(service.start, each.start);
        EXPECT_EQ(service.errorControl, DWORD{SERVICE_ERROR_IGNORE});
        EXPECT_EQ(tag, wantsTag ? 1u : 99u);
        EXPECT_EQ(home.create({"other.exe"}), SSWSE_FAILURE) << "it exists";
        EXPECT_EQ(messageOf(home.rec), "WSE-000057: Unable to create service.");
        EXPECT_FALSE(home.created);
    }
}

// A name that is too long fails behind the creation: the service and its handle are there all the same.
TEST_F(ServiceOnNode, JoinsGroupsThatAreNamedAfterTheHome)
{
    const struct
    {
        std::string name;
        const char* message;
    } cases[] = {
        {"", ""},
        {std::string(240, 'n'), ""},
        {std::string(500, 'n'), "WSE-000028: Unable to create operating system group."},
        {std::string(600, 'n'), "WSE-000048: Unable to query value for KESTEL_HOME_NAME in registry."},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name.size());
        HomeOnNode home(library);
        home.recordHome("1", "KES_H1_SVCACCTS", "V");
        home.record(home.node, "KESTEL_HOME_NAME", each.name.c_str());
        EXPECT_EQ(home.create({"other.exe"}), *each.message ? 3u : 2u);
        EXPECT_EQ(messageOf(home.rec), each.message);
        EXPECT_TRUE(home.created);
        const Lines plan = home.plan();
        if (*each.message)
            EXPECT_EQ(plan.size(), 2u) << "the service and its SID type";
        else
            EXPECT_EQ(plan.back(), "NODE: group KES_" + each.name + "_SVCACCTS: member added: NT SERVICE\\Service1");
    }
}

// A domain controller of that age is none to the library: the groups are joined there too.
TEST_F(ServiceOnNode, HasItsAccountJoinOnReleasesWithoutServiceSids)
{
    for (const BYTE productType : {BYTE{VER_NT_SERVER}, BYTE{VER_NT_DOMAIN_CONTROLLER}}) {
        library.reload(); // and it has not asked for the release yet
        HomeOnNode home(library, nullptr, productType, 5);
        home.recordHome("2", "CORP\\dbuser");
        EXPECT_EQ(home.create({"keslsnr.exe"}), SSWSE_SUCCESS) << home.rec.message;
        Lines plan = home.plan();
        plan.erase(plan.begin(), plan.end() - 5);
        EXPECT_EQ(plan, (Lines{"NODE: group KES_H1_SVCSIDS: created: KESTEL Group",
                               "NODE: group KES_H1_SVCSIDS: member added: CORP\\dbuser",
                               "NODE: group KES_CLIENT_LISTENERS: created: KESTEL Group",
                               "NODE: group KES_CLIENT_LISTENERS: member added: CORP\\dbuser",
                               "NODE: right SeServiceLogonRight: granted: CORP\\dbuser"}));
        PSID sid = &home;
        EXPECT_EQ(EXPORT(sswseGetServiceSID)(&home.rec, "Service1", &sid, nullptr), SSWSE_FAILURE);
        EXPECT_EQ(messageOf(home.rec),
                  "WSE-000061: Service system identifier (SID) is unsupported on this operating system.");
        EXPECT_EQ(sid, nullptr);
        EXPECT_EQ(EXPORT(sswseDeleteService)(&home.rec, nullptr, "Service1"), SSWSE_SUCCESS);
        EXPECT_EQ(home.plan(), Lines{"NODE: service Service1: deleted"}) << "the account stays in the groups";
    }
}

TEST_F(ServiceOnNode, FollowsTheHomesUserWhenUpdated)
{
    HomeOnNode home(library);
    home.recordHome("1", "svc");
    ASSERT_EQ(home.create({}), SSWSE_SUCCESS) << home.rec.message;
    home.plan();
    const std::string service = "NODE: service Service1: ";
    const struct
    {
        const char* user;
        const char* executable;
        Lines plan;
        const wchar_t* password;
    } cases[] = {
        {"SYSTEM",
         "kestel.exe",
         {service + "account: .\\svc -> LocalSystem", "NODE: group KES_VLMADMIN: member added: NT AUTHORITY\\SYSTEM"},
         L""},
        {"CORP\\dbuser", // what the service was given before is not taken away again
         "kesvssw.exe",
         {service + "binary path: C:\\h1\\bin\\kestel.exe -> C:\\h1\\bin\\kesvssw.exe",
          service + "account: LocalSystem -> CORP\\dbuser", service + "password set",
          "NODE: right SeBackupPrivilege: granted: NT SERVICE\\Service1"},
         L"secret"},
        {"CORP\\gmsa$", "kesvssw.exe", {service + "account: CORP\\dbuser -> CORP\\gmsa$"}, L""},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.user);
        home.recordHome("1", each.user);
        EXPECT_EQ(home.update("Service1", each.executable), SSWSE_SUCCESS) << home.rec.message;
        EXPECT_EQ(home.plan(), each.plan);
        EXPECT_EQ(home.service("Service1")->password, each.password);
        EXPECT_EQ(home.service("Service1")->start, DWORD{SERVICE_DEMAND_START});
    }
}

struct ExistingService : support::NodeTest
{
    ExistingService()
    {
        remote.services.emplace_back().name = L"TrustedInstaller"; // whose SID is known
        remote.services.back().account = L"LocalSystem";
    }
};

TEST_F(ExistingService, LeavesItsGroupsLastOneFirstAndGoes)
{
    for (const wchar_t* const group : {L"KES_A", L"KES_B", L"KES_C"})
        addGroup(remote, group, {L"S-1-5-19", whatif::serviceSid(L"TrustedInstaller")});
    addGroup(remote, L"KES_D", {L"S-1-5-19"});
    const std::string removed = ": member removed: NT SERVICE\\TrustedInstaller";
    const auto remove = calling(EXPORT(sswseDeleteService), "DB2", "TrustedInstaller");
    const auto update = calling(EXPORT(sswseUpdateService), "DB2", "TrustedInstaller", "", "", "C:\\other.exe");
    record(remote, "KESTEL_HOME_TYPE", "1");
    expectNodeCases({
        {"remove", remove, 2,
         Lines{"DB2: group KES_C" + removed, "DB2: group KES_B" + removed, "DB2: group KES_A" + removed,
               "DB2: service TrustedInstaller: deleted"}},
        {"remove again", remove, 3, "WSE-000054", ERROR_SERVICE_DOES_NOT_EXIST},
        {"update", update, 3, "WSE-000054", ERROR_SERVICE_DOES_NOT_EXIST},
    });
}

TEST_F(ExistingService, TellsItsAccountAndTheNameOfItsSid)
{
    const char* nodename = "DB2";
    const auto account = [&](auto rec, auto... name) {
        return EXPORT(sswseGetSvcUserForService)(rec, "TrustedInstaller", name..., nodename);
    };
    const auto sidName = [&](auto rec, auto... name) {
        return EXPORT(sswseGetServiceSidName)(rec, "KestelDB", name...);
    };
    expectTexts({{"LocalSystem", account, 12, 2, "LocalSystem", 12}});
    remote.services.back().account = L"";
    remote.services.back().binaryPath.assign(2500, L'b'); // more than half of the 8 KB that may be asked for
    expectTexts({
        {"none", account, 1, 2, "", 1},
        {"none", account, 0, 3, "", untouched, "WSE-000033: Insufficient output buffer for username."},
        {"room to spare", sidName, 20, 2, "NT SERVICE\\KestelDB", 19},
        {"no room to spare", sidName, 19, 3, "", untouched,
         "WSE-000033: Insufficient output buffer for Output buffer for Service Sid String."},
    });
    nodename = nullptr;
    expectTexts(
        {{"not on this machine", account, 9, 3, "", untouched, "WSE-000054: Unable to get a handle to the service."}});
}

TEST_F(ExistingService, HasItsSidWhereItExists)
{
    PSID sid = this;
    const auto get = [&](const char* service, const char* nodename) {
        return calling(EXPORT(sswseGetServiceSID), service, &sid, nodename);
    };
    const std::string endless(2000, 's');
    expectNodeCases({
        {"not here", get("TrustedInstaller", ""), 3, "WSE-000014", ERROR_NONE_MAPPED},
        {"no node", get("TrustedInstaller", "nowhere"), 3, "WSE-000014", RPC_S_SERVER_UNAVAILABLE},
        {"endless", get(endless.c_str(), "DB2"), 3,
         "WSE-000033: Insufficient output buffer for Output buffer for Service Sid String."},
    });
    EXPECT_EQ(sid, nullptr);
    expectNodeCases({{"there", get("trustedinstaller", "DB2"), 2}});
    EXPECT_EQ(whatif::sidText(sid), L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464");
    EXPORT(sswseFreeMemory)(sid);
}

} // namespace
