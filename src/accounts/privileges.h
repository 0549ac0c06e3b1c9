// Account rights: the set that a home's user needs, by home type, and one named right for a SID. The routines that
// grant, revoke and check the sets are exported.
#pragma once

#include "keswsec.h"

#include <array>

// An empty slot is NULL and skipped.
struct sswsePrivilegeSet
{
    const char* homeType;
    std::array<const char*, 5> rights;
};

// The set of a home type, compared exactly; NULL for anything else, NULL included.
const sswsePrivilegeSet* sswseFindPrivilegeSet(const char* khtype);

// Grants `privname` to `sid` on `nodename`. 2; 3 with WSE-000025, WSE-000041; 4 for a NULL argument or an invalid SID
// (WSE-000039).
[[nodiscard]] DWORD sswseGrantPrivilegesToSid(sswseErrRec* err, PSID sid, const char* privname, const char* nodename);
