// What an object's DACL is to become: the new entries merged one per account, before what is kept of the old ones.
#pragma once

#include "acl/ace_list.h"
#include "frame/owned.h"

// Points into its own copies of the new entries and at existing ones where they are.
struct sswseFinalAces
{
    owned::Heap<const sswseAce*> entries;
    DWORD count = 0;
    owned::Heap<BYTE> copies;
};

// Composes into `finalAces` (empty before): one entry for each account of `newAces`, in the order of first mention;
// then, with `keepExisting`, the existing entries of all other accounts in their order, inherited ones and those
// without a SID that counts included. No canonical order is made. Neither `newAces` nor `existing` change; what holds
// the existing entries is kept as long as the result. 2; 3 with WSE-00002, or without a message when there is no new
// entry; 4 "ppNewAceList" for NULL arrays.
[[nodiscard]] DWORD sswseCreateFinalAceList(sswseErrRec* err, const sswseAceList& existing,
                                            const sswseAce* const* newAces, DWORD newCount, bool keepExisting,
                                            sswseFinalAces* finalAces);
