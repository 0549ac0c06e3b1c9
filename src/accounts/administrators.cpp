// Is a user one of the machine's administrators?
#include "accounts/account_names.h"
#include "accounts/user_groups.h"
#include "frame/call.h"
#include "frame/text.h"

namespace {

// 256 bytes: more than any SID takes.
struct SidBuffer
{
    alignas(SID) BYTE bytes[256];
};

DWORD administratorsSid(const sswseCall& call, SidBuffer& sid)
{
    DWORD size = sizeof sid.bytes;
    if (!CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid.bytes, &size))
        return sswseFail(call, WSE_BUILTIN_SID, GetLastError(), "CreateWellKnownSid", "Administrator");
    return SSWSE_SUCCESS;
}

// Nested groups take rights that not every caller has: refused, the direct ones are read instead.
DWORD readGroups(const sswseCall& call, const char* username, sswseUserGroups& groups, bool& directOnly)
{
    owned::Heap<wchar_t> name;
    if (sswseToWide(call, username, name) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    NET_API_STATUS result = sswseReadUserGroups(nullptr, name.get(), LG_INCLUDE_INDIRECT, groups);
    directOnly = result == ERROR_ACCESS_DENIED;
    if (directOnly)
        result = sswseReadUserGroups(nullptr, name.get(), 0, groups);
    if (result != NERR_Success)
        return sswseFail(call, WSE_USER_GROUP_LIST, result, "NetUserGetLocalGroups");
    return SSWSE_SUCCESS;
}

} // namespace

DWORD WINAPI sswseIsAdministrator(sswseErrRec* err, const char* username)
{
    return sswseRunFramed(err, __func__, sswseArgs("Username = %s", username), [&](const sswseCall& call) -> DWORD {
        if (!username)
            return sswseBadArgument(call, "username");
        PSID converted = nullptr;
        const DWORD status = sswseConvertUnameToSID(call.rec, username, &converted);
        const owned::Heap<void> user(converted); // only that the name resolves counts
        if (status != SSWSE_SUCCESS)
            return status;
        SidBuffer administrators;
        sswseUserGroups groups;
        bool directOnly = false;
        if (administratorsSid(call, administrators) != SSWSE_SUCCESS ||
            readGroups(call, username, groups, directOnly) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        for (const LOCALGROUP_USERS_INFO_0& group : groups) {
            owned::Heap<void> sid;
            if (sswseLookupSidOfName(call, nullptr, group.lgrui0_name, "LookUpAccountNameW", sid) != SSWSE_SUCCESS)
                return SSWSE_FAILURE;
            if (EqualSid(sid.get(), administrators.bytes))
                return SSWSE_YES;
        }
        if (directOnly) // a "no" that did not see the nested groups is none
            return sswseFail(call, WSE_USER_GROUP_LIST, ERROR_ACCESS_DENIED, "NetUserGetLocalGroups");
        return SSWSE_NO;
    });
}
