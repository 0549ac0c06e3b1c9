#include "groups/member_sids.h"

#include "accounts/service_sids.h"

namespace {

// Keeps those of a piece of the list.
DWORD keepServices(const sswseCall& call, const LOCALGROUP_MEMBERS_INFO_0* rows, DWORD count, sswseSidList& members)
{
    for (DWORD i = 0; i < count; ++i) {
        const PSID sid = rows[i].lgrmi0_sid;
        if (!sid || !sswseIsServiceSid(sid))
            continue;
        owned::Heap<void> copy;
        if (const DWORD status = sswseCopySid(call, sid, copy); status != SSWSE_SUCCESS)
            return status;
        if (!members.append(std::move(copy)))
            return sswseOutOfMemory(call);
    }
    return SSWSE_SUCCESS;
}

} // namespace

DWORD sswseReadServiceMembers(const sswseCall& call, const sswseGroupNames& group, sswseSidList& members)
{
    DWORD_PTR resume = 0;
    NET_API_STATUS result = ERROR_MORE_DATA;
    while (result == ERROR_MORE_DATA) {
        BYTE* buffer = nullptr;
        DWORD read = 0;
        DWORD total = 0;
        result = NetLocalGroupGetMembers(group.node.get(), group.group.get(), 0, &buffer, MAX_PREFERRED_LENGTH, &read,
                                         &total, &resume);
        const owned::NetBuffer<LOCALGROUP_MEMBERS_INFO_0> rows(reinterpret_cast<LOCALGROUP_MEMBERS_INFO_0*>(buffer));
        if (result == ERROR_NO_SUCH_ALIAS || result == NERR_GroupNotFound)
            return SSWSE_SUCCESS;
        // More to come, but nothing here: that would never end.
        if (result != NERR_Success && (result != ERROR_MORE_DATA || read == 0))
            return sswseFail(call, WSE_GROUP_INFO, result, "NetLocalGroupGetMembers");
        if (const DWORD status = keepServices(call, rows.get(), read, members); status != SSWSE_SUCCESS)
            return status;
    }
    return SSWSE_SUCCESS;
}

DWORD sswseAddMemberSid(const sswseCall& call, const sswseGroupNames& group, PSID member)
{
    LOCALGROUP_MEMBERS_INFO_0 entry = {member};
    return sswseAddMember(call, group, 0, &entry);
}

DWORD sswseRemoveMemberSid(const sswseCall& call, const sswseGroupNames& group, PSID member)
{
    LOCALGROUP_MEMBERS_INFO_0 entry = {member};
    return sswseRemoveMember(call, group, 0, &entry);
}
