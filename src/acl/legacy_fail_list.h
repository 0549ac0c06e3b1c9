// The objects that the legacy permission setting could not change, in the order in which they failed.
#pragma once

#include "frame/owned.h"

// The legacy entries' own statuses; every routine of theirs yields one of these.
enum sswseLegacyStatus : DWORD
{
    SSWSE_LEGACY_DONE = 0,
    SSWSE_LEGACY_NO_OBJECT = 1,  // the starting object does not exist
    SSWSE_LEGACY_NO_MEMORY = 2,  // the work stops; the caller gets no list
    SSWSE_LEGACY_INCOMPLETE = 3, // some objects are in the fail list
};

struct sswseFailedObject
{
    char* name; // OEM code page, "" for a name that cannot be converted; from malloc
    sswseFailedObject* next;
};

struct sswseFailList
{
    sswseFailList() = default;
    ~sswseFailList(); // releases what is still listed
    sswseFailList(const sswseFailList&) = delete;
    sswseFailList& operator=(const sswseFailList&) = delete;

    sswseFailedObject* first = nullptr;
    sswseFailedObject** end = &first;
    DWORD count = 0;
};

// Adds an object: SSWSE_LEGACY_INCOMPLETE, or SSWSE_LEGACY_NO_MEMORY, traced under the name of the calling function.
[[nodiscard]] DWORD sswseAddToFailList(sswseFailList& list, const wchar_t* path, const char* function);

// Moves the names into an array for the caller, NULL when memory is exhausted.
char** sswseTakeFailedNames(sswseFailList& list);

// Traces that memory is exhausted and yields SSWSE_LEGACY_NO_MEMORY.
[[nodiscard]] DWORD sswseLegacyNoMemory(const char* function);
