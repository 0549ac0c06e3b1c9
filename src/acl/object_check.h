// A check of an object, or of everything below it as well: which objects are looked at, and what becomes of those that
// cannot be read.
#pragma once

#include "acl/findings.h"
#include "acl/object_request.h"
#include "acl/registry_tree.h"

struct sswseObjectCheck
{
    // What is done with an object: 1 to go on, 0 with a finding that ends the check, 3. `key`: open, where the check
    // goes through keys, else NULL. `osError` becomes the error of an object that cannot be read, which is a 3.
    DWORD (*look)(const sswseCall& call, sswseObjectCheck& check, const wchar_t* path, HKEY key, DWORD* osError);
    const void* question; // what `look` asks
    sswseFindings findings;
    bool isStrict;            // what cannot be read below the object ends the check with 3 too; else it is a finding
    DWORD status = SSWSE_YES; // of what has been looked at
};

// A file or directory, with `wholeTree` everything below it, and the volume of a mount point. 1, 0; 3 with what `look`
// says or WSE-000065, WSE-00002, WSE-00006, WSE-00007.
[[nodiscard]] DWORD sswseCheckFiles(const sswseCall& call, sswseObjectCheck& check, const sswseObjectPlace& place,
                                    bool wholeTree);

// A key alone, by its name. 1, 0, 3 as `look` says.
[[nodiscard]] DWORD sswseCheckNamedKey(const sswseCall& call, sswseObjectCheck& check, const sswseObjectPlace& place);

// A key and every key below it. 1, 0; 3 with what `look` says or as from sswseWalkKeys.
[[nodiscard]] DWORD sswseCheckKeys(const sswseCall& call, sswseObjectCheck& check, const sswseObjectPlace& place,
                                   const sswseKeyName& name);
