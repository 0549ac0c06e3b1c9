// The entries of an access-control list, one by one.
#pragma once

#include "whatif/security/descriptors.h"

#include <cstring>

namespace whatif {

using Sid = std::vector<BYTE>;

// Mask and SID are those of the kinds that carry nothing else, allow and deny, and of the same two with a condition
// behind the SID. Others stay as they are.
struct Entry
{
    ACE_HEADER header;
    DWORD mask = 0;
    Sid sid;
};

bool isPlain(const ACE_HEADER& header);
bool isConditional(const ACE_HEADER& header);
Entry entryAt(const std::vector<BYTE>& dacl, size_t at);

// visit(entry, its place in the list)
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

    void add(BYTE type, BYTE flags, DWORD mask, const Sid& sid); // a plain entry
    void copy(const BYTE* ace, WORD size);

    bool empty() const { return count_ == 0; }
    std::vector<BYTE> finish();

private:
    void append(const void* data, size_t size);

    std::vector<BYTE> bytes_;
    BYTE revision_ = ACL_REVISION;
    WORD count_ = 0;
};

DWORD mapped(DWORD mask, const GENERIC_MAPPING& mapping);

// Generic rights become the object's own, as they do when Windows attaches a descriptor to an object. Entries that are
// only there to be inherited keep theirs.
void mapGenericRights(Security& security, const GENERIC_MAPPING& mapping);

// Keeps the entries of the DACL that are inherited, or those that are not; puts entries behind those that are there.
void keepEntries(Security& security, bool inherited);
void appendEntries(Security& security, const Security& more);

} // namespace whatif
