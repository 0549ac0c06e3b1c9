// The entries of the legacy permission setting: the fixed new ones, what the old DACL of an object grants, and how the
// old limits the new. Shares nothing with the ACE list engine on purpose: other rules, kept apart.
#pragma once

#include <windows.h>

// An ACCESS_ALLOWED_ACE with room for any SID.
struct sswseLegacyEntry
{
    ACCESS_ALLOWED_ACE ace;
    BYTE rest[SECURITY_MAX_SID_SIZE - sizeof(DWORD)];
};

struct sswseLegacyEntries
{
    sswseLegacyEntry entry[3];
    DWORD count;
};

// The new entries in the order in which they are written: Authenticated Users (left out for administrators only),
// Administrators, LocalSystem. One that cannot be made is left out. `isNT4` adds the generic rights for Authenticated
// Users.
void sswseMakeLegacyEntries(bool adminOnly, bool isNT4, sswseLegacyEntries& entries);

// What the old DACL says of the SID of a new entry.
struct sswseLegacyGrant
{
    bool isThere; // false: nothing
    BYTE type;    // of the entry that decides: the first one, or the allow entry that met a deny
    ACCESS_MASK mask;
};

// Of each new entry, in their order. What the old DACL says of others makes no difference.
struct sswseLegacyGrants
{
    sswseLegacyGrant of[3];
};

// Merges the next entry of the old DACL, which lies inside the DACL but need not be aligned. False when its SID does
// not lie inside it.
bool sswseMergeLegacyAce(const sswseLegacyEntries& entries, const BYTE* ace, sswseLegacyGrants& grants);

// Limits the new entries by what the old DACL says of their SIDs and drops those of which nothing is left.
void sswseLimitLegacyEntries(sswseLegacyEntries& entries, const sswseLegacyGrants& grants);
