#include "frame/acl_bounds.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

// What is left of a block behind `place`, 0 for a place outside of it.
size_t roomBehind(const void* place, const void* block, size_t size)
{
    const size_t offset = reinterpret_cast<size_t>(place) - reinterpret_cast<size_t>(block);
    return offset < size ? size - offset : 0;
}

} // namespace

// The headers are copied out: nothing says that a list from outside is aligned.
bool sswseIsAclWhole(const ACL* acl, const void* block, size_t size)
{
    ACL list = {};
    const size_t room = roomBehind(acl, block, size);
    if (room < sizeof list)
        return false;
    memcpy(&list, acl, sizeof list);
    if (room < list.AclSize)
        return false;
    const auto* place = reinterpret_cast<const BYTE*>(acl) + sizeof list;
    for (WORD left = list.AceCount; left > 0; --left) {
        ACE_HEADER entry = {};
        const size_t entryRoom = roomBehind(place, acl, list.AclSize);
        if (entryRoom < sizeof entry)
            return false;
        memcpy(&entry, place, sizeof entry);
        if (entry.AceSize < sizeof entry || entry.AceSize > entryRoom)
            return false;
        place += entry.AceSize;
    }
    return true;
}

owned::Heap<void> sswseAllocateDescriptor(DWORD needed, size_t* size)
{
    *size = std::max<size_t>(needed, sizeof(SECURITY_DESCRIPTOR));
    owned::Heap<void> block = owned::allocate<void>(*size);
    if (block)
        memset(block.get(), 0, *size);
    return block;
}
