// Files, directories and registry keys as objects with security. The objects are real, or the node's registry's; the
// node holds the security of those that were described or changed. An object that it does not hold has what the real
// machine says or, on a described node, what it would have inherited when it was created.
#pragma once

#include "whatif/security/descriptors.h"

#include <memory>

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
DWORD keyObject(World& world, const std::wstring& name, Object& object); // "MACHINE\...", "\\node\MACHINE\..."

// False for a root.
bool parentOf(const Object& object, Object& parent);

// What lies directly below a container.
std::vector<Object> childrenOf(World& world, const Object& object);

struct KeyCloser
{
    void operator()(HKEY key) const { RegCloseKey(key); }
};
using RealKey = std::unique_ptr<HKEY__, KeyCloser>;

// The real machine's key behind an object.
DWORD openRealKey(const Object& object, REGSAM access, RealKey& key);

// The security of the object as it is now; an error when the real machine does not show it.
DWORD readSecurity(const Object& object, Security& security);

// Whether the real machine decides about access to the object: the node has nothing to say of it.
bool machineDecides(const Object& object);

// Whether the caller gets the access; on an object that only the machine holds the machine decides.
bool mayChange(const Object& object, const Security& before, DWORD access);

// Puts the security into the node and the change into the plan, unless there is none.
void writeSecurity(World& world, const Object& object, const Security& before, const Security& after);

} // namespace whatif
