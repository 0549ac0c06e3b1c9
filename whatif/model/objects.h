// Files, directories and registry keys as objects with security. The objects are real, or the node's registry's.
#pragma once

#include "frame/owned.h"
#include "whatif/node.h"

namespace whatif {

class World;

struct Object
{
    Node* node = nullptr;
    std::wstring name; // "file C:\\dir", "registry HKLM\\SOFTWARE\\x": for the plan and in Node.security
    std::wstring real; // where it lies on the real machine
    bool container = true;
    const GENERIC_MAPPING* rights = nullptr;
};

bool isFile(const Object& object);

// Win32 error codes, those of an object that does not exist among them.
DWORD fileObject(World& world, const std::wstring& name, Object& object);
// "MACHINE\..." and "USERS\...", also with "\\node\" before it; "CLASSES_ROOT\..." and "CURRENT_USER\..." of this
// machine.
DWORD keyObject(World& world, const std::wstring& name, Object& object);
Object keyAt(Node& node, const std::wstring& path); // of the registry; it may be missing

// False for a root.
bool parentOf(const Object& object, Object& parent);

// What lies directly below a container.
std::vector<Object> childrenOf(World& world, const Object& object);

// The real machine's key behind an object.
DWORD openRealKey(const Object& object, REGSAM access, owned::RegistryKey& key);

} // namespace whatif
