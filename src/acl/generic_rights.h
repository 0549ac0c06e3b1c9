// Generic rights, told as the rights of a kind of object.
#pragma once

#include <windows.h>

inline constexpr GENERIC_MAPPING sswseFileRights = {FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE,
                                                    FILE_ALL_ACCESS};
inline constexpr GENERIC_MAPPING sswseKeyRights = {KEY_READ, KEY_WRITE, KEY_EXECUTE, KEY_ALL_ACCESS};

inline constexpr DWORD sswseGenericRights = GENERIC_READ | GENERIC_WRITE | GENERIC_EXECUTE | GENERIC_ALL;

// The mask without generic bits; what each of them stands for is in it instead.
constexpr DWORD sswseMapRights(const GENERIC_MAPPING& rights, DWORD mask)
{
    return (mask & ~sswseGenericRights) | (mask & GENERIC_READ ? rights.GenericRead : 0) |
           (mask & GENERIC_WRITE ? rights.GenericWrite : 0) | (mask & GENERIC_EXECUTE ? rights.GenericExecute : 0) |
           (mask & GENERIC_ALL ? rights.GenericAll : 0);
}
