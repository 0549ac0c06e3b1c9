// Does a user belong to a local group, directly or through nesting? Decided by SID, never by comparing names.
#include "accounts/account_names.h"
#include "accounts/user_groups.h"
#include "frame/call.h"
#include "frame/node.h"

namespace {

struct Question
{
    owned::Heap<wchar_t> user;
    owned::Heap<wchar_t> group;
    owned::Heap<wchar_t> node;
    owned::Heap<void> groupSid;
    owned::Heap<void> userSid;
};

bool isNameUsable(const char* name)
{
    const char* const separator = name ? sswseFindBackslash(name) : nullptr;
    return name && !(separator && sswseFindBackslash(separator + 1));
}

DWORD prepare(const sswseCall& call, const char* username, const char* groupname, const char* nodename,
              Question& question)
{
    DWORD status = sswseToWide(call, username, question.user);
    if (status == SSWSE_SUCCESS)
        status = sswseToWide(call, groupname, question.group);
    if (status == SSWSE_SUCCESS)
        status = sswseNodeToWide(call, nodename, question.node);
    if (status == SSWSE_SUCCESS)
        status = sswseSidOfNameOnNode(call, groupname, question.node.get(), question.groupSid);
    if (status == SSWSE_SUCCESS)
        status = sswseSidOfNameOnNode(call, username, question.node.get(), question.userSid);
    return status;
}

// A name that this machine does not know is simply none of the three; what that look-up reports is not the caller's.
bool isBuiltinAccount(const char* username)
{
    DWORD kind = 0;
    return sswseIsNameBuiltinAcc(nullptr, username, &kind) == SSWSE_YES;
}

// The group's own list. Leaves `decided` false when the user's groups have to be asked: the user is not in the list, or
// the list cannot be read.
DWORD askMembers(const sswseCall& call, const char* username, const Question& question, bool& decided)
{
    BYTE* buffer = nullptr;
    DWORD read = 0;
    DWORD total = 0;
    const NET_API_STATUS result = NetLocalGroupGetMembers(question.node.get(), question.group.get(), 0, &buffer,
                                                          MAX_PREFERRED_LENGTH, &read, &total, nullptr);
    const owned::NetBuffer<BYTE> bufferOwner(buffer);
    decided = true;
    if (result == ERROR_NO_SUCH_ALIAS)
        return sswseFail(call, WSE_USER_GROUP_LIST, result, "NetLocalGroupGetMembers");
    if (result == NERR_Success) {
        const auto* members = reinterpret_cast<const LOCALGROUP_MEMBERS_INFO_0*>(buffer);
        for (DWORD i = 0; i < read; ++i)
            if (members[i].lgrmi0_sid && EqualSid(members[i].lgrmi0_sid, question.userSid.get()))
                return SSWSE_YES;
        if (isBuiltinAccount(username))
            return SSWSE_NO; // the user's groups are not asked then: deliberate
    }
    decided = false;
    return SSWSE_NO;
}

DWORD isSameGroup(const sswseCall& call, const wchar_t* name, const Question& question)
{
    owned::Heap<char> multibyte;
    owned::Heap<void> sid;
    DWORD status = sswseToMultibyte(call, name, multibyte);
    if (status == SSWSE_SUCCESS)
        status = sswseSidOfNameOnNode(call, multibyte.get(), question.node.get(), sid);
    if (status != SSWSE_SUCCESS)
        return status;
    return EqualSid(sid.get(), question.groupSid.get()) ? SSWSE_YES : SSWSE_NO;
}

DWORD askGroupsOfUser(const sswseCall& call, const Question& question, DWORD flags)
{
    sswseUserGroups groups;
    const NET_API_STATUS result = sswseReadUserGroups(question.node.get(), question.user.get(), flags, groups);
    if (result != NERR_Success && result != NERR_UserNotFound)
        return sswseFail(call, WSE_USER_GROUP_LIST, result, "NetUserGetLocalGroups");
    for (const LOCALGROUP_USERS_INFO_0& group : groups)
        if (const DWORD answer = isSameGroup(call, group.lgrui0_name, question); answer != SSWSE_NO)
            return answer;
    return SSWSE_NO;
}

} // namespace

DWORD WINAPI sswseCheckUserInGroup(sswseErrRec* err, const char* username, const char* groupname, DWORD directflg,
                                   const char* nodename)
{
    const auto args =
        sswseArgs("username=%s\ngroupname=%s\ndirectflg=%lu\nnodename=%s", username, groupname, directflg, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        // A bad group name is reported as "username" as well: deliberate.
        if (!isNameUsable(username) || !isNameUsable(groupname))
            return sswseBadArgument(call, "username");
        Question question;
        DWORD answer = prepare(call, username, groupname, nodename, question);
        if (answer != SSWSE_SUCCESS)
            return answer;
        bool decided = false;
        answer = askMembers(call, username, question, decided);
        return decided ? answer : askGroupsOfUser(call, question, directflg ? 0 : LG_INCLUDE_INDIRECT);
    });
}
