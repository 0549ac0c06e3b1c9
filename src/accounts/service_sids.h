// The SIDs of services, which make up the domain NT SERVICE. The SID has been found valid by the platform.
#pragma once

#include <windows.h>

#include <cstring>

// S-1-5-80-...: that of a service, or of all of them.
inline bool sswseIsOfServiceDomain(PSID sid)
{
    constexpr SID_IDENTIFIER_AUTHORITY ntAuthority = SECURITY_NT_AUTHORITY;
    const SID* const parts = static_cast<const SID*>(sid);
    return memcmp(&parts->IdentifierAuthority, &ntAuthority, sizeof ntAuthority) == 0 && parts->SubAuthorityCount > 0 &&
           parts->SubAuthority[0] == SECURITY_SERVICE_ID_BASE_RID;
}

// That of one service: five parts more, whether the service exists or not.
inline bool sswseIsServiceSid(PSID sid)
{
    return sswseIsOfServiceDomain(sid) &&
           static_cast<const SID*>(sid)->SubAuthorityCount == SECURITY_SERVICE_ID_RID_COUNT;
}
