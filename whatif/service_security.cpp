// The security of a service.
#include "whatif/active.h"
#include "whatif/descriptors.h"
#include "whatif/guarded.h"
#include "whatif/service_handles.h"
#include "whatif/sids.h"

#include <cstring>

namespace whatif {

namespace {

constexpr SECURITY_INFORMATION ownerParts = OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION;

// The access that reading respectively writing parts of a descriptor needs.
DWORD accessFor(SECURITY_INFORMATION parts, DWORD ownerAccess, DWORD daclAccess)
{
    DWORD access = 0;
    if (parts & ownerParts)
        access |= ownerAccess;
    if (parts & DACL_SECURITY_INFORMATION)
        access |= daclAccess;
    if (parts & SACL_SECURITY_INFORMATION)
        access |= ACCESS_SYSTEM_SECURITY;
    return access;
}

BOOL WINAPI querySecurity(SC_HANDLE handle, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR descriptor, DWORD size,
                          LPDWORD needed)
{
    Locked world;
    Node* node = nullptr;
    if (!parts || !needed)
        return failWith(ERROR_INVALID_PARAMETER);
    const Service* const service = serviceOf(handle, accessFor(parts, READ_CONTROL, READ_CONTROL), node);
    if (!service)
        return FALSE;
    const std::vector<BYTE> bytes = selfRelative(serviceSecurity(*service), parts);
    *needed = static_cast<DWORD>(bytes.size());
    if (!descriptor || size < bytes.size())
        return failWith(ERROR_INSUFFICIENT_BUFFER);
    memcpy(descriptor, bytes.data(), bytes.size());
    return TRUE;
}

// Only the DACL is kept: the owner of a service is LocalSystem.
BOOL WINAPI setSecurity(SC_HANDLE handle, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR descriptor)
{
    Locked world;
    Node* node = nullptr;
    if (!parts || !descriptor || !IsValidSecurityDescriptor(descriptor))
        return failWith(ERROR_INVALID_PARAMETER);
    Service* const service = serviceOf(handle, accessFor(parts, WRITE_OWNER, WRITE_DAC), node);
    if (!service)
        return FALSE;
    if (service->deleted)
        return failWith(ERROR_SERVICE_MARKED_FOR_DELETE);
    if (!(parts & DACL_SECURITY_INFORMATION))
        return TRUE;
    Security after = securityOf(descriptor);
    mapGenericRights(after, serviceRights);
    after.owner.clear();
    Security before = serviceSecurity(*service);
    before.owner.clear();
    const std::wstring textBefore = textOf(before);
    const std::wstring textAfter = textOf(after);
    if (textBefore == textAfter)
        return TRUE;
    service->security = textAfter;
    world->record({node->name, L"service " + service->name, L"security", textBefore, textAfter});
    return TRUE;
}

} // namespace

Security serviceSecurity(const Service& service)
{
    Security security = securityOf(service.security);
    if (security.owner.empty())
        security.owner = sidBytes(L"S-1-5-18");
    return security;
}

std::vector<Replacement> serviceSecurityReplacements()
{
    return {
        settingLastError<&querySecurity>("QueryServiceObjectSecurity"),
        settingLastError<&setSecurity>("SetServiceObjectSecurity"),
    };
}

} // namespace whatif
