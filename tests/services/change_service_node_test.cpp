// Services of a home that exist: updated, deleted, asked for their account and their SID.
#include "tests/services/home_on_node.h"
#include "tests/support/cases.h"
#include "tests/support/guarded_heap.h"
#include "whatif/sids.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>

using namespace std::string_literals;

namespace {

using namespace services;
using support::messageOf;

class ServiceOnNode : public testing::Test
{
protected:
    support::TemporaryHome library;
};

TEST_F(ServiceOnNode, FollowsTheHomesUserWhenUpdated)
{
    HomeOnNode home(library);
    home.record("1", "svc");
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
        {"CORP\\dbsvc",
         "kestel.exe",
         {service + "account: LocalSystem -> CORP\\dbsvc", service + "password set"},
         L"secret"},
        {"CORP\\gmsa$", "kestel.exe", {service + "account: CORP\\dbsvc -> CORP\\gmsa$"}, L""},
        {"CORP\\gmsa$",
         "kesvssw.exe",
         {service + "binary path: C:\\h1\\bin\\kestel.exe -> C:\\h1\\bin\\kesvssw.exe",
          "NODE: right SeBackupPrivilege: granted: NT SERVICE\\Service1"},
         L""},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.user + " "s + each.executable);
        home.record("1", each.user);
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
    const Lines left = {"group KES_C: member removed: NT SERVICE\\Service1",
                        "group KES_B: member removed: NT SERVICE\\Service1",
                        "group KES_A: member removed: NT SERVICE\\Service1"};
    const Lines gone = {"service Service1: deleted"};
    Lines all = left;
    all.push_back(gone[0]);
    const struct
    {
        const char* denied;
        Denied::Says says;
        DWORD status;
        const char* message;
        Lines plan;
    } cases[] = {
        {nullptr, {}, 2, "", all},
        {"NetUserGetLocalGroups", Denied::result, 2, "", gone},
        {"NetLocalGroupDelMembers", Denied::result, 2, "", gone},
        {"LookupAccountSidW",
         Denied::zero,
         3,
         "WSE-000034: Lookup for Windows account system identifier (SID) failed.",
         {}},
        {"OpenSCManagerW", Denied::zero, 3, "WSE-000011: Cannot open the Windows Service Control Manager.", left},
        {"OpenServiceW", Denied::zero, 3, "WSE-000054: Unable to get a handle to the service.", left},
        {"DeleteService", Denied::zero, 3, "WSE-000056: Unable to delete service.", left},
    };
    for (const auto& each : cases)
        for (const char* const nodename : {static_cast<const char*>(nullptr), remote}) {
            SCOPED_TRACE((each.denied ? each.denied : "all well") + (nodename ? ", remote"s : ""s));
            HomeOnNode home(library, nodename);
            addService(home);
            std::optional<Denied> denied;
            if (each.denied)
                denied.emplace(home, each.denied, each.says);
            EXPECT_EQ(home.remove("Service1"), each.status);
            EXPECT_EQ(messageOf(home.rec), each.message);
            Lines plan = each.plan;
            for (std::string& line : plan)
                line.insert(0, nodename ? "DB2: " : "NODE: ");
            EXPECT_EQ(home.plan(), plan);
            EXPECT_EQ(home.service("Service1") == nullptr, each.status == SSWSE_SUCCESS);
        }
}

TEST_F(ServiceOnNode, CannotBeDeletedTwice)
{
    HomeOnNode home(library);
    home.addService("Service1").deleted = true; // somebody holds a handle
    EXPECT_EQ(home.remove("Service1"), SSWSE_FAILURE);
    EXPECT_EQ(messageOf(home.rec), "WSE-000056: Unable to delete service.");
    EXPECT_STREQ(home.rec.oserror, "1072");
    EXPECT_EQ(home.remove("Service2"), SSWSE_FAILURE);
    EXPECT_EQ(messageOf(home.rec), "WSE-000054: Unable to get a handle to the service.");
    EXPECT_STREQ(home.rec.oserror, "1060");
    EXPECT_EQ(home.plan(), Lines());
}

TEST_F(ServiceOnNode, TellsItsAccount)
{
    HomeOnNode home(library, remote);
    const auto query = EXPORT_OF(library, sswseGetSvcUserForService);
    for (const char* const account : {"LocalSystem", ".\\svc", "NT SERVICE\\Service1", ""}) {
        home.node.services.clear();
        home.addService("Service1").account.assign(account, account + strlen(account));
        const guarded::Buffer exact(strlen(account) + 1);
        size_t written = 0;
        EXPECT_EQ(query(&home.rec, "Service1", exact.data(), exact.size(), &written, remote), SSWSE_SUCCESS);
        EXPECT_STREQ(exact.data(), account);
        EXPECT_EQ(written, exact.size());
        EXPECT_EQ(query(&home.rec, "Service1", exact.data(), exact.size() - 1, &written, remote), SSWSE_FAILURE);
        EXPECT_EQ(messageOf(home.rec), "WSE-000033: Insufficient output buffer for username.");
    }
    char name[16];
    EXPECT_EQ(query(&home.rec, "Service1", name, sizeof name, nullptr, nullptr), SSWSE_FAILURE)
        << "not on this machine";
    const Denied denied(home, "QueryServiceConfigW", Denied::zero);
    EXPECT_EQ(query(&home.rec, "Service1", name, sizeof name, nullptr, remote), SSWSE_FAILURE);
    EXPECT_EQ(messageOf(home.rec), "WSE-000055: Unable to query service details.");
}

TEST_F(ServiceOnNode, HasANameOfItsSidThatNeedsRoomToSpare)
{
    HomeOnNode home(library);
    const auto nameOf = EXPORT_OF(library, sswseGetServiceSidName);
    const std::string expected = "NT SERVICE\\KestelDB";
    const guarded::Buffer name(expected.size() + 1);
    size_t written = 0;
    EXPECT_EQ(nameOf(&home.rec, "KestelDB", name.data(), name.size(), &written), SSWSE_SUCCESS);
    EXPECT_EQ(name.data(), expected);
    EXPECT_EQ(written, expected.size());
    EXPECT_EQ(nameOf(&home.rec, "KestelDB", name.data(), name.size() - 1, &written), SSWSE_FAILURE);
    EXPECT_EQ(messageOf(home.rec), "WSE-000033: Insufficient output buffer for Output buffer for Service Sid String.");
    const guarded::Buffer roomy(2000);
    const std::string longName(1200, 's');
    EXPECT_EQ(nameOf(&home.rec, longName.c_str(), roomy.data(), roomy.size(), &written), SSWSE_SUCCESS);
    EXPECT_EQ(roomy.data(), "NT SERVICE\\" + longName);
}

TEST_F(ServiceOnNode, HasItsSidWhereItExists)
{
    HomeOnNode home(library, remote);
    home.addService("TrustedInstaller");
    const auto sidOf = [&](const char* service, const char* nodename) {
        PSID sid = &home;
        const DWORD status = EXPORT_OF(library, sswseGetServiceSID)(&home.rec, service, &sid, nodename);
        const std::wstring text = status == SSWSE_SUCCESS ? whatif::sidText(sid) : sid ? L"something" : L"";
        if (status == SSWSE_SUCCESS)
            EXPORT_OF(library, sswseFreeMemory)(sid);
        return text;
    };
    EXPECT_EQ(sidOf("trustedinstaller", remote), L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464");
    EXPECT_EQ(sidOf("TrustedInstaller", ""), L"");
    EXPECT_EQ(messageOf(home.rec), "WSE-000014: Lookup for Windows account name failed.");
    EXPECT_STREQ(home.rec.oserror, "1332");
    EXPECT_EQ(sidOf(std::string(2000, 's').c_str(), remote), L"");
    EXPECT_EQ(messageOf(home.rec), "WSE-000033: Insufficient output buffer for Output buffer for Service Sid String.");
    EXPECT_EQ(sidOf("TrustedInstaller", "NOWHERE"), L"");
    EXPECT_STREQ(home.rec.oserror, "1722");
}

} // namespace
