// Services of a home: created, updated, deleted, asked for their account and their SID.
#include "tests/services/service_of_home.h"
#include "whatif/model/sids.h"

namespace {

using namespace support;

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
class OldRelease : public ServiceOfHome, public testing::WithParamInterface<int>
{
};

TEST_P(OldRelease, HasNoServiceSidsAndTheAccountJoins)
{
    local.productType = static_cast<BYTE>(GetParam());
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

INSTANTIATE_TEST_SUITE_P(Services, OldRelease, testing::Values(VER_NT_SERVER, VER_NT_DOMAIN_CONTROLLER));

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

TEST_F(NodeTest, ServicesLeaveTheirGroupsLastOneFirstAndGo)
{
    remote.services.emplace_back().name = L"TrustedInstaller"; // whose SID is known
    for (const wchar_t* const group : {L"KES_A", L"KES_B", L"KES_C"})
        addGroup(remote, group, {L"S-1-5-19", whatif::serviceSid(L"TrustedInstaller")});
    addGroup(remote, L"KES_D", {L"S-1-5-19"});
    const std::string removed = ": member removed: NT SERVICE\\TrustedInstaller";
    expect({{"DeleteService nodename=DB2 servicename=TrustedInstaller",
             "2",
             {"DB2: group KES_C" + removed, "DB2: group KES_B" + removed, "DB2: group KES_A" + removed,
              "DB2: service TrustedInstaller: deleted"}}});
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
