// The security of a service.
// Codes: QueryServiceObjectSecurity, SetServiceObjectSecurity; rights, "Service Security and Access Rights".
#include "whatif/model/service_handles.h"
#include "whatif/model/sids.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/security/access.h"

namespace whatif {

namespace {

BOOL WINAPI querySecurity(SC_HANDLE handle, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR descriptor, DWORD size,
                          LPDWORD needed)
{
    Locked world;
    Node* node = nullptr;
    if (!parts || !descriptor || !needed) // not every version takes NULL, not even for the size
        return failWith(ERROR_INVALID_PARAMETER);
    const Service* const service = serviceOf(handle, accessToRead(parts), node);
    if (!service)
        return FALSE;
    return handOut(serviceSecurity(*service), parts, descriptor, size, needed);
}

// Only the DACL is kept: the owner of a service is LocalSystem.
BOOL WINAPI setSecurity(SC_HANDLE handle, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR descriptor)
{
    Locked world;
    Node* node = nullptr;
    if (!parts || !descriptor || !IsValidSecurityDescriptor(descriptor))
        return failWith(ERROR_INVALID_PARAMETER);
    Service* const service = serviceOf(handle, accessToWrite(parts), node);
    if (!service)
        return FALSE;
    if (service->deleted)
        return failWith(ERROR_SERVICE_MARKED_FOR_DELETE);
    if (!(parts & DACL_SECURITY_INFORMATION))
        return TRUE;
    Security after = securityOf(descriptor);
    mapGenericRights(after, serviceRights);
    after.owner.clear();
    after.group.clear();
    Security before = serviceSecurity(*service);
    before.owner.clear();
    const std::wstring textBefore = textOf(before);
    const std::wstring textAfter = textOf(after);
    if (textBefore == textAfter)
        return TRUE;
    service->security = textAfter;
    world->record({ChangeKind::security, node->name, L"service " + service->name, L"", textBefore, textAfter});
    return TRUE;
}

} // namespace

std::vector<Replacement> serviceSecurityReplacements()
{
    return {
        settingLastError<&querySecurity>("QueryServiceObjectSecurity"),
        settingLastError<&setSecurity>("SetServiceObjectSecurity"),
    };
}

} // namespace whatif
