// Calling an exported function of the loaded library by its descriptor.
#pragma once

#include "cli/arguments.h"

#include <nlohmann/json.hpp>

namespace cli {

class Trace;

// What one call needs of its surroundings.
struct Host
{
    HMODULE library;
    BOOL(WINAPI* closeService)(SC_HANDLE); // the one that fits the library's service handles
    Trace* trace;
};

struct Outcome
{
    DWORD status = 0;
    Verdict verdict;
    std::string message; // the error record, UTF-8
    std::string osError;
    nlohmann::ordered_json outputs; // name -> value, in the order of the parameters
};

// Everything that the function returned is released again. Throws UsageError when the library lacks the function.
Outcome invoke(const Host& host, const Call& call);

} // namespace cli
