// Does a user, by itself or through its local groups, hold every right of a home type's set?
#include "accounts/account_names.h"
#include "accounts/lsa_policy.h"
#include "accounts/privileges.h"
#include "accounts/user_groups.h"
#include "frame/call.h"
#include "frame/format.h"
#include "frame/text.h"

#include <algorithm>

namespace {

constexpr NTSTATUS noMoreEntries = static_cast<NTSTATUS>(0x8000001A); // STATUS_NO_MORE_ENTRIES
constexpr size_t rightNameSize = 50;                                  // of each text handed to the caller

struct MissingRights
{
    std::array<const char*, std::tuple_size_v<decltype(sswsePrivilegeSet::rights)>> names;
    size_t count = 0;
};

DWORD resolveHolder(const sswseCall& call, const char* name, PSID& sid)
{
    if (sswseConvertUnameToSID(call.rec, name, &sid) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return sswseRequireValidSid(call, sid);
}

// The user's own SID, then those of its groups.
DWORD readHolders(const sswseCall& call, const char* username, sswseSidList& holders)
{
    owned::Heap<wchar_t> name;
    if (sswseToWide(call, username, name) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    sswseUserGroups groups;
    if (const DWORD result = sswseReadUserGroups(nullptr, name.get(), LG_INCLUDE_INDIRECT, groups))
        return sswseFail(call, WSE_USER_GROUP_LIST, result, "NetUserGetLocalGroups");
    if (!holders.reserve(size_t{1} + groups.count))
        return sswseOutOfMemory(call);

    holders.count = 1;
    for (const LOCALGROUP_USERS_INFO_0& group : groups) {
        owned::Heap<char> groupName;
        if (sswseToMultibyte(call, group.lgrui0_name, groupName) != SSWSE_SUCCESS ||
            resolveHolder(call, groupName.get(), holders.entries[holders.count++]) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
    }
    return resolveHolder(call, username, holders.entries[0]);
}

DWORD isRightHeld(const sswseCall& call, LSA_HANDLE policy, const char* right, const sswseSidList& holders, bool& held)
{
    owned::Heap<wchar_t> name;
    if (sswseToWide(call, right, name) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    LSA_UNICODE_STRING text = sswseLsaString(name.get());
    void* buffer = nullptr;
    ULONG count = 0;
    const NTSTATUS result = LsaEnumerateAccountsWithUserRight(policy, &text, &buffer, &count);
    const owned::LsaBuffer<LSA_ENUMERATION_INFORMATION> accounts(static_cast<LSA_ENUMERATION_INFORMATION*>(buffer));
    if (result != 0 && result != noMoreEntries)
        return sswseFail(call, WSE_ENUMERATE_ACCOUNTS, LsaNtStatusToWinError(result),
                         "LsaEnumerateAccountsWithUserRight");
    const LSA_ENUMERATION_INFORMATION* const first = accounts.get();
    held = result == 0 &&
           std::any_of(first, first + count, [&](const auto& row) { return sswseIsListed(holders, row.Sid); });
    return SSWSE_SUCCESS;
}

DWORD findMissing(const sswseCall& call, const sswsePrivilegeSet& set, const sswseSidList& holders,
                  MissingRights& missing)
{
    owned::PolicyHandle policy;
    if (sswseOpenPolicy(call, nullptr, policy) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    for (const char* const right : set.rights) {
        bool held = true;
        if (right && isRightHeld(call, policy.get(), right, holders, held) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        if (!held)
            missing.names[missing.count++] = right;
    }
    return SSWSE_SUCCESS;
}

DWORD copyNames(const sswseCall& call, const MissingRights& missing, owned::Blocks<char>& names)
{
    if (!names.reserve(missing.count))
        return sswseOutOfMemory(call);
    while (names.count < missing.count) {
        char* const name = owned::allocate<char>(rightNameSize).release();
        if (!name)
            return sswseOutOfMemory(call);
        sswseFormat(name, rightNameSize, "%s", missing.names[names.count]);
        names.entries[names.count++] = name;
    }
    return SSWSE_SUCCESS;
}

} // namespace

DWORD WINAPI sswseCheckUserPrivileges(sswseErrRec* err, const char* username, const char* khtype, char*** missing,
                                      int* count)
{
    const auto args = sswseArgs("username = %s\nKestelHomeType = %s", username, khtype);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (count)
            *count = 0;
        if (missing)
            *missing = nullptr;
        if (!username)
            return sswseBadArgument(call, "username");
        if (!missing)
            return sswseBadArgument(call, "missing");
        if (!count)
            return sswseBadArgument(call, "count");
        const sswsePrivilegeSet* const set = sswseFindPrivilegeSet(khtype);
        if (!set) {
            sswseReport(call, WSE_UNSUPPORTED_HOME_TYPE, 0, "");
            return SSWSE_UNSUPPORTED_HOME_TYPE;
        }
        sswseSidList holders;
        MissingRights absent;
        owned::Blocks<char> names;
        if (readHolders(call, username, holders) != SSWSE_SUCCESS ||
            findMissing(call, *set, holders, absent) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        if (absent.count == 0)
            return SSWSE_YES;
        if (copyNames(call, absent, names) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        *missing = names.release();
        *count = static_cast<int>(absent.count);
        return SSWSE_NO;
    });
}
