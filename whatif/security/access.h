// Who gets what access, by the rules that Windows documents for its access check (MS-DTYP 2.5.3.2, "How AccessCheck
// Works"): the first entry that has a bit decides about it; entries that are only there to be inherited do not count;
// an owner gets to the list whatever it says, unless it has an entry for OWNER RIGHTS.
#pragma once

#include "whatif/security/entries.h"

#include <set>

namespace whatif {

// Who asks: a user and the groups, as a token holds them.
struct Identities
{
    std::set<Sid> enabled;
    std::set<Sid> denyOnly; // an entry can take rights from them, not give them any

    bool has(const Sid& sid) const { return enabled.count(sid) != 0; }
};

// An administrator who is logged on and is no other account of any list; uses no privilege.
const Identities& administrator();

// Every bit that the entries give, and the owner's rights. Without a list these are all standard and specific rights.
// The masks of the entries are taken as `mapping` maps them, or as they are.
DWORD granted(const Security& security, const Identities& who, const GENERIC_MAPPING* mapping);

// What a handle that is asked for with `access`, generic rights and MAXIMUM_ALLOWED among it, can do; false when it is
// refused. ACCESS_SYSTEM_SECURITY depends on a privilege and is left out.
bool opens(const Security& security, const Identities& who, DWORD access, const GENERIC_MAPPING& mapping,
           DWORD& handle);

// Whether the administrator gets the access.
bool administratorGets(const Security& security, DWORD access, const GENERIC_MAPPING& mapping);

// The access that reading respectively writing parts of a descriptor needs.
DWORD accessToRead(SECURITY_INFORMATION parts);
DWORD accessToWrite(SECURITY_INFORMATION parts);

extern const GENERIC_MAPPING fileRights;
extern const GENERIC_MAPPING keyRights;
extern const GENERIC_MAPPING serviceRights;

} // namespace whatif
