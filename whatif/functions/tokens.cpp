// Tokens: of what they hold, the list that they give to what is created under them. The rest is the machine's.
#include "whatif/model/kernel_objects.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"

#include <cstring>

namespace whatif {

namespace {

// The library opens its own process's alone.
BOOL WINAPI openProcessToken(HANDLE process, DWORD access, PHANDLE token)
{
    Locked world;
    // A described node's is not the machine's to change.
    const bool isMachines = world->local().readsMachine;
    if (!OpenProcessToken(process, isMachines ? access : access & TOKEN_QUERY, token))
        return FALSE;
    openHandle(*token, *world, world->local(), KernelKind::token, tokenOfThisProcess, access);
    return TRUE;
}

BOOL WINAPI getTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS kind, LPVOID information, DWORD size,
                                PDWORD needed)
{
    Locked world;
    const KernelHandle* const opened = kernelHandleOf(*world, token);
    if (kind != TokenDefaultDacl || (opened && opened->kind != KernelKind::token))
        return GetTokenInformation(token, kind, information, size, needed);
    if (!opened || !(opened->access & TOKEN_QUERY))
        return failWith(opened ? ERROR_ACCESS_DENIED : ERROR_INVALID_HANDLE);
    Security security;
    if (const DWORD error = readSecurity(token, *opened, security))
        return failWith(error);
    const size_t listSize = security.hasDacl ? security.dacl.size() : 0;
    *needed = static_cast<DWORD>(sizeof(TOKEN_DEFAULT_DACL) + listSize);
    if (!information || size < *needed)
        return failWith(ERROR_INSUFFICIENT_BUFFER);
    auto* const held = static_cast<TOKEN_DEFAULT_DACL*>(information);
    held->DefaultDacl = security.hasDacl ? reinterpret_cast<PACL>(held + 1) : nullptr;
    memcpy(held + 1, security.dacl.data(), listSize);
    return TRUE;
}

BOOL WINAPI setTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS kind, LPVOID information, DWORD size)
{
    Locked world;
    const KernelHandle* const opened = kernelHandleOf(*world, token);
    if (!opened || opened->kind != KernelKind::token)
        return failWith(ERROR_INVALID_HANDLE);
    if (kind != TokenDefaultDacl)
        return failWith(ERROR_NOT_SUPPORTED); // the rest is not the node's to change
    if (!(opened->access & TOKEN_ADJUST_DEFAULT))
        return failWith(ERROR_ACCESS_DENIED);
    if (size < sizeof(TOKEN_DEFAULT_DACL))
        return failWith(ERROR_BAD_LENGTH);
    const PACL dacl = static_cast<TOKEN_DEFAULT_DACL*>(information)->DefaultDacl;
    if (dacl && !IsValidAcl(dacl))
        return failWith(ERROR_INVALID_ACL);
    Security before;
    if (const DWORD error = readSecurity(token, *opened, before))
        return failWith(error);
    writeSecurity(*world, opened->object, before, securityOfList(dacl));
    return TRUE;
}

} // namespace

std::vector<Replacement> tokenReplacements()
{
    return {
        settingLastError<&openProcessToken>("OpenProcessToken"),
        settingLastError<&getTokenInformation>("GetTokenInformation"),
        settingLastError<&setTokenInformation>("SetTokenInformation"),
    };
}

} // namespace whatif
