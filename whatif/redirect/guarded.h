// Entries of the replacement tables: what a replacement function throws reaches the library as the platform's own way
// of saying that there is no memory.
//
//     return {returningError<&localGroupAdd>("NetLocalGroupAdd"), settingLastError<&openManager>("OpenSCManagerW")};
#pragma once

#include "whatif/redirect/imports.h"

namespace whatif {

template <auto function>
struct Guarded;

template <class Result, class... Arguments, Result(WINAPI* function)(Arguments...)>
struct Guarded<function>
{
    static Result WINAPI returning(Arguments... arguments) noexcept
    {
        try {
            return function(arguments...);
        } catch (...) {
            breakOff();
            return static_cast<Result>(ERROR_NOT_ENOUGH_MEMORY);
        }
    }

    static Result WINAPI returningStatus(Arguments... arguments) noexcept
    {
        constexpr auto noMemory = static_cast<Result>(0xC0000017); // STATUS_NO_MEMORY
        try {
            return function(arguments...);
        } catch (...) {
            breakOff();
            return noMemory;
        }
    }

    static Result WINAPI setting(Arguments... arguments) noexcept
    {
        try {
            return function(arguments...);
        } catch (...) {
            breakOff();
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return Result();
        }
    }
};

// For functions whose result is a Win32 error code.
template <auto function>
Replacement returningError(const char* name)
{
    return {name, reinterpret_cast<void*>(&Guarded<function>::returning)};
}

// For functions whose result is an NTSTATUS.
template <auto function>
Replacement returningStatus(const char* name)
{
    return {name, reinterpret_cast<void*>(&Guarded<function>::returningStatus)};
}

// For functions that fail with FALSE or no handle, and the last error.
template <auto function>
Replacement settingLastError(const char* name)
{
    return {name, reinterpret_cast<void*>(&Guarded<function>::setting)};
}

} // namespace whatif
