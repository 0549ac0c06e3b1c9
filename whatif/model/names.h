// Names of accounts on a node, to SIDs and back, by Windows' own rules: well-known names first, then the groups of
// BUILTIN and the node's own users and groups, then the accounts of its domain and of others. The .cpp says what was
// decided where releases of Windows or their documentation differ.
#pragma once

#include "whatif/node.h"

#include <optional>

namespace whatif {

struct Name
{
    std::wstring sid;    // string form
    std::wstring domain; // "BUILTIN", "NT AUTHORITY", "NT SERVICE", a computer or a domain; empty for Everyone
    std::wstring name;   // empty for a domain
    SID_NAME_USE use = SidTypeUnknown;
};

// What LookupAccountName finds for a name; nothing is ERROR_NONE_MAPPED. Spellings: "name", "DOMAIN\name",
// "domain.example\name", "name@domain".
std::optional<Name> resolve(const Node& node, const std::wstring& name);

// What LookupAccountSid finds for a SID in string form; nothing is ERROR_NONE_MAPPED.
std::optional<Name> nameOf(const Node& node, const std::wstring& sid);

// "DOMAIN\name" for plan lines and descriptions, or the SID itself when it has no name on the node.
std::wstring printableName(const Node& node, const std::wstring& sid);

// Whether a text is a domain's name, or a DNS name that begins with it.
bool namesDomain(const std::wstring& text, const std::wstring& domain);

// The domain of the node's own users and groups: the computer's name, or on a domain controller the domain's.
std::wstring accountDomain(const Node& node);

// The SID that the node's own users and groups begin with.
std::wstring accountDomainSid(const Node& node);

// The administrator who calls: the node's, or the user of this process where the node reads this machine.
std::wstring callerSid(const Node& node);

// The next unused SID for a user or group that is made on the node.
std::wstring newSid(Node& node);

} // namespace whatif
