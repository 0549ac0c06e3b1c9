#include "acl/final_ace_list.h"

#include "frame/call.h"

#include <cstring>

namespace {

size_t sizeOf(const sswseAce* ace)
{
    return owned::roundedFor<sswseAce>(ace->Header.AceSize);
}

// Merging changes entries, so it is done on copies: one block for all of them.
DWORD mergeNew(const sswseCall& call, sswseAceList& made, const sswseAce* const* newAces, DWORD newCount,
               sswseFinalAces& finalAces)
{
    size_t size = 0;
    for (DWORD i = 0; i < newCount; ++i)
        size += sizeOf(newAces[i]);
    finalAces.copies = owned::allocate<BYTE>(size);
    if (!finalAces.copies)
        return sswseOutOfMemory(call);
    BYTE* place = finalAces.copies.get();
    for (DWORD i = 0; i < newCount; place += sizeOf(newAces[i]), ++i) {
        memcpy(place, newAces[i], newAces[i]->Header.AceSize);
        if (sswseMergeOrAddAceToAceList(call.rec, made, reinterpret_cast<sswseAce*>(place), &finalAces.count) !=
            SSWSE_SUCCESS)
            return SSWSE_FAILURE;
    }
    return SSWSE_SUCCESS;
}

// Does one of the first `count` entries name the account?
bool namesSid(const AceListNode* node, DWORD count, PSID sid)
{
    for (; sid && count > 0; node = node->next, --count)
        if (node->sid && EqualSid(node->sid, sid))
            return true;
    return false;
}

DWORD handOver(const sswseCall& call, const sswseAceList& made, sswseFinalAces& finalAces)
{
    finalAces.entries = owned::allocate<const sswseAce*>(finalAces.count * sizeof(const sswseAce*));
    if (!finalAces.entries)
        return sswseOutOfMemory(call);
    const sswseAce** entry = finalAces.entries.get();
    for (const AceListNode* node = made.first; node; node = node->next)
        *entry++ = static_cast<const sswseAce*>(node->ace);
    return SSWSE_SUCCESS;
}

} // namespace

DWORD sswseCreateFinalAceList(sswseErrRec* err, const sswseAceList& existing, const sswseAce* const* newAces,
                              DWORD newCount, bool keepExisting, sswseFinalAces* finalAces)
{
    return sswseRunFramed(err, __func__, sswseNoArgs{}, [&](const sswseCall& call) -> DWORD {
        if ((newCount && !newAces) || !finalAces)
            return sswseBadArgument(call, "ppNewAceList"); // the same name for both: deliberate
        sswseAceList made;
        if (newCount == 0 || mergeNew(call, made, newAces, newCount, *finalAces) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;

        // The new entries of an account stand for all of its old ones: those are dropped, inherited ones too.
        const DWORD accounts = finalAces->count;
        for (const AceListNode* node = keepExisting ? existing.first : nullptr; node; node = node->next) {
            if (namesSid(made.first, accounts, node->sid))
                continue;
            if (sswseAddAceToFinalList(call.rec, made, static_cast<sswseAce*>(node->ace)) != SSWSE_SUCCESS)
                return SSWSE_FAILURE;
            ++finalAces->count;
        }
        return handOver(call, made, *finalAces);
    });
}
