// Does the DACL of an object give accounts what they should have?
#pragma once

#include "acl/findings.h"
#include "acl/object_dacl.h"
#include "acl/object_request.h"

// What an account should have.
struct sswseExpectedAccess
{
    PSID sid;
    DWORD mask;       // in rights of the object's own kind
    const char* name; // for findings
};

// Each account once, in the order of the grants that it is made from and that own the SIDs and names.
struct sswseExpectation
{
    owned::Heap<sswseExpectedAccess> accounts;
    DWORD count = 0;
    const GENERIC_MAPPING* rights = nullptr; // of that kind
};

// What objects hold that the grants have been added to. 2, or 3 with WSE-00002.
[[nodiscard]] DWORD sswseExpectGrants(const sswseCall& call, const sswseGrants& grants, const GENERIC_MAPPING& rights,
                                      sswseExpectation& expectation);

// By the entries of each account that count for the object itself, inherited ones included: a bit is granted or denied
// by the first of them that has it. Of the bits, those that none of them has are told before those that are denied. An
// object without a list has that one finding. 1: the check goes on; 0: it ends here; 3 with the message.
[[nodiscard]] DWORD sswseJudgeDacl(const sswseCall& call, const wchar_t* path, const sswseExistingDacl& dacl,
                                   const sswseExpectation& expectation, sswseFindings& findings);
