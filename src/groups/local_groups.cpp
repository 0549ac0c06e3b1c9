// Local groups of a machine: create, look for, delete. Creating what is there and deleting what is gone is success.
#include "groups/local_groups.h"

#include "frame/call.h"
#include "frame/node.h"

DWORD sswseNameGroup(const sswseCall& call, const char* groupname, const char* nodename, sswseGroupNames& names)
{
    if (!groupname)
        return sswseBadArgument(call, "groupname");
    if (const DWORD status = sswseToWide(call, groupname, names.group); status != SSWSE_SUCCESS)
        return status;
    return sswseNodeToWide(call, nodename, names.node);
}

DWORD sswseGroupResult(const sswseCall& call, NET_API_STATUS result,
                       std::initializer_list<NET_API_STATUS> countedAsSuccess, DWORD messageId, const char* apiName)
{
    if (result == NERR_Success)
        return SSWSE_SUCCESS;
    for (const NET_API_STATUS counted : countedAsSuccess)
        if (result == counted)
            return SSWSE_SUCCESS;
    return sswseFail(call, messageId, result, apiName);
}

DWORD WINAPI sswseCreateOSGroup(sswseErrRec* err, const char* groupname, const char* groupdesc, const char* nodename)
{
    const auto args = sswseArgs("groupname=%s\ngroupdesc=%s\nnodename=%s", groupname, groupdesc, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        sswseGroupNames names;
        if (const DWORD status = sswseNameGroup(call, groupname, nodename, names); status != SSWSE_SUCCESS)
            return status;
        owned::Heap<wchar_t> comment;
        if (const DWORD status = sswseToWide(call, sswseTextOrEmpty(groupdesc), comment); status != SSWSE_SUCCESS)
            return status;
        LOCALGROUP_INFO_1 info = {names.group.get(), comment.get()};
        DWORD badMember = 0;
        const NET_API_STATUS result = NetLocalGroupAdd(names.node.get(), 1, reinterpret_cast<BYTE*>(&info), &badMember);
        return sswseGroupResult(call, result, {ERROR_ALIAS_EXISTS, NERR_GroupExists}, WSE_CREATE_GROUP,
                                "NetLocalGroupAdd");
    });
}

DWORD WINAPI sswseCheckOSGroup(sswseErrRec* err, const char* groupname, const char* nodename)
{
    const auto args = sswseArgs("groupname=%s\nnodename=%s", groupname, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        sswseGroupNames names;
        if (const DWORD status = sswseNameGroup(call, groupname, nodename, names); status != SSWSE_SUCCESS)
            return status;
        BYTE* info = nullptr;
        const NET_API_STATUS result = NetLocalGroupGetInfo(names.node.get(), names.group.get(), 1, &info);
        const owned::NetBuffer<BYTE> infoOwner(info);
        // Releases differ in how they say that there is no such group.
        if (result == NERR_GroupNotFound || result == ERROR_NO_SUCH_ALIAS)
            return SSWSE_NO;
        if (result != NERR_Success)
            return sswseFail(call, WSE_GROUP_INFO, result, "NetLocalGroupGetInfo");
        return SSWSE_YES;
    });
}

DWORD WINAPI sswseDeleteOSGroup(sswseErrRec* err, const char* groupname, const char* nodename)
{
    const auto args = sswseArgs("groupname=%s\nnodename=%s", groupname, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        sswseGroupNames names;
        if (const DWORD status = sswseNameGroup(call, groupname, nodename, names); status != SSWSE_SUCCESS)
            return status;
        return sswseGroupResult(call, NetLocalGroupDel(names.node.get(), names.group.get()),
                                {ERROR_NO_SUCH_ALIAS, NERR_GroupNotFound}, WSE_DELETE_GROUP, "NetLocalGroupDel");
    });
}
