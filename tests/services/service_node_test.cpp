// Services of a home. What creating one does to a node: every home type and executable, every kind of service user,
// with a domain controller or not, here and on a remote node. Then updated, deleted, asked for their account and their
// SID.
#include "tests/support/guarded_heap.h"
#include "tests/support/node_test.h"
#include "whatif/model/registry.h"
#include "whatif/model/sids.h"

#include <set>

namespace {

using namespace support;
using namespace std::string_literals;

// A home of one of the nodes, the target of the calls. On this machine the administrators' groups exist, which services
// let in.
class ServiceOfHome : public NodeTest
{
protected:
    ServiceOfHome()
    {
        local.groups.push_back({L"KES_DBA", L"", L"S-1-5-21-7-7-7-2001", {}});
        local.groups.push_back({L"KES_H1_DBA", L"", L"S-1-5-21-7-7-7-2002", {}});
    }

    // What the target's registry says of the home; NULL for none.
    void recordHome(whatif::Node& target, const char* khtype, const char* user, const char* userType = " ")
    {
        world.registry().remove({&target, L"SOFTWARE\\Kestel\\KEY_keswsec_test"});
        if (&target != &local)
            record(local, "KESTEL_HOME_TYPE", "7");
        record(target, "KESTEL_HOME_NAME", "WRONG"); // the name is this machine's to tell, the rest the target's
        record(local, "KESTEL_HOME_NAME", "H1");
        if (khtype)
            record(target, "KESTEL_HOME_TYPE", khtype);
        record(target, "KESTEL_SVCUSER_TYPE", userType);
        if (user)
            record(target, "KESTEL_SVCUSER", user);
        guarded::sweep(); // there are many homes in a test
    }
};

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

// What creating a service does to the node.
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
    local.major = 6; // and minor 1: the first release with virtual accounts
    local.minor = 1;
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
                const std::string words = "Service servicename="s + role.service + where +
                                          " password=secret binpath=\"C:\\h1\\bin\\" + executable + '"';
                expect({{"Create" + words + " starttype=3", "2 = open", planFor(role, executable, user), fault},
                        {"Update" + words, "2", {}, fault}}); // nothing is changed again
                if (HasFailure())
                    return;
            }
}

INSTANTIATE_TEST_SUITE_P(Services, Decision,
                         testing::Values(Place{"NODE", VER_NT_SERVER}, Place{"DB2", VER_NT_SERVER},
                                         Place{"NODE", VER_NT_SERVER, false}, Place{"NODE", VER_NT_DOMAIN_CONTROLLER},
                                         Place{"DB2", VER_NT_DOMAIN_CONTROLLER}));

const std::string create = "CreateService servicename=Service1 starttype=3 password=secret binpath=C:\\h1\\bin\\";
const std::string update = "UpdateService servicename=Service1 password=secret binpath=C:\\h1\\bin\\";

TEST_F(ServiceOfHome, NeedsAHomeOfAKnownType)
{
    constexpr char noHome[] = "6 WSE-000052: Unable to determine Kestel home.";
    constexpr char badType[] = "5 WSE-00008: Unsupported Kestel home type.";
    constexpr char noKey[] = "5 WSE-000010: Unable to open registry key Software\\Kestel\\KEY_none under HKLM. 2";
    constexpr char noValue[] = "5 WSE-000048: Unable to query value for KESTEL_HOME_TYPE in registry. 2";
    // The key file and the home type, if there is one; the answers of a creation and of an update.
    const std::tuple<const char*, const char*, const char*, std::string> rows[] = {
        {"", "1", noHome, noHome},
        {"X\\KEY_none", "1", noKey, badType + std::string(" 2")},
        {"X\\KEY_keswsec_test", nullptr, noValue, badType + std::string(" 2")},
        {"X\\KEY_keswsec_test", "7", badType, "5"},
    };
    for (const auto& [keyFile, khtype, creating, updating] : rows) {
        recordHome(local, khtype, nullptr);
        library.writeKeyFile(keyFile);
        expect({{create + "kestel.exe", creating}, {update + "other.exe", updating}});
    }
    recordHome(local, "1", "svc");
    const std::string endless = " dependencies=" + std::string(5120, 'x'); // looked at once the manager is open
    expect({{create + "a" + endless, "4 WSE-000012: Null or invalid Dependencies parameter."},
            {create + "a" + endless, "3 WSE-000011 5", {}, failing("OpenSCManagerW", ERROR_ACCESS_DENIED)}});
}

TEST_F(ServiceOfHome, HasTheCallersConfiguration)
{
    const std::tuple<const char*, DWORD, DWORD, const wchar_t*> rows[] = {
        {"servicestartname=CORP\\other", SERVICE_WIN32_OWN_PROCESS, 3, L".\\svc"},
        {"", SERVICE_WIN32_SHARE_PROCESS, SERVICE_AUTO_START, L".\\svc"},
        {"servicestartname=\\Driver\\kes", SERVICE_KERNEL_DRIVER, 3, L"\\Driver\\kes"},
        {"servicestartname=kesfs", SERVICE_FILE_SYSTEM_DRIVER, 3, L".\\kesfs"},
        {"servicestartname=\"\"", SERVICE_KERNEL_DRIVER, 3, L""},
        {"tagid=99", SERVICE_KERNEL_DRIVER, SERVICE_BOOT_START, L""},
    };
    recordHome(local, "1", "svc");
    for (const auto& [words, type, start, account] : rows) {
        local.services.clear();
        EXPECT_EQ(answer("CreateService servicename=Service1 password=secret binpath=C:\\h1\\bin\\other.exe " +
                         ("loadordergroup=Base dependencies=Tcpip dependencies=+Group servicetype=" +
                          std::to_string(type) + " starttype=" + std::to_string(start) + ' ' + words)),
                  start == SERVICE_BOOT_START ? "2 = 1 open" : "2 = open");
        const whatif::Service& service = local.services.back();
        EXPECT_EQ(std::tuple(service.type, service.start, service.account), std::tuple(type, start, account));
        EXPECT_EQ(service.password, type & SERVICE_DRIVER ? L"" : L"secret");
        EXPECT_EQ(service.dependencies, (std::vector<std::wstring>{L"Tcpip", L"+Group"}));
    }
}

// A name that is too long fails behind the creation: the service and its handle are there all the same.
TEST_F(ServiceOfHome, JoinsGroupsThatAreNamedAfterTheHome)
{
    const whatif::Node before = local;
    for (const auto& [length, answered] : {std::pair<size_t, const char*>(0, "2 = open"),
                                           {240, "2 = open"},
                                           {500, "3 WSE-000028 2202 = open"},
                                           {600, "3 WSE-000048 234 = open"}}) {
        const std::string name(length, 'n');
        local = before;
        recordHome(local, "1", "KES_H1_SVCACCTS", "V");
        record(local, "KESTEL_HOME_NAME", name.c_str());
        EXPECT_EQ(answer(create + "other.exe"), answered);
        const Lines lines = plan();
        if (*answered == '3')
            EXPECT_EQ(lines.size(), 2u) << "the service and its SID type";
        else
            EXPECT_EQ(lines.back(), "NODE: group KES_" + name + "_SVCACCTS: member added: NT SERVICE\\Service1");
    }
}

// A domain controller of that age is none to the library: the groups are joined there too.
TEST_F(ServiceOfHome, HasNoSidOnOldReleasesAndTheAccountJoins)
{
    local.productType = VER_NT_DOMAIN_CONTROLLER;
    local.major = 5;
    recordHome(local, "2", "CORP\\dbuser");
    EXPECT_EQ(answer(create + "keslsnr.exe"), "2 = open");
    Lines lines = plan();
    lines.erase(lines.begin(), lines.end() - 5);
    EXPECT_EQ(lines, (Lines{"NODE: group KES_H1_SVCSIDS: created: KESTEL Group",
                            "NODE: group KES_H1_SVCSIDS: member added: CORP\\dbuser",
                            "NODE: group KES_CLIENT_LISTENERS: created: KESTEL Group",
                            "NODE: group KES_CLIENT_LISTENERS: member added: CORP\\dbuser",
                            "NODE: right SeServiceLogonRight: granted: CORP\\dbuser"}));
    expect({{"GetServiceSID svcname=Service1", "3 WSE-000061"},
            {"DeleteService servicename=Service1", "2", {"NODE: service Service1: deleted"}}}); // nothing else
}

TEST_F(ServiceOfHome, FollowsTheHomesUserWhenUpdated)
{
    recordHome(local, "1", "svc");
    EXPECT_EQ(answer(create + "kestel.exe"), "2 = open");
    plan();
    const std::string service = "NODE: service Service1: ";
    const std::tuple<const char*, const char*, Lines, const wchar_t*> rows[] = {
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
    for (const auto& [user, executable, changes, password] : rows) {
        recordHome(local, "1", user);
        expect({{update + executable, "2", changes}});
        EXPECT_EQ(local.services.back().password, password);
        EXPECT_EQ(local.services.back().start, DWORD{SERVICE_DEMAND_START});
    }
}

TEST_F(NodeTest, ServicesTellTheirAccountsTheirSidsAndTheNamesOfThose)
{
    remote.services.emplace_back().name = L"TrustedInstaller";
    remote.services.back().account = L"LocalSystem";
    const std::string account = "GetSvcUserForService nodename=DB2 servicename=TrustedInstaller username.size=",
                      sidName = "GetServiceSidName svcname=KestelDB out.size=";
    const std::string noRoom = "3 WSE-000033: Insufficient output buffer for ";
    expect({{account + "12", "2 = LocalSystem 12"},
            {account + "11", noRoom + "username."},
            {"GetServiceSID svcname=TrustedInstaller nodename=\"\"", "3 WSE-000014 1332"},
            {"GetServiceSID nodename=DB2 svcname=" + std::string(2000, 's'), "3 WSE-000033"},
            {"GetServiceSID nodename=DB2 svcname=trustedinstaller",
             "2 = S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464"},
            {sidName + "20", "2 = NT SERVICE\\KestelDB 19"}, // room to spare
            {sidName + "19", noRoom + "Output buffer for Service Sid String."}});
    remote.services.back().account = L"";
    remote.services.back().binaryPath.assign(2500, L'b'); // more than half of the 8 KB that may be asked for
    expect({{account + "1", "2 =  1"}, {account + "0", noRoom + "username."}});
}

} // namespace
