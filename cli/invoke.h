// Calling an exported function of the loaded library by its descriptor.
#pragma once

#include "cli/arguments.h"

#include <nlohmann/json.hpp>

#include <array>

namespace cli {

class Trace;

// What one call needs of its surroundings.
struct Host
{
    HMODULE library;
    BOOL(WINAPI* closeService)(SC_HANDLE); // the one that fits the library's service handles
    Trace* trace;
    // The ones that fit its other handles; see whatif.h for the names of objects.
    HANDLE (*openObject)(const std::wstring& object, DWORD access) = nullptr;
    BOOL(WINAPI* closeObject)(HANDLE) = nullptr;
};

struct Outcome
{
    DWORD status = 0;
    Verdict verdict;
    std::string message; // the error record, UTF-8
    std::string osError;
    nlohmann::ordered_json outputs; // name -> value, in the order of the parameters
};

constexpr size_t mostSlots = 16;
using Slots = std::array<std::uintptr_t, mostSlots>;

// In the platform's calling convention every argument of the exports, a variable one too, takes one 64-bit register or
// stack slot, and a function does not look at slots beyond its own: one type of function calls them all.
DWORD callWithSlots(const Host& host, const char* name, const Slots& slots);

// Everything that the function returned is released again. Throws UsageError when the library lacks the function.
Outcome invoke(const Host& host, const Call& call);

} // namespace cli
