// Changing the DACLs of a tree where nothing may be missed without being told.
#pragma once

#include "acl/object_dacl.h"
#include "acl/strict_walk.h"

// Reads one object and writes it, if there is something to change. 2, or 3 with the message; `osError` receives the
// system's error when the object could not be opened.
using sswseRewrite = DWORD (*)(const sswseCall& call, const void* context, const sswseWalkedObject& object,
                               DWORD* osError);

// Does so for the directory and everything below it (sswseWalkStrictly). A child that fails does not end the walk, one
// that has gone does not count. 2 with an empty record; 3 with the first message.
[[nodiscard]] DWORD sswseRewriteTree(const sswseCall& call, const wchar_t* path, const void* context,
                                     sswseRewrite rewrite);

// Reads the DACL of an object that such a walk has come to. 2; 3 with the messages of sswseReadDacl.
[[nodiscard]] DWORD sswseReadWalked(const sswseCall& call, const sswseWalkedObject& object, sswseExistingDacl& existing,
                                    DWORD* osError);

// Pointers to entries that lie elsewhere.
struct sswseAceView
{
    owned::Heap<const sswseAce*> entries;
    DWORD count = 0;
};

// Room for all entries of the list in a view that is empty; false when memory is exhausted.
bool sswseReserveView(const sswseAceList& list, sswseAceView& view);
