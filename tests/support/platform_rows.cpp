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

// The arguments in the words of call_words.h, ">kind" for the one that receives a resource, "=" for a buffer that the
// result is the name of. What the result is called, behind ">kind" if it is a resource itself.
Row calls(const char* name, void* wrapper, void** original, const char* types, Says says = Says::nothing,
          std::vector<DWORD> codes = {}, const char* arguments = "", const char* result = "")
{
    Row row = {name, wrapper, original, types, says, std::move(codes)};
    std::istringstream words(arguments);
    for (std::string word; words >> word; row.arguments.push_back(word))
        if (word[0] == '>' || word == "=") {
            row.acquires = word.substr(1);
            row.isBuffer = word == "=";
            row.through = static_cast<int>(row.arguments.size());
        }
    row.result = result;
    if (*result == '>') {
        row.acquires = row.result.substr(1, row.result.find(' ') - 1);
        row.result.erase(0, row.acquires.size() + 2);
    }
    return row;
}

std::vector<DWORD> withStatus(NTSTATUS more)
{
    return {static_cast<DWORD>(STATUS_ACCESS_DENIED), static_cast<DWORD>(more)};
}

// Its first argument; "*kind": what is at the address in it.
Row releases(const char* name, void* wrapper, void** original, const char* types, const char* kind)
{
    Row row = {name, wrapper, original, types};
    row.releasesThroughAddress = *kind == '*';
    row.releases = kind + (*kind == '*');
    row.arguments = {row.releasesThroughAddress ? "at" : "_"};
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
    constexpr Says zero = Says::zero;
    constexpr Says allBits = Says::allBits;
    constexpr Says result = Says::result;
    constexpr Says ntStatus = Says::ntStatus;
    static const std::vector<Row> table = {
        // the heap, which is guarded, and text
        standingIn(bits(guarded::allocate), calls(FUNCTION(malloc), Says::memoryNull, memory, "", ">heap")),
        standingIn(bits(guarded::allocateZeroed), calls(FUNCTION(calloc), Says::memoryNull, memory, "", ">heap")),
        standingIn(bits(heapRelease), releases(FUNCTION(free), "heap")),
        releases(FUNCTION(LocalFree), "LocalAlloc"),
        halfWay(calls(FUNCTION(MultiByteToWideChar), zero, conversion, "codepage towide counted _ _ room")),
        halfWay(calls(FUNCTION(WideCharToMultiByte), zero, conversion, "codepage fromwide _ _ _ room")),
        calls(FUNCTION(FormatMessageA), zero, {ERROR_MR_MID_NOT_FOUND}, "format _ hex hex >LocalAlloc _ in",
              "text {2}"),
        // modules, files, machine
        calls(FUNCTION(GetModuleHandleA), zero, {ERROR_MOD_NOT_FOUND}, "_", "{0}"),
        calls(FUNCTION(GetModuleFileNameA), zero, denied),
        calls(FUNCTION(LoadLibraryA), zero, {ERROR_MOD_NOT_FOUND}, "+_", ">module {0}"),
        calls(FUNCTION(LoadLibraryExA), zero, {ERROR_BAD_EXE_FORMAT}, "_ _ +loading", "{0}"),
        calls(FUNCTION(GetProcAddress), zero, {ERROR_PROC_NOT_FOUND}, "_ +_"),
        releases(FUNCTION(FreeLibrary), "module"),
        calls(FUNCTION(CreateFileA), allBits, {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED},
              "_ +fileaccess share _ disposition attributes", ">handle {0}"),
        calls(FUNCTION(ReadFile), zero, {ERROR_READ_FAULT}),
        releases(FUNCTION(CloseHandle), "handle"),
        calls(FUNCTION(GetEnvironmentVariableA), zero, {ERROR_ENVVAR_NOT_FOUND}, "+_"),
        calls(FUNCTION(GetComputerNameW), zero, {ERROR_BUFFER_OVERFLOW}, "_ size"),
        calls(FUNCTION(GetVersionExA), zero, {ERROR_INSUFFICIENT_BUFFER}, "version"),
        // SIDs and accounts
        calls(FUNCTION(ConvertStringSidToSidA), zero, {ERROR_INVALID_SID}, "_ >LocalAlloc", "SID {0}"),
        calls(FUNCTION(ConvertStringSidToSidW), zero, {ERROR_INVALID_SID}, "_ >LocalAlloc", "SID {0}"),
        calls(FUNCTION(IsValidSid), zero, {ERROR_INVALID_SID}),
        calls(FUNCTION(CopySid), zero, {ERROR_INSUFFICIENT_BUFFER}, "_ _ sid"),
        calls(FUNCTION(CreateWellKnownSid), zero, {ERROR_INSUFFICIENT_BUFFER}, "wellknown sid _ size"),
        calls(FUNCTION(LookupAccountNameW), zero, unmapped, "_ _ _ size _ size"),
        calls(FUNCTION(LookupAccountSidW), zero, unmapped, "_ sid _ size _ size"),
        calls(FUNCTION(OpenProcessToken), zero, denied, "_ +token >handle", "token of {0}"),
        calls(FUNCTION(GetTokenInformation), zero, denied, "_ +tokenclass"),
        calls(FUNCTION(SetTokenInformation), zero, {ERROR_ALLOTTED_SPACE_EXCEEDED, ERROR_ACCESS_DENIED},
              "_ +tokenclass defaultdacl"),
        calls(FUNCTION(LogonUserW), zero, {ERROR_LOGON_FAILURE, ERROR_ACCOUNT_LOCKED_OUT},
              "_ _ secret +logon provider >handle", "token of {0}"),
        // rights
        calls(FUNCTION(LsaOpenPolicy), ntStatus, ntDenied, "lsa zeroes +policy >policy", "policy{ of 0}"),
        releases(FUNCTION(LsaClose), "policy"),
        calls(FUNCTION(LsaQueryInformationPolicy), ntStatus, ntDenied, "_ +policyclass >LSA", "account domain"),
        calls(FUNCTION(LsaAddAccountRights), ntStatus, withStatus(STATUS_OBJECT_NAME_NOT_FOUND), "_ sid +rights"),
        calls(FUNCTION(LsaRemoveAccountRights), ntStatus, withStatus(STATUS_OBJECT_NAME_NOT_FOUND),
              "_ sid boolean +rights"),
        calls(FUNCTION(LsaEnumerateAccountsWithUserRight), ntStatus, withStatus(STATUS_NO_MORE_ENTRIES), "_ +lsa >LSA",
              "accounts with {1}"),
        releases(FUNCTION(LsaFreeMemory), "LSA"),
        // groups and users
        calls(FUNCTION(NetLocalGroupAdd), result, {RPC_S_SERVER_UNAVAILABLE, ERROR_ALIAS_EXISTS}, "_ _ group"),
        calls(FUNCTION(NetLocalGroupEnum), result, {ERROR_ACCESS_DENIED, ERROR_MORE_DATA}, "_ _ >network length",
              "groups{ of 0}"),
        calls(FUNCTION(NetLocalGroupGetInfo), result, noGroup, "_ _ _ >network", "group {1}{ of 0}"),
        calls(FUNCTION(NetLocalGroupDel), result, noGroup),
        calls(FUNCTION(NetLocalGroupAddMembers), result, {ERROR_NO_SUCH_MEMBER, ERROR_MEMBER_IN_ALIAS},
              "_ _ _ members"),
        calls(FUNCTION(NetLocalGroupDelMembers), result,
              {ERROR_ACCESS_DENIED, ERROR_MEMBER_NOT_IN_ALIAS, ERROR_NO_SUCH_MEMBER, ERROR_NO_SUCH_ALIAS},
              "_ _ _ members"),
        calls(FUNCTION(NetLocalGroupGetMembers), result, {ERROR_ACCESS_DENIED, ERROR_NO_SUCH_ALIAS},
              "_ _ _ >network length", "members of {1}{ of 0}"),
        calls(FUNCTION(NetUserGetLocalGroups), result, {ERROR_ACCESS_DENIED, NERR_UserNotFound},
              "_ _ _ +nested >network length", "groups of {1}{ on 0}"),
        calls(FUNCTION(NetUserAdd), result, {ERROR_ACCESS_DENIED, NERR_PasswordTooShort, NERR_UserExists}, "_ _ +user"),
        calls(FUNCTION(NetUserDel), result, {ERROR_ACCESS_DENIED, NERR_UserNotFound}),
        releases(FUNCTION(NetApiBufferFree), "network"),
        calls(FUNCTION(NetValidatePasswordPolicy), result, denied, "_ _ validation password >verdict", "verdict"),
        releases(FUNCTION(NetValidatePasswordPolicyFree), "*verdict"),
        atRunTime(calls(FUNCTION(NetIsServiceAccount), ntStatus, ntDenied, "wide wide")),
        atRunTime(
            calls(FUNCTION(NetQueryServiceAccount), ntStatus, ntDenied, "wide wide _ >network", "managed account {1}")),
        // registry
        calls(FUNCTION(RegConnectRegistryA), result, {ERROR_BAD_NETPATH}, "_ _ >key", "{1}{ of 0}"),
        calls(FUNCTION(RegConnectRegistryW), result, {ERROR_BAD_NETPATH}, "_ _ >key", "{1}{ of 0}"),
        calls(FUNCTION(RegOpenKeyExA), result, registry, "_ _ linkoption +key >key", "{0}\\{1}"),
        calls(FUNCTION(RegOpenKeyExW), result, registry, "_ _ linkoption +key >key", "{0}\\{1}"),
        calls(FUNCTION(RegCreateKeyExA), result, denied, "_ _ _ ansi keyoptions +key _ >key", "{0}\\{1}"),
        calls(FUNCTION(RegDeleteKeyA), result, registry),
        calls(FUNCTION(RegQueryValueExA), result, {ERROR_FILE_NOT_FOUND, ERROR_MORE_DATA}, "_ +_ _ _ _ size"),
        calls(FUNCTION(RegQueryValueExW), result, {ERROR_FILE_NOT_FOUND, ERROR_MORE_DATA}, "_ +_ _ _ _ size"),
        calls(FUNCTION(RegSetValueExA), result, denied, "_ +_ _ valuetype data"),
        calls(FUNCTION(RegSetValueExW), result, denied, "_ +_ _ valuetype data"),
        calls(FUNCTION(RegEnumKeyExW), result, {ERROR_ACCESS_DENIED, ERROR_KEY_DELETED}, "_ _ _ size"),
        calls(FUNCTION(RegGetKeySecurity), result, {ERROR_ACCESS_DENIED, ERROR_KEY_DELETED}, "_ +security = size",
              "security of {0}"),
        calls(FUNCTION(RegFlushKey), result, denied),
        releases(FUNCTION(RegCloseKey), "key"),
        // services
        calls(FUNCTION(OpenSCManagerW), zero, network, "_ _ +manager", ">service service manager{ of 0}"),
        calls(FUNCTION(OpenServiceW), zero, {ERROR_SERVICE_DOES_NOT_EXIST, ERROR_ACCESS_DENIED}, "_ _ +service",
              ">service service {1}{ of 0}"),
        calls(FUNCTION(EnumServicesStatusExW), zero, {ERROR_ACCESS_DENIED, ERROR_MORE_DATA},
              "_ information +servicetype +servicestate _ _ _ _ size"),
        calls(FUNCTION(CreateServiceW), zero, {ERROR_SERVICE_EXISTS, ERROR_INVALID_SERVICE_ACCOUNT},
              "_ _ _ +service servicetype starttype errorcontrol _ _ _ names _ secret", ">service service {1}{ of 0}"),
        calls(FUNCTION(ChangeServiceConfigW), zero, {ERROR_INVALID_SERVICE_ACCOUNT, ERROR_SERVICE_MARKED_FOR_DELETE},
              "_ servicetype starttype errorcontrol _ _ _ names _ secret"),
        calls(FUNCTION(ChangeServiceConfig2W), zero, denied, "_ configuration +sidinfo"),
        calls(FUNCTION(QueryServiceConfigW), zero, denied, "_ _ twice"),
        calls(FUNCTION(QueryServiceObjectSecurity), zero, denied, "_ +security =", "security of {0}"),
        calls(FUNCTION(SetServiceObjectSecurity), zero, denied, "_ +security descriptor"),
        calls(FUNCTION(DeleteService), zero, {ERROR_SERVICE_MARKED_FOR_DELETE}),
        releases(FUNCTION(CloseServiceHandle), "service"),
        // files
        calls(FUNCTION(FindFirstFileW), allBits, {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED}, "_",
              ">search search for {0}"),
        calls(FUNCTION(FindFirstFileA), allBits, {ERROR_FILE_NOT_FOUND}, "_", ">search search for {0}"),
        calls(FUNCTION(FindNextFileW), zero, {ERROR_NO_MORE_FILES, ERROR_ACCESS_DENIED}),
        releases(FUNCTION(FindClose), "search"),
        calls(FUNCTION(GetFileAttributesW), allBits, {ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED}),
        calls(FUNCTION(GetVolumePathNameA), zero, {ERROR_BUFFER_OVERFLOW}),
        calls(FUNCTION(GetVolumePathNameW), zero, {ERROR_PATH_NOT_FOUND}, "_ _ pathroom"),
        calls(FUNCTION(GetVolumeInformationW), zero, {ERROR_NOT_READY}),
        calls(FUNCTION(GetVersionExW), zero, {ERROR_INSUFFICIENT_BUFFER}, "version"),
        // access-control lists
        calls(FUNCTION(AllocateAndInitializeSid), zero, {ERROR_NOT_ENOUGH_MEMORY}, "authority _ _ _ _ _ _ _ _ _ >SID",
              "SID"),
        releases(FUNCTION(FreeSid), "SID"),
        calls(FUNCTION(AddAce), zero, {ERROR_ALLOTTED_SPACE_EXCEEDED}, "_ aclrevision atend ace"),
        calls(FUNCTION(GetAce), zero, {ERROR_INVALID_PARAMETER}, "list"),
        calls(FUNCTION(GetAclInformation), zero, {ERROR_INVALID_PARAMETER}, "list _ _ aclclass"),
        calls(FUNCTION(InitializeAcl), zero, {ERROR_INSUFFICIENT_BUFFER}, "_ _ aclrevision"),
        calls(FUNCTION(GetFileSecurityW), zero, {ERROR_ACCESS_DENIED, ERROR_FILE_NOT_FOUND},
              "_ +security =", "security of {0}"),
        calls(FUNCTION(SetFileSecurityW), zero, {ERROR_ACCESS_DENIED, ERROR_INVALID_OWNER}, "_ +security descriptor"),
        calls(FUNCTION(GetNamedSecurityInfoW), result, {ERROR_ACCESS_DENIED, ERROR_FILE_NOT_FOUND},
              "_ object +security _ _ _ _ >LocalAlloc", "security of {0}"),
        calls(FUNCTION(SetNamedSecurityInfoW), result, denied, "wide object +security sid sid acl acl"),
        calls(FUNCTION(SetEntriesInAclA), result, {ERROR_NONE_MAPPED}, "_ entries acl >LocalAlloc", "merged list"),
        calls(FUNCTION(SetEntriesInAclW), result, {ERROR_NOT_ENOUGH_MEMORY}, "_ entries acl >LocalAlloc",
              "merged list"),
        calls(FUNCTION(GetSecurityInfo), result, denied, "_ object +security _ _ _ _ >LocalAlloc", "security of {0}"),
        calls(FUNCTION(SetSecurityInfo), result, denied, "_ object +security sid sid acl acl"),
        calls(FUNCTION(GetSecurityDescriptorDacl), zero, {ERROR_INVALID_SECURITY_DESCR}),
        calls(FUNCTION(SetSecurityDescriptorDacl), zero, {ERROR_INVALID_SECURITY_DESCR}, "_ boolean acl boolean"),
        calls(FUNCTION(SetSecurityDescriptorControl), zero, {ERROR_INVALID_PARAMETER}, "_ control control"),
        calls(FUNCTION(InitializeSecurityDescriptor), zero, {ERROR_UNKNOWN_REVISION}, "_ revision"),
        // what others may do
        calls(FUNCTION(AuthzInitializeResourceManager), zero, {ERROR_PRIVILEGE_NOT_HELD},
              "manageraudit _ _ _ _ >authorization", "authorization"),
        releases(FUNCTION(AuthzFreeResourceManager), "authorization"),
        calls(FUNCTION(AuthzInitializeContextFromSid), zero, denied, "contextgroups sid _ _ _ _ >context",
              "context of {1}"),
        calls(FUNCTION(AuthzAddSidsToContext), zero, memory, "_ groups _ _ _ >context", "{0} and groups"),
        releases(FUNCTION(AuthzFreeContext), "context"),
        calls(FUNCTION(AuthzAccessCheck), zero,
              {ERROR_INVALID_SECURITY_DESCR, ERROR_INVALID_PARAMETER, ERROR_INVALID_ACL, ERROR_NOT_ENOUGH_MEMORY},
              "_ _ +request _ descriptor"),
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
