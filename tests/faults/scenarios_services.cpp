// Services.
#include "tests/faults/driver.h"
#include "whatif/model/sids.h"

namespace faults {

namespace {

#define CREATE(binpath, nodename)                                                                                      \
    CALL(sswseCreateService, "KesDB", "Kestel database", SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,                \
         SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, binpath, "group", nullptr, "Tcpip\0", nullptr, password,          \
         nodename, s.service())
#define UPDATE(binpath, nodename) CALL(sswseUpdateService, nodename, "KesOld", nullptr, password, binpath)

constexpr char database[] = "C:\\h1\\bin\\kestel.exe h1";
constexpr char listener[] = "C:\\h1\\bin\\keslsnr.exe";

template <wchar_t type>
void ofType(Stage& s)
{
    constexpr wchar_t text[] = {type, L'\0'};
    s.setHome(L"KESTEL_HOME_TYPE", text);
}

void withVirtualAccounts(Stage& s)
{
    s.setHome(L"KESTEL_SVCUSER_TYPE", L"V");
}

// Two services of the home on both nodes, and their SIDs in groups of all kinds.
void withServices(Stage& s)
{
    const std::wstring sids[] = {whatif::serviceSid(L"KesOld"), whatif::serviceSid(L"KesTwo"), L"S-1-5-80-1-2-3-4-5"};
    for (whatif::Node* const node : {&s.local(), &s.remote()}) {
        const std::wstring home = node == &s.local() ? std::filesystem::path(s.library().path()).wstring() : L"D:";
        whatif::Service& old = node->services.front();
        old.binaryPath = L"\"" + home + L"\\bin\\kestel.exe\" h1";
        whatif::Service second = old;
        second.name = second.displayName = L"KesTwo";
        second.account = node->name + L"\\svc";
        node->services.insert(node->services.begin() + 1, second);
        node->groups.push_back({L"KES_h1_SVCSIDS", L"", L"S-1-5-21-1-2-3-3001", {}});
        for (whatif::Group& group : node->groups)
            if (group.name == L"KES_DBA" || group.name.compare(0, 7, L"KES_h1_") == 0)
                group.members.insert(group.members.end(), std::begin(sids), std::end(sids));
    }
}

// Where the SIDs are that are to go back.
void withServicesOfTheHome(Stage& s)
{
    withServices(s);
    for (whatif::Node* const node : {&s.local(), &s.remote()})
        node->groups.erase(std::remove_if(node->groups.begin(), node->groups.end(),
                                          [](const whatif::Group& group) { return group.name == L"KES_DBA"; }),
                           node->groups.end());
}

} // namespace

std::vector<Scenario> serviceScenarios()
{
    return {
        {CREATE(database, nullptr), "database under the service user", 2},
        {CREATE(database, nullptr), "database under a virtual account", 2, withVirtualAccounts},
        {CREATE(listener, nullptr), "listener of home type 0", 2, ofType<L'0'>},
        {CREATE(listener, "DB2"), "listener of home type 2, on a node", 2, ofType<L'2'>},
        {CREATE(database, nullptr), "database on a domain controller", 2, &Stage::makeDomainController},
        {CREATE("C:\\h1\\bin\\other.exe", nullptr), "without a row", 2},
        {UPDATE(database, nullptr), "database under the service user", 2},
        {UPDATE(listener, "DB2"), "listener of home type 0, on a node", 2, ofType<L'0'>},
        {CALL(sswseGetSvcUserForService, "KesOld", BUFFER(6), "DB2"), "on a node", 2},
        {CALL(sswseDeleteService, "DB2", "KesOld"), "in two groups", 2},
        {CALL(sswseGetServiceSidName, "KesDB", BUFFER(17)), "a service", 2},
        {CALL(sswseGetServiceSID, "KesOld", s.sidOut(), nullptr), "on this machine", 2},
        {CALL(sswseGetServiceSID, "KesOld", s.sidOut(), "DB2"), "on a node", 2},
        {CALL(sswseGetAllServicesForUser, ".\\svc", "DB2", s.strings(), s.count<int>()), "on a node", 2, withServices},
        {CALL(sswseGetAllServicesInKHForUser, nullptr, "svc", nullptr, s.strings(), s.count<int>()), "own home", 2,
         withServices},
        {CALL(sswseChangeServicesPwdForUser, "svc", password, nullptr, s.strings(), s.count<int>()), "on this machine",
         2, withServices},
        {CALL(sswseChangeServicesPwdInKHForUser, "D:/", "svc", password, "DB2", s.strings(), s.count<int>()),
         "on a node", 2, withServices},
        {CALL(sswseIsSvcRunningAsLocalSystem, "KesOld", "DB2"), "no", 0},
        {CALL(sswseDeleteSVCSidsFromKESHomeGroups, nullptr, nullptr), "own home", 2, withServices},
        {CALL(sswseDeleteSVCSidsFromKESHomeGroups, "D:", "DB2"), "on a node", 2, withServices},
        {CALL(sswseMigrateDBServiceSidsForUpgrade, nullptr, nullptr), "own home", 2, withServices},
        {CALL(sswseMigrateDBServiceSidsForDowngrade, "D:", "DB2"), "on a node", 2, withServicesOfTheHome},
    };
}

} // namespace faults
