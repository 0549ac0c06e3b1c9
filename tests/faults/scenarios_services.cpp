// Services.
#include "tests/faults/driver.h"

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
    };
}

} // namespace faults
