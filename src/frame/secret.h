// Copies of passwords: wide text that is wiped before it is released.
#pragma once

#include "frame/text.h"

namespace owned {

struct SecretWiper
{
    size_t bytes = 0;
    void operator()(wchar_t* secret) const
    {
        SecureZeroMemory(secret, bytes);
        free(secret);
    }
};

using Secret = std::unique_ptr<wchar_t, SecretWiper>;

} // namespace owned

// sswseToWide for a password: 2, or 3 with WSE-00006. NULL stays NULL.
inline DWORD sswseToWideSecret(const sswseCall& call, const char* source, owned::Secret& secret)
{
    owned::Heap<wchar_t> wide;
    size_t length = 0;
    const DWORD status = sswseToWide(call, source, wide, &length);
    secret = owned::Secret(wide.release(), owned::SecretWiper{length * sizeof(wchar_t)});
    return status;
}
