// A registry value, and how the plan and descriptions show it.
#pragma once

#include "whatif/node.h"

namespace whatif {

struct RegistryValue
{
    DWORD type = REG_NONE;
    std::vector<BYTE> data;

    bool operator==(const RegistryValue& other) const { return type == other.type && data == other.data; }
};

RegistryValue registryText(const std::wstring& text, DWORD type = REG_SZ); // with its terminator
RegistryValue registryNumber(DWORD number);

// The text itself, "expand:text", "dword:7", or "hex(type):01,02" for everything else, so that both ways are exact.
std::wstring textOf(const RegistryValue& value);
RegistryValue registryValueOf(const std::wstring& text); // throws std::runtime_error

} // namespace whatif
