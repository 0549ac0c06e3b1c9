// Arrays of heap blocks with their count: access-control entries, SIDs.
#pragma once

#include "acl/ace_list.h"
#include "frame/owned.h"

// Owns the pointer block and each block it points at.
template <class T>
struct sswseOwnedArray
{
    T** entries = nullptr;
    DWORD count = 0;

    sswseOwnedArray() = default;
    sswseOwnedArray(const sswseOwnedArray&) = delete;
    sswseOwnedArray& operator=(const sswseOwnedArray&) = delete;
    ~sswseOwnedArray()
    {
        for (DWORD i = 0; i < count; ++i)
            free(entries[i]);
        free(entries);
    }

    // Room for that many pointers in a new, empty array; false when memory is exhausted.
    bool reserve(size_t size)
    {
        entries = static_cast<T**>(calloc(size ? size : 1, sizeof(T*)));
        return entries != nullptr;
    }
};

using sswseAceArray = sswseOwnedArray<sswseAce>;

// Makes an allow entry for `sid` into `array[*count]`, which must have room, and adds 1 to `count`. The mask comes
// before the flags here, unlike in sswseCreateAceForSid. 2, or 3 with WSE-00002, WSE-000039.
DWORD sswseBuildAceArray(sswseErrRec* err, PSID sid, DWORD mask, BYTE aceFlags, sswseAce** array, DWORD* count);
