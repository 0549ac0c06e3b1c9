// Arrays of access-control entries, each in a block of its own.
#pragma once

#include "acl/ace_list.h"
#include "frame/owned.h"

using sswseAceArray = owned::Blocks<sswseAce>;

// Makes an allow entry for `sid` into `array[*count]`, which must have room, and adds 1 to `count`. 2, or 3 with
// WSE-00002, WSE-000039.
[[nodiscard]] DWORD sswseBuildAceArray(sswseErrRec* err, PSID sid, BYTE aceFlags, DWORD mask, sswseAce** array,
                                       DWORD* count);
