// Services.
#include "tests/faults/driver.h"

namespace faults {

namespace {

#define CREATE(binpath, nodename)                                                                                      \
    CALL(sswseCreateService, "KesDB", "Kestel database", SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,                \
         SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, binpath, "group", nullptr, "Tcpip\0", nullptr, "right", nodename, \
         s.service())
#define UPDATE(binpath, nodename) CALL(sswseUpdateService, nodename, "KesOld", nullptr, "right", binpath)

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
    const std::vector<DWORD> failures = {SSWSE_FAILURE, SSWSE_UNSUPPORTED_HOME_TYPE, SSWSE_HOME_NOT_FOUND};
    return {
        {CREATE(database, nullptr), "database under the service user", 2, failures},
        {CREATE(database, nullptr), "database under a virtual account", 2, failures, withVirtualAccounts},
        {CREATE(listener, nullptr), "listener of home type 0", 2, failures, ofType<L'0'>},
        {CREATE(listener, "DB2"), "listener of home type 2, on a node", 2, failures, ofType<L'2'>},
        {CREATE(database, nullptr), "database on a domain controller", 2, failures, &Stage::makeDomainController},
        {CREATE("C:\\h1\\bin\\other.exe", nullptr), "without a row", 2, failures},
        {UPDATE(database, nullptr), "database under the service user", 2, failures},
        {UPDATE(listener, "DB2"), "listener of home type 0, on a node", 2, failures, ofType<L'0'>},
        {CALL(sswseGetSvcUserForService, "KesOld", BUFFER(6), "DB2"), "on a node", 2},
        {CALL(sswseDeleteService, "DB2", "KesOld"), "in two groups", 2},
        {CALL(sswseGetServiceSidName, "KesDB", BUFFER(17)), "a service", 2},
        {CALL(sswseGetServiceSID, "KesOld", s.sidOut(), nullptr), "on this machine", 2},
        {CALL(sswseGetServiceSID, "KesOld", s.sidOut(), "DB2"), "on a node", 2},
    };
}

} // namespace faults
