// Access-control entries and lists of them, searched by SID and kept in the order of insertion.
//
// An entry's SID begins at offset 8, whatever the entry's type, and counts only when it is valid and lies inside the
// entry. Entries come from outside too: no routine reads past an entry's own size.
#pragma once

#include "keswsec.h"

using sswseAce = ACCESS_ALLOWED_ACE; // the layout that allow and deny entries share; further ones only by their header

// The entry's SID, NULL when there is none that counts.
PSID sswseSidOfAce(const sswseAce* ace);

// Nodes are had in blocks, the first of which is the list's own: a list is made for each object of a tree.
struct sswseAceNodes
{
    AceListNode node[16];
    DWORD count = 0; // in use
    sswseAceNodes* next = nullptr;
};

// Owns its nodes, never the entries they point at.
struct sswseAceList
{
    AceListNode* first = nullptr;
    AceListNode* last = nullptr;
    sswseAceNodes own;
    sswseAceNodes* blocks = &own; // the latest first

    sswseAceList() = default;
    sswseAceList(const sswseAceList&) = delete;
    sswseAceList& operator=(const sswseAceList&) = delete;
    ~sswseAceList();
};

// The first node of that SID, NULL when there is none (also for a NULL `sid`).
AceListNode* sswseFindSid(const sswseAceList& list, PSID sid);

// The flags of an entry that everything below an object inherits.
inline constexpr BYTE sswseInheritedByAll = OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE;

inline bool sswseIsInherited(const sswseAce* ace)
{
    return (ace->Header.AceFlags & INHERITED_ACE) != 0;
}

// Entries that are told apart by nothing but generic bits, which count as `rights` has them; and whether a list is
// exactly these.
bool sswseIsSameAce(const sswseAce* one, const sswseAce* other, const GENERIC_MAPPING& rights);
bool sswseIsListOf(const sswseAceList& list, const sswseAce* const* aces, DWORD count, const GENERIC_MAPPING& rights);

// An allow entry for a valid SID in a block of its own, released with free. 2, 3, or 4 for a NULL `ace`.
[[nodiscard]] DWORD sswseCreateAceForSid(sswseErrRec* err, PSID sid, BYTE aceFlags, DWORD mask, sswseAce** ace);

// Puts an entry at the tail, whatever the list holds. 2 or 3.
[[nodiscard]] DWORD sswseAddAceToFinalList(sswseErrRec* err, sswseAceList& list, sswseAce* ace);

// Merges `newAce` into the entry of the same SID, or puts it at the tail and adds 1 to `counter` (may be NULL). Masks
// of the listed entry and of `newAce` change, and either of the two may be the listed one afterwards. 2, 3, or 4 for a
// NULL `newAce`.
[[nodiscard]] DWORD sswseMergeOrAddAceToAceList(sswseErrRec* err, sswseAceList& list, sswseAce* newAce, DWORD* counter);
