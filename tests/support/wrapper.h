// The typed wrapper that stands before one platform function; used by the rows only.
#pragma once

#include "tests/support/intercept.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace intercept {

using Raw = std::array<uintptr_t, 16>;

// The run under way. `enter` answers the error code with which the call is to fail, if it is.
std::optional<DWORD> enter(const Row& row);
void releasing(const Row& row, const Raw& arguments);
void acquired(const Row& row, uintptr_t result, const Raw& arguments);
const Row& rowOf(void** original);

template <class T>
uintptr_t rawOf(T value)
{
    static_assert(sizeof value <= sizeof(uintptr_t));
    uintptr_t raw = 0;
    memcpy(&raw, &value, sizeof value);
    return raw;
}

template <class T>
T failureOf(const Row& row, DWORD code)
{
    T failure = {};
    switch (row.says) {
    case Says::result:
    case Says::ntStatus:
        if constexpr (!std::is_pointer_v<T>)
            failure = static_cast<T>(code);
        break;
    case Says::allBits:
        memset(&failure, 0xFF, sizeof failure);
        [[fallthrough]];
    default:
        SetLastError(code);
    }
    return failure;
}

template <auto function>
struct Wrapper;

template <class R, class... A, R(WINAPI* function)(A...)>
struct Wrapper<function>
{
    static inline void* original;
    static inline const Row* row;

    static R WINAPI call(A... arguments)
    {
        if (!row)
            row = &rowOf(&original);
        if (const std::optional<DWORD> code = enter(*row)) {
            if constexpr (std::is_void_v<R>)
                return;
            else
                return failureOf<R>(*row, *code);
        }
        const Raw raw = {rawOf(arguments)...};
        releasing(*row, raw);
        const auto real = reinterpret_cast<R(WINAPI*)(A...)>(original);
        if constexpr (std::is_void_v<R>) {
            real(arguments...);
        } else {
            const R result = real(arguments...);
            const DWORD osError = GetLastError();
            acquired(*row, rawOf(result), raw);
            SetLastError(osError);
            return result;
        }
    }
};

} // namespace intercept
