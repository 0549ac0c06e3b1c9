// Access-control lists from outside: the platform's functions walk them on trust.
#pragma once

#include <windows.h>

// Does the ACL lie inside the block of `size` bytes, and each of its entries inside the ACL? What the entries hold is
// not looked at.
bool sswseIsAclWhole(const ACL* acl, const void* block, size_t size);
