#include "whatif/security/entries.h"

#include <algorithm>
#include <utility>

namespace whatif {

namespace {

constexpr size_t sidOffset = offsetof(ACCESS_ALLOWED_ACE, SidStart);

} // namespace

bool isPlain(const ACE_HEADER& header)
{
    return header.AceType <= ACCESS_DENIED_ACE_TYPE && header.AceSize > sidOffset;
}

bool isConditional(const ACE_HEADER& header)
{
    return (header.AceType == ACCESS_ALLOWED_CALLBACK_ACE_TYPE || header.AceType == ACCESS_DENIED_CALLBACK_ACE_TYPE) &&
           header.AceSize > sidOffset;
}

Entry entryAt(const std::vector<BYTE>& dacl, size_t at)
{
    Entry entry;
    memcpy(&entry.header, &dacl[at], sizeof entry.header);
    if (isPlain(entry.header) || isConditional(entry.header)) {
        memcpy(&entry.mask, &dacl[at + sizeof entry.header], sizeof entry.mask);
        const size_t room = entry.header.AceSize - sidOffset;
        const BYTE* const sid = &dacl[at + sidOffset];
        const size_t parts = room > offsetof(SID, SubAuthorityCount) ? sid[offsetof(SID, SubAuthorityCount)] : 0;
        const size_t size = isPlain(entry.header) ? room : std::min(room, offsetof(SID, SubAuthority) + parts * 4);
        entry.sid.assign(sid, sid + size);
    }
    return entry;
}

void AclBuilder::add(BYTE type, BYTE flags, DWORD mask, const Sid& sid)
{
    const ACE_HEADER header = {type, flags, static_cast<WORD>(sidOffset + sid.size())};
    append(&header, sizeof header);
    append(&mask, sizeof mask);
    append(sid.data(), sid.size());
    ++count_;
}

void AclBuilder::copy(const BYTE* ace, WORD size)
{
    if (isObjectEntry(*ace))
        revision_ = ACL_REVISION_DS;
    append(ace, size);
    ++count_;
}

std::vector<BYTE> AclBuilder::finish()
{
    const ACL header = {revision_, 0, static_cast<WORD>(bytes_.size()), count_, 0};
    memcpy(bytes_.data(), &header, sizeof header);
    return std::move(bytes_);
}

void AclBuilder::append(const void* data, size_t size)
{
    const auto* const begin = static_cast<const BYTE*>(data);
    bytes_.insert(bytes_.end(), begin, begin + size);
}

DWORD mapped(DWORD mask, const GENERIC_MAPPING& mapping)
{
    MapGenericMask(&mask, const_cast<GENERIC_MAPPING*>(&mapping));
    return mask;
}

void mapGenericRights(Security& security, const GENERIC_MAPPING& mapping)
{
    const std::vector<BYTE> before = security.dacl;
    forEachEntry(before, [&](const Entry& entry, size_t at) {
        if ((!isPlain(entry.header) && !isConditional(entry.header)) || (entry.header.AceFlags & INHERIT_ONLY_ACE))
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

} // namespace whatif
