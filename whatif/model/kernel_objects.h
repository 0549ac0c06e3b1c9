// Kernel objects and tokens by the names that descriptions, plans and command lines have for them: "event NAME", "mutex
// NAME", "semaphore NAME", "section NAME", "process ID", "token of process ID", "token of this process"; and the
// handles of the redirected library's caller to them. What a token holds is the list that it gives to what is created
// under it.
//
// Node.security has the lists. A described node has the objects that are in there, and the token of this process; a
// node that reads this machine has the machine's.
#pragma once

#include "whatif/security/object_security.h"

#include <optional>

namespace whatif {

enum class KernelKind
{
    event,
    mutex,
    semaphore,
    section,
    process,
    token
};

struct KernelName
{
    KernelKind kind;
    std::wstring name; // of a process and its token the identifier; empty for the token of this process

    std::wstring text() const;
};

std::optional<KernelName> kernelNameOf(const std::wstring& text); // nothing when it names no object

struct KernelHandle
{
    KernelKind kind;
    Object object;
    DWORD access;
};

extern const wchar_t tokenOfThisProcess[];

// Opens the machine's own object. NULL with the last error set.
HANDLE openMachineObject(const KernelName& name, DWORD access);

// `real` stands for the object until it is closed. The object's own rights come with the kind.
HANDLE openHandle(HANDLE real, World& world, Node& node, KernelKind kind, const std::wstring& object, DWORD access);
const KernelHandle* kernelHandleOf(World& world, HANDLE handle); // NULL when it is none of the world's
void forgetHandle(World& world, HANDLE handle);

// A Win32 error code. `handle` is the one that `opened` is about.
DWORD readSecurity(HANDLE handle, const KernelHandle& opened, Security& security);

// A list alone; NULL lets everybody in.
Security securityOfList(PACL dacl);

} // namespace whatif
