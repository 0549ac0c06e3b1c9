#include "services/service_acl.h"

#include "frame/acl_bounds.h"
#include "frame/call.h"
#include "home/home_group.h"
#include "services/service_manager.h"

#include <aclapi.h>

namespace {

constexpr SECURITY_INFORMATION daclOnly = DACL_SECURITY_INFORMATION;

DWORD readSecurity(const sswseCall& call, SC_HANDLE service, sswseServiceAnswer<SECURITY_DESCRIPTOR>& security)
{
    constexpr char api[] = "QueryServiceObjectSecurity";
    return sswseQueryService(call, api, 1, security, [service](SECURITY_DESCRIPTOR* buffer, DWORD size, DWORD* needed) {
        SECURITY_DESCRIPTOR none; // the size query, too, must be given an address
        return QueryServiceObjectSecurity(service, daclOnly, buffer ? buffer : &none, size, needed);
    });
}

DWORD findDacl(const sswseCall& call, const sswseServiceAnswer<SECURITY_DESCRIPTOR>& security, ACL** dacl)
{
    constexpr char api[] = "GetSecurityDescriptorDacl";
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    *dacl = nullptr;
    if (!GetSecurityDescriptorDacl(security.data.get(), &present, dacl, &defaulted))
        return sswseFail(call, WSE_QUERY_SERVICE, GetLastError(), api);
    if (*dacl && !sswseIsAclWhole(*dacl, security.data.get(), security.size)) // what merges it takes it on trust
        return sswseFail(call, WSE_QUERY_SERVICE, ERROR_INVALID_ACL, api);
    return SSWSE_SUCCESS;
}

// The existing entries merged with start and stop for the administrators' groups. A service without a list, which lets
// everybody in, would end with these two entries and let in nobody else: the service control manager gives every new
// service a list, so this is left to the platform's merge.
DWORD mergeGrants(const sswseCall& call, ACL* existing, const char* homename, owned::Local<ACL>& merged)
{
    char machineGroup[sizeof sswseDatabaseAdministrators];
    strcpy(machineGroup, sswseDatabaseAdministrators);
    char homeGroup[512];
    sswseHomeGroup(homeGroup, homename, sswseDatabaseAdministratorsSuffix);
    EXPLICIT_ACCESS_A grants[2];
    constexpr DWORD startAndStop = SERVICE_START | SERVICE_STOP;
    BuildExplicitAccessWithNameA(&grants[0], machineGroup, startAndStop, GRANT_ACCESS, NO_INHERITANCE);
    BuildExplicitAccessWithNameA(&grants[1], homeGroup, startAndStop, GRANT_ACCESS, NO_INHERITANCE);
    ACL* acl = nullptr;
    const DWORD result = SetEntriesInAclA(2, grants, existing, &acl);
    merged.reset(acl);
    if (result != ERROR_SUCCESS)
        return sswseFail(call, WSE_SECURITY_DESCRIPTOR, result, "SetEntriesInAcl");
    return SSWSE_SUCCESS;
}

DWORD writeDacl(const sswseCall& call, SC_HANDLE service, ACL* dacl)
{
    SECURITY_DESCRIPTOR security;
    if (!InitializeSecurityDescriptor(&security, SECURITY_DESCRIPTOR_REVISION))
        return sswseFail(call, WSE_SECURITY_DESCRIPTOR, GetLastError(), "InitializeSecurityDescriptor");
    if (!SetSecurityDescriptorDacl(&security, TRUE, dacl, FALSE))
        return sswseFail(call, WSE_SECURITY_DESCRIPTOR, GetLastError(), "SetSecurityDescriptorDacl");
    if (!SetServiceObjectSecurity(service, daclOnly, &security))
        return sswseFail(call, WSE_UPDATE_SERVICE, GetLastError(), "SetServiceObjectSecurity");
    return SSWSE_SUCCESS;
}

} // namespace

DWORD sswseSetACLOnService(sswseErrRec* err, SC_HANDLE svchdl)
{
    const auto args = sswseArgs("svchdl = %Iu", reinterpret_cast<uintptr_t>(svchdl));
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!svchdl)
            return sswseBadArgument(call, "Service Handle");
        char homename[512];
        if (sswseGetKestelHomeName(call.rec, homename, sizeof homename, nullptr) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        sswseServiceAnswer<SECURITY_DESCRIPTOR> security;
        ACL* existing = nullptr;
        owned::Local<ACL> merged;
        if (readSecurity(call, svchdl, security) != SSWSE_SUCCESS ||
            findDacl(call, security, &existing) != SSWSE_SUCCESS ||
            mergeGrants(call, existing, homename, merged) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        return writeDacl(call, svchdl, merged.get());
    });
}
