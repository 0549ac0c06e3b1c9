// Direct members of a local group by their SIDs, which accounts that are gone have too.
#pragma once

#include "accounts/account_names.h"
#include "groups/local_groups.h"

// The members, a piece at a time, as the network functions hand them out.
struct sswseMemberPiece
{
    owned::NetBuffer<LOCALGROUP_MEMBERS_INFO_0> rows;
    DWORD count = 0;
    DWORD_PTR resume = 0;
    NET_API_STATUS result = ERROR_MORE_DATA; // behind the last piece why there are no more: all seen, or the failure
};

// Reads the next piece; false behind the last one. All have to be read: the system holds a connection until then.
bool sswseNextMembers(const wchar_t* machine, const wchar_t* group, sswseMemberPiece& piece);
bool sswseIsNoGroup(NET_API_STATUS result);

// The members that are SIDs of services, in the group's order; none when there is no such group. 2, or 3 with
// WSE-000030, WSE-000037, WSE-00002.
[[nodiscard]] DWORD sswseReadServiceMembers(const sswseCall& call, const sswseGroupNames& group, sswseSidList& members);

// 2, or 3 with WSE-000031. The group is there; one that is a member already is no failure.
[[nodiscard]] DWORD sswseAddMemberSid(const sswseCall& call, const sswseGroupNames& group, PSID member);

// 2, or 3 with WSE-000032. A group or a member that is gone is no failure.
[[nodiscard]] DWORD sswseRemoveMemberSid(const sswseCall& call, const sswseGroupNames& group, PSID member);
