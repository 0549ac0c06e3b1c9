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
    constexpr char noKey[] = "WSE-000010: Unable to open registry key Software\\Kestel\\KEY_none under HKLM.";
    constexpr char noValue[] = "WSE-000048: Unable to query value for KESTEL_HOME_TYPE in registry.";
    // The key file and the home type, if there are any; the messages of a creation and of an update.
    const std::tuple<const char*, const char*, DWORD, const char*, const char*> cases[] = {
        {nullptr, "1", 6, noHome, noHome},
        {"X\\KEY_none", "1", 5, noKey, badType},
        {"X\\KEY_keswsec_test", nullptr, 5, noValue, badType},
        {"X\\KEY_keswsec_test", "7", 5, badType, ""},
    };
    for (const auto& [keyFile, khtype, status, creating, updating] : cases) {
        SCOPED_TRACE(creating);
        HomeOnNode home(library);
        library.removeKeyFile();
        if (keyFile)
            library.writeKeyFile(keyFile);
        if (khtype)
            home.recordHome(khtype, nullptr);
        EXPECT_EQ(home.create({}), status);
        EXPECT_EQ(messageOf(home.rec), creating);
        EXPECT_FALSE(home.created);
        EXPECT_EQ(home.update("Service1", "other.exe"), status);
        EXPECT_EQ(messageOf(home.rec), updating);
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
    home.fail(failing("OpenSCManagerW", ERROR_ACCESS_DENIED));
    EXPECT_EQ(home.create(wanted), SSWSE_FAILURE);
}

TEST_F(ServiceOnNode, HasTheCallersConfiguration)
{
    constexpr DWORD kernel = SERVICE_KERNEL_DRIVER, manual = SERVICE_DEMAND_START;
    const std::tuple<DWORD, DWORD, const char*, const wchar_t*> cases[] = {
        {SERVICE_WIN32_OWN_PROCESS, manual, "CORP\\other", L".\\svc"},
        {SERVICE_WIN32_SHARE_PROCESS, SERVICE_AUTO_START, nullptr, L".\\svc"},
        {kernel, manual, "\\Driver\\kes", L"\\Driver\\kes"},
        {SERVICE_FILE_SYSTEM_DRIVER, manual, "kesfs", L".\\kesfs"},
        {kernel, manual, "", L""},
        {kernel, SERVICE_BOOT_START, nullptr, L""},
    };
    for (const auto& [type, start, startName, account] : cases) {
        HomeOnNode home(library);
        home.recordHome("1", "svc");
        DWORD tag = 99;
        DWORD* const wantsTag = start == SERVICE_BOOT_START ? &tag : nullptr;
        EXPECT_EQ(home.create({"other.exe", "Service1", SERVICE_ALL_ACCESS, type, start, "Base", wantsTag,
                               "Tcpip\0+Group\0", startName}),
                  SSWSE_SUCCESS)
            << home.rec.message;
        const whatif::Service& service = *home.service("Service1");
        EXPECT_EQ(service.account, account);
        EXPECT_EQ(service.password, type & SERVICE_DRIVER ? L"" : L"secret");
        EXPECT_EQ(service.dependencies, (std::vector<std::wstring>{L"Tcpip", L"+Group"}));
        EXPECT_EQ(std::tuple(service.type, service.start), std::tuple(type, start));
        EXPECT_EQ(tag, wantsTag ? 1u : 99u);
    }
}

// A name that is too long fails behind the creation: the service and its handle are there all the same.
TEST_F(ServiceOnNode, JoinsGroupsThatAreNamedAfterTheHome)
{
    for (const auto& [length, message] :
         {std::pair(0, ""),
          {240, ""},
          {500, "WSE-000028: Unable to create operating system group."},
          {600, "WSE-000048: Unable to query value for KESTEL_HOME_NAME in registry."}}) {
        SCOPED_TRACE(length);
        const std::string name(static_cast<size_t>(length), 'n');
        HomeOnNode home(library);
        home.recordHome("1", "KES_H1_SVCACCTS", "V");
        home.record(home.node, "KESTEL_HOME_NAME", name.c_str());
        EXPECT_EQ(home.create({"other.exe"}), *message ? 3u : 2u);
        EXPECT_EQ(messageOf(home.rec), message);
        EXPECT_TRUE(home.created);
        const Lines plan = home.plan();
        if (*message)
            EXPECT_EQ(plan.size(), 2u) << "the service and its SID type";
        else
            EXPECT_EQ(plan.back(), "NODE: group KES_" + name + "_SVCACCTS: member added: NT SERVICE\\Service1");
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
        expectCases({{"SID", calling(EXPORT(sswseGetServiceSID), "Service1", &sid, nullptr), 3, "WSE-000061"},
                     {"delete", calling(EXPORT(sswseDeleteService), nullptr, "Service1"), 2}});
        EXPECT_EQ(sid, nullptr);
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
    const std::tuple<const char*, const char*, Lines, const wchar_t*> cases[] = {
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
    for (const auto& [user, executable, plan, password] : cases) {
        home.recordHome("1", user);
        EXPECT_EQ(home.update("Service1", executable), SSWSE_SUCCESS) << home.rec.message;
        EXPECT_EQ(home.plan(), plan);
        EXPECT_EQ(home.service("Service1")->password, password);
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
    expectNodeCases({{"remove", calling(EXPORT(sswseDeleteService), "DB2", "TrustedInstaller"), 2,
                      Lines{"DB2: group KES_C" + removed, "DB2: group KES_B" + removed, "DB2: group KES_A" + removed,
                            "DB2: service TrustedInstaller: deleted"}}});
}

TEST_F(ExistingService, TellsItsAccountAndTheNameOfItsSid)
{
    const auto account = [&](auto rec, auto... name) {
        return EXPORT(sswseGetSvcUserForService)(rec, "TrustedInstaller", name..., "DB2");
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
}

TEST_F(ExistingService, HasItsSidWhereItExists)
{
    PSID sid = this;
    const auto get = [&](const char* service, const char* nodename) {
        return calling(EXPORT(sswseGetServiceSID), service, &sid, nodename);
    };
    expectNodeCases({{"not here", get("TrustedInstaller", ""), 3, "WSE-000014", ERROR_NONE_MAPPED},
                     {"endless", get(std::string(2000, 's').c_str(), "DB2"), 3, "WSE-000033"}});
    EXPECT_EQ(sid, nullptr);
    expectNodeCases({{"there", get("trustedinstaller", "DB2"), 2}});
    EXPECT_EQ(whatif::sidText(sid), L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464");
    EXPORT(sswseFreeMemory)(sid);
}

} // namespace
