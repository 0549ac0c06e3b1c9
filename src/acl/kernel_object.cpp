// One more entry in the list of a kernel object, or in the list that a token gives to what is created under it.
#include "accounts/principal_names.h"
#include "accounts/process_token.h"
#include "acl/ace_list.h"
#include "acl/generic_rights.h"
#include "frame/acl_bounds.h"
#include "frame/call.h"

#include <aclapi.h>

namespace {

struct Grant
{
    PSID sid;
    DWORD mask;
};

// Whether the list grants as much already. What generic rights come to is the object's own matter: never then.
bool isGranted(const ACL* dacl, const Grant& grant)
{
    bool granted = false;
    const auto* place = reinterpret_cast<const BYTE*>(dacl + 1);
    for (WORD left = dacl->AceCount; left > 0; --left) {
        const auto* const ace = reinterpret_cast<const sswseAce*>(place);
        place += ace->Header.AceSize;
        const PSID sid = sswseSidOfAce(ace);
        if (!sid || !EqualSid(sid, grant.sid) || (ace->Header.AceFlags & INHERIT_ONLY_ACE))
            continue;
        if (ace->Header.AceType == ACCESS_ALLOWED_ACE_TYPE && (ace->Mask & grant.mask) == grant.mask)
            granted = true;
        if (ace->Header.AceType == ACCESS_DENIED_ACE_TYPE && (ace->Mask & grant.mask))
            return false;
    }
    return granted && !(grant.mask & sswseGenericRights);
}

// The list with the grant; none when there is nothing to write. Without a list everybody is let in, and one with this
// entry would shut the others out.
DWORD mergeGrant(const sswseCall& call, ACL* dacl, const Grant& grant, owned::Local<ACL>& merged)
{
    if (!dacl)
        return SSWSE_SUCCESS;
    if (!sswseIsAclWhole(dacl, dacl, dacl->AclSize)) // the platform takes it on trust
        return sswseFail(call, WSE_SECURITY_DESCRIPTOR, ERROR_INVALID_ACL, "SetEntriesInAcl");
    if (isGranted(dacl, grant))
        return SSWSE_SUCCESS;
    EXPLICIT_ACCESSW entry = {};
    entry.grfAccessPermissions = grant.mask;
    entry.grfAccessMode = GRANT_ACCESS;
    entry.grfInheritance = NO_INHERITANCE;
    entry.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    entry.Trustee.TrusteeType = TRUSTEE_IS_UNKNOWN;
    entry.Trustee.ptstrName = static_cast<wchar_t*>(grant.sid);
    ACL* acl = nullptr;
    const DWORD result = SetEntriesInAclW(1, &entry, dacl, &acl);
    merged.reset(acl);
    if (result != ERROR_SUCCESS)
        return sswseFail(call, WSE_SECURITY_DESCRIPTOR, result, "SetEntriesInAcl");
    return SSWSE_SUCCESS;
}

DWORD addToObject(const sswseCall& call, HANDLE object, const Grant& grant)
{
    ACL* dacl = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    DWORD result = GetSecurityInfo(object, SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &dacl,
                                   nullptr, &descriptor);
    const owned::Local<void> owner(descriptor);
    if (result != ERROR_SUCCESS)
        return sswseFail(call, WSE_GET_SECURITY, result, "GetSecurityInfo");
    owned::Local<ACL> merged;
    const DWORD status = mergeGrant(call, dacl, grant, merged);
    if (status != SSWSE_SUCCESS || !merged)
        return status;
    result =
        SetSecurityInfo(object, SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, merged.get(), nullptr);
    if (result != ERROR_SUCCESS)
        return sswseFail(call, WSE_SET_SECURITY, result, "SetSecurityInfo");
    return SSWSE_SUCCESS;
}

DWORD addToToken(const sswseCall& call, HANDLE token, const Grant& grant)
{
    owned::Heap<TOKEN_DEFAULT_DACL> current;
    owned::Local<ACL> merged;
    DWORD status = sswseReadToken(call, token, TokenDefaultDacl, current);
    if (status == SSWSE_SUCCESS)
        status = mergeGrant(call, current->DefaultDacl, grant, merged);
    if (status != SSWSE_SUCCESS || !merged)
        return status;
    TOKEN_DEFAULT_DACL added = {merged.get()};
    if (!SetTokenInformation(token, TokenDefaultDacl, &added, sizeof added))
        return sswseApiFailed(call, GetLastError(), "SetTokenInformation");
    return SSWSE_SUCCESS;
}

// The user that is given or, without one, the home's own.
DWORD resolveUser(const sswseCall& call, const char* username, owned::Heap<void>& sid)
{
    char recorded[512];
    if (!username || !*username) {
        const DWORD status = sswseGetUnameForKhome(call.rec, recorded, sizeof recorded, nullptr, nullptr);
        if (status != SSWSE_SUCCESS)
            return status;
        username = recorded;
    }
    return sswseSidOfPrincipal(call, username, nullptr, sid);
}

} // namespace

DWORD WINAPI sswseAddACEOnKernelObjectForUserOrGroup(sswseErrRec* err, HANDLE object, const char* username,
                                                     DWORD accessmask)
{
    const auto args =
        sswseArgs("object=%Ix\nusername=%s\naccessmask=%u", reinterpret_cast<size_t>(object), username, accessmask);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!owned::orNull(object)) // the second is this process's own pseudo handle
            return sswseBadArgument(call, "object");
        if (!username)
            return sswseBadArgument(call, "username");
        if (!accessmask)
            return sswseBadArgument(call, "accessmask");
        owned::Heap<void> sid;
        const DWORD status = sswseSidOfPrincipal(call, username, nullptr, sid);
        return status == SSWSE_SUCCESS ? addToObject(call, object, {sid.get(), accessmask}) : status;
    });
}

DWORD WINAPI sswseAddACEOnDefaultDACLForSvcUser(sswseErrRec* err, HANDLE token, const char* username, DWORD accessmask)
{
    const auto args =
        sswseArgs("token=%Ix\nusername=%s\naccessmask=%u", reinterpret_cast<size_t>(token), username, accessmask);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!accessmask)
            return sswseBadArgument(call, "accessmask");
        owned::Handle own;
        DWORD status = SSWSE_SUCCESS;
        if (!token)
            status = sswseOpenOwnToken(call, TOKEN_QUERY | TOKEN_ADJUST_DEFAULT, own);
        owned::Heap<void> sid;
        if (status == SSWSE_SUCCESS)
            status = resolveUser(call, username, sid);
        return status == SSWSE_SUCCESS ? addToToken(call, token ? token : own.get(), {sid.get(), accessmask}) : status;
    });
}
