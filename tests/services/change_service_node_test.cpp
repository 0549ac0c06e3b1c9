// Services of a home that exist: updated, deleted, asked for their account and their SID.
#include "tests/services/home_on_node.h"
#include "whatif/sids.h"

#include <cstring>

using namespace std::string_literals;

namespace {

using namespace services;
using support::untouched;

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
        // What it was given before is not taken away again.
        {"NT AUTHORITY\\SYSTEM",
         "kestel.exe",
         {service + "account: .\\svc -> LocalSystem", "NODE: group KES_VLMADMIN: member added: NT AUTHORITY\\SYSTEM"},
         L""},
        {"NT AUTHORITY\\SYSTEM", "kestel.exe", {}, L""},
        {"CORP\\dbuser",
         "kestel.exe",
         {service + "account: LocalSystem -> CORP\\dbuser", service + "password set"},
         L"secret"},
        {"CORP\\gmsa$", "kestel.exe", {service + "account: CORP\\dbuser -> CORP\\gmsa$"}, L""},
        {"CORP\\gmsa$",
         "kesvssw.exe",
         {service + "binary path: C:\\h1\\bin\\kestel.exe -> C:\\h1\\bin\\kesvssw.exe",
          "NODE: right SeBackupPrivilege: granted: NT SERVICE\\Service1"},
         L""},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.user + " "s + each.executable);
        home.recordHome("1", each.user);
        EXPECT_EQ(home.update("Service1", each.executable), SSWSE_SUCCESS) << home.rec.message;
        EXPECT_EQ(home.plan(), each.plan);
        EXPECT_EQ(home.service("Service1")->password, each.password);
        EXPECT_EQ(home.service("Service1")->start, DWORD{SERVICE_DEMAND_START});
    }
}

// Its SID is in three of four groups.
void addService(HomeOnNode& home)
{
    home.addService("Service1");
    const std::wstring sid = whatif::serviceSid(L"Service1");
    for (const wchar_t* const group : {L"KES_A", L"KES_B", L"KES_C"})
        home.node.groups.push_back({group, L"", L"S-1-5-21-7-7-7-300"s + group[4], {L"S-1-5-19", sid}});
    home.node.groups.push_back({L"KES_D", L"", L"S-1-5-21-7-7-7-4000", {L"S-1-5-19"}});
}

TEST_F(ServiceOnNode, LeavesItsGroupsAndGoes)
{
    const Lines all = {"group KES_C: member removed: NT SERVICE\\Service1",
                       "group KES_B: member removed: NT SERVICE\\Service1",
                       "group KES_A: member removed: NT SERVICE\\Service1", "service Service1: deleted"};
    const struct
    {
        const char* function; // that fails
        DWORD status;
        Lines plan;
    } cases[] = {
        {nullptr, 2, all},
        {"NetUserGetLocalGroups", 2, {all.back()}},
        {"NetLocalGroupDelMembers", 2, {all.back()}},
        {"LookupAccountSidW", 3, {}},
        {"DeleteService", 3, {all.begin(), all.end() - 1}},
    };
    for (const auto& each : cases)
        for (const char* const nodename : {static_cast<const char*>(nullptr), remoteName}) {
            SCOPED_TRACE((each.function ? each.function : "all well") + (nodename ? ", remote"s : ""s));
            HomeOnNode home(library, nodename);
            addService(home);
            home.fail({0, ERROR_ACCESS_DENIED, each.function});
            EXPECT_EQ(home.remove("Service1"), each.status);
            Lines plan = each.plan;
            for (std::string& line : plan)
                line.insert(0, nodename ? "DB2: " : "NODE: ");
            EXPECT_EQ(home.plan(), plan);
            EXPECT_EQ(home.service("Service1") == nullptr, each.status == SSWSE_SUCCESS);
        }
}

TEST_F(ServiceOnNode, TellsItsAccount)
{
    HomeOnNode home(library, remoteName);
    whatif::Service& service = home.addService("Service1");
    const auto query = [&](sswseErrRec* rec, char* name, size_t size, size_t* written) {
        return EXPORT(sswseGetSvcUserForService)(rec, "Service1", name, size, written, home.nodename);
    };
    for (const char* const account : {"LocalSystem", ".\\svc", "NT SERVICE\\Service1", ""}) {
        service.account = std::wstring(account, account + strlen(account));
        const size_t size = strlen(account) + 1;
        support::expectTexts(
            {{account, query, size, 2, account, size},
             {account, query, size - 1, 3, "", untouched, "WSE-000033: Insufficient output buffer for username."}});
    }
    home.nodename = nullptr;
    support::expectTexts(
        {{"not on this machine", query, 9, 3, "", untouched, "WSE-000054: Unable to get a handle to the service."}});
}

TEST_F(ServiceOnNode, HasANameOfItsSidThatNeedsRoomToSpare)
{
    const HomeOnNode home(library);
    const auto nameOf = [&](const char* service) {
        return [=](sswseErrRec* rec, char* name, size_t size, size_t* written) {
            return EXPORT(sswseGetServiceSidName)(rec, service, name, size, written);
        };
    };
    const std::string longName(1200, 's');
    support::expectTexts({
        {"exact", nameOf("KestelDB"), 20, 2, "NT SERVICE\\KestelDB", 19},
        {"short", nameOf("KestelDB"), 19, 3, "", untouched,
         "WSE-000033: Insufficient output buffer for Output buffer for Service Sid String."},
        {"long", nameOf(longName.c_str()), 2000, 2, "NT SERVICE\\" + longName, 1211},
    });
}

TEST_F(ServiceOnNode, HasItsSidWhereItExists)
{
    HomeOnNode home(library, remoteName);
    home.addService("TrustedInstaller");
    const auto sidOf = [&](const char* service, const char* nodename) {
        PSID sid = &home;
        const DWORD status = EXPORT(sswseGetServiceSID)(&home.rec, service, &sid, nodename);
        const std::wstring text = status == SSWSE_SUCCESS ? whatif::sidText(sid) : sid ? L"something" : L"";
        if (status == SSWSE_SUCCESS)
            EXPORT(sswseFreeMemory)(sid);
        return text;
    };
    EXPECT_EQ(sidOf("trustedinstaller", remoteName), L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464");
    EXPECT_EQ(sidOf("TrustedInstaller", ""), L"");
    EXPECT_EQ(messageOf(home.rec), "WSE-000014: Lookup for Windows account name failed.");
    EXPECT_STREQ(home.rec.oserror, "1332");
    EXPECT_EQ(sidOf(std::string(2000, 's').c_str(), remoteName), L"");
    EXPECT_EQ(messageOf(home.rec), "WSE-000033: Insufficient output buffer for Output buffer for Service Sid String.");
    EXPECT_EQ(sidOf("TrustedInstaller", "NOWHERE"), L"");
    EXPECT_STREQ(home.rec.oserror, "1722");
}

} // namespace
