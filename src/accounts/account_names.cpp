#include "accounts/account_names.h"

#include "frame/call.h"
#include "frame/text.h"

#include <sddl.h>

#include <algorithm>

namespace {

DWORD convertName(const sswseCall& call, const char* username, PSID* sid, const wchar_t* machine, const char* apiName)
{
    *sid = nullptr;
    owned::Heap<wchar_t> name;
    if (sswseToWide(call, username, name) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    owned::Heap<void> found;
    const DWORD status = sswseLookupSidOfName(call, machine, name.get(), apiName, found);
    *sid = found.release();
    // Deliberate: once there is a block the answer is success, even when the look-up into it failed. The message then
    // stays in the record, and the SID is not a valid one.
    if (*sid)
        return SSWSE_SUCCESS;
    return status;
}

// Only the message tells that the SID was not filled in.
DWORD ownSid(const sswseCall& call, DWORD status, PSID converted, owned::Heap<void>& sid)
{
    sid.reset(converted);
    return status == SSWSE_SUCCESS && !call.rec->message[0] ? SSWSE_SUCCESS : SSWSE_FAILURE;
}

template <class Convert, class Char>
DWORD sidFromString(const sswseCall& call, Convert convert, const Char* text, owned::Local<void>& sid)
{
    PSID converted = nullptr;
    if (!convert(text, &converted))
        return sswseFail(call, WSE_CONVERT_SID, GetLastError(), "ConvertStringSidToSid");
    sid.reset(converted);
    return SSWSE_SUCCESS;
}

} // namespace

DWORD sswseLookupAccount(const sswseCall& call, const wchar_t* machine, const wchar_t* name, const char* apiName,
                         sswseAccount& account)
{
    account = {};
    DWORD sidSize = 0;
    DWORD domainLength = 0;
    if (!LookupAccountNameW(machine, name, nullptr, &sidSize, nullptr, &domainLength, &account.use)) {
        const DWORD osError = GetLastError();
        if (osError != ERROR_INSUFFICIENT_BUFFER) {
            account.osError = osError;
            return sswseFail(call, WSE_ACCOUNT_NAME_LOOKUP, osError, apiName);
        }
    }
    account.sid = owned::allocateZeroed<void>(sidSize);
    account.domain = owned::allocateZeroed<wchar_t>(domainLength * sizeof(wchar_t));
    if (!account.sid || !account.domain) {
        account.sid.reset();
        return sswseOutOfMemory(call);
    }
    if (!LookupAccountNameW(machine, name, account.sid.get(), &sidSize, account.domain.get(), &domainLength,
                            &account.use)) {
        account.osError = GetLastError();
        return sswseFail(call, WSE_ACCOUNT_NAME_LOOKUP, account.osError, apiName);
    }
    return SSWSE_SUCCESS;
}

DWORD sswseLookupSidOfName(const sswseCall& call, const wchar_t* machine, const wchar_t* name, const char* apiName,
                           owned::Heap<void>& sid)
{
    sswseAccount account;
    const DWORD status = sswseLookupAccount(call, machine, name, apiName, account);
    sid = std::move(account.sid);
    return status;
}

DWORD sswseLookupNameOfSid(const sswseCall& call, PSID sid, sswseQualifiedName& name)
{
    name = {};
    DWORD accountLength = sswseNameCapacity - 1;
    DWORD domainLength = sswseNameCapacity - 1;
    SID_NAME_USE use = SidTypeUnknown;
    if (!LookupAccountSidW(nullptr, sid, name.account, &accountLength, name.domain, &domainLength, &use))
        return sswseFail(call, WSE_SID_LOOKUP, GetLastError(), "LookupAccountSidW");
    return SSWSE_SUCCESS;
}

DWORD sswseComputerName(const sswseCall& call, wchar_t (&computer)[MAX_COMPUTERNAME_LENGTH + 1])
{
    DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
    computer[0] = L'\0';
    if (!GetComputerNameW(computer, &length))
        return sswseFail(call, WSE_COMPUTER_NAME, GetLastError(), "GetComputerNameW");
    return SSWSE_SUCCESS;
}

DWORD WINAPI sswseConvertUnameToSID(sswseErrRec* err, const char* username, PSID* sid)
{
    return sswseRunFramed(err, __func__, sswseArgs("username=%s", username), [&](const sswseCall& call) -> DWORD {
        if (!sid)
            return sswseBadArgument(call, "Pointer to OS SID");
        if (!username)
            return sswseBadArgument(call, "username");
        return convertName(call, username, sid, nullptr, "LookUpAccountNameW");
    });
}

// Checks its arguments in the other order: deliberate.
DWORD sswseConvertUnameToSIDOnNode(sswseErrRec* err, const char* username, PSID* sid, const wchar_t* machinename)
{
    const auto args = sswseArgs("username=%s\nmachinename=%ls", username, machinename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!username)
            return sswseBadArgument(call, "username");
        if (!sid)
            return sswseBadArgument(call, "Pointer to OS SID");
        return convertName(call, username, sid, machinename, "LookUpAccountName");
    });
}

DWORD sswseSidOfName(const sswseCall& call, const char* username, owned::Heap<void>& sid)
{
    PSID converted = nullptr;
    const DWORD status = sswseConvertUnameToSID(call.rec, username, &converted);
    return ownSid(call, status, converted, sid);
}

DWORD sswseSidOfNameOnNode(const sswseCall& call, const char* username, const wchar_t* machinename,
                           owned::Heap<void>& sid)
{
    PSID converted = nullptr;
    const DWORD status = sswseConvertUnameToSIDOnNode(call.rec, username, &converted, machinename);
    return ownSid(call, status, converted, sid);
}

DWORD WINAPI sswseConvertSIDToUname(sswseErrRec* err, PSID OSSid, char* uname, size_t unamel, size_t* outlen)
{
    const auto args = sswseArgs("OSSid=%Ix\nunamel=%Iu", reinterpret_cast<size_t>(OSSid), unamel);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!OSSid)
            return sswseBadArgument(call, "OS SID");
        if (unamel == 0)
            return sswseBufferTooSmall(call, "username", SSWSE_INVALID_ARGUMENT);
        if (!uname)
            return sswseBadArgument(call, "uname");

        sswseQualifiedName name;
        owned::Heap<char> account;
        owned::Heap<char> domain;
        size_t accountSize = 0;
        size_t domainSize = 0;
        if (sswseLookupNameOfSid(call, OSSid, name) != SSWSE_SUCCESS ||
            sswseToMultibyte(call, name.account, account, &accountSize) != SSWSE_SUCCESS ||
            sswseToMultibyte(call, name.domain, domain, &domainSize) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;

        // Both terminators count and two more: the figure is three above the text's length.
        // Deliberate, callers take it for the space used.
        const size_t required = accountSize + domainSize + 2;
        if (required > unamel)
            return sswseBufferTooSmall(call, "username");
        sswseFormat(uname, unamel, "%s\\%s", domain.get(), account.get());
        if (required < unamel)
            uname[required] = '\0';
        if (outlen)
            *outlen = required;
        return SSWSE_SUCCESS;
    });
}

DWORD sswseSidFromString(const sswseCall& call, const char* text, owned::Local<void>& sid)
{
    return sidFromString(call, ConvertStringSidToSidA, text, sid);
}

DWORD sswseSidFromString(const sswseCall& call, const wchar_t* text, owned::Local<void>& sid)
{
    return sidFromString(call, ConvertStringSidToSidW, text, sid);
}

DWORD sswseCopySid(const sswseCall& call, PSID sid, owned::Heap<void>& copy)
{
    const DWORD length = GetLengthSid(sid);
    owned::Heap<void> block = owned::allocate<void>(length);
    if (!block)
        return sswseOutOfMemory(call);
    if (!CopySid(length, block.get(), sid))
        return sswseFail(call, WSE_COPY_SID, GetLastError(), "CopySid");
    copy = std::move(block);
    return SSWSE_SUCCESS;
}

bool sswseIsListed(const sswseSidList& sids, PSID sid)
{
    return std::any_of(sids.entries, sids.entries + sids.count, [sid](PSID listed) { return EqualSid(listed, sid); });
}

DWORD sswseRequireValidSid(const sswseCall& call, PSID sid)
{
    SetLastError(ERROR_INVALID_SID); // the platform need not set one, and takes no NULL
    if (!sid || !IsValidSid(sid))
        return sswseFail(call, WSE_INVALID_SID, GetLastError(), "IsValidSid");
    return SSWSE_SUCCESS;
}
