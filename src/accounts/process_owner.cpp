// The user that runs the calling process.
#include "accounts/account_names.h"
#include "accounts/process_token.h"
#include "frame/call.h"

// The token's user, not its owner field, whatever the name says: deliberate.
DWORD WINAPI sswseGetOwnerSIDForCurrentProcess(sswseErrRec* err, PSID* sid)
{
    return sswseRunFramed(err, __func__, sswseNoArgs{}, [&](const sswseCall& call) -> DWORD {
        if (!sid)
            return sswseBadArgument(call, "Pointer to OS SID");
        *sid = nullptr;
        owned::Handle token;
        owned::Heap<TOKEN_USER> user;
        owned::Heap<void> copy;
        if (sswseOpenOwnToken(call, TOKEN_QUERY, token) != SSWSE_SUCCESS ||
            sswseReadToken(call, token.get(), TokenUser, user) != SSWSE_SUCCESS ||
            sswseCopySid(call, user->User.Sid, copy) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        *sid = copy.release();
        return SSWSE_SUCCESS;
    });
}
