// Files that the library names: on this machine, or by "\\node\C$\path" on a node whose drives are directories here.
#pragma once

#include "whatif/node.h"

namespace whatif {

class World;

struct File
{
    Node* node = nullptr;
    std::wstring path; // on the node: absolute, "C:\\dir\\file"; "\\\\server\\share\\file" on a machine that is no node
    std::wstring real; // where it lies: the name to give to the real platform
};

// A name that the real platform takes as it is: of this machine, and not too long.
bool standsForItself(const std::wstring& name);

// Win32 error codes: ERROR_BAD_NETPATH, ERROR_BAD_NET_NAME, ERROR_BAD_PATHNAME for what cannot be reached,
// ERROR_PATH_NOT_FOUND for a path that is too long.
DWORD locate(World& world, const std::wstring& name, File& file);

// The path on the node of an existing directory, or of one that has been asked for before and is the same one.
std::wstring firstNameOf(Node& node, const DirectoryNames::Name& directory);

} // namespace whatif
