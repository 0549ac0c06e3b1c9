// Applying new entries to one file or directory.
#pragma once

#include "acl/ace_list.h"

// Merges `newAces` before the object's existing DACL, or replaces it without `keepExisting`. An object that is one of
// the cluster file system's own entries is left alone. An object without access is skipped (2, with WSE-000053) unless
// `failOnAccessDenied`. 2, or 3 with the messages of composing, reading and writing, and WSE-00007.
DWORD sswseUpdateAclOnFile(sswseErrRec* err, const wchar_t* path, const sswseAce* const* newAces, DWORD newCount,
                           bool keepExisting, bool failOnAccessDenied);
