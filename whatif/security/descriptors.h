// The security of an object: as the node keeps it, which is SDDL, and as the platform's functions take it.
#pragma once

#include "whatif/node.h"

#include <accctrl.h>

namespace whatif {

struct Security
{
    std::vector<BYTE> owner;               // a SID; empty stands for the Administrators
    SECURITY_DESCRIPTOR_CONTROL flags = 0; // SE_DACL_PROTECTED, SE_DACL_AUTO_INHERITED
    bool hasDacl = true;                   // without one everybody may do everything
    std::vector<BYTE> dacl;                // an ACL without slack; its revision is not kept
};

// The text is SDDL of the owner, unless it is the default one, and of the DACL: "O:SYD:P(A;;FA;;;SY)". What SDDL cannot
// say comes as "hex:" with the bytes of the descriptor. Exact both ways. Throws std::runtime_error for a text that is
// neither.
Security securityOf(const std::wstring& text);
std::wstring textOf(const Security& security);

// Any valid descriptor; of the control bits only the two flags are taken over.
Security securityOf(PSECURITY_DESCRIPTOR descriptor);
std::vector<BYTE> selfRelative(const Security& security, SECURITY_INFORMATION parts);

// What a query of a descriptor ends with: FALSE and ERROR_INSUFFICIENT_BUFFER when there is no room for it.
BOOL handOut(const Security& security, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR buffer, DWORD size,
             LPDWORD needed);

// The access that reading respectively writing parts of a descriptor needs.
DWORD accessToRead(SECURITY_INFORMATION parts);
DWORD accessToWrite(SECURITY_INFORMATION parts);

// An entry with GUIDs in it; a list with such an entry has the later revision.
bool isObjectEntry(BYTE type);

// Generic rights become the object's own, as they do when Windows attaches a descriptor to an object. Entries that are
// only there to be inherited keep theirs.
void mapGenericRights(Security& security, const GENERIC_MAPPING& mapping);

// Keeps the entries of the DACL that are inherited, or those that are not; puts entries behind those that are there.
void keepEntries(Security& security, bool inherited);
void appendEntries(Security& security, const Security& more);

// SetEntriesInAcl without names. What neither grants, denies nor revokes, or is for another trustee than a SID, is left
// to the platform.
DWORD mergeEntries(std::vector<EXPLICIT_ACCESS_A> entries, PACL before, PACL* after);

// What an object that is created below `parent` gets, when an administrator creates it.
Security inheritedFrom(const Security& parent, bool container, const GENERIC_MAPPING& mapping);

// Whether an administrator who is no other account of the DACL, and uses no privilege, gets the access.
bool allows(const Security& security, DWORD access, const GENERIC_MAPPING& mapping);

extern const GENERIC_MAPPING fileRights;
extern const GENERIC_MAPPING keyRights;
extern const GENERIC_MAPPING serviceRights;

} // namespace whatif
