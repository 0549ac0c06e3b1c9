// What a node that reads this machine sees of the domain's groups.
#pragma once

#include <string>
#include <vector>

namespace whatif {

// The SIDs of the groups that the real machine sees an account in but for its own groups, which the node holds. Nothing
// where it does not tell.
std::vector<std::wstring> machineDomainGroups(const std::wstring& sid);

} // namespace whatif
