// Names of accounts on a node, to SIDs and back, by Windows' own rules: well-known names first, then the groups of
// BUILTIN, the node's own users and groups, the accounts of its domain, service names. See the .cpp for the decisions.
#pragma once

#include "whatif/node.h"

#include <optional>

namespace whatif {

struct Name
{
    std::wstring sid;    // string form
    std::wstring domain; // "BUILTIN", "NT AUTHORITY", "NT SERVICE", a computer or a domain; empty for Everyone
    std::wstring name;
    SID_NAME_USE use = SidTypeUnknown;
};

// What LookupAccountName finds for a name, in any of its spellings; nothing is ERROR_NONE_MAPPED.
std::optional<Name> resolve(const Node& node, const std::wstring& name);

// What LookupAccountSid finds for a SID in string form; nothing is ERROR_NONE_MAPPED.
std::optional<Name> nameOf(const Node& node, const std::wstring& sid);

// "DOMAIN\name" for the plan, or the SID itself when it has no name on the node.
std::wstring printableName(const Node& node, const std::wstring& sid);

// The accounts a node starts with: the groups of BUILTIN, Administrator and Guest, and the rights that matter here.
Node standardNode(const std::wstring& name);

// The domain part of the node's own users and groups: its name, or on a domain controller the domain's.
std::wstring accountDomain(const Node& node);

} // namespace whatif
