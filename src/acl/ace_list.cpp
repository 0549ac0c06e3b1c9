#include "acl/ace_list.h"

#include "acl/generic_rights.h"
#include "frame/call.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

constexpr DWORD sidOffset = offsetof(sswseAce, SidStart);

constexpr size_t sizeWithSid(size_t subAuthorities)
{
    return sidOffset + offsetof(SID, SubAuthority) + subAuthorities * sizeof(DWORD);
}

enum class Kind
{
    allow,
    deny,
    other
};

Kind kindOf(const sswseAce* ace)
{
    switch (ace->Header.AceType) {
    case ACCESS_ALLOWED_ACE_TYPE:
    case ACCESS_ALLOWED_OBJECT_ACE_TYPE:
        return Kind::allow;
    case ACCESS_DENIED_ACE_TYPE:
    case ACCESS_DENIED_OBJECT_ACE_TYPE:
        return Kind::deny;
    default:
        return Kind::other;
    }
}

// NULL when memory is exhausted.
AceListNode* newNode(sswseAceList& list)
{
    if (list.blocks->count == std::size(list.blocks->node)) {
        auto* const block = static_cast<sswseAceNodes*>(malloc(sizeof(sswseAceNodes)));
        if (!block)
            return nullptr;
        block->count = 0;
        block->next = list.blocks;
        list.blocks = block;
    }
    return &list.blocks->node[list.blocks->count++];
}

DWORD append(const sswseCall& call, sswseAceList& list, sswseAce* ace)
{
    AceListNode* const node = newNode(list);
    if (!node)
        return sswseOutOfMemory(call);
    *node = {ace, sswseSidOfAce(ace), nullptr};
    (list.last ? list.last->next : list.first) = node;
    list.last = node;
    return SSWSE_SUCCESS;
}

// One entry an account: an entry of the other kind takes its bits away instead of standing beside it. An empty deny
// mask stands for everything, so it empties the allow entry that it meets on either side. All of it is deliberate.
void merge(AceListNode& node, sswseAce* newAce)
{
    auto* const old = static_cast<sswseAce*>(node.ace);
    const Kind newKind = kindOf(newAce);
    if (newKind == Kind::allow && kindOf(old) == Kind::deny) {
        newAce->Mask = old->Mask ? newAce->Mask & ~old->Mask : 0;
        node.ace = newAce;
        node.sid = sswseSidOfAce(newAce);
    } else if (newKind == Kind::allow)
        old->Mask |= newAce->Mask;
    else if (newKind == Kind::deny && newAce->Mask == 0)
        old->Mask = 0;
    else if (newKind == Kind::deny)
        old->Mask = kindOf(old) == Kind::allow ? old->Mask & ~newAce->Mask : old->Mask | newAce->Mask;
}

} // namespace

PSID sswseSidOfAce(const sswseAce* ace)
{
    const auto* const sid = reinterpret_cast<const SID*>(&ace->SidStart);
    if (ace->Header.AceSize < sizeWithSid(0) || ace->Header.AceSize < sizeWithSid(sid->SubAuthorityCount))
        return nullptr;
    const PSID found = const_cast<SID*>(sid);
    return IsValidSid(found) ? found : nullptr;
}

sswseAceList::~sswseAceList()
{
    while (blocks != &own) {
        sswseAceNodes* const next = blocks->next;
        free(blocks);
        blocks = next;
    }
}

AceListNode* sswseFindSid(const sswseAceList& list, PSID sid)
{
    if (!sid)
        return nullptr;
    for (AceListNode* node = list.first; node; node = node->next)
        if (node->sid && EqualSid(node->sid, sid))
            return node;
    return nullptr;
}

bool sswseIsSameAce(const sswseAce* one, const sswseAce* other, const GENERIC_MAPPING& rights)
{
    if (memcmp(&one->Header, &other->Header, sizeof one->Header) != 0)
        return false;
    if (one->Header.AceSize < sidOffset) // without a mask
        return memcmp(one, other, one->Header.AceSize) == 0;
    return sswseMapRights(rights, one->Mask) == sswseMapRights(rights, other->Mask) &&
           memcmp(&one->SidStart, &other->SidStart, one->Header.AceSize - sidOffset) == 0;
}

bool sswseIsListOf(const sswseAceList& list, const sswseAce* const* aces, DWORD count, const GENERIC_MAPPING& rights)
{
    const AceListNode* node = list.first;
    for (DWORD i = 0; i < count; ++i, node = node->next)
        if (!node || !sswseIsSameAce(static_cast<const sswseAce*>(node->ace), aces[i], rights))
            return false;
    return !node;
}

DWORD sswseCreateAceForSid(sswseErrRec* err, PSID sid, BYTE aceFlags, DWORD mask, sswseAce** ace)
{
    return sswseRunFramed(err, __func__, sswseNoArgs{}, [&](const sswseCall& call) -> DWORD {
        if (!ace)
            return sswseBadArgument(call, "pAce");
        const DWORD sidLength = GetLengthSid(sid);
        const DWORD size = sidOffset + sidLength;
        *ace = static_cast<sswseAce*>(malloc(size));
        if (!*ace)
            return sswseOutOfMemory(call);
        (*ace)->Header = {ACCESS_ALLOWED_ACE_TYPE, aceFlags, static_cast<WORD>(size)};
        (*ace)->Mask = mask;
        memcpy(&(*ace)->SidStart, sid, sidLength);
        return SSWSE_SUCCESS;
    });
}

DWORD sswseAddAceToFinalList(sswseErrRec* err, sswseAceList& list, sswseAce* ace)
{
    return sswseRunFramed(err, __func__, sswseNoArgs{},
                          [&](const sswseCall& call) -> DWORD { return append(call, list, ace); });
}

DWORD sswseMergeOrAddAceToAceList(sswseErrRec* err, sswseAceList& list, sswseAce* newAce, DWORD* counter)
{
    return sswseRunFramed(err, __func__, sswseNoArgs{}, [&](const sswseCall& call) -> DWORD {
        if (!newAce)
            return sswseBadArgument(call, "pAceNew");
        if (AceListNode* const node = sswseFindSid(list, sswseSidOfAce(newAce))) {
            merge(*node, newAce);
            return SSWSE_SUCCESS;
        }
        if (counter)
            ++*counter; // before the node exists, and so counted even when it cannot be had
        return append(call, list, newAce);
    });
}
