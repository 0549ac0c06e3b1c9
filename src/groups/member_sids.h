// Direct members of a local group by their SIDs, which accounts that are gone have too.
#pragma once

#include "accounts/account_names.h"
#include "groups/local_groups.h"

// The members that are SIDs of services, in the group's order; none when there is no such group. 2, or 3 with
// WSE-000030, WSE-000037, WSE-00002.
DWORD sswseReadServiceMembers(const sswseCall& call, const sswseGroupNames& group, sswseSidList& members);

// 2, or 3 with WSE-000031. The group is there; one that is a member already is no failure.
DWORD sswseAddMemberSid(const sswseCall& call, const sswseGroupNames& group, PSID member);

// 2, or 3 with WSE-000032. A group or a member that is gone is no failure.
DWORD sswseRemoveMemberSid(const sswseCall& call, const sswseGroupNames& group, PSID member);
