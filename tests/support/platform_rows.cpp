// Every platform function that the library imports: how it fails, what it acquires and releases.
#include "tests/support/guarded_heap.h"
#include "tests/support/wrapper.h"

#include <aclapi.h>
#include <authz.h>
#include <lm.h>
#include <ntsecapi.h>
#include <ntstatus.h>
#include <sddl.h>

#include <cstdlib>
#include <iterator>
#include <sstream>
#include <utility>

// Not imported, and not declared by the platform's headers; only their types count.
extern "C" NTSTATUS WINAPI NetIsServiceAccount(LPWSTR server, LPWSTR account, BOOL* answer);
extern "C" NTSTATUS WINAPI NetQueryServiceAccount(LPWSTR server, LPWSTR account, DWORD level, PBYTE* info);

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

Row calls(const char* name, void* wrapper, void** original, const char* types, Says says = Says::nothing,
          std::vector<DWORD> codes = {}, Kind acquired = Kind::none, int through = fromResult)
{
    Row row = {name, wrapper, original, types};
    row.says = says;
    row.codes = std::move(codes);
    row.acquires = acquired;
    row.through = through;
    return row;
}

std::vector<DWORD> withStatus(NTSTATUS more)
{
    return {static_cast<DWORD>(STATUS_ACCESS_DENIED), static_cast<DWORD>(more)};
}

// Its first argument, or what is at the address in it.
Row releases(const char* name, void* wrapper, void** original, const char* types, Kind released,
             bool throughAddress = false)
{
    Row row = {name, wrapper, original, types};
    row.releases = released;
    row.releasesThroughAddress = throughAddress;
    return row;
}

Row standingIn(void* function, Row row)
{
    row.standIn = function;
    return row;
}

Row halfWay(Row row)
{
    row.writesBeforeItFails = true;
    return row;
}

Row atRunTime(Row row)
{
    row.isFoundAtRunTime = true;
    return row;
}

} // namespace

#define FUNCTION(name) #name, bits(&Wrapper <&::name>::call), &Wrapper < &::name> ::original, Wrapper < &::name> ::types

const std::vector<Row>& rows()
{
    using Codes = std::vector<DWORD>;
    static const Codes memory = {ERROR_NOT_ENOUGH_MEMORY};
    static const Codes denied = {ERROR_ACCESS_DENIED};
    static const Codes registry = {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED};
    static const Codes network = {ERROR_ACCESS_DENIED, RPC_S_SERVER_UNAVAILABLE};
    static const Codes unmapped = {ERROR_NONE_MAPPED, ERROR_TRUSTED_RELATIONSHIP_FAILURE};
    static const Codes ntDenied = {static_cast<DWORD>(STATUS_ACCESS_DENIED)};
    static const Codes noGroup = {ERROR_ACCESS_DENIED, NERR_GroupNotFound, ERROR_NO_SUCH_ALIAS};
    static const Codes conversion = {ERROR_NO_UNICODE_TRANSLATION};
    static const std::vector<Row> table = {
        // heap and text
        standingIn(bits(heapAllocate), calls(FUNCTION(malloc), Says::memoryNull, memory, Kind::heap)),
        standingIn(bits(heapAllocateZeroed), calls(FUNCTION(calloc), Says::memoryNull, memory, Kind::heap)),
        standingIn(bits(heapRelease), releases(FUNCTION(free), Kind::heap)),
        releases(FUNCTION(LocalFree), Kind::localBlock),
        halfWay(calls(FUNCTION(MultiByteToWideChar), Says::zero, conversion)),
        halfWay(calls(FUNCTION(WideCharToMultiByte), Says::zero, conversion)),
        calls(FUNCTION(FormatMessageA), Says::zero, {ERROR_MR_MID_NOT_FOUND}, Kind::localBlock, 4),
        // modules, files, machine
        calls(FUNCTION(GetModuleHandleA), Says::zero, {ERROR_MOD_NOT_FOUND}),
        calls(FUNCTION(GetModuleFileNameA), Says::zero, denied),
        calls(FUNCTION(LoadLibraryA), Says::zero, {ERROR_MOD_NOT_FOUND}, Kind::module),
        calls(FUNCTION(LoadLibraryExA), Says::zero, {ERROR_BAD_EXE_FORMAT}),
        calls(FUNCTION(GetProcAddress), Says::zero, {ERROR_PROC_NOT_FOUND}),
        releases(FUNCTION(FreeLibrary), Kind::module),
        calls(FUNCTION(CreateFileA), Says::allBits, {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED}, Kind::handle),
        calls(FUNCTION(ReadFile), Says::zero, {ERROR_READ_FAULT}),
        releases(FUNCTION(CloseHandle), Kind::handle),
        calls(FUNCTION(GetEnvironmentVariableA), Says::zero, {ERROR_ENVVAR_NOT_FOUND}),
        calls(FUNCTION(GetComputerNameW), Says::zero, {ERROR_BUFFER_OVERFLOW}),
        calls(FUNCTION(GetVersionExA), Says::zero, {ERROR_INSUFFICIENT_BUFFER}),
        // SIDs and accounts
        calls(FUNCTION(ConvertStringSidToSidA), Says::zero, {ERROR_INVALID_SID}, Kind::localBlock, 1),
        calls(FUNCTION(ConvertStringSidToSidW), Says::zero, {ERROR_INVALID_SID}, Kind::localBlock, 1),
        calls(FUNCTION(IsValidSid), Says::zero, {ERROR_INVALID_SID}),
        calls(FUNCTION(CopySid), Says::zero, {ERROR_INSUFFICIENT_BUFFER}),
        calls(FUNCTION(CreateWellKnownSid), Says::zero, {ERROR_INSUFFICIENT_BUFFER}),
        calls(FUNCTION(LookupAccountNameW), Says::zero, unmapped),
        calls(FUNCTION(LookupAccountSidW), Says::zero, unmapped),
        calls(FUNCTION(OpenProcessToken), Says::zero, denied, Kind::handle, 2),
        calls(FUNCTION(GetTokenInformation), Says::zero, denied),
        calls(FUNCTION(SetTokenInformation), Says::zero, {ERROR_ALLOTTED_SPACE_EXCEEDED, ERROR_ACCESS_DENIED}),
        calls(FUNCTION(LogonUserW), Says::zero, {ERROR_LOGON_FAILURE, ERROR_ACCOUNT_LOCKED_OUT}, Kind::handle, 5),
        // rights
        calls(FUNCTION(LsaOpenPolicy), Says::ntStatus, ntDenied, Kind::policy, 3),
        releases(FUNCTION(LsaClose), Kind::policy),
        calls(FUNCTION(LsaQueryInformationPolicy), Says::ntStatus, ntDenied, Kind::lsaBuffer, 2),
        calls(FUNCTION(LsaAddAccountRights), Says::ntStatus, withStatus(STATUS_OBJECT_NAME_NOT_FOUND)),
        calls(FUNCTION(LsaRemoveAccountRights), Says::ntStatus, withStatus(STATUS_OBJECT_NAME_NOT_FOUND)),
        calls(FUNCTION(LsaEnumerateAccountsWithUserRight), Says::ntStatus, withStatus(STATUS_NO_MORE_ENTRIES),
              Kind::lsaBuffer, 2),
        releases(FUNCTION(LsaFreeMemory), Kind::lsaBuffer),
        // groups and users
        calls(FUNCTION(NetLocalGroupAdd), Says::result, {RPC_S_SERVER_UNAVAILABLE, ERROR_ALIAS_EXISTS}),
        calls(FUNCTION(NetLocalGroupEnum), Says::result, denied, Kind::netBuffer, 2),
        calls(FUNCTION(NetLocalGroupGetInfo), Says::result, noGroup, Kind::netBuffer, 3),
        calls(FUNCTION(NetLocalGroupDel), Says::result, noGroup),
        calls(FUNCTION(NetLocalGroupAddMembers), Says::result, {ERROR_NO_SUCH_MEMBER, ERROR_MEMBER_IN_ALIAS}),
        calls(FUNCTION(NetLocalGroupDelMembers), Says::result,
              {ERROR_ACCESS_DENIED, ERROR_MEMBER_NOT_IN_ALIAS, ERROR_NO_SUCH_MEMBER, ERROR_NO_SUCH_ALIAS}),
        calls(FUNCTION(NetLocalGroupGetMembers), Says::result, {ERROR_ACCESS_DENIED, ERROR_NO_SUCH_ALIAS},
              Kind::netBuffer, 3),
        calls(FUNCTION(NetUserGetLocalGroups), Says::result, {ERROR_ACCESS_DENIED, NERR_UserNotFound}, Kind::netBuffer,
              4),
        calls(FUNCTION(NetUserAdd), Says::result, {ERROR_ACCESS_DENIED, NERR_PasswordTooShort, NERR_UserExists}),
        calls(FUNCTION(NetUserDel), Says::result, {ERROR_ACCESS_DENIED, NERR_UserNotFound}),
        releases(FUNCTION(NetApiBufferFree), Kind::netBuffer),
        calls(FUNCTION(NetValidatePasswordPolicy), Says::result, denied, Kind::passwordOutput, 4),
        releases(FUNCTION(NetValidatePasswordPolicyFree), Kind::passwordOutput, true),
        atRunTime(calls(FUNCTION(NetIsServiceAccount), Says::ntStatus, ntDenied)),
        atRunTime(calls(FUNCTION(NetQueryServiceAccount), Says::ntStatus, ntDenied, Kind::netBuffer, 3)),
        // registry
        calls(FUNCTION(RegConnectRegistryA), Says::result, {ERROR_BAD_NETPATH}, Kind::registryKey, 2),
        calls(FUNCTION(RegConnectRegistryW), Says::result, {ERROR_BAD_NETPATH}, Kind::registryKey, 2),
        calls(FUNCTION(RegOpenKeyExA), Says::result, registry, Kind::registryKey, 4),
        calls(FUNCTION(RegOpenKeyExW), Says::result, registry, Kind::registryKey, 4),
        calls(FUNCTION(RegCreateKeyExA), Says::result, denied, Kind::registryKey, 7),
        calls(FUNCTION(RegDeleteKeyA), Says::result, registry),
        calls(FUNCTION(RegQueryValueExA), Says::result, {ERROR_FILE_NOT_FOUND, ERROR_MORE_DATA}),
        calls(FUNCTION(RegQueryValueExW), Says::result, {ERROR_FILE_NOT_FOUND, ERROR_MORE_DATA}),
        calls(FUNCTION(RegSetValueExA), Says::result, denied),
        calls(FUNCTION(RegSetValueExW), Says::result, denied),
        calls(FUNCTION(RegEnumKeyExW), Says::result, {ERROR_ACCESS_DENIED, ERROR_KEY_DELETED}),
        calls(FUNCTION(RegGetKeySecurity), Says::result, {ERROR_ACCESS_DENIED, ERROR_KEY_DELETED}),
        calls(FUNCTION(RegFlushKey)),
        releases(FUNCTION(RegCloseKey), Kind::registryKey),
        // services
        calls(FUNCTION(OpenSCManagerW), Says::zero, network, Kind::serviceHandle),
        calls(FUNCTION(OpenServiceW), Says::zero, {ERROR_SERVICE_DOES_NOT_EXIST, ERROR_ACCESS_DENIED},
              Kind::serviceHandle),
        calls(FUNCTION(EnumServicesStatusExW), Says::zero, {ERROR_ACCESS_DENIED, ERROR_MORE_DATA}),
        calls(FUNCTION(CreateServiceW), Says::zero, {ERROR_SERVICE_EXISTS, ERROR_INVALID_SERVICE_ACCOUNT},
              Kind::serviceHandle),
        calls(FUNCTION(ChangeServiceConfigW), Says::zero,
              {ERROR_INVALID_SERVICE_ACCOUNT, ERROR_SERVICE_MARKED_FOR_DELETE}),
        calls(FUNCTION(ChangeServiceConfig2W), Says::zero, denied),
        calls(FUNCTION(QueryServiceConfigW), Says::zero, denied),
        calls(FUNCTION(QueryServiceObjectSecurity), Says::zero, denied),
        calls(FUNCTION(SetServiceObjectSecurity), Says::zero, denied),
        calls(FUNCTION(DeleteService), Says::zero, {ERROR_SERVICE_MARKED_FOR_DELETE}),
        releases(FUNCTION(CloseServiceHandle), Kind::serviceHandle),
        // files
        calls(FUNCTION(FindFirstFileW), Says::allBits, {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED}, Kind::search),
        calls(FUNCTION(FindFirstFileA), Says::allBits, {ERROR_FILE_NOT_FOUND}, Kind::search),
        calls(FUNCTION(FindNextFileW), Says::zero, {ERROR_NO_MORE_FILES, ERROR_ACCESS_DENIED}),
        releases(FUNCTION(FindClose), Kind::search),
        calls(FUNCTION(GetFileAttributesW), Says::allBits, {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED}),
        calls(FUNCTION(GetVolumePathNameA), Says::zero, {ERROR_BUFFER_OVERFLOW}),
        calls(FUNCTION(GetVolumePathNameW), Says::zero, {ERROR_PATH_NOT_FOUND}),
        calls(FUNCTION(GetVolumeInformationW), Says::zero, {ERROR_NOT_READY}),
        calls(FUNCTION(GetVersionExW), Says::zero, {ERROR_INSUFFICIENT_BUFFER}),
        // access-control lists
        calls(FUNCTION(AllocateAndInitializeSid), Says::zero, {ERROR_NOT_ENOUGH_MEMORY}, Kind::sid, 10),
        releases(FUNCTION(FreeSid), Kind::sid),
        calls(FUNCTION(AddAce), Says::zero, {ERROR_ALLOTTED_SPACE_EXCEEDED}),
        calls(FUNCTION(GetAce), Says::zero, {ERROR_INVALID_PARAMETER}),
        calls(FUNCTION(GetAclInformation), Says::zero, {ERROR_INVALID_PARAMETER}),
        calls(FUNCTION(InitializeAcl), Says::zero, {ERROR_INSUFFICIENT_BUFFER}),
        calls(FUNCTION(GetFileSecurityW), Says::zero, {ERROR_ACCESS_DENIED, ERROR_FILE_NOT_FOUND}),
        calls(FUNCTION(SetFileSecurityW), Says::zero, {ERROR_ACCESS_DENIED, ERROR_INVALID_OWNER}),
        calls(FUNCTION(GetNamedSecurityInfoW), Says::result, {ERROR_ACCESS_DENIED, ERROR_FILE_NOT_FOUND},
              Kind::localBlock, 7),
        calls(FUNCTION(SetNamedSecurityInfoW), Says::result, denied),
        calls(FUNCTION(SetEntriesInAclA), Says::result, {ERROR_NONE_MAPPED}, Kind::localBlock, 3),
        calls(FUNCTION(SetEntriesInAclW), Says::result, {ERROR_NOT_ENOUGH_MEMORY}, Kind::localBlock, 3),
        calls(FUNCTION(GetSecurityInfo), Says::result, denied, Kind::localBlock, 7),
        calls(FUNCTION(SetSecurityInfo), Says::result, denied),
        calls(FUNCTION(GetSecurityDescriptorDacl), Says::zero, {ERROR_INVALID_SECURITY_DESCR}),
        calls(FUNCTION(SetSecurityDescriptorDacl), Says::zero, {ERROR_INVALID_SECURITY_DESCR}),
        calls(FUNCTION(SetSecurityDescriptorControl), Says::zero, {ERROR_INVALID_PARAMETER}),
        calls(FUNCTION(InitializeSecurityDescriptor), Says::zero, {ERROR_UNKNOWN_REVISION}),
        // what others may do
        calls(FUNCTION(AuthzInitializeResourceManager), Says::zero, {ERROR_PRIVILEGE_NOT_HELD}, Kind::authzManager, 5),
        releases(FUNCTION(AuthzFreeResourceManager), Kind::authzManager),
        calls(FUNCTION(AuthzInitializeContextFromSid), Says::zero, denied, Kind::authzContext, 6),
        calls(FUNCTION(AuthzAddSidsToContext), Says::zero, memory, Kind::authzContext, 5),
        releases(FUNCTION(AuthzFreeContext), Kind::authzContext),
        calls(FUNCTION(AuthzAccessCheck), Says::zero, {ERROR_INVALID_SECURITY_DESCR}),
    };
    return table;
}

#undef FUNCTION

const std::set<std::string>& plain()
{
    std::istringstream words(
        // pure, or without a way to fail
        "BuildExplicitAccessWithNameA CompareStringOrdinal EqualSid GetACP GetCurrentProcess "
        "GetCurrentProcessId GetCurrentThreadId GetLastError GetLengthSid GetOEMCP GetSidLengthRequired "
        "GetUserDefaultLangID IsDBCSLeadByte IsDBCSLeadByteEx IsWellKnownSid LsaNtStatusToWinError SetLastError "
        // locks, and the start-up code of the toolchain
        "___lc_codepage_func ___mb_cur_max_func __iob_func _amsg_exit _errno _initterm _lock _unlock abort "
        "DeleteCriticalSection EnterCriticalSection InitializeCriticalSection LeaveCriticalSection localeconv "
        "realloc Sleep strerror TlsGetValue VirtualProtect VirtualQuery "
        // text of the runtime
        "_strdate _stricmp _strnicmp _strtime _vsnprintf _vsnwprintf _wcsicmp _wsplitpath memchr memcmp memcpy memmove "
        "memset strchr strcmp strcpy strcspn strlen strncat strncmp strrchr strspn strstr strtol towupper wcscat "
        "wcschr wcscmp wcscpy wcslen wcsncmp wcsrchr "
        // the trace file: what cannot be written is dropped
        "fflush fopen fprintf fputc fwrite vfprintf ");
    static const std::set<std::string> names(std::istream_iterator<std::string>(words), {});
    return names;
}

} // namespace intercept
