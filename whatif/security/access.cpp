// What access-control entries mean: generic rights, inheritance, the access of an administrator. Declared in
// descriptors.h.
#include "whatif/security/descriptors.h"

#include "whatif/model/sids.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace whatif {

namespace {

constexpr DWORD genericRights = GENERIC_READ | GENERIC_WRITE | GENERIC_EXECUTE | GENERIC_ALL;
constexpr size_t sidOffset = offsetof(ACCESS_ALLOWED_ACE, SidStart);

using Sid = std::vector<BYTE>;

// An entry of the two plain kinds, allow and deny, which carry nothing but mask and SID. Others stay as they are.
struct Entry
{
    ACE_HEADER header;
    DWORD mask = 0;
    Sid sid;
};

bool isPlain(const ACE_HEADER& header)
{
    return header.AceType <= ACCESS_DENIED_ACE_TYPE && header.AceSize > sidOffset;
}

Entry entryAt(const std::vector<BYTE>& dacl, size_t at)
{
    Entry entry;
    memcpy(&entry.header, &dacl[at], sizeof entry.header);
    if (isPlain(entry.header)) {
        memcpy(&entry.mask, &dacl[at + sizeof entry.header], sizeof entry.mask);
        entry.sid.assign(dacl.begin() + static_cast<ptrdiff_t>(at + sidOffset),
                         dacl.begin() + static_cast<ptrdiff_t>(at + entry.header.AceSize));
    }
    return entry;
}

template <class Visit>
void forEachEntry(const std::vector<BYTE>& dacl, Visit visit)
{
    for (size_t at = sizeof(ACL); at + sizeof(ACE_HEADER) <= dacl.size();) {
        const Entry entry = entryAt(dacl, at);
        visit(entry, at);
        at += entry.header.AceSize;
    }
}

class AclBuilder
{
public:
    AclBuilder() : bytes_(sizeof(ACL)) {}

    void add(BYTE type, BYTE flags, DWORD mask, const Sid& sid)
    {
        const ACE_HEADER header = {type, flags, static_cast<WORD>(sidOffset + sid.size())};
        append(&header, sizeof header);
        append(&mask, sizeof mask);
        append(sid.data(), sid.size());
        ++count_;
    }

    void copy(const BYTE* ace, WORD size)
    {
        if (isObjectEntry(*ace))
            revision_ = ACL_REVISION_DS;
        append(ace, size);
        ++count_;
    }

    bool empty() const { return count_ == 0; }

    std::vector<BYTE> finish()
    {
        const ACL header = {revision_, 0, static_cast<WORD>(bytes_.size()), count_, 0};
        memcpy(bytes_.data(), &header, sizeof header);
        return std::move(bytes_);
    }

private:
    void append(const void* data, size_t size)
    {
        const auto* const begin = static_cast<const BYTE*>(data);
        bytes_.insert(bytes_.end(), begin, begin + size);
    }

    std::vector<BYTE> bytes_;
    BYTE revision_ = ACL_REVISION;
    WORD count_ = 0;
};

DWORD mapped(DWORD mask, const GENERIC_MAPPING& mapping)
{
    MapGenericMask(&mask, const_cast<GENERIC_MAPPING*>(&mapping));
    return mask;
}

const Sid& administrators()
{
    static const Sid sid = sidBytes(L"S-1-5-32-544");
    return sid;
}

// The identities that an administrator who is logged on has.
bool isCaller(const Sid& sid)
{
    static const Sid sids[] = {administrators(),      sidBytes(L"S-1-5-32-545"), sidBytes(L"S-1-1-0"),
                               sidBytes(L"S-1-5-11"), sidBytes(L"S-1-5-4"),      sidBytes(L"S-1-2-0")};
    return std::find(std::begin(sids), std::end(sids), sid) != std::end(sids);
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

DWORD accessToRead(SECURITY_INFORMATION parts)
{
    return READ_CONTROL | (parts & SACL_SECURITY_INFORMATION ? ACCESS_SYSTEM_SECURITY : 0);
}

DWORD accessToWrite(SECURITY_INFORMATION parts)
{
    return (parts & (OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION) ? WRITE_OWNER : 0) |
           (parts & DACL_SECURITY_INFORMATION ? WRITE_DAC : 0) |
           (parts & SACL_SECURITY_INFORMATION ? ACCESS_SYSTEM_SECURITY : 0);
}

void mapGenericRights(Security& security, const GENERIC_MAPPING& mapping)
{
    const std::vector<BYTE> before = security.dacl;
    forEachEntry(before, [&](const Entry& entry, size_t at) {
        if (!isPlain(entry.header) || (entry.header.AceFlags & INHERIT_ONLY_ACE))
            return;
        const DWORD mask = mapped(entry.mask, mapping);
        memcpy(&security.dacl[at + sizeof(ACE_HEADER)], &mask, sizeof mask);
    });
}

void keepEntries(Security& security, bool inherited)
{
    AclBuilder acl;
    forEachEntry(security.dacl, [&](const Entry& entry, size_t at) {
        if (((entry.header.AceFlags & INHERITED_ACE) != 0) == inherited)
            acl.copy(&security.dacl[at], entry.header.AceSize);
    });
    security.dacl = acl.finish();
}

void appendEntries(Security& security, const Security& more)
{
    AclBuilder acl;
    for (const std::vector<BYTE>* dacl : {&std::as_const(security).dacl, &more.dacl})
        forEachEntry(*dacl, [&](const Entry& entry, size_t at) { acl.copy(&(*dacl)[at], entry.header.AceSize); });
    security.dacl = acl.finish();
}

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

bool allows(const Security& security, DWORD access, const GENERIC_MAPPING& mapping)
{
    DWORD wanted = mapped(access, mapping) & ~static_cast<DWORD>(MAXIMUM_ALLOWED | ACCESS_SYSTEM_SECURITY);
    if (!security.hasDacl)
        return true;
    if (security.owner.empty() || isCaller(security.owner)) // an owner always gets to the DACL
        wanted &= ~static_cast<DWORD>(READ_CONTROL | WRITE_DAC);
    bool denied = false;
    forEachEntry(security.dacl, [&](const Entry& entry, size_t) {
        if (!isPlain(entry.header) || (entry.header.AceFlags & INHERIT_ONLY_ACE) || !isCaller(entry.sid))
            return;
        const DWORD mask = mapped(entry.mask, mapping);
        if (entry.header.AceType == ACCESS_DENIED_ACE_TYPE)
            denied = denied || (mask & wanted);
        else
            wanted &= ~mask;
    });
    return !denied && wanted == 0;
}

} // namespace whatif
