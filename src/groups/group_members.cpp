// One member of a local group: add, remove. A member that is in already, or not in at all, is success.
#include "frame/call.h"
#include "frame/node.h"
#include "groups/local_groups.h"

namespace {

struct Membership
{
    sswseGroupNames names;
    owned::Heap<wchar_t> user;
};

// The group's name is looked at before the user's: deliberate.
DWORD nameMembership(const sswseCall& call, const char* username, const char* groupname, const char* nodename,
                     Membership& membership)
{
    if (groupname && !username)
        return sswseBadArgument(call, "username");
    if (const DWORD status = sswseNameGroup(call, groupname, nodename, membership.names); status != SSWSE_SUCCESS)
        return status;
    return sswseToWide(call, username, membership.user);
}

} // namespace

// A failed check leads to the attempt to create as well: deliberate.
DWORD sswseMakeSureOfGroup(const sswseCall& call, const char* groupname, const char* nodename)
{
    if (sswseCheckOSGroup(call.rec, groupname, nodename) == SSWSE_YES)
        return SSWSE_SUCCESS;
    const DWORD status = sswseCreateOSGroup(call.rec, groupname, "KESTEL Group", nodename);
    return status == SSWSE_SUCCESS ? SSWSE_SUCCESS : SSWSE_FAILURE;
}

DWORD sswseAddMember(const sswseCall& call, const sswseGroupNames& names, DWORD level, void* member)
{
    const NET_API_STATUS result =
        NetLocalGroupAddMembers(names.node.get(), names.group.get(), level, static_cast<BYTE*>(member), 1);
    return sswseGroupResult(call, result, {ERROR_MEMBER_IN_ALIAS}, WSE_ADD_GROUP_MEMBER, "NetLocalGroupAddMembers");
}

DWORD sswseRemoveMember(const sswseCall& call, const sswseGroupNames& names, DWORD level, void* member)
{
    const NET_API_STATUS result =
        NetLocalGroupDelMembers(names.node.get(), names.group.get(), level, static_cast<BYTE*>(member), 1);
    return sswseGroupResult(call, result,
                            {ERROR_MEMBER_NOT_IN_ALIAS, ERROR_NO_SUCH_MEMBER, NERR_GroupNotFound, ERROR_NO_SUCH_ALIAS},
                            WSE_REMOVE_GROUP_MEMBER, "NetLocalGroupDelMembers");
}

DWORD WINAPI sswseAddUserToGroup(sswseErrRec* err, const char* username, const char* groupname, const char* nodename)
{
    const auto args = sswseArgs("username=%s\ngroupname=%s\nnodename=%s", username, groupname, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        Membership membership;
        DWORD status = nameMembership(call, username, groupname, nodename, membership);
        if (status == SSWSE_SUCCESS)
            status = sswseMakeSureOfGroup(call, groupname, nodename);
        if (status != SSWSE_SUCCESS)
            return status;
        LOCALGROUP_MEMBERS_INFO_3 member = {membership.user.get()};
        return sswseAddMember(call, membership.names, 3, &member);
    });
}

DWORD WINAPI sswseRemoveUserFromGroup(sswseErrRec* err, const char* username, const char* groupname,
                                      const char* nodename)
{
    const auto args = sswseArgs("username=%s\ngroupname=%s\nnodename=%s", username, groupname, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        Membership membership;
        const DWORD status = nameMembership(call, username, groupname, nodename, membership);
        if (status != SSWSE_SUCCESS)
            return status;
        LOCALGROUP_MEMBERS_INFO_3 member = {membership.user.get()};
        return sswseRemoveMember(call, membership.names, 3, &member);
    });
}
