#include "acl/final_ace_list.h"

#include "frame/call.h"

#include <cstring>

namespace {

using OwnedAce = owned::Heap<sswseAce>;

// A list in the making: the entries are its own until they are handed to the final array.
struct Composition
{
    sswseAceList list;
    DWORD count = 0;

    Composition() = default;
    Composition(const Composition&) = delete;
    Composition& operator=(const Composition&) = delete;
    ~Composition()
    {
        for (AceListNode* node = list.first; node; node = node->next)
            free(node->ace);
    }
};

OwnedAce copyOf(const sswseAce* ace)
{
    const WORD size = ace->Header.AceSize;
    OwnedAce copy = owned::allocate<sswseAce>(size);
    if (copy)
        memcpy(copy.get(), ace, size);
    return copy;
}

DWORD addNew(const sswseCall& call, Composition& made, const sswseAce* ace)
{
    OwnedAce copy = copyOf(ace);
    if (!copy)
        return sswseOutOfMemory(call);
    sswseAce* superseded = nullptr;
    const DWORD status = sswseMergeOrAddAceToAceList(call.rec, made.list, copy.get(), &made.count, &superseded);
    if (status == SSWSE_SUCCESS) {
        static_cast<void>(copy.release()); // the list's, or superseded
        free(superseded);
    }
    return status;
}

DWORD addExisting(const sswseCall& call, Composition& made, const sswseAce* ace)
{
    OwnedAce copy = copyOf(ace);
    if (!copy)
        return sswseOutOfMemory(call);
    const DWORD status = sswseAddAceToFinalList(call.rec, made.list, copy.get());
    if (status == SSWSE_SUCCESS) {
        static_cast<void>(copy.release());
        ++made.count;
    }
    return status;
}

bool namesSid(const sswseAce* const* aces, DWORD count, PSID sid)
{
    for (DWORD i = 0; sid && i < count; ++i) {
        const PSID named = sswseSidOfAce(aces[i]);
        if (named && EqualSid(named, sid))
            return true;
    }
    return false;
}

DWORD handOver(const sswseCall& call, Composition& made, sswseAceArray& finalAces)
{
    if (!finalAces.reserve(made.count))
        return sswseOutOfMemory(call);
    for (AceListNode* node = made.list.first; node; node = node->next) {
        finalAces.entries[finalAces.count++] = static_cast<sswseAce*>(node->ace);
        node->ace = nullptr;
    }
    return SSWSE_SUCCESS;
}

} // namespace

DWORD sswseCreateFinalAceList(sswseErrRec* err, const sswseAceList& existing, const sswseAce* const* newAces,
                              DWORD newCount, bool keepExisting, sswseAceArray* finalAces)
{
    return sswseRunFramed(err, __func__, sswseNoArgs{}, [&](const sswseCall& call) -> DWORD {
        if ((newCount && !newAces) || !finalAces)
            return sswseBadArgument(call, "ppNewAceList"); // the same name for both: deliberate
        Composition made;
        DWORD status = SSWSE_SUCCESS;
        for (DWORD i = 0; i < newCount && status == SSWSE_SUCCESS; ++i)
            status = addNew(call, made, newAces[i]);
        if (status != SSWSE_SUCCESS || !made.list.first)
            return SSWSE_FAILURE;

        // The new entries of an account stand for all of its old ones: those are dropped, inherited ones too.
        for (const AceListNode* node = keepExisting ? existing.first : nullptr; node; node = node->next) {
            if (namesSid(newAces, newCount, node->sid))
                continue;
            if (addExisting(call, made, static_cast<sswseAce*>(node->ace)) != SSWSE_SUCCESS)
                return SSWSE_FAILURE;
        }
        return handOver(call, made, *finalAces);
    });
}
