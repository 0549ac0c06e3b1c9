// The statuses that an exported function may answer.
#pragma once

#include "cli/functions.h"

#include <string>

namespace support {

// One digit for each, "0134"; empty for those that answer nothing.
std::string statusesOf(const cli::Function& function);

inline bool mayAnswer(const cli::Function& function, DWORD status)
{
    const std::string statuses = statusesOf(function);
    return statuses.empty() || (status < 10 && statuses.find(static_cast<char>('0' + status)) != std::string::npos);
}

} // namespace support
