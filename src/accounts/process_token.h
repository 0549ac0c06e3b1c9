// This process's token, and what a token holds.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

#include <algorithm>

// 2, or 3 with WSE-000035.
[[nodiscard]] DWORD sswseOpenOwnToken(const sswseCall& call, DWORD access, owned::Handle& token);

// The information of one class, what it points at included. 2, or 3 with WSE-000036 or WSE-00002.
template <class Information>
[[nodiscard]] DWORD sswseReadToken(const sswseCall& call, HANDLE token, TOKEN_INFORMATION_CLASS kind,
                                   owned::Heap<Information>& information)
{
    DWORD size = 0;
    GetTokenInformation(token, kind, nullptr, 0, &size);
    if (size == 0)
        return sswseFail(call, WSE_TOKEN_INFORMATION, GetLastError(), "GetTokenInformation");
    information = owned::allocateZeroed<Information>(std::max<size_t>(size, sizeof(Information)));
    if (!information)
        return sswseOutOfMemory(call);
    if (!GetTokenInformation(token, kind, information.get(), size, &size))
        return sswseFail(call, WSE_TOKEN_INFORMATION, GetLastError(), "GetTokenInformation");
    return SSWSE_SUCCESS;
}
