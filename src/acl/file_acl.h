// Applying new entries to one file or directory.
#pragma once

#include "acl/ace_list.h"

struct sswseExclusions;

// What objects are to get.
struct sswseAclUpdate
{
    const sswseAce* const* newAces;
    DWORD newCount;
    bool keepExisting;                         // merge them before the existing DACL instead of replacing it
    bool skipUnchanged = false;                // leave an object alone that has exactly what it would get
    const sswseExclusions* excluded = nullptr; // what a walk leaves alone; NULL: nothing
};

// Applies the update to an object. One of the cluster file system's own entries is left alone. An object without access
// is skipped (2, with WSE-000053) unless `failOnAccessDenied`. 2, or 3 with the messages of composing, reading and
// writing.
[[nodiscard]] DWORD sswseUpdateAclOnFile(sswseErrRec* err, const wchar_t* path, const sswseAclUpdate& update,
                                         bool failOnAccessDenied);
