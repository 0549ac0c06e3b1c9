// The service control manager of a node, and the services it opens.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

#include <algorithm>

// Opens the manager of `nodename` with all access. 2, or 3 with WSE-000011. Not traced.
DWORD sswseOpenScm(const sswseCall& call, const char* nodename, owned::ServiceHandle& scm);

// The service is closed before its manager.
struct sswseOpenedService
{
    owned::ServiceHandle scm;
    owned::ServiceHandle service;
};

// Opens a service of `nodename`. 2, or 3 with WSE-000011, WSE-000054.
DWORD sswseOpenNodeService(const sswseCall& call, const char* nodename, const char* servicename, DWORD access,
                           sswseOpenedService& opened);

// What the service control manager answers, in a block of `size` bytes.
template <class T>
struct sswseServiceAnswer
{
    owned::Heap<T> data;
    DWORD size = 0;
};

// The platform's two-call query, `query(buffer, size, &needed)`: first without a buffer, which must ask for one, then
// with `factor` times the size it asked for. The block is never smaller than a T, and zeroed where the platform writes
// nothing. 2, or 3 with WSE-000055 naming `apiName`, or WSE-00002.
template <class T, class Query>
DWORD sswseQueryService(const sswseCall& call, const char* apiName, DWORD factor, sswseServiceAnswer<T>& answer,
                        Query query)
{
    DWORD needed = 0;
    if (query(nullptr, 0, &needed) || GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return sswseFail(call, WSE_QUERY_SERVICE, GetLastError(), apiName);
    answer.size = std::max<DWORD>(needed * factor, sizeof(T));
    answer.data = owned::allocateZeroed<T>(answer.size);
    if (!answer.data)
        return sswseOutOfMemory(call);
    if (!query(answer.data.get(), answer.size, &needed))
        return sswseFail(call, WSE_QUERY_SERVICE, GetLastError(), apiName);
    return SSWSE_SUCCESS;
}
