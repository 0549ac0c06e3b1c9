#include "whatif/security/inheritance.h"

#include "whatif/model/sids.h"
#include "whatif/security/entries.h"

#include <algorithm>
#include <iterator>

namespace whatif {

namespace {

constexpr DWORD genericRights = GENERIC_READ | GENERIC_WRITE | GENERIC_EXECUTE | GENERIC_ALL;

const Sid& administrators()
{
    static const Sid sid = sidBytes(L"S-1-5-32-544");
    return sid;
}

// An entry of the parent that works on the child itself. One that names the creator or generic rights stays, for the
// children's children, beside the one that works.
void inheritEffective(AclBuilder& acl, const Entry& entry, BYTE passedOn, const GENERIC_MAPPING& mapping)
{
    static const Sid creators[] = {sidBytes(L"S-1-3-0"), sidBytes(L"S-1-3-1")};
    const bool forCreator = std::find(std::begin(creators), std::end(creators), entry.sid) != std::end(creators);
    const bool split = passedOn && (forCreator || (entry.mask & genericRights));
    const BYTE type = entry.header.AceType;
    acl.add(type, static_cast<BYTE>(INHERITED_ACE | (split ? 0 : passedOn)), mapped(entry.mask, mapping),
            forCreator ? administrators() : entry.sid);
    if (split)
        acl.add(type, static_cast<BYTE>(INHERITED_ACE | INHERIT_ONLY_ACE | passedOn), entry.mask, entry.sid);
}

void inheritEntry(AclBuilder& acl, const Entry& entry, bool container, const GENERIC_MAPPING& mapping)
{
    const BYTE flags = entry.header.AceFlags;
    const bool further = container && !(flags & NO_PROPAGATE_INHERIT_ACE);
    const auto passedOn = static_cast<BYTE>(further ? flags & (OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE) : 0);
    if (flags & (container ? CONTAINER_INHERIT_ACE : OBJECT_INHERIT_ACE))
        inheritEffective(acl, entry, passedOn, mapping);
    else if (passedOn)
        acl.add(entry.header.AceType, static_cast<BYTE>(INHERITED_ACE | INHERIT_ONLY_ACE | passedOn), entry.mask,
                entry.sid);
}

} // namespace

Security inheritedFrom(const Security& parent, bool container, const GENERIC_MAPPING& mapping)
{
    Security child;
    AclBuilder acl;
    if (parent.hasDacl)
        forEachEntry(parent.dacl, [&](const Entry& entry, size_t) {
            if (isPlain(entry.header))
                inheritEntry(acl, entry, container, mapping);
        });
    child.flags = acl.empty() ? 0 : SE_DACL_AUTO_INHERITED;
    if (acl.empty()) { // the default of the creator's token
        acl.add(ACCESS_ALLOWED_ACE_TYPE, 0, mapping.GenericAll, administrators());
        acl.add(ACCESS_ALLOWED_ACE_TYPE, 0, mapping.GenericAll, sidBytes(L"S-1-5-18"));
    }
    child.dacl = acl.finish();
    return child;
}

} // namespace whatif
