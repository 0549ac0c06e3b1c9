#include "groups/member_sids.h"

#include "accounts/service_sids.h"

namespace {

// Keeps those of a piece of the list.
DWORD keepServices(const sswseCall& call, const sswseMemberPiece& piece, sswseSidList& members)
{
    for (DWORD i = 0; i < piece.count; ++i) {
        const PSID sid = piece.rows.get()[i].lgrmi0_sid;
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

bool sswseNextMembers(const wchar_t* machine, const wchar_t* group, sswseMemberPiece& piece)
{
    if (piece.result != ERROR_MORE_DATA)
        return false;
    BYTE* buffer = nullptr;
    DWORD total = 0;
    piece.count = 0;
    piece.result =
        NetLocalGroupGetMembers(machine, group, 0, &buffer, MAX_PREFERRED_LENGTH, &piece.count, &total, &piece.resume);
    piece.rows.reset(reinterpret_cast<LOCALGROUP_MEMBERS_INFO_0*>(buffer));
    // More to come, but nothing here: that would never end.
    return piece.result == NERR_Success || (piece.result == ERROR_MORE_DATA && piece.count > 0);
}

bool sswseIsNoGroup(NET_API_STATUS result)
{
    return result == ERROR_NO_SUCH_ALIAS || result == NERR_GroupNotFound;
}

DWORD sswseReadServiceMembers(const sswseCall& call, const sswseGroupNames& group, sswseSidList& members)
{
    sswseMemberPiece piece;
    while (sswseNextMembers(group.node.get(), group.group.get(), piece))
        if (const DWORD status = keepServices(call, piece, members); status != SSWSE_SUCCESS)
            return status;
    if (piece.result != NERR_Success && !sswseIsNoGroup(piece.result))
        return sswseFail(call, WSE_GROUP_INFO, piece.result, "NetLocalGroupGetMembers");
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
