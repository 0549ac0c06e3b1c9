// Security descriptors and access-control lists from outside: the platform's functions walk them on trust.
#pragma once

#include "frame/owned.h"

// Does the ACL lie inside the block of `size` bytes, and each of its entries inside the ACL, all of them aligned as
// they must be? What the entries hold is not looked at.
bool sswseIsAclWhole(const ACL* acl, const void* block, size_t size);

// A block for the self-relative descriptor of `needed` bytes that the platform announces: zeroed and never smaller than
// a descriptor, so that one that the platform did not write is refused and not read past. `size` receives its size.
owned::Heap<void> sswseAllocateDescriptor(DWORD needed, size_t* size);
