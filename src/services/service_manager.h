// The service control manager of a node, and the services it opens.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

#include <algorithm>

// Opens the manager of `nodename`. 2, or 3 with WSE-000011. Not traced.
[[nodiscard]] DWORD sswseOpenScm(const sswseCall& call, const char* nodename, DWORD access, owned::ServiceHandle& scm);

// The service is closed before its manager.
struct sswseOpenedService
{
    owned::ServiceHandle scm;
    owned::ServiceHandle service;
};

// Opens a service of `nodename`, the manager with `managerAccess`. 2, or 3 with WSE-000011, WSE-000054.
[[nodiscard]] DWORD sswseOpenNodeService(const sswseCall& call, const char* nodename, const char* servicename,
                                         DWORD access, sswseOpenedService& opened,
                                         DWORD managerAccess = SC_MANAGER_ALL_ACCESS);

// What the service control manager answers, in a block of `size` bytes.
template <class T>
struct sswseServiceAnswer
{
    owned::Heap<T> data;
    DWORD size = 0;
    DWORD osError = ERROR_SUCCESS; // of a query that failed; none when memory was short
};

// The platform's two-call query, `query(buffer, size, &needed)`: first without a buffer, which must ask for one, then
// with `factor` times the size it asked for. The block is never smaller than a T, and zeroed where the platform writes
// nothing. 2, or 3 with WSE-000055 naming `apiName`, or WSE-00002.
template <class T, class Query>
[[nodiscard]] DWORD sswseQueryService(const sswseCall& call, const char* apiName, DWORD factor,
                                      sswseServiceAnswer<T>& answer, Query query)
{
    const auto fail = [&] {
        answer.osError = GetLastError();
        return sswseFail(call, WSE_QUERY_SERVICE, answer.osError, apiName);
    };
    DWORD needed = 0;
    if (query(nullptr, 0, &needed) || GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return fail();
    answer.size = std::max<DWORD>(needed * factor, sizeof(T));
    answer.data = owned::allocateZeroed<T>(answer.size);
    if (!answer.data)
        return sswseOutOfMemory(call);
    return query(answer.data.get(), answer.size, &needed) ? DWORD{SSWSE_SUCCESS} : fail();
}

using sswseServiceConfig = sswseServiceAnswer<QUERY_SERVICE_CONFIGW>;

// The configuration of a service that is open for SERVICE_QUERY_CONFIG. 2, or 3 as above.
[[nodiscard]] DWORD sswseReadServiceConfig(const sswseCall& call, SC_HANDLE service, sswseServiceConfig& config);

// The account in it; "" where there is none, which is LocalSystem for all but drivers.
inline const wchar_t* sswseStartName(const QUERY_SERVICE_CONFIGW& config)
{
    return config.lpServiceStartName ? config.lpServiceStartName : L"";
}
