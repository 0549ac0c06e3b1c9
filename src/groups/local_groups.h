// What the operations on local groups share: the wide names, and which results of the network functions are success.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

#include <initializer_list>

// A group on a machine, as the network functions take it; no node is the local machine.
struct sswseGroupNames
{
    owned::Heap<wchar_t> group;
    owned::Heap<wchar_t> node;
};

// 2; 3 with WSE-00006; 4 with WSE-000012 "groupname" when it is NULL.
[[nodiscard]] DWORD sswseNameGroup(const sswseCall& call, const char* groupname, const char* nodename,
                                   sswseGroupNames& names);

// The status for the result of a network function: 2 when it is 0 or one of those that mean "already so", else 3 with
// the message and the result as the system's error.
[[nodiscard]] DWORD sswseGroupResult(const sswseCall& call, NET_API_STATUS result,
                                     std::initializer_list<NET_API_STATUS> countedAsSuccess, DWORD messageId,
                                     const char* apiName);

// One member, as the network functions take it at a level. 2, or 3 with WSE-000031 respectively WSE-000032; a member
// that is in already or, for the removal, a member or group that is not there, is no failure.
[[nodiscard]] DWORD sswseAddMember(const sswseCall& call, const sswseGroupNames& names, DWORD level, void* member);
[[nodiscard]] DWORD sswseRemoveMember(const sswseCall& call, const sswseGroupNames& names, DWORD level, void* member);

// Creates the group, with the comment "KESTEL Group", unless it is known to be there. 2 or 3.
[[nodiscard]] DWORD sswseMakeSureOfGroup(const sswseCall& call, const char* groupname, const char* nodename);
