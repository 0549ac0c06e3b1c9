// Managed service accounts, asked of the system libraries that know them where the system has these. That it has not is
// never reported with a message.
#include "frame/call.h"
#include "frame/text.h"

namespace {

using NetIsServiceAccountFunction = NTSTATUS(WINAPI*)(wchar_t* server, wchar_t* account, BOOL* isService);
using NetQueryServiceAccountFunction = NTSTATUS(WINAPI*)(wchar_t* server, wchar_t* account, DWORD level, BYTE** info);
constexpr DWORD stateLevel = 0; // MSA_INFO_0

template <class Function>
Function findProcedure(const owned::Module& library, const char* name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library.get(), name)));
}

// A query that fails leaves the answer at yes, the account being known as a managed one by then: deliberate.
DWORD isInstalled(NetQueryServiceAccountFunction query, wchar_t* account)
{
    BYTE* buffer = nullptr;
    const NTSTATUS result = query(nullptr, account, stateLevel, &buffer);
    const owned::NetBuffer<MSA_INFO_0> info(reinterpret_cast<MSA_INFO_0*>(buffer));
    if (result != 0)
        return SSWSE_YES;
    return info && info->State == MsaInfoInstalled ? SSWSE_YES : SSWSE_NO;
}

} // namespace

DWORD WINAPI sswseIsManagedSVCAccount(sswseErrRec* err, const char* username, const char* nodename)
{
    const auto args = sswseArgs("nodename = %s\nUsername = %s", nodename, username);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!username)
            return sswseBadArgument(call, "username");
        const owned::Module library(LoadLibraryA("Logoncli.dll"));
        if (!library)
            return SSWSE_FAILURE;
        const auto isServiceAccount = findProcedure<NetIsServiceAccountFunction>(library, "NetIsServiceAccount");
        if (!isServiceAccount)
            return SSWSE_NO; // the system has no such accounts
        owned::Heap<wchar_t> name;
        if (sswseToWide(call, username, name) != SSWSE_SUCCESS)
            return SSWSE_NO; // with the message: deliberate
        BOOL isService = FALSE;
        return isServiceAccount(nullptr, name.get(), &isService) == 0 && isService ? SSWSE_YES : SSWSE_NO;
    });
}

DWORD WINAPI sswseIsGroupManagedSVCAccount(sswseErrRec* err, const char* cUser, const char* cNode)
{
    const auto args = sswseArgs("cUser = %s\ncNode = %s", cUser, cNode);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!cUser)
            return sswseBadArgument(call, "User name");
        if (!sswseFindBackslash(cUser))
            return SSWSE_NO; // such accounts are always named domain\account
        if (sswseIsOSWin8OrAbove(call.rec) != SSWSE_YES)
            return SSWSE_NO;
        const owned::Module library(LoadLibraryA("Netapi32.dll"));
        if (!library)
            return SSWSE_NO;
        const auto query = findProcedure<NetQueryServiceAccountFunction>(library, "NetQueryServiceAccount");
        if (!query)
            return SSWSE_NO;
        const DWORD managed = sswseIsManagedSVCAccount(call.rec, cUser, cNode);
        if (managed != SSWSE_YES)
            return managed;
        owned::Heap<wchar_t> name;
        if (sswseToWide(call, cUser, name) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        return isInstalled(query, name.get());
    });
}
