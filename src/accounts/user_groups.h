// The local groups that a user belongs to.
#pragma once

#include "frame/owned.h"

struct sswseUserGroups
{
    owned::NetBuffer<LOCALGROUP_USERS_INFO_0> rows;
    DWORD count = 0;

    const LOCALGROUP_USERS_INFO_0* begin() const { return rows.get(); }
    const LOCALGROUP_USERS_INFO_0* end() const { return rows.get() + count; }
};

// Reads them on `server` (NULL: local); `flags` 0 for direct membership, LG_INCLUDE_INDIRECT for nested groups too. The
// platform's result, with no group unless it is NERR_Success; the record is the caller's business.
NET_API_STATUS sswseReadUserGroups(const wchar_t* server, const wchar_t* user, DWORD flags, sswseUserGroups& groups);
