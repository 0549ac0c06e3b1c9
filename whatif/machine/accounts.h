// What a node that reads this machine sees of its accounts: the real look-ups, less what was deleted on the node.
#pragma once

#include "whatif/model/names.h"

#include <ntsecapi.h>

namespace whatif {

std::optional<Name> machineResolve(const Node& node, const std::wstring& name);
std::optional<Name> machineNameOf(const Node& node, const std::wstring& sid);
std::wstring machineUser(); // the SID of the user of this process
bool machineHasService(const std::wstring& name);

// The SIDs that hold an account right, and the rights that a SID holds. Nothing held is success with nothing in it.
NTSTATUS machineHolders(const std::wstring& right, std::vector<std::wstring>& sids);
NTSTATUS machineRights(const std::wstring& sid, std::vector<std::wstring>& rights);

} // namespace whatif
