#include "frame/acl_bounds.h"

#include <algorithm>
#include <cstddef>

namespace {

// What is left of a block behind `place`, 0 for a place outside of it or across its double words.
size_t roomBehind(const void* place, const void* block, size_t size)
{
    const size_t offset = reinterpret_cast<size_t>(place) - reinterpret_cast<size_t>(block);
    return offset < size && offset % sizeof(DWORD) == 0 ? size - offset : 0;
}

} // namespace

bool sswseIsAclWhole(const ACL* acl, const void* block, size_t size)
{
    const size_t room = roomBehind(acl, block, size);
    if (room < sizeof *acl || acl->AclSize < sizeof *acl || acl->AclSize > room)
        return false;
    const auto* place = reinterpret_cast<const BYTE*>(acl + 1);
    for (WORD left = acl->AceCount; left > 0; --left) {
        const auto* const entry = reinterpret_cast<const ACE_HEADER*>(place);
        const size_t entryRoom = roomBehind(place, acl, acl->AclSize);
        if (entryRoom < sizeof *entry || entry->AceSize < sizeof *entry || entry->AceSize > entryRoom ||
            entry->AceSize % sizeof(DWORD) != 0)
            return false;
        place += entry->AceSize;
    }
    return true;
}

owned::Heap<void> sswseAllocateDescriptor(DWORD needed, size_t* size)
{
    *size = std::max<size_t>(needed, sizeof(SECURITY_DESCRIPTOR));
    return owned::allocateZeroed<void>(*size);
}
