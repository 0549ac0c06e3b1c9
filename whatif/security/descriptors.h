// The security of an object: as the node keeps it, which is SDDL, and as the platform's functions take it.
#pragma once

#include "whatif/node.h"

namespace whatif {

struct Security
{
    std::vector<BYTE> owner;               // a SID; empty stands for the Administrators
    std::vector<BYTE> group;               // a SID; empty stands for the owner, unless the object says another
    SECURITY_DESCRIPTOR_CONTROL flags = 0; // SE_DACL_PROTECTED, SE_DACL_AUTO_INHERITED
    bool hasDacl = true;                   // without one everybody may do everything
    std::vector<BYTE> dacl;                // an ACL without slack; its revision is not kept
};

// The text is SDDL of owner and group, unless they are the default ones, and of the DACL: "O:SYD:P(A;;FA;;;SY)". What
// SDDL cannot say comes as "hex:" with the bytes of the descriptor. Exact both ways. Throws std::runtime_error for a
// text that is neither.
Security securityOf(const std::wstring& text);
std::wstring textOf(const Security& security);

// Any valid descriptor; of the control bits only the two flags are taken over.
Security securityOf(PSECURITY_DESCRIPTOR descriptor);
std::vector<BYTE> selfRelative(const Security& security, SECURITY_INFORMATION parts);

// What a query of a descriptor ends with: FALSE and ERROR_INSUFFICIENT_BUFFER when there is no room for it.
BOOL handOut(const Security& security, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR buffer, DWORD size,
             LPDWORD needed);

// What the functions end with that answer a Win32 error code and hand out a whole descriptor, from LocalAlloc, and
// places in it. The places may be NULL.
DWORD handOut(const Security& security, SECURITY_INFORMATION parts, PSID* owner, PSID* group, PACL* dacl,
              PSECURITY_DESCRIPTOR* descriptor);

// An entry with GUIDs in it; a list with such an entry has the later revision.
bool isObjectEntry(BYTE type);

} // namespace whatif
