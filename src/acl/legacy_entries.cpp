#include "acl/legacy_entries.h"

#include "frame/call.h"
#include "frame/owned.h"

#include <cstddef>
#include <cstring>
#include <iterator>

namespace {

struct Constructor
{
    const char* name;
    BYTE subAuthorities;
    DWORD subAuthority[2];
    ACCESS_MASK mask;
    ACCESS_MASK maskOnNT4;
};

constexpr ACCESS_MASK read = FILE_GENERIC_READ | FILE_EXECUTE; // reading and executing share all the rest
constexpr ACCESS_MASK full = GENERIC_ALL | FILE_ALL_ACCESS;

constexpr Constructor constructors[] = {
    {"createAuthenticatedUsersAce",
     1,
     {SECURITY_AUTHENTICATED_USER_RID, 0},
     read,
     GENERIC_READ | GENERIC_EXECUTE | read},
    {"createLocalAdministratorsAce", 2, {SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS}, full, full},
    {"createLocalSystemAce", 1, {SECURITY_LOCAL_SYSTEM_RID, 0}, full, full},
};
static_assert(std::size(constructors) == std::size(sswseLegacyEntries{}.entry));
static_assert(read == 0x1200A9 && full == 0x101F01FF);

constexpr size_t sidOffset = offsetof(ACCESS_ALLOWED_ACE, SidStart);

void fillEntry(sswseLegacyEntry& entry, ACCESS_MASK mask, PSID sid)
{
    const DWORD length = GetLengthSid(sid);
    entry.ace.Header = {ACCESS_ALLOWED_ACE_TYPE, OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE,
                        static_cast<WORD>(sidOffset + length)};
    entry.ace.Mask = mask;
    memcpy(reinterpret_cast<BYTE*>(&entry) + sidOffset, sid, length);
}

DWORD makeEntry(const Constructor& row, bool isNT4, sswseLegacyEntry& entry)
{
    return sswseRunFramed(nullptr, row.name, sswseNoArgs{}, [&](const sswseCall& call) -> DWORD {
        SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
        PSID made = nullptr;
        if (!AllocateAndInitializeSid(&authority, row.subAuthorities, row.subAuthority[0], row.subAuthority[1], 0, 0, 0,
                                      0, 0, 0, &made))
            return sswseApiFailed(call, GetLastError(), "AllocateAndInitializeSid");
        const owned::Sid sid(made);
        fillEntry(entry, isNT4 ? row.maskOnNT4 : row.mask, sid.get());
        return SSWSE_SUCCESS;
    });
}

bool isAllow(BYTE type)
{
    return type == ACCESS_ALLOWED_ACE_TYPE || type == ACCESS_ALLOWED_OBJECT_ACE_TYPE;
}

bool isDeny(BYTE type)
{
    return type == ACCESS_DENIED_ACE_TYPE || type == ACCESS_DENIED_OBJECT_ACE_TYPE;
}

bool isSameSid(const void* left, const void* right)
{
    const PSID first = const_cast<void*>(left);
    const PSID second = const_cast<void*>(right);
    return IsValidSid(first) && IsValidSid(second) && EqualSid(first, second);
}

// A denied mask of 0 stands for "everything is denied". Only a first entry that denies exactly the generic rights
// becomes that; and allow entries after the one that met it add up again: deliberate.
void mergeAgain(sswseLegacyGrant& grant, BYTE type, ACCESS_MASK mask)
{
    if (isAllow(type) && isDeny(grant.type)) {
        grant.mask = grant.mask == 0 ? 0 : mask & ~grant.mask;
        grant.type = type;
    } else if (isAllow(type)) {
        grant.mask |= mask;
    } else if (isDeny(type) && !isDeny(grant.type)) {
        grant.mask = mask == GENERIC_ALL ? 0 : grant.mask & ~mask;
    } else if (isDeny(type) && grant.mask != 0) {
        grant.mask |= mask;
    }
}

void merge(sswseLegacyGrant& grant, BYTE type, ACCESS_MASK mask)
{
    if (grant.isThere)
        return mergeAgain(grant, type, mask);
    if (isDeny(type) && mask == GENERIC_ALL)
        mask = 0;
    grant = {true, type, mask};
}

} // namespace

void sswseMakeLegacyEntries(bool adminOnly, bool isNT4, sswseLegacyEntries& entries)
{
    entries.count = 0;
    for (const Constructor& row : constructors) {
        if (adminOnly && &row == &constructors[0])
            continue;
        if (makeEntry(row, isNT4, entries.entry[entries.count]) != SSWSE_SUCCESS)
            continue;
        sswseTrace("%s returned non-null pAce", row.name);
        ++entries.count;
    }
}

bool sswseMergeLegacyAce(const sswseLegacyEntries& entries, const BYTE* ace, sswseLegacyGrants& grants)
{
    constexpr size_t sidHeader = offsetof(SID, SubAuthority);
    const BYTE* const sid = ace + sidOffset; // in object entries too
    WORD size = 0;
    memcpy(&size, ace + offsetof(ACE_HEADER, AceSize), sizeof size);
    if (size < sidOffset + sidHeader || size < sidOffset + GetSidLengthRequired(sid[offsetof(SID, SubAuthorityCount)]))
        return false;

    const BYTE type = ace[offsetof(ACE_HEADER, AceType)];
    ACCESS_MASK mask = 0;
    memcpy(&mask, ace + offsetof(ACCESS_ALLOWED_ACE, Mask), sizeof mask);
    for (DWORD i = 0; i < entries.count; ++i)
        if (isSameSid(&entries.entry[i].ace.SidStart, sid))
            merge(grants.of[i], type, mask);
    return true;
}

void sswseLimitLegacyEntries(sswseLegacyEntries& entries, const sswseLegacyGrants& grants)
{
    DWORD kept = 0;
    for (DWORD i = 0; i < entries.count; ++i) {
        sswseLegacyEntry entry = entries.entry[i];
        if (const sswseLegacyGrant& grant = grants.of[i]; grant.isThere) {
            const ACCESS_MASK limit = isDeny(grant.type) ? ~grant.mask : grant.mask;
            entry.ace.Mask = grant.mask == 0 ? 0 : entry.ace.Mask & limit;
        }
        if (entry.ace.Mask != 0)
            entries.entry[kept++] = entry;
    }
    entries.count = kept;
}
