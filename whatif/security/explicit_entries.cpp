// The platform's own function cannot be relied on everywhere, some of its implementations only put entries in front.
// Decided where the documentation says "any existing rights of the trustee": those in explicit entries that are passed
// on in the same way, so that no object below gains or loses.
#include "whatif/security/explicit_entries.h"

#include "frame/owned.h"

#include <aclapi.h>

#include <algorithm>

namespace whatif {

namespace {

using Ace = std::vector<BYTE>;
using Aces = std::vector<Ace>;

ACCESS_ALLOWED_ACE* viewOf(Ace& ace) // of an entry that denies as well
{
    return reinterpret_cast<ACCESS_ALLOWED_ACE*>(ace.data());
}

// That the SID of a plain entry lies inside it, and is one.
bool holdsItsSid(Ace& ace)
{
    constexpr size_t fixed = offsetof(ACCESS_ALLOWED_ACE, SidStart);
    if (ace.size() < sizeof(ACE_HEADER))
        return false;
    if (viewOf(ace)->Header.AceType > ACCESS_DENIED_ACE_TYPE)
        return true;
    PSID sid = &viewOf(ace)->SidStart;
    return ace.size() >= fixed + GetSidLengthRequired(0) &&
           ace.size() >= fixed + GetSidLengthRequired(*GetSidSubAuthorityCount(sid)) && IsValidSid(sid);
}

bool isOwn(Ace& ace, PSID sid)
{
    const ACE_HEADER& header = viewOf(ace)->Header;
    return header.AceType <= ACCESS_DENIED_ACE_TYPE && !(header.AceFlags & INHERITED_ACE) &&
           EqualSid(&viewOf(ace)->SidStart, sid);
}

Ace makeAce(BYTE type, BYTE flags, DWORD rights, PSID sid)
{
    const DWORD sidSize = GetLengthSid(sid);
    Ace ace(offsetof(ACCESS_ALLOWED_ACE, SidStart) + sidSize);
    viewOf(ace)->Header = {type, flags, static_cast<WORD>(ace.size())};
    viewOf(ace)->Mask = rights;
    CopySid(sidSize, &viewOf(ace)->SidStart, sid);
    return ace;
}

class Merge
{
public:
    explicit Merge(PACL before)
    {
        void* ace = nullptr;
        for (DWORD i = 0; before && GetAce(before, i, &ace); ++i) {
            const auto* const begin = static_cast<const BYTE*>(ace);
            old_.emplace_back(begin, begin + static_cast<const ACE_HEADER*>(ace)->AceSize);
        }
        revision_ = before ? before->AclRevision : BYTE{ACL_REVISION};
    }

    bool isWhole() { return std::all_of(old_.begin(), old_.end(), holdsItsSid); }

    void apply(const EXPLICIT_ACCESS_A& entry)
    {
        const bool denies = entry.grfAccessMode == DENY_ACCESS;
        Ace ace = makeAce(denies ? ACCESS_DENIED_ACE_TYPE : ACCESS_ALLOWED_ACE_TYPE,
                          entry.grfInheritance & (VALID_INHERIT_FLAGS & ~INHERITED_ACE), entry.grfAccessPermissions,
                          entry.Trustee.ptstrName);
        for (Aces* const list : {&denied_, &granted_, &old_}) {
            for (Ace& other : *list)
                if (isOwn(other, entry.Trustee.ptstrName) && absorbs(entry, ace, other))
                    other.clear();
            list->erase(std::remove(list->begin(), list->end(), Ace()), list->end());
        }
        if (entry.grfAccessMode != REVOKE_ACCESS)
            (denies ? denied_ : granted_).push_back(ace);
    }

    // New denials come first, new grants before the grants that are there.
    DWORD finish(PACL* after)
    {
        const auto isBehind = [](Ace& ace) {
            const BYTE type = viewOf(ace)->Header.AceType;
            return (viewOf(ace)->Header.AceFlags & INHERITED_ACE) ||
                   (type != ACCESS_DENIED_ACE_TYPE && type != ACCESS_DENIED_OBJECT_ACE_TYPE);
        };
        Aces all = denied_;
        const auto middle = std::find_if(old_.begin(), old_.end(), isBehind);
        all.insert(all.end(), old_.begin(), middle);
        all.insert(all.end(), granted_.begin(), granted_.end());
        all.insert(all.end(), middle, old_.end());
        size_t size = sizeof(ACL);
        for (const Ace& ace : all)
            size += ace.size();
        owned::Local<ACL> acl(static_cast<PACL>(LocalAlloc(LMEM_FIXED, size)));
        bool good = acl && InitializeAcl(acl.get(), static_cast<DWORD>(size), revision_);
        for (Ace& ace : all)
            good = good && AddAce(acl.get(), revision_, MAXDWORD, ace.data(), static_cast<DWORD>(ace.size()));
        const DWORD error = good ? ERROR_SUCCESS : GetLastError();
        *after = good ? acl.release() : nullptr;
        return error;
    }

private:
    // Takes over or takes away the rights of another entry of the trustee; true when nothing of it is left.
    static bool absorbs(const EXPLICIT_ACCESS_A& entry, Ace& ace, Ace& other)
    {
        const ACE_HEADER& header = viewOf(other)->Header;
        if (entry.grfAccessMode == SET_ACCESS)
            return true;
        if (entry.grfAccessMode == REVOKE_ACCESS)
            return header.AceType == ACCESS_ALLOWED_ACE_TYPE;
        if (header.AceFlags != viewOf(ace)->Header.AceFlags)
            return false;
        if (header.AceType == viewOf(ace)->Header.AceType) {
            viewOf(ace)->Mask |= viewOf(other)->Mask;
            return true;
        }
        viewOf(other)->Mask &= ~entry.grfAccessPermissions;
        return viewOf(other)->Mask == 0;
    }

    Aces denied_;
    Aces granted_;
    Aces old_;
    DWORD revision_;
};

} // namespace

DWORD mergeEntries(std::vector<EXPLICIT_ACCESS_A> entries, PACL before, PACL* after)
{
    const auto isKnown = [](const EXPLICIT_ACCESS_A& entry) {
        return entry.grfAccessMode >= GRANT_ACCESS && entry.grfAccessMode <= REVOKE_ACCESS &&
               entry.Trustee.TrusteeForm == TRUSTEE_IS_SID && IsValidSid(entry.Trustee.ptstrName);
    };
    if (entries.empty() || !after || !std::all_of(entries.begin(), entries.end(), isKnown))
        return SetEntriesInAclA(static_cast<ULONG>(entries.size()), entries.empty() ? nullptr : entries.data(), before,
                                after);
    if (before && !IsValidAcl(before))
        return ERROR_INVALID_ACL;
    Merge merge(before);
    if (!merge.isWhole())
        return ERROR_INVALID_ACL;
    for (const EXPLICIT_ACCESS_A& entry : entries)
        merge.apply(entry);
    return merge.finish(after);
}

} // namespace whatif
