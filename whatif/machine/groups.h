// The local groups of the real machine. What it does not show is not there.
#pragma once

#include "whatif/node.h"

namespace whatif {

std::vector<std::wstring> machineGroupNames();
bool readMachineGroup(const std::wstring& name, Group& group);                       // all but the SID
std::vector<std::wstring> machineGroupsOf(const std::wstring& account, DWORD flags); // LG_INCLUDE_INDIRECT or 0

} // namespace whatif
