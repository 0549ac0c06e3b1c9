// Who joins the groups and holds the rights where a service has no SID of its own.
#include "tests/services/home_on_node.h"

#include <cstring>

using namespace std::string_literals;

namespace {

using namespace services;

struct Member
{
    const char* khtype;
    const char* executable;
    const char* service;
    const char* user;
    Lines members; // "group: account"
};

constexpr char memberAdded[] = ": member added";

void expectMembers(HomeOnNode& home, const Member& each, const std::string& rightHolder)
{
    SCOPED_TRACE(each.khtype + " "s + each.service + " " + (each.user ? each.user : "nobody"));
    home.recordHome(each.khtype, each.user);
    EXPECT_EQ(home.create({each.executable, each.service}), SSWSE_SUCCESS) << home.rec.message;
    const Lines plan = home.plan();
    const std::string group = "NODE: group ";
    Lines members;
    for (const std::string& line : plan)
        if (const size_t at = line.find(memberAdded); at != std::string::npos)
            members.push_back(line.substr(group.size(), at - group.size()) + line.substr(at + strlen(memberAdded)));
    EXPECT_EQ(members, each.members);
    EXPECT_EQ(plan.back(), "NODE: right SeServiceLogonRight: granted: " + rightHolder);
}

TEST(ServiceMembers, AreTheAccountsWhereTheSidTypeCannotBeSet)
{
    const std::string sids = "KES_H1_SVCSIDS: NT SERVICE\\L";
    const Member cases[] = {
        {"0",
         "keslsnr.exe",
         "L",
         "svc",
         {"KES_MESH_LISTENERS: NT AUTHORITY\\LOCAL SERVICE", "KES_DBA: NT AUTHORITY\\LOCAL SERVICE"}},
        {"0",
         "kestel.exe",
         "KestelMONDBService",
         "NT AUTHORITY\\NETWORK SERVICE",
         {"KES_VLMADMIN: NT AUTHORITY\\NETWORK SERVICE"}},
        {"2", "keslsnr.exe", "L", "svc", {sids, "KES_CLIENT_LISTENERS: NODE\\svc"}},
        {"2", "keslsnr.exe", "L", "CORP\\gmsa$", {sids, "KES_CLIENT_LISTENERS: CORP\\gmsa$"}},
        {"2", "keslsnr.exe", "L", nullptr, {sids, "KES_CLIENT_LISTENERS: NT AUTHORITY\\SYSTEM"}},
        {"2", "keslsnr.exe", "L", "NT AUTHORITY\\LOCAL SERVICE", {sids}},
        {"2", "keslsnr.exe", "L", "NT AUTHORITY\\NETWORK SERVICE", {sids}},
    };
    const support::TemporaryHome library;
    for (const Member& each : cases) {
        HomeOnNode home(library);
        home.fail(failing("ChangeServiceConfig2W", ERROR_ACCESS_DENIED));
        expectMembers(home, each, "NT SERVICE\\"s + each.service);
    }
}

// A domain controller of that age is none to the library: the groups are joined there too.
TEST(ServiceMembers, AreTheAccountsOnReleasesWithoutServiceSids)
{
    for (const BYTE productType : {BYTE{VER_NT_SERVER}, BYTE{VER_NT_DOMAIN_CONTROLLER}}) {
        const support::TemporaryHome library;
        HomeOnNode home(library, nullptr, productType, 5);
        expectMembers(home,
                      {"2",
                       "keslsnr.exe",
                       "L",
                       "CORP\\dbuser",
                       {"KES_H1_SVCSIDS: CORP\\dbuser", "KES_CLIENT_LISTENERS: CORP\\dbuser"}},
                      "CORP\\dbuser");
        PSID sid = &home;
        EXPECT_EQ(EXPORT(sswseGetServiceSID)(&home.rec, "L", &sid, nullptr), SSWSE_FAILURE);
        EXPECT_EQ(messageOf(home.rec),
                  "WSE-000061: Service system identifier (SID) is unsupported on this operating system.");
        EXPECT_EQ(sid, nullptr);
        EXPECT_EQ(home.remove("L"), SSWSE_SUCCESS) << home.rec.message;
        EXPECT_EQ(home.plan(), Lines{"NODE: service L: deleted"}) << "the account stays in the groups";
    }
}

} // namespace
