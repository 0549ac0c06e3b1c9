// Kernel objects: opened by the caller of the library, their security read and written through the handle.
#include "whatif/model/kernel_objects.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/security/entries.h"

#include <aclapi.h>

#include <algorithm>
#include <cstring>

namespace whatif {

namespace {

// The documented answers of the functions that open: another kind of object has the name, there is no such process, or
// there is nothing of that name.
DWORD errorOfAbsent(const Node& node, const KernelName& name)
{
    if (name.kind == KernelKind::process || name.kind == KernelKind::token)
        return ERROR_INVALID_PARAMETER;
    const auto all = node.security.all();
    const bool isTaken = std::any_of(all.begin(), all.end(), [&](const auto& held) {
        const std::optional<KernelName> other = kernelNameOf(held.first);
        return other && other->kind < KernelKind::process && other->name == name.name;
    });
    return isTaken ? ERROR_INVALID_HANDLE : ERROR_FILE_NOT_FOUND;
}

// Something of the machine for the caller to hold, as long as it has the handle.
HANDLE placeholder(KernelKind kind)
{
    return kind == KernelKind::token ? openMachineObject({kind, L""}, TOKEN_QUERY)
                                     : CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

// Names of kernel objects depend on case, the node's objects do not: it must be the name in both.
bool isDescribed(const Node& node, const std::wstring& object)
{
    const std::wstring* const described = node.security.spelled(object);
    return described && *described == object;
}

HANDLE open(World& world, const KernelName& name, DWORD access)
{
    const std::wstring object = name.text();
    Node& node = world.local();
    if (!node.readsMachine && !isDescribed(node, object) && object != tokenOfThisProcess)
        return failWith<HANDLE>(errorOfAbsent(node, name));
    const HANDLE real = node.readsMachine ? openMachineObject(name, access) : placeholder(name.kind);
    if (!real)
        return nullptr;
    openHandle(real, world, node, name.kind, object, access);
    const std::wstring* const held = node.security.find(object);
    if (name.kind == KernelKind::token || !held ||
        administratorGets(securityOf(*held), access, *kernelHandleOf(world, real)->object.rights))
        return real;
    closeObject(real);
    return failWith<HANDLE>(ERROR_ACCESS_DENIED);
}

// The object behind a handle that was opened for `access`.
DWORD find(World& world, HANDLE handle, SE_OBJECT_TYPE type, DWORD access, const KernelHandle*& opened)
{
    if (type != SE_KERNEL_OBJECT)
        return ERROR_NOT_SUPPORTED; // the other handles are not the node's
    opened = kernelHandleOf(world, handle);
    if (!opened || opened->kind == KernelKind::token) // whose own security is not the node's
        return ERROR_INVALID_HANDLE;
    return (opened->access & access) == access ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

DWORD WINAPI getSecurityInfo(HANDLE handle, SE_OBJECT_TYPE type, SECURITY_INFORMATION parts, PSID* owner, PSID* group,
                             PACL* dacl, PACL*, PSECURITY_DESCRIPTOR* descriptor)
{
    Locked world;
    const KernelHandle* opened = nullptr;
    Security security;
    DWORD error =
        parts & SACL_SECURITY_INFORMATION ? ERROR_PRIVILEGE_NOT_HELD : find(*world, handle, type, READ_CONTROL, opened);
    if (!error)
        error = readSecurity(handle, *opened, security);
    return error ? error : handOut(security, parts, owner, group, dacl, descriptor);
}

DWORD WINAPI setSecurityInfo(HANDLE handle, SE_OBJECT_TYPE type, SECURITY_INFORMATION parts, PSID, PSID, PACL dacl,
                             PACL)
{
    Locked world;
    const KernelHandle* opened = nullptr;
    Security before;
    const bool isProtected = parts & PROTECTED_DACL_SECURITY_INFORMATION;
    if ((parts & ~PROTECTED_DACL_SECURITY_INFORMATION) != DACL_SECURITY_INFORMATION)
        return ERROR_NOT_SUPPORTED; // the rest of a descriptor is not the node's to change
    if (dacl && !IsValidAcl(dacl))
        return ERROR_INVALID_ACL;
    DWORD error = find(*world, handle, type, WRITE_DAC, opened);
    if (!error)
        error = readSecurity(handle, *opened, before);
    if (error)
        return error;
    Security after = securityOfList(dacl);
    after.owner = before.owner;
    after.group = before.group;
    after.flags |= isProtected ? SE_DACL_PROTECTED : 0;
    mapGenericRights(after, *opened->object.rights);
    writeSecurity(*world, opened->object, before, after);
    return ERROR_SUCCESS;
}

BOOL WINAPI closeHandle(HANDLE handle)
{
    Locked world;
    forgetHandle(*world, handle);
    return CloseHandle(handle);
}

} // namespace

bool namesObject(const std::wstring& text)
{
    return kernelNameOf(text).has_value();
}

HANDLE openMachineObject(const std::wstring& object, DWORD access)
{
    const std::optional<KernelName> name = kernelNameOf(object);
    return name ? openMachineObject(*name, access) : failWith<HANDLE>(ERROR_INVALID_PARAMETER);
}

HANDLE openObject(const std::wstring& object, DWORD access)
{
    Locked world;
    const std::optional<KernelName> name = kernelNameOf(object);
    return name ? open(*world, *name, access) : failWith<HANDLE>(ERROR_INVALID_PARAMETER);
}

BOOL WINAPI closeObject(HANDLE handle)
{
    return closeHandle(handle);
}

std::vector<Replacement> kernelObjectReplacements()
{
    return {
        returningError<&getSecurityInfo>("GetSecurityInfo"),
        returningError<&setSecurityInfo>("SetSecurityInfo"),
        settingLastError<&closeHandle>("CloseHandle"),
    };
}

} // namespace whatif
