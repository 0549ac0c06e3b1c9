// Account names to SIDs and back, by SID, on this machine or on another.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

// What the platform says of an account name. `domain` is terminated.
struct sswseAccount
{
    owned::Heap<void> sid;
    owned::Heap<wchar_t> domain;
    SID_NAME_USE use = SidTypeUnknown;
    DWORD osError = ERROR_SUCCESS; // of a look-up that failed; none when memory was short
};

// The platform's two-call account look-up on `machine` (NULL: local). 2, or 3 with WSE-000014 (naming `apiName` as the
// failed function) or WSE-00002. When only the second call fails the block stays in `account.sid`, zeroed as far as the
// platform left it, for the one routine that hands it out all the same.
[[nodiscard]] DWORD sswseLookupAccount(const sswseCall& call, const wchar_t* machine, const wchar_t* name,
                                       const char* apiName, sswseAccount& account);

// The same for callers that only want the SID.
[[nodiscard]] DWORD sswseLookupSidOfName(const sswseCall& call, const wchar_t* machine, const wchar_t* name,
                                         const char* apiName, owned::Heap<void>& sid);

inline constexpr DWORD sswseNameCapacity = 512;

struct sswseQualifiedName
{
    wchar_t account[sswseNameCapacity];
    wchar_t domain[sswseNameCapacity];
};

// The account of a SID on this machine. 2, or 3 with WSE-000034.
[[nodiscard]] DWORD sswseLookupNameOfSid(const sswseCall& call, PSID sid, sswseQualifiedName& name);

// The name of this computer. 2, or 3 with WSE-000019.
[[nodiscard]] DWORD sswseComputerName(const sswseCall& call, wchar_t (&computer)[MAX_COMPUTERNAME_LENGTH + 1]);

// sswseConvertUnameToSID with the look-up made on `machinename` (NULL: local); checks `username` before `sid`.
[[nodiscard]] DWORD sswseConvertUnameToSIDOnNode(sswseErrRec* err, const char* username, PSID* sid,
                                                 const wchar_t* machinename);

// The two conversions for callers that use the SID: 2, or 3 with the message. An account that vanished while its SID
// was fetched is a failure here, where the conversions answer 2 with a SID that is not valid.
[[nodiscard]] DWORD sswseSidOfName(const sswseCall& call, const char* username, owned::Heap<void>& sid);
[[nodiscard]] DWORD sswseSidOfNameOnNode(const sswseCall& call, const char* username, const wchar_t* machinename,
                                         owned::Heap<void>& sid);

// A SID from its string form, multibyte or wide. 2, or 3 with WSE-000038 "ConvertStringSidToSid".
[[nodiscard]] DWORD sswseSidFromString(const sswseCall& call, const char* text, owned::Local<void>& sid);
[[nodiscard]] DWORD sswseSidFromString(const sswseCall& call, const wchar_t* text, owned::Local<void>& sid);

// A copy from the one heap. 2, or 3 with WSE-000037 or WSE-00002.
[[nodiscard]] DWORD sswseCopySid(const sswseCall& call, PSID sid, owned::Heap<void>& copy);

using sswseSidList = owned::Blocks<void>;
bool sswseIsListed(const sswseSidList& sids, PSID sid);

// 2, or 3 with WSE-000039 "IsValidSid".
[[nodiscard]] DWORD sswseRequireValidSid(const sswseCall& call, PSID sid);
