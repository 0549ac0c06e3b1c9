// The security of an open registry key. What is written is the key's alone: nothing is passed on to what lies below.
// Codes: RegGetKeySecurity, RegSetKeySecurity.
#include "whatif/model/open_keys.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/security/object_security.h"

namespace whatif {

namespace {

LSTATUS openObject(World& world, HKEY handle, DWORD access, Object& object, Security& security)
{
    Registry::Place place;
    if (const LSTATUS status = placeOf(world, handle, L"", place))
        return status;
    const OpenKey* const opened = openKeyOf(world, handle); // a predefined one is opened when it is used
    object = keyAt(*place.node, place.path);
    if (!world.registry().hasKey(*place.node, place.path))
        return ERROR_KEY_DELETED;
    if (const DWORD error = readSecurity(object, security))
        return static_cast<LSTATUS>(error);
    const bool may = opened ? (opened->access & access) == access : administratorGets(security, access, keyRights);
    return may ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

LSTATUS WINAPI getKeySecurity(HKEY key, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR descriptor, LPDWORD size)
{
    Locked world;
    Object object;
    Security security;
    if (!size)
        return ERROR_INVALID_PARAMETER;
    if (const LSTATUS status = openObject(*world, key, accessToRead(parts), object, security))
        return status;
    const bool done = handOut(told(object, security), parts, descriptor, *size, size);
    return done ? ERROR_SUCCESS : static_cast<LSTATUS>(GetLastError());
}

LSTATUS WINAPI setKeySecurity(HKEY key, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR descriptor)
{
    Locked world;
    Object object;
    Security before;
    if (!descriptor || !IsValidSecurityDescriptor(descriptor))
        return ERROR_INVALID_PARAMETER;
    if (const LSTATUS status = openObject(*world, key, accessToWrite(parts), object, before))
        return status;
    writeSecurity(*world, object, before, asWritten(before, parts, descriptor, keyRights));
    return ERROR_SUCCESS;
}

} // namespace

std::vector<Replacement> keySecurityReplacements()
{
    return {returningError<&getKeySecurity>("RegGetKeySecurity"), returningError<&setKeySecurity>("RegSetKeySecurity")};
}

} // namespace whatif
