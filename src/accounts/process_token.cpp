#include "accounts/process_token.h"

DWORD sswseOpenOwnToken(const sswseCall& call, DWORD access, owned::Handle& token)
{
    HANDLE opened = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), access, &opened))
        return sswseFail(call, WSE_OPEN_PROCESS_TOKEN, GetLastError(), "OpenProcessToken");
    token.reset(opened);
    return SSWSE_SUCCESS;
}
