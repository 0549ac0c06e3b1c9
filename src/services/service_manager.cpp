#include "services/service_manager.h"

#include "frame/node.h"

DWORD sswseOpenScm(const sswseCall& call, const char* nodename, owned::ServiceHandle& scm)
{
    owned::Heap<wchar_t> node;
    if (sswseNodeToWide(call, nodename, node) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    scm.reset(OpenSCManagerW(node.get(), nullptr, SC_MANAGER_ALL_ACCESS));
    if (!scm)
        return sswseFail(call, WSE_OPEN_SCM, GetLastError(), "OpenSCManagerW");
    return SSWSE_SUCCESS;
}

DWORD sswseOpenNodeService(const sswseCall& call, const char* nodename, const char* servicename, DWORD access,
                           sswseOpenedService& opened)
{
    if (sswseOpenScm(call, nodename, opened.scm) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    owned::Heap<wchar_t> name;
    if (sswseToWide(call, servicename, name) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    opened.service.reset(OpenServiceW(opened.scm.get(), name.get(), access));
    if (!opened.service)
        return sswseFail(call, WSE_OPEN_SERVICE, GetLastError(), "OpenServiceW");
    return SSWSE_SUCCESS;
}
