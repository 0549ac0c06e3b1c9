// From words on a command line or in a script to a call: which function, and a value for each of its parameters.
#pragma once

#include "cli/functions.h"

#include <cstdint>
#include <stdexcept>

namespace cli {

// Wrong usage: one clear line.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

constexpr const char* hiddenSecret = "****";

struct Value
{
    bool given = false;
    std::vector<std::string> texts; // in the ANSI code page, as the library takes them; wide ones UTF-8
    std::vector<std::string> shown; // as they were given, UTF-8, secrets hidden
    std::uint32_t number = 0;       // the preset when it is not given; of a buffer its size
};

struct Call
{
    const Function* function = nullptr;
    std::vector<Value> values;     // one for each parameter
    bool failureTolerated = false; // in a script
};

// `words`: the function's name and name=value arguments, UTF-8. Throws UsageError.
Call parseCall(const std::vector<std::string>& words);

std::vector<std::string> secretsOf(const Call& call); // in the ANSI code page

} // namespace cli
