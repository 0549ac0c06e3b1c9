// The platform's functions that states are read and written by, all of them documented ones: the machine's own, or what
// stands in for them on a node. Nothing in this folder reads or writes a state by others, but for registry values: they
// are read through the key's handle, which on a node is one of its own.
#pragma once

#include "whatif/whatif.h"

#include <windows.h>

#include <aclapi.h>
#include <lm.h>
#include <ntsecapi.h>

#include <string>

namespace journal {

#define JOURNAL_PLATFORM(F)                                                                                            \
    F(LookupAccountNameW)                                                                                              \
    F(NetLocalGroupGetInfo)                                                                                            \
    F(NetLocalGroupDel)                                                                                                \
    F(NetLocalGroupGetMembers)                                                                                         \
    F(NetLocalGroupAddMembers)                                                                                         \
    F(NetLocalGroupDelMembers)                                                                                         \
    F(NetUserDel)                                                                                                      \
    F(LsaOpenPolicy)                                                                                                   \
    F(LsaClose)                                                                                                        \
    F(LsaFreeMemory)                                                                                                   \
    F(LsaEnumerateAccountsWithUserRight)                                                                               \
    F(LsaAddAccountRights)                                                                                             \
    F(LsaRemoveAccountRights)                                                                                          \
    F(OpenSCManagerW)                                                                                                  \
    F(OpenServiceW)                                                                                                    \
    F(CloseServiceHandle)                                                                                              \
    F(CreateServiceW)                                                                                                  \
    F(DeleteService)                                                                                                   \
    F(QueryServiceConfigW)                                                                                             \
    F(QueryServiceConfig2W)                                                                                            \
    F(ChangeServiceConfigW)                                                                                            \
    F(ChangeServiceConfig2W)                                                                                           \
    F(QueryServiceObjectSecurity)                                                                                      \
    F(SetServiceObjectSecurity)                                                                                        \
    F(RegConnectRegistryW)                                                                                             \
    F(RegOpenKeyExW)                                                                                                   \
    F(RegCreateKeyExW)                                                                                                 \
    F(RegDeleteKeyW)                                                                                                   \
    F(RegEnumKeyExW)                                                                                                   \
    F(RegCloseKey)                                                                                                     \
    F(RegSetValueExW)                                                                                                  \
    F(RegDeleteValueW)                                                                                                 \
    F(RegGetKeySecurity)                                                                                               \
    F(RegSetKeySecurity)                                                                                               \
    F(GetSecurityInfo)                                                                                                 \
    F(SetSecurityInfo)                                                                                                 \
    F(GetTokenInformation)                                                                                             \
    F(SetTokenInformation)                                                                                             \
    F(GetFileSecurityW)                                                                                                \
    F(SetFileSecurityW)

struct Platform
{
#define JOURNAL_MEMBER(function) decltype(&::function) function = &::function;
    JOURNAL_PLATFORM(JOURNAL_MEMBER)
#undef JOURNAL_MEMBER
    // By the names that whatif.h has for them.
    HANDLE (*openObject)(const std::wstring& object, DWORD access) = whatif::openMachineObject;
    BOOL(WINAPI* closeObject)(HANDLE) = CloseHandle;
    bool onNode = false;
};

// What stands in for the functions on the nodes of the current whatif::Redirection.
Platform nodePlatform();

// The computer that the process acts on, and the others that it gets to from there.
struct Machine
{
    Platform platform;
    std::wstring name;
    std::wstring sid;        // empty when the platform does not tell it
    bool duringCall = false; // what is looked up was changed by this very process

    // What functions take for a node: "\\NAME", kept in `buffer`; NULL for the computer itself.
    const wchar_t* server(const std::wstring& node, std::wstring& buffer) const;
    // The SID of an account in string form; empty when there is none of that name.
    std::wstring sidOf(const std::wstring& node, const std::wstring& account) const;
};
Machine machineOf(const Platform& platform, const std::wstring& name);
Machine thisMachine();

// "NetLocalGroupDel: error 5".
std::wstring problemOf(const wchar_t* function, DWORD error);

} // namespace journal
