// The user that runs the calling process.
#include "accounts/account_names.h"
#include "frame/call.h"

namespace {

DWORD readTokenUser(const sswseCall& call, owned::Heap<TOKEN_USER>& user)
{
    HANDLE opened = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened))
        return sswseFail(call, WSE_OPEN_PROCESS_TOKEN, GetLastError(), "OpenProcessToken");
    const owned::Handle token(opened);

    DWORD size = 0;
    GetTokenInformation(token.get(), TokenUser, nullptr, 0, &size);
    if (size == 0)
        return sswseFail(call, WSE_TOKEN_INFORMATION, GetLastError(), "GetTokenInformation");
    user = owned::allocate<TOKEN_USER>(size);
    if (!user)
        return sswseOutOfMemory(call);
    if (!GetTokenInformation(token.get(), TokenUser, user.get(), size, &size))
        return sswseFail(call, WSE_TOKEN_INFORMATION, GetLastError(), "GetTokenInformation");
    return SSWSE_SUCCESS;
}

} // namespace

// The token's user, not its owner field, whatever the name says: deliberate.
DWORD WINAPI sswseGetOwnerSIDForCurrentProcess(sswseErrRec* err, PSID* sid)
{
    return sswseRunFramed(err, __func__, sswseNoArgs{}, [&](const sswseCall& call) -> DWORD {
        if (!sid)
            return sswseBadArgument(call, "Pointer to OS SID");
        *sid = nullptr;
        owned::Heap<TOKEN_USER> user;
        if (readTokenUser(call, user) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        owned::Heap<void> copy;
        if (sswseCopySid(call, user->User.Sid, copy) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        *sid = copy.release();
        return SSWSE_SUCCESS;
    });
}
