// A machine as it is when Windows has just been installed.
#pragma once

#include "whatif/node.h"

namespace whatif {

// What every fresh machine has: the groups of BUILTIN, Administrator and Guest, a few account rights. To a node without
// accounts whose name, domain and SID are set.
void addStandardAccounts(Node& node);
Node standardNode(const std::wstring& name);

} // namespace whatif
