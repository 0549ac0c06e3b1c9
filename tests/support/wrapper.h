// The typed wrapper that stands before one platform function; used by the rows only.
#pragma once

#include "tests/support/intercept.h"

#include <type_traits>

namespace intercept {

// The run under way. `enter` answers the error code with which the call is to fail, if it is.
std::optional<DWORD> enter(const Row& row, const Raw& arguments);
// False for a release of what is not held, or of another kind: it is not carried out.
bool releasing(const Row& row, const Raw& arguments);
// The result that the library gets.
uintptr_t finished(const Row& row, uintptr_t result, const Raw& arguments);
const Row& rowOf(void** original);

template <class T>
constexpr char typeOf()
{
    if constexpr (std::is_pointer_v<T>)
        return std::is_same_v<T, LPCSTR> ? 'a' : std::is_same_v<T, LPCWSTR> ? 'w' : 'p';
    return std::is_signed_v<T> ? 'i' : 'n';
}

// The last error of what does not say its failure with it: nobody has anything to learn from that.
constexpr DWORD staleError = ERROR_INVALID_EA_NAME;

template <class T>
T failureOf(const Row& row, DWORD code)
{
    T failure = {};
    switch (row.says) {
    case Says::result:
    case Says::ntStatus:
        if constexpr (!std::is_pointer_v<T>)
            failure = static_cast<T>(code);
        SetLastError(staleError);
        break;
    case Says::memoryNull:
        SetLastError(staleError);
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
    static constexpr char types[] = {typeOf<A>()..., '\0'};
    static inline void* original;
    static inline const Row* row;

    static R WINAPI call(A... arguments)
    {
        if (!row)
            row = &rowOf(&original);
        const Raw raw = {rawOf(arguments)...};
        const std::optional<DWORD> code = enter(*row, raw);
        if (!code && !releasing(*row, raw))
            return R();
        const auto real = reinterpret_cast<R(WINAPI*)(A...)>(original);
        if constexpr (std::is_void_v<R>) {
            real(arguments...);
        } else {
            if (code && row->writesBeforeItFails)
                real(arguments...);
            if (code)
                return failureOf<R>(*row, *code);
            R result = real(arguments...);
            const DWORD osError = GetLastError();
            const uintptr_t given = finished(*row, rawOf(result), raw);
            memcpy(&result, &given, sizeof result);
            SetLastError(osError);
            return result;
        }
    }
};

} // namespace intercept
