// What creating a service of a home does to a node: every home type and executable, every kind of service user, with a
// domain controller or not, here and on a remote node.
#include "tests/services/home_on_node.h"

#include <set>

namespace {

using namespace services;
using namespace std::string_literals;

using Names = std::vector<const char*>;

constexpr const char* asUser = nullptr; // the home's service user
constexpr char asSystem[] = "LocalSystem";
constexpr char asLocalService[] = "NT AUTHORITY\\LOCAL SERVICE";

enum SidType
{
    noSid,
    ownSid,
    ownSidUnlessSystem // unless the home's service user is LocalSystem
};

struct Role
{
    const char* khtype;
    Names executables;
    const char* service;
    const char* account;
    SidType sidType;
    Names groups = {};
    Names rights = {};
    Names virtualGroups = {}; // behind the group of service accounts
};

constexpr char logon[] = "SeServiceLogonRight";
constexpr char batch[] = "SeBatchLogonRight";

const Role roles[] = {
    {"0", {"kestel.exe"}, "KestelVLMService", asSystem, noSid, {}, {logon}},
    {"0", {"keslsnr.exe"}, "Listener", asLocalService, ownSid, {"KES_MESH_LISTENERS", "KES_DBA"}, {logon}},
    {"0", {"kestel"}, "kestelMONDBserviceX", asUser, ownSidUnlessSystem, {"KES_VLMADMIN"}, {logon}},
    {"0", {"kestel.exe", "kesvssw.exe", "batchrun.exe", "schedsu.exe", "other.exe"}, "Other", asSystem, noSid},
    {"0", {"keslsnr.exe"}, "KestelVLMService", asSystem, noSid},

    {"1",
     {"KESTEL.exe -x"},
     "Database",
     asUser,
     ownSidUnlessSystem,
     {"KES_VLMADMIN"},
     {logon, "SeIncreaseBasePriorityPrivilege"},
     {"KES_DBSVCACCTS", "KES_INSTALL", "KES_H1_SVCACCTS", "KES_H1_DBA", "KES_H1_OPER", "KES_H1_SYSBACKUP",
      "KES_H1_SYSRPL", "KES_H1_SYSKM", "KES_VLMDBA"}},
    {"1", {"kesvssw.exe"}, "Writer", asUser, ownSidUnlessSystem, {}, {logon, "SeBackupPrivilege"}},
    {"1", {"batchrun.exe", "schedsu.exe"}, "Batch", asUser, ownSidUnlessSystem, {}, {logon, batch}},
    {"1", {"keslsnr.exe"}, "Listener", asUser, ownSidUnlessSystem, {}, {logon, batch}, {"KES_INSTALL"}},
    {"1", {"kestel.exe", "keslsnr.exe"}, "KestelVLMService", asUser, ownSidUnlessSystem},
    {"1", {"kestel.exe", "other.exe"}, "KestelMONDBService", asUser, ownSidUnlessSystem},

    {"2", {"keslsnr"}, "Listener", asUser, ownSid, {"KES_CLIENT_LISTENERS"}, {logon}},
    {"2", {"schedsu.exe"}, "Scheduler", asUser, ownSid, {}, {logon, batch}},
    {"2", {"kestel.exe", "kesvssw.exe", "batchrun.exe", "other.exe"}, "Other", asUser, ownSid},
    {"2", {"kestel.exe", "keslsnr.exe"}, "KestelVLMService", asUser, ownSid},
    {"2", {"kestel.exe"}, "KestelMONDBService", asUser, ownSid},
};

struct User
{
    const char* recorded; // NULL: none
    const char* kind;
    const char* account; // that the service control manager is given where the user runs the service
    bool hasPassword = false;
    bool isSystem = false;
    bool isOfServices = false; // LocalService and NetworkService join no groups themselves
};

constexpr User users[] = {
    {nullptr, " ", "LocalSystem"},
    {"NT AUTHORITY\\SYSTEM", " ", "LocalSystem", false, true},
    {"NT AUTHORITY\\LOCAL SERVICE", " ", "NT AUTHORITY\\LOCAL SERVICE", false, false, true},
    {"NT AUTHORITY\\NETWORK SERVICE", " ", "NT AUTHORITY\\NETWORK SERVICE", false, false, true},
    {"svc", " ", ".\\svc", true},
    {"CORP\\dbuser", " ", "CORP\\dbuser", true},
    {"CORP\\gmsa$", " ", "CORP\\gmsa$"},
    {"KES_H1_SVCACCTS", "V", ""},
};

struct Place
{
    const char* nodename; // NULL: this machine
    BYTE productType;     // of the machine that the library runs on, wherever the service is
    bool takesSidTypes = true;

    std::string name() const { return nodename ? nodename : "NODE"; }
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
    explicit Plan(const Place& place) : node_(place.name())
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

// Who joins the groups where a service has no SID of its own.
std::string accountMember(const std::string& account, const Place& place)
{
    if (account == asSystem)
        return "NT AUTHORITY\\SYSTEM";
    return account[0] == '.' ? place.name() + account.substr(1) : account;
}

Lines expectedPlan(const Role& role, const char* executable, const User& user, const Place& place)
{
    Plan plan(place);
    const bool isVirtual = *user.kind == 'V';
    const std::string own = "NT SERVICE\\"s + role.service;
    const std::string service = "service "s + role.service + ": ";
    const std::string account = isVirtual ? own : role.account ? role.account : user.account;
    plan.add(service + "created: " + account + ", manual, C:\\h1\\bin\\" + executable);
    if (!role.account && user.hasPassword)
        plan.add(service + "password set");
    const bool hasSid =
        place.takesSidTypes && (role.sidType == ownSid || (role.sidType == ownSidUnlessSystem && !user.isSystem));
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
    const bool joins = hasSid || role.khtype == "0"s || !user.isOfServices;
    if (place.productType != VER_NT_DOMAIN_CONTROLLER && joins)
        for (const char* const group : role.groups)
            plan.join(group, hasSid ? own : accountMember(account, place));
    for (const char* const right : role.rights)
        plan.add("right "s + right + ": granted: " + own);
    return plan.lines;
}

void expectCreation(const support::TemporaryHome& library, const Role& role, const char* executable, const User& user,
                    const Place& place)
{
    SCOPED_TRACE(
        testing::PrintToString(std::tuple(role.khtype, role.service, executable, user.recorded, place.name(),
                                          place.productType == VER_NT_DOMAIN_CONTROLLER, place.takesSidTypes)));
    HomeOnNode home(library, place.nodename, place.productType);
    home.recordHome(role.khtype, user.recorded, user.kind);
    if (!place.takesSidTypes)
        home.fail(failing("ChangeServiceConfig2W", ERROR_ACCESS_DENIED));
    EXPECT_EQ(home.create({executable, role.service}), SSWSE_SUCCESS) << home.rec.message;
    EXPECT_TRUE(home.created);
    EXPECT_EQ(home.plan(), expectedPlan(role, executable, user, place));
    EXPECT_STREQ(home.rec.message, "");

    EXPECT_EQ(home.update(role.service, executable), SSWSE_SUCCESS) << home.rec.message;
    EXPECT_EQ(home.plan(), Lines()) << "what is as it should be is not changed again";
}

TEST(ServiceDecision, FollowsTheRoleInEveryHomeUnderEveryUser)
{
    for (const Place& place :
         {Place{nullptr, VER_NT_SERVER}, Place{remoteName, VER_NT_SERVER}, Place{nullptr, VER_NT_SERVER, false},
          Place{nullptr, VER_NT_DOMAIN_CONTROLLER}, Place{remoteName, VER_NT_DOMAIN_CONTROLLER}}) {
        const support::TemporaryHome library; // finds out about its machine once
        for (const Role& role : roles)
            for (const char* const executable : role.executables)
                for (const User& user : users) {
                    expectCreation(library, role, executable, user, place);
                    if (HasFailure())
                        return;
                }
    }
}

} // namespace
