// Deletes a service, and takes its SID out of the local groups of the node.
#include "accounts/user_groups.h"
#include "frame/call.h"
#include "frame/node.h"
#include "services/service_manager.h"

namespace {

// Last group first. What cannot be read or removed stays, and is not reported.
void leaveGroups(const wchar_t* node, wchar_t* member)
{
    sswseUserGroups groups;
    sswseReadUserGroups(node, member, 0, groups);
    LOCALGROUP_MEMBERS_INFO_3 entry = {member};
    for (DWORD i = groups.count; i > 0; --i)
        NetLocalGroupDelMembers(node, groups.rows.get()[i - 1].lgrui0_name, 3, reinterpret_cast<BYTE*>(&entry), 1);
}

DWORD leaveGroupsOfNode(const sswseCall& call, const char* servicename, const char* nodename)
{
    char sidName[512];
    if (sswseGetServiceSidName(call.rec, servicename, sidName, sizeof sidName - 1, nullptr) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    owned::Heap<wchar_t> node;
    owned::Heap<wchar_t> member;
    if (sswseNodeToWide(call, nodename, node) != SSWSE_SUCCESS || sswseToWide(call, sidName, member) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    leaveGroups(node.get(), member.get());
    return SSWSE_SUCCESS;
}

} // namespace

DWORD WINAPI sswseDeleteService(sswseErrRec* err, const char* nodename, const char* servicename)
{
    const auto args = sswseArgs("nodename = %s\nService Name = %s", nodename, servicename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!servicename)
            return sswseBadArgument(call, "Service Name");
        if (sswseIsOSVistaOrAbove(call.rec) == SSWSE_YES &&
            leaveGroupsOfNode(call, servicename, nodename) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        sswseOpenedService opened;
        if (sswseOpenNodeService(call, nodename, servicename, SERVICE_ALL_ACCESS, opened) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        if (!DeleteService(opened.service.get()))
            return sswseFail(call, WSE_DELETE_SERVICE, GetLastError(), "DeleteService");
        return SSWSE_SUCCESS;
    });
}
