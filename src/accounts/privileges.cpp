#include "accounts/privileges.h"

#include "accounts/account_names.h"
#include "accounts/home_types.h"
#include "accounts/lsa_policy.h"
#include "frame/call.h"
#include "frame/node.h"

#include <cstring>

namespace {

constexpr auto privilegeArgLine = "username = %s\nnodename = %s\nKestelHomeType = %s";

// One row a home type although all are alike today: a type can get rights of its own.
constexpr sswsePrivilegeSet privilegeSets[] = {
    {sswseHomeType0, {"SeServiceLogonRight", "SeCreateSymbolicLinkPrivilege"}},
    {sswseHomeType1, {"SeServiceLogonRight", "SeCreateSymbolicLinkPrivilege"}},
    {sswseHomeType2, {"SeServiceLogonRight", "SeCreateSymbolicLinkPrivilege"}},
};

// Stops at the first right that fails; what was changed before stays so.
DWORD changeSet(const sswseCall& call, const sswseRightsChange& change, const char* username, const char* nodename,
                const char* khtype)
{
    if (!username)
        return sswseBadArgument(call, "username");
    const sswsePrivilegeSet* const set = sswseFindPrivilegeSet(khtype);
    if (!set)
        return sswseFail(call, WSE_UNSUPPORTED_HOME_TYPE, 0, "");

    owned::Heap<wchar_t> name;
    owned::Heap<wchar_t> node;
    owned::Heap<void> sid;
    owned::PolicyHandle policy;
    if (sswseToWide(call, username, name) != SSWSE_SUCCESS || sswseNodeToWide(call, nodename, node) != SSWSE_SUCCESS ||
        sswseLookupSidOfName(call, node.get(), name.get(), "LookUpAccountNameW", sid) != SSWSE_SUCCESS ||
        sswseRequireValidSid(call, sid.get()) != SSWSE_SUCCESS ||
        sswseOpenPolicy(call, node.get(), policy) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    for (const char* const right : set->rights)
        if (right && sswseChangeRight(call, change, policy.get(), sid.get(), right) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
    return SSWSE_SUCCESS;
}

} // namespace

const sswsePrivilegeSet* sswseFindPrivilegeSet(const char* khtype)
{
    for (const sswsePrivilegeSet& set : privilegeSets)
        if (khtype && strcmp(khtype, set.homeType) == 0)
            return &set;
    return nullptr;
}

DWORD WINAPI sswseGrantPrivilegesToUser(sswseErrRec* err, const char* username, const char* nodename,
                                        const char* khtype)
{
    return sswseRunFramed(
        err, __func__, sswseArgs(privilegeArgLine, username, nodename, khtype),
        [&](const sswseCall& call) { return changeSet(call, sswseGrantRights, username, nodename, khtype); });
}

DWORD WINAPI sswseRevokePrivilegesFromUser(sswseErrRec* err, const char* username, const char* nodename,
                                           const char* khtype)
{
    return sswseRunFramed(
        err, __func__, sswseArgs(privilegeArgLine, username, nodename, khtype),
        [&](const sswseCall& call) { return changeSet(call, sswseRevokeRights, username, nodename, khtype); });
}

DWORD sswseGrantPrivilegesToSid(sswseErrRec* err, PSID sid, const char* privname, const char* nodename)
{
    const auto args = sswseArgs("nodename = %s\nPrivilege Name = %s", nodename, privname);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!privname)
            return sswseBadArgument(call, "privilege name");
        if (!sid)
            return sswseBadArgument(call, "OS SID");
        if (sswseRequireValidSid(call, sid) != SSWSE_SUCCESS)
            return SSWSE_INVALID_ARGUMENT;
        owned::Heap<wchar_t> node;
        owned::PolicyHandle policy;
        if (sswseNodeToWide(call, nodename, node) != SSWSE_SUCCESS ||
            sswseOpenPolicy(call, node.get(), policy) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        return sswseChangeRight(call, sswseGrantRights, policy.get(), sid, privname);
    });
}
