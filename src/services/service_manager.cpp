#include "services/service_manager.h"

#include "frame/node.h"

DWORD sswseOpenScm(const sswseCall& call, const char* nodename, DWORD access, owned::ServiceHandle& scm)
{
    owned::Heap<wchar_t> node;
    if (sswseNodeToWide(call, nodename, node) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    scm.reset(OpenSCManagerW(node.get(), nullptr, access));
    if (!scm)
        return sswseFail(call, WSE_OPEN_SCM, GetLastError(), "OpenSCManagerW");
    return SSWSE_SUCCESS;
}

DWORD sswseOpenNodeService(const sswseCall& call, const char* nodename, const char* servicename, DWORD access,
                           sswseOpenedService& opened, DWORD managerAccess)
{
    if (sswseOpenScm(call, nodename, managerAccess, opened.scm) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    owned::Heap<wchar_t> name;
    if (sswseToWide(call, servicename, name) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    opened.service.reset(OpenServiceW(opened.scm.get(), name.get(), access));
    if (!opened.service)
        return sswseFail(call, WSE_OPEN_SERVICE, GetLastError(), "OpenServiceW");
    return SSWSE_SUCCESS;
}

DWORD sswseReadServiceConfig(const sswseCall& call, SC_HANDLE service, sswseServiceConfig& config)
{
    constexpr DWORD factor = 2; // twice what is asked for: deliberate, the configuration may grow between the calls
    return sswseQueryService(call, "QueryServiceConfigW", factor, config,
                             [service](QUERY_SERVICE_CONFIGW* buffer, DWORD size, DWORD* needed) {
                                 constexpr DWORD largest = 8192; // more may not be announced to the platform
                                 const DWORD announced = size < largest ? size : largest;
                                 return QueryServiceConfigW(service, buffer, announced, needed);
                             });
}
