// What a node that reads this machine sees of its services.
#pragma once

#include "whatif/node.h"

#include <windows.h>

namespace whatif {

// False when the machine has no service of that name, or does not show it.
bool readMachineService(const std::wstring& name, Service& service);
void readMachineServices(Node& node); // all of them into a node that reads the machine
bool machineLetsOpen(const std::wstring& name, DWORD access);
std::wstring machineServiceOfDisplayName(const std::wstring& displayName); // empty when there is none

} // namespace whatif
