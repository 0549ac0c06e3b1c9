// What creating a service of a home does to a node: every home type and executable, every kind of service user, with a
// domain controller or not, here and on a remote node.
#include "tests/services/service_of_home.h"

#include <set>

namespace {

using namespace support;
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
    std::string node;
    BYTE productType; // of the machine that the library runs on, wherever the service is
    bool takesSidTypes = true;
};

constexpr char security[] =
    "security: "
    "D:(A;;CCLCSWRPWPDTLOCRRC;;;SY)(A;;CCDCLCSWRPWPDTLOCRSDRCWDWO;;;BA)(A;;CCLCSWLOCRRC;;;IU)(A;;CCLCSWLOCRRC;;;SU)"
    " -> D:(A;;RPWP;;;S-1-5-21-7-7-7-2001)(A;;RPWP;;;S-1-5-21-7-7-7-2002)"
    "(A;;CCLCSWRPWPDTLOCRRC;;;SY)(A;;CCDCLCSWRPWPDTLOCRSDRCWDWO;;;BA)(A;;CCLCSWLOCRRC;;;IU)(A;;CCLCSWLOCRRC;;;SU)";

class Decision : public ServiceOfHome, public testing::WithParamInterface<Place>
{
protected:
    Lines planFor(const Role& role, const std::string& executable, const User& user) const
    {
        Lines lines;
        std::set<std::string> there = {"KES_DBA on NODE", "KES_H1_DBA on NODE"};
        const auto add = [&](const std::string& line) { lines.push_back(place.node + ": " + line); };
        const auto join = [&](const std::string& group, const std::string& member) {
            if (there.insert(group + " on " + place.node).second)
                add("group " + group + ": created: KESTEL Group");
            if (there.insert(group + "/" + member).second)
                add("group " + group + ": member added: " + member);
        };
        const bool isVirtual = *user.kind == 'V';
        const std::string own = "NT SERVICE\\"s + role.service, service = "service "s + role.service + ": ";
        const std::string account = isVirtual ? own : role.account ? role.account : user.account;
        add(service + "created: " + account + ", manual, C:\\h1\\bin\\" + executable);
        if (!role.account && user.hasPassword)
            add(service + "password set");
        const bool hasSid =
            place.takesSidTypes && (role.sidType == ownSid || (role.sidType == ownSidUnlessSystem && !user.isSystem));
        if (hasSid)
            add(service + "SID type: NONE -> UNRESTRICTED");
        add(service + security);
        if (role.khtype == "2"s)
            join("KES_H1_SVCSIDS", own);
        if (isVirtual)
            join("KES_H1_SVCACCTS", own);
        for (const char* const group : isVirtual ? role.virtualGroups : Names())
            join(group, own);
        const std::string member = hasSid                ? own
                                   : account == asSystem ? "NT AUTHORITY\\SYSTEM"
                                   : account[0] == '.'   ? place.node + account.substr(1)
                                                         : account;
        const bool joins = hasSid || role.khtype == "0"s || !user.isOfServices;
        if (place.productType != VER_NT_DOMAIN_CONTROLLER && joins)
            for (const char* const group : role.groups)
                join(group, member);
        for (const char* const right : role.rights)
            add("right "s + right + ": granted: " + own);
        return lines;
    }

    const Place& place = GetParam();
};

TEST_P(Decision, FollowsTheRoleInEveryHomeUnderEveryUser)
{
    local.productType = place.productType;
    const bool isRemote = place.node != "NODE";
    std::vector<whatif::Account>& others = (isRemote ? local : remote).accounts;
    others.erase(others.begin()); // svc is the target's alone
    const whatif::Node freshLocal = local, freshRemote = remote;
    const std::string where = isRemote ? " nodename=" + place.node : "";
    intercept::Fault fault;
    if (!place.takesSidTypes)
        fault = failing("ChangeServiceConfig2W", ERROR_ACCESS_DENIED);
    for (const Role& role : roles)
        for (const char* const executable : role.executables)
            for (const User& user : users) {
                SCOPED_TRACE(role.khtype + " "s + (user.recorded ? user.recorded : "nobody"));
                local = freshLocal;
                remote = freshRemote;
                recordHome(isRemote ? remote : local, role.khtype, user.recorded, user.kind);
                expect(
                    {{creating(role.service, executable) + where, "2 = open", planFor(role, executable, user), fault},
                     {updating(role.service, executable) + where, "2", {}, fault}}); // nothing is changed again
                if (HasFailure())
                    return;
            }
}

INSTANTIATE_TEST_SUITE_P(Services, Decision,
                         testing::Values(Place{"NODE", VER_NT_SERVER}, Place{"DB2", VER_NT_SERVER},
                                         Place{"NODE", VER_NT_SERVER, false}, Place{"NODE", VER_NT_DOMAIN_CONTROLLER},
                                         Place{"DB2", VER_NT_DOMAIN_CONTROLLER}));

} // namespace
