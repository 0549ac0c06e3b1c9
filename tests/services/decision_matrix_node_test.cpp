// What creating a service of a home does to a node: every home type and executable, every kind of service user, with a
// domain controller or not, here and on a remote node.
#include "tests/services/home_on_node.h"

#include <set>

namespace {

using namespace services;
using namespace std::string_literals;

using Names = std::vector<const char*>;

enum Account
{
    asSystem,
    asLocalService,
    asUser // the home's service user
};

enum SidType
{
    noSid,
    ownSid,
    ownSidUnlessSystem // unless the home's service user is LocalSystem
};

struct Role
{
    const char* khtype;
    const char* executable;
    const char* service;
    Account account;
    SidType sidType;
    Names groups = {};
    Names rights = {};
    Names virtualGroups = {}; // behind the group of service accounts
};

constexpr char logon[] = "SeServiceLogonRight";
constexpr char batch[] = "SeBatchLogonRight";

const Role roles[] = {
    {"0", "kestel.exe", "KestelVLMService", asSystem, noSid, {}, {logon}},
    {"0", "keslsnr.exe", "Listener", asLocalService, ownSid, {"KES_MESH_LISTENERS", "KES_DBA"}, {logon}},
    {"0", "kestel", "kestelMONDBserviceX", asUser, ownSidUnlessSystem, {"KES_VLMADMIN"}, {logon}},
    {"0", "kestel.exe", "Database", asSystem, noSid},
    {"0", "keslsnr.exe", "KestelVLMService", asSystem, noSid},
    {"0", "kesvssw.exe", "Writer", asSystem, noSid},
    {"0", "batchrun.exe", "Batch", asSystem, noSid},
    {"0", "schedsu.exe", "Scheduler", asSystem, noSid},
    {"0", "other.exe", "Other", asSystem, noSid},

    {"1",
     "KESTEL.exe -x",
     "Database",
     asUser,
     ownSidUnlessSystem,
     {"KES_VLMADMIN"},
     {logon, "SeIncreaseBasePriorityPrivilege"},
     {"KES_DBSVCACCTS", "KES_INSTALL", "KES_H1_SVCACCTS", "KES_H1_DBA", "KES_H1_OPER", "KES_H1_SYSBACKUP",
      "KES_H1_SYSRPL", "KES_H1_SYSKM", "KES_VLMDBA"}},
    {"1", "kesvssw.exe", "Writer", asUser, ownSidUnlessSystem, {}, {logon, "SeBackupPrivilege"}},
    {"1", "batchrun.exe", "Batch", asUser, ownSidUnlessSystem, {}, {logon, batch}},
    {"1", "schedsu.exe", "Scheduler", asUser, ownSidUnlessSystem, {}, {logon, batch}},
    {"1", "keslsnr.exe", "Listener", asUser, ownSidUnlessSystem, {}, {logon, batch}, {"KES_INSTALL"}},
    {"1", "kestel.exe", "KestelVLMService", asUser, ownSidUnlessSystem},
    {"1", "kestel.exe", "KestelMONDBService", asUser, ownSidUnlessSystem},
    {"1", "keslsnr.exe", "KestelVLMService", asUser, ownSidUnlessSystem},
    {"1", "other.exe", "Other", asUser, ownSidUnlessSystem},

    {"2", "keslsnr", "Listener", asUser, ownSid, {"KES_CLIENT_LISTENERS"}, {logon}},
    {"2", "schedsu.exe", "Scheduler", asUser, ownSid, {}, {logon, batch}},
    {"2", "kestel.exe", "Database", asUser, ownSid},
    {"2", "kestel.exe", "KestelVLMService", asUser, ownSid},
    {"2", "kestel.exe", "KestelMONDBService", asUser, ownSid},
    {"2", "keslsnr.exe", "KestelVLMService", asUser, ownSid},
    {"2", "kesvssw.exe", "Writer", asUser, ownSid},
    {"2", "batchrun.exe", "Batch", asUser, ownSid},
    {"2", "other.exe", "Other", asUser, ownSid},
};

struct User
{
    const char* recorded; // NULL: none
    const char* kind;
    const char* account; // that the service control manager is given where the user runs the service
    bool hasPassword = false;
    bool isSystem = false;
};

constexpr User users[] = {
    {nullptr, " ", "LocalSystem"},
    {"NT AUTHORITY\\SYSTEM", " ", "LocalSystem", false, true},
    {"NT AUTHORITY\\LOCAL SERVICE", " ", "NT AUTHORITY\\LOCAL SERVICE"},
    {"NT AUTHORITY\\NETWORK SERVICE", " ", "NT AUTHORITY\\NETWORK SERVICE"},
    {"svc", " ", ".\\svc", true},
    {"CORP\\dbuser", " ", "CORP\\dbuser", true},
    {"CORP\\gmsa$", " ", "CORP\\gmsa$"},
    {"KES_H1_SVCACCTS", "V", "its virtual account"},
};

struct Place
{
    const char* nodename;
    const char* node;
    BYTE productType; // of the machine that the library runs on, wherever the service is
};

constexpr char security[] =
    "security: "
    "D:(A;;CCLCSWRPWPDTLOCRRC;;;SY)(A;;CCDCLCSWRPWPDTLOCRSDRCWDWO;;;BA)(A;;CCLCSWLOCRRC;;;IU)(A;;CCLCSWLOCRRC;;;SU)"
    " -> D:(A;;RPWP;;;S-1-5-21-7-7-7-2001)(A;;RPWP;;;S-1-5-21-7-7-7-2002)"
    "(A;;CCLCSWRPWPDTLOCRRC;;;SY)(A;;CCDCLCSWRPWPDTLOCRSDRCWDWO;;;BA)(A;;CCLCSWLOCRRC;;;IU)(A;;CCLCSWLOCRRC;;;SU)";

// The lines of an expected plan.
class Plan
{
public:
    explicit Plan(const Place& place) : node_(place.node)
    {
        if (!place.nodename)
            groups_ = {"KES_DBA", "KES_H1_DBA"};
    }

    void add(const std::string& line) { lines.push_back(node_ + ": " + line); }

    void join(const std::string& group, const std::string& member)
    {
        if (groups_.insert(group).second)
            add("group " + group + ": created: KESTEL Group");
        if (members_.insert(group + "/" + member).second)
            add("group " + group + ": member added: " + member);
    }

    Lines lines;

private:
    std::string node_;
    std::set<std::string> groups_;
    std::set<std::string> members_;
};

Lines expectedPlan(const Role& role, const User& user, const Place& place)
{
    Plan plan(place);
    const bool isVirtual = *user.kind == 'V';
    const std::string own = "NT SERVICE\\"s + role.service;
    const std::string service = "service "s + role.service + ": ";
    std::string account = role.account == asUser ? user.account : "LocalSystem";
    if (role.account == asLocalService)
        account = "NT AUTHORITY\\LOCAL SERVICE";
    plan.add(service + "created: " + (isVirtual ? own : account) + ", manual, C:\\h1\\bin\\" + role.executable);
    if (role.account == asUser && user.hasPassword)
        plan.add(service + "password set");
    const bool hasSid = role.sidType == ownSid || (role.sidType == ownSidUnlessSystem && !user.isSystem);
    if (hasSid)
        plan.add(service + "SID type: NONE -> UNRESTRICTED");
    plan.add(service + security);
    if (role.khtype == "2"s)
        plan.join("KES_H1_SVCSIDS", own);
    if (isVirtual) {
        plan.join("KES_H1_SVCACCTS", own);
        for (const char* const group : role.virtualGroups)
            plan.join(group, own);
    }
    if (place.productType != VER_NT_DOMAIN_CONTROLLER)
        for (const char* const group : role.groups)
            plan.join(group, hasSid ? own : "NT AUTHORITY\\SYSTEM");
    for (const char* const right : role.rights)
        plan.add("right "s + right + ": granted: " + own);
    return plan.lines;
}

void expectCreation(const support::TemporaryHome& library, const Role& role, const User& user, const Place& place)
{
    SCOPED_TRACE("type "s + role.khtype + ", " + role.service + " " + role.executable + " under " +
                 (user.recorded ? user.recorded : "nobody") + " on " + place.node +
                 (place.productType == VER_NT_DOMAIN_CONTROLLER ? ", called on a controller" : ""));
    HomeOnNode home(library, place.nodename, place.productType);
    home.recordHome(role.khtype, user.recorded, user.kind);
    EXPECT_EQ(home.create({role.executable, role.service}), SSWSE_SUCCESS) << home.rec.message;
    EXPECT_TRUE(home.created);
    EXPECT_EQ(home.plan(), expectedPlan(role, user, place));
    const bool password = role.account == asUser && user.hasPassword;
    ASSERT_TRUE(home.service(role.service));
    EXPECT_EQ(home.service(role.service)->password, password ? L"secret" : L"");
    EXPECT_STREQ(home.rec.message, "");

    EXPECT_EQ(home.update(role.service, role.executable), SSWSE_SUCCESS) << home.rec.message;
    EXPECT_EQ(home.plan(), Lines()) << "what is as it should be is not changed again";
}

TEST(ServiceDecision, OfEveryHomeAndUser)
{
    for (const BYTE productType : {BYTE{VER_NT_SERVER}, BYTE{VER_NT_DOMAIN_CONTROLLER}}) {
        const support::TemporaryHome library; // finds out about its machine once
        for (const Place& place : {Place{nullptr, "NODE", productType}, Place{remoteName, "DB2", productType}})
            for (const Role& role : roles)
                for (const User& user : users) {
                    expectCreation(library, role, user, place);
                    if (HasFailure())
                        return;
                }
    }
}

} // namespace
