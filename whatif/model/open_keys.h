// The keys of the nodes' registries that are open.
#pragma once

#include "whatif/model/registry.h"

namespace whatif {

class World;

struct OpenKey
{
    Registry::Place place;
    REGSAM access = 0;                 // what the handle can do
    std::vector<std::wstring> subkeys; // as they were when they began to be told
};

// NULL for a handle that no node has.
OpenKey* openKeyOf(World& world, HKEY handle);

// From here on the handle is known, until it is forgotten.
void keepOpen(World& world, HKEY handle, const OpenKey& key);
void forget(World& world, HKEY handle);

// Where the key is that a function was called for: an open one, or a predefined one of the local node, and what is
// below. Win32 error codes.
LSTATUS placeOf(World& world, HKEY handle, const std::wstring& subkey, Registry::Place& place);

} // namespace whatif
