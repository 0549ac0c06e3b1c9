// A service's own SID and its name, the account name of the service in the domain of all services.
#include "accounts/account_names.h"
#include "frame/call.h"
#include "frame/node.h"

#include <cstring>

namespace {

constexpr char serviceAuthority[] = "S-1-5-80";

// The name of the domain that all service SIDs belong to, in the system's language. `length` counts the terminator.
DWORD serviceDomain(const sswseCall& call, owned::Heap<char>& domain, size_t* length)
{
    owned::Local<void> sid;
    if (sswseSidFromString(call, serviceAuthority, sid) != SSWSE_SUCCESS ||
        sswseRequireValidSid(call, sid.get()) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    sswseQualifiedName name;
    if (sswseLookupNameOfSid(call, sid.get(), name) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return sswseToMultibyte(call, name.domain, domain, length);
}

DWORD lookupServiceSid(const sswseCall& call, const char* sidName, const char* nodename, owned::Heap<void>& sid)
{
    owned::Heap<wchar_t> name;
    if (sswseToWide(call, sidName, name) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    owned::Heap<wchar_t> node;
    wchar_t computer[MAX_COMPUTERNAME_LENGTH + 1];
    const bool local = sswseIsLocalNode(nodename);
    if ((local ? sswseComputerName(call, computer) : sswseNodeToWide(call, nodename, node)) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return sswseLookupSidOfName(call, local ? computer : node.get(), name.get(), "LookupAccountNameW", sid);
}

} // namespace

DWORD WINAPI sswseGetServiceSidName(sswseErrRec* err, const char* svcname, char* out, size_t outlen, size_t* written)
{
    return sswseRunFramed(err, __func__, sswseArgs("String Sid = %s", svcname), [&](const sswseCall& call) -> DWORD {
        if (!svcname)
            return sswseBadArgument(call, "Service Name");
        if (!out)
            return sswseBadArgument(call, "Service Sid String");
        if (outlen == 0) // this message with this status: deliberate, no room at all is a wrong argument
            return sswseBufferTooSmall(call, "Service Sid String length", SSWSE_INVALID_ARGUMENT);
        owned::Heap<char> domain;
        size_t domainLength = 0;
        if (serviceDomain(call, domain, &domainLength) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        const size_t length = domainLength + strlen(svcname); // the domain's terminator stands for the backslash
        if (length >= outlen)
            return sswseBufferTooSmall(call, "Output buffer for Service Sid String");
        sswseFormat(out, outlen, "%s\\%s", domain.get(), svcname);
        if (written)
            *written = length;
        return SSWSE_SUCCESS;
    });
}

DWORD WINAPI sswseGetServiceSID(sswseErrRec* err, const char* svcname, PSID* psid, const char* nodename)
{
    if (psid)
        *psid = nullptr;
    const auto args = sswseArgs("ServiceName = %s\nNodename = %s", svcname, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!svcname)
            return sswseBadArgument(call, "Service Name");
        if (!psid)
            return sswseBadArgument(call, "Pointer to SID");
        const DWORD knowsServiceSids = sswseIsOSVistaOrAbove(call.rec);
        if (knowsServiceSids == SSWSE_NO)
            return sswseFail(call, WSE_SERVICE_SID_UNSUPPORTED, 0, "");
        char sidName[512];
        if (knowsServiceSids != SSWSE_YES ||
            sswseGetServiceSidName(call.rec, svcname, sidName, sizeof sidName - 1, nullptr) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        owned::Heap<void> sid;
        if (lookupServiceSid(call, sidName, nodename, sid) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        *psid = sid.release();
        return SSWSE_SUCCESS;
    });
}
