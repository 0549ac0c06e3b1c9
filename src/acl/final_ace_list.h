// What an object's DACL is to become: the new entries merged one per account, before what is kept of the old ones.
#pragma once

#include "acl/ace_array.h"

// Composes into `finalAces` (empty before): one entry for each account of `newAces`, in the order of first mention;
// then, with `keepExisting`, the existing entries of all other accounts in their order, inherited ones and those
// without a SID that counts included. No canonical order is made. The entries are copies: neither `newAces` nor
// `existing` change. 2; 3 with WSE-00002, or without a message when there is no new entry; 4 "ppNewAceList" for NULL
// arrays.
DWORD sswseCreateFinalAceList(sswseErrRec* err, const sswseAceList& existing, const sswseAce* const* newAces,
                              DWORD newCount, bool keepExisting, sswseAceArray* finalAces);
