// A node of its own kind: a tree that exists only by its rule, in which every object has the same security until it is
// written, and the same again then: a bit of memory for each. What is measured on it is the work of the caller and not
// that of a file system.
#pragma once

#include "whatif/redirect/imports.h"

#include <string>

namespace bench {

inline constexpr wchar_t treeRoot[] = L"C:\\home";
inline constexpr wchar_t treeSecurity[] = L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;0x1200a9;;;BU)";
inline constexpr size_t filesPerDirectory = 99;

// Directories below the root, each with its files: 100 objects for each, and the root.
void growTree(size_t directories);

std::vector<whatif::Replacement> treeFunctions();     // attributes and listings
std::vector<whatif::Replacement> securityFunctions(); // every object's DACL

// From now on every object has a DACL of that many accounts, for 0 the security above.
void giveAccounts(size_t accounts);

size_t takeWriteCount();

} // namespace bench
