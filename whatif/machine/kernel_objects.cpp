// The machine's own kernel objects and tokens.
#include "whatif/model/kernel_objects.h"

#include "whatif/redirect/active.h"
#include "whatif/whatif.h"

namespace whatif {

namespace {

HANDLE openProcess(const std::wstring& identifier, DWORD access)
{
    return OpenProcess(access, FALSE, std::stoul(identifier));
}

HANDLE openToken(const std::wstring& identifier, DWORD access)
{
    const HANDLE process =
        identifier.empty() ? GetCurrentProcess() : openProcess(identifier, PROCESS_QUERY_LIMITED_INFORMATION);
    HANDLE token = nullptr;
    const DWORD error = process && OpenProcessToken(process, access, &token) ? ERROR_SUCCESS : GetLastError();
    if (process)
        CloseHandle(process); // which does nothing to the pseudo handle of this one
    SetLastError(error);
    return token;
}

} // namespace

HANDLE openMachineObject(const KernelName& name, DWORD access)
{
    switch (name.kind) {
    case KernelKind::event:
        return OpenEventW(access, FALSE, name.name.c_str());
    case KernelKind::mutex:
        return OpenMutexW(access, FALSE, name.name.c_str());
    case KernelKind::semaphore:
        return OpenSemaphoreW(access, FALSE, name.name.c_str());
    case KernelKind::section:
        return OpenFileMappingW(access, FALSE, name.name.c_str());
    case KernelKind::process:
        return openProcess(name.name, access);
    case KernelKind::token:
        return openToken(name.name, access);
    }
    return failWith<HANDLE>(ERROR_INVALID_PARAMETER);
}

} // namespace whatif
