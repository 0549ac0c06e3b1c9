// Every platform function that the library imports: how it fails, what it acquires and releases.
#include "tests/support/guarded_heap.h"
#include "tests/support/wrapper.h"

#include <aclapi.h>
#include <lm.h>
#include <ntsecapi.h>
#include <ntstatus.h>
#include <sddl.h>

#include <cstdlib>

namespace intercept {

namespace {

// The library's heap: guarded, and one of the calls that can be failed.
void* heapAllocate(size_t bytes)
{
    return guarded::allocate(bytes);
}

void* heapAllocateZeroed(size_t n, size_t bytes)
{
    return guarded::allocateZeroed(n, bytes);
}

void heapRelease(void* block)
{
    if (block && !guarded::release(block))
        free(block); // from before the library was stood before
}

template <class R, class... A>
void* bits(R (*function)(A...))
{
    return reinterpret_cast<void*>(function);
}

} // namespace

#define FUNCTION(name) #name, bits(&Wrapper <&::name>::call), &Wrapper < &::name> ::original

const std::vector<Row>& rows()
{
    using Codes = std::vector<DWORD>;
    static const Codes memory = {ERROR_NOT_ENOUGH_MEMORY};
    static const Codes denied = {ERROR_ACCESS_DENIED};
    static const Codes registry = {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED};
    static const Codes network = {ERROR_ACCESS_DENIED, RPC_S_SERVER_UNAVAILABLE};
    static const Codes unmapped = {ERROR_NONE_MAPPED, ERROR_TRUSTED_RELATIONSHIP_FAILURE};
    static const Codes ntDenied = {static_cast<DWORD>(STATUS_ACCESS_DENIED)};
    static const Codes conversion = {ERROR_NO_UNICODE_TRANSLATION};
    static const std::vector<Row> table = {
        // heap and text
        {FUNCTION(malloc), Says::memoryNull, memory, Kind::heap, fromResult, Kind::none, 0, bits(heapAllocate)},
        {FUNCTION(calloc), Says::memoryNull, memory, Kind::heap, fromResult, Kind::none, 0, bits(heapAllocateZeroed)},
        {FUNCTION(free), Says::nothing, {}, Kind::none, fromResult, Kind::heap, 0, bits(heapRelease)},
        {FUNCTION(LocalFree), Says::nothing, {}, Kind::none, fromResult, Kind::localBlock},
        {FUNCTION(MultiByteToWideChar), Says::zero, conversion},
        {FUNCTION(WideCharToMultiByte), Says::zero, conversion},
        {FUNCTION(FormatMessageA), Says::zero, {ERROR_MR_MID_NOT_FOUND}, Kind::localBlock, 4},
        // modules, files, machine
        {FUNCTION(GetModuleHandleA), Says::zero, {ERROR_MOD_NOT_FOUND}},
        {FUNCTION(GetModuleFileNameA), Says::zero, denied},
        {FUNCTION(LoadLibraryA), Says::zero, {ERROR_MOD_NOT_FOUND}, Kind::module},
        {FUNCTION(LoadLibraryExA), Says::zero, {ERROR_BAD_EXE_FORMAT}},
        {FUNCTION(GetProcAddress), Says::zero, {ERROR_PROC_NOT_FOUND}},
        {FUNCTION(FreeLibrary), Says::nothing, {}, Kind::none, fromResult, Kind::module},
        {FUNCTION(CreateFileA), Says::allBits, {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED}, Kind::handle},
        {FUNCTION(ReadFile), Says::zero, {ERROR_READ_FAULT}},
        {FUNCTION(CloseHandle), Says::nothing, {}, Kind::none, fromResult, Kind::handle},
        {FUNCTION(GetEnvironmentVariableA), Says::zero, {ERROR_ENVVAR_NOT_FOUND}},
        {FUNCTION(GetComputerNameW), Says::zero, {ERROR_BUFFER_OVERFLOW}},
        {FUNCTION(GetVersionExA), Says::zero, {ERROR_INSUFFICIENT_BUFFER}},
        // SIDs and accounts
        {FUNCTION(ConvertStringSidToSidA), Says::zero, {ERROR_INVALID_SID}, Kind::localBlock, 1},
        {FUNCTION(IsValidSid), Says::zero, {ERROR_INVALID_SID}},
        {FUNCTION(CopySid), Says::zero, {ERROR_INSUFFICIENT_BUFFER}},
        {FUNCTION(CreateWellKnownSid), Says::zero, {ERROR_INSUFFICIENT_BUFFER}},
        {FUNCTION(LookupAccountNameW), Says::zero, unmapped},
        {FUNCTION(LookupAccountSidW), Says::zero, unmapped},
        {FUNCTION(OpenProcessToken), Says::zero, denied, Kind::handle, 2},
        {FUNCTION(GetTokenInformation), Says::zero, denied},
        {FUNCTION(LogonUserW), Says::zero, {ERROR_LOGON_FAILURE, ERROR_ACCOUNT_LOCKED_OUT}, Kind::handle, 5},
        // rights
        {FUNCTION(LsaOpenPolicy), Says::ntStatus, ntDenied, Kind::policy, 3},
        {FUNCTION(LsaClose), Says::nothing, {}, Kind::none, fromResult, Kind::policy},
        {FUNCTION(LsaAddAccountRights), Says::ntStatus, ntDenied},
        {FUNCTION(LsaRemoveAccountRights), Says::ntStatus, ntDenied},
        {FUNCTION(LsaEnumerateAccountsWithUserRight), Says::ntStatus, ntDenied, Kind::lsaBuffer, 2},
        {FUNCTION(LsaFreeMemory), Says::nothing, {}, Kind::none, fromResult, Kind::lsaBuffer},
        // groups and users
        {FUNCTION(NetLocalGroupAdd), Says::result, network},
        {FUNCTION(NetLocalGroupGetInfo), Says::result, network, Kind::netBuffer, 3},
        {FUNCTION(NetLocalGroupDel), Says::result, network},
        {FUNCTION(NetLocalGroupAddMembers), Says::result, {ERROR_ACCESS_DENIED, ERROR_NO_SUCH_MEMBER}},
        {FUNCTION(NetLocalGroupDelMembers), Says::result, network},
        {FUNCTION(NetLocalGroupGetMembers),
         Says::result,
         {ERROR_ACCESS_DENIED, ERROR_NO_SUCH_ALIAS},
         Kind::netBuffer,
         3},
        {FUNCTION(NetUserGetLocalGroups), Says::result, {ERROR_ACCESS_DENIED, NERR_UserNotFound}, Kind::netBuffer, 4},
        {FUNCTION(NetUserAdd), Says::result, {ERROR_ACCESS_DENIED, NERR_PasswordTooShort}},
        {FUNCTION(NetUserDel), Says::result, {ERROR_ACCESS_DENIED, NERR_UserNotFound}},
        {FUNCTION(NetApiBufferFree), Says::nothing, {}, Kind::none, fromResult, Kind::netBuffer},
        {FUNCTION(NetValidatePasswordPolicy), Says::result, denied, Kind::passwordOutput, 4},
        // registry
        {FUNCTION(RegConnectRegistryA), Says::result, {ERROR_BAD_NETPATH}, Kind::registryKey, 2},
        {FUNCTION(RegConnectRegistryW), Says::result, {ERROR_BAD_NETPATH}, Kind::registryKey, 2},
        {FUNCTION(RegOpenKeyExA), Says::result, registry, Kind::registryKey, 4},
        {FUNCTION(RegOpenKeyExW), Says::result, registry, Kind::registryKey, 4},
        {FUNCTION(RegCreateKeyExA), Says::result, denied, Kind::registryKey, 7},
        {FUNCTION(RegDeleteKeyA), Says::result, registry},
        {FUNCTION(RegQueryValueExA), Says::result, registry},
        {FUNCTION(RegQueryValueExW), Says::result, registry},
        {FUNCTION(RegSetValueExA), Says::result, denied},
        {FUNCTION(RegSetValueExW), Says::result, denied},
        {FUNCTION(RegFlushKey), Says::nothing},
        {FUNCTION(RegCloseKey), Says::nothing, {}, Kind::none, fromResult, Kind::registryKey},
        // services
        {FUNCTION(OpenSCManagerW), Says::zero, network, Kind::serviceHandle},
        {FUNCTION(OpenServiceW), Says::zero, {ERROR_SERVICE_DOES_NOT_EXIST, ERROR_ACCESS_DENIED}, Kind::serviceHandle},
        {FUNCTION(CreateServiceW),
         Says::zero,
         {ERROR_SERVICE_EXISTS, ERROR_INVALID_SERVICE_ACCOUNT},
         Kind::serviceHandle},
        {FUNCTION(ChangeServiceConfigW), Says::zero, {ERROR_INVALID_SERVICE_ACCOUNT, ERROR_SERVICE_MARKED_FOR_DELETE}},
        {FUNCTION(ChangeServiceConfig2W), Says::zero, denied},
        {FUNCTION(QueryServiceConfigW), Says::zero, denied},
        {FUNCTION(QueryServiceObjectSecurity), Says::zero, denied},
        {FUNCTION(SetServiceObjectSecurity), Says::zero, denied},
        {FUNCTION(DeleteService), Says::zero, {ERROR_SERVICE_MARKED_FOR_DELETE}},
        {FUNCTION(CloseServiceHandle), Says::nothing, {}, Kind::none, fromResult, Kind::serviceHandle},
        // files
        {FUNCTION(FindFirstFileW), Says::allBits, {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED}, Kind::search},
        {FUNCTION(FindFirstFileA), Says::allBits, {ERROR_FILE_NOT_FOUND}, Kind::search},
        {FUNCTION(FindNextFileW), Says::zero, {ERROR_NO_MORE_FILES, ERROR_ACCESS_DENIED}},
        {FUNCTION(FindClose), Says::nothing, {}, Kind::none, fromResult, Kind::search},
        {FUNCTION(GetFileAttributesW), Says::allBits, {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED}},
        {FUNCTION(GetVolumePathNameA), Says::zero, {ERROR_BUFFER_OVERFLOW}},
        {FUNCTION(GetVolumePathNameW), Says::zero, {ERROR_PATH_NOT_FOUND}},
        {FUNCTION(GetVolumeInformationW), Says::zero, {ERROR_NOT_READY}},
        {FUNCTION(GetVersionExW), Says::zero, {ERROR_INSUFFICIENT_BUFFER}},
        // access-control lists
        {FUNCTION(AllocateAndInitializeSid), Says::zero, {ERROR_NOT_ENOUGH_MEMORY}, Kind::sid, 10},
        {FUNCTION(FreeSid), Says::nothing, {}, Kind::none, fromResult, Kind::sid},
        {FUNCTION(ConvertStringSidToSidW), Says::zero, {ERROR_INVALID_SID}, Kind::localBlock, 1},
        {FUNCTION(AddAce), Says::zero, {ERROR_ALLOTTED_SPACE_EXCEEDED}},
        {FUNCTION(GetAce), Says::zero, {ERROR_INVALID_PARAMETER}},
        {FUNCTION(GetAclInformation), Says::zero, {ERROR_INVALID_PARAMETER}},
        {FUNCTION(InitializeAcl), Says::zero, {ERROR_INSUFFICIENT_BUFFER}},
        {FUNCTION(GetFileSecurityW), Says::zero, {ERROR_ACCESS_DENIED, ERROR_FILE_NOT_FOUND}},
        {FUNCTION(SetFileSecurityW), Says::zero, {ERROR_ACCESS_DENIED, ERROR_INVALID_OWNER}},
        {FUNCTION(SetNamedSecurityInfoW), Says::result, denied},
        {FUNCTION(SetEntriesInAclA), Says::result, {ERROR_NONE_MAPPED}, Kind::localBlock, 3},
        {FUNCTION(GetSecurityDescriptorDacl), Says::zero, {ERROR_INVALID_SECURITY_DESCR}},
        {FUNCTION(SetSecurityDescriptorDacl), Says::zero, {ERROR_INVALID_SECURITY_DESCR}},
        {FUNCTION(InitializeSecurityDescriptor), Says::zero, {ERROR_UNKNOWN_REVISION}},
    };
    return table;
}

#undef FUNCTION

const std::vector<const char*>& plain()
{
    static const std::vector<const char*> names = {
        // pure, or without a way to fail
        "EqualSid",
        "GetLengthSid",
        "LsaNtStatusToWinError",
        "CompareStringOrdinal",
        "GetACP",
        "GetCurrentProcess",
        "GetCurrentProcessId",
        "GetCurrentThreadId",
        "GetLastError",
        "SetLastError",
        "GetUserDefaultLangID",
        "IsDBCSLeadByte",
        "IsDBCSLeadByteEx",
        "IsWellKnownSid",
        "GetOEMCP",
        "GetSidLengthRequired",
        "BuildExplicitAccessWithNameA",
        // locks, and the start-up code of the toolchain
        "DeleteCriticalSection",
        "EnterCriticalSection",
        "InitializeCriticalSection",
        "LeaveCriticalSection",
        "Sleep",
        "TlsGetValue",
        "VirtualProtect",
        "VirtualQuery",
        "___lc_codepage_func",
        "___mb_cur_max_func",
        "__iob_func",
        "_amsg_exit",
        "_errno",
        "_initterm",
        "_lock",
        "_unlock",
        "abort",
        "realloc",
        "strerror",
        "localeconv",
        // text of the runtime
        "_strdate",
        "_stricmp",
        "_strnicmp",
        "_strtime",
        "_vsnprintf",
        "_vsnwprintf",
        "_wcsicmp",
        "_wsplitpath",
        "memchr",
        "memcpy",
        "memmove",
        "memset",
        "strchr",
        "strcmp",
        "strcspn",
        "strlen",
        "strncat",
        "strncmp",
        "strrchr",
        "strstr",
        "strtol",
        "towupper",
        "wcscat",
        "wcschr",
        "wcscmp",
        "wcscpy",
        "wcslen",
        "wcsncmp",
        "wcsrchr",
        // the trace file: what cannot be written is dropped
        "fflush",
        "fopen",
        "fputc",
        "fwrite",
        "vfprintf",
    };
    return names;
}

} // namespace intercept
