// Adding one explicit entry to an ACL that the caller holds.
#include "frame/acl_bounds.h"
#include "frame/call.h"
#include "frame/owned.h"

#include <accctrl.h>
#include <aclapi.h>

namespace {

// The trustee is a SID although the line prints it as text: no further than its length, and nothing of what is none.
struct TrusteeArgs
{
    const void* trustee;
    int type;
    DWORD rights;
    int mode;
    DWORD inheritance;

    uint32_t operator()(char* buffer, size_t capacity) const
    {
        const PSID sid = const_cast<void*>(trustee);
        const int length = sid && IsValidSid(sid) ? static_cast<int>(GetLengthSid(sid)) : 0;
        return sswseFormat(
            buffer, capacity,
            "pszTrustee = %.*s\nTrusteeType = %d\ndwAccessRights = %u\nAccessMode = %d\ndwInheritance = %u", length,
            length ? static_cast<const char*>(trustee) : "", type, static_cast<unsigned>(rights), mode,
            static_cast<unsigned>(inheritance));
    }
};

} // namespace

DWORD WINAPI sswseAddAceToACL(sswseErrRec* err, void* pszTrustee, int TrusteeType, DWORD dwAccessRights, int AccessMode,
                              DWORD dwInheritance, PACL* acl)
{
    const TrusteeArgs args = {pszTrustee, TrusteeType, dwAccessRights, AccessMode, dwInheritance};
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!acl)
            return sswseBadArgument(call, "acl");
        if (*acl && !sswseIsAclWhole(*acl, *acl, (*acl)->AclSize)) // the platform takes it on trust
            return sswseFail(call, WSE_SECURITY_DESCRIPTOR, ERROR_INVALID_ACL, "SetEntriesInAcl");
        if (!pszTrustee || !IsValidSid(pszTrustee)) // and the trustee
            return sswseFail(call, WSE_SECURITY_DESCRIPTOR, ERROR_INVALID_SID, "SetEntriesInAcl");
        EXPLICIT_ACCESSA entry = {};
        entry.grfAccessPermissions = dwAccessRights;
        entry.grfAccessMode = static_cast<ACCESS_MODE>(AccessMode);
        entry.grfInheritance = dwInheritance;
        entry.Trustee.MultipleTrusteeOperation = NO_MULTIPLE_TRUSTEE;
        entry.Trustee.TrusteeForm = TRUSTEE_IS_SID; // always: callers pass SIDs
        entry.Trustee.TrusteeType = static_cast<TRUSTEE_TYPE>(TrusteeType);
        entry.Trustee.ptstrName = static_cast<char*>(pszTrustee);

        PACL merged = nullptr;
        if (SetEntriesInAclA(1, &entry, *acl, &merged) != ERROR_SUCCESS) // reported: the last error, not the result
            return sswseFail(call, WSE_SECURITY_DESCRIPTOR, GetLastError(), "SetEntriesInAcl");
        const owned::Local<ACL> replaced(*acl);
        *acl = merged;
        return SSWSE_SUCCESS;
    });
}
