#include "acl/object_dacl.h"

#include "frame/acl_bounds.h"
#include "frame/call.h"
#include "frame/text.h"

#include <accctrl.h>
#include <aclapi.h>

namespace {

// For traces and messages; NULL when it cannot be converted.
owned::Heap<char> pathText(const wchar_t* path)
{
    owned::Heap<char> text;
    size_t length = 0;
    return sswseWideToMb(path, text, &length) == SSWSE_SUCCESS ? std::move(text) : nullptr;
}

// An object without access is skipped where the caller allows it; the message is left all the same.
DWORD skipOrFail(const sswseCall& call, DWORD osError, const char* apiName, const wchar_t* path,
                 bool failOnAccessDenied)
{
    const bool denied = osError == ERROR_ACCESS_DENIED;
    if (denied && sswseTraceEnabled())
        sswseTrace("No access to arg- File/Directory - %s\n", sswseTextOrEmpty(pathText(path).get()));
    sswseReport(call, WSE_API_FAILED, osError, apiName, apiName);
    return denied && !failOnAccessDenied ? SSWSE_SUCCESS : SSWSE_FAILURE;
}

DWORD listAces(const sswseCall& call, PACL dacl, sswseAceList& aces)
{
    ACL_SIZE_INFORMATION information = {};
    if (!GetAclInformation(dacl, &information, sizeof information, AclSizeInformation))
        return sswseApiFailed(call, GetLastError(), "GetAclInformation");
    for (DWORD i = 0; i < information.AceCount; ++i) {
        void* place = nullptr;
        if (!GetAce(dacl, i, &place))
            return sswseApiFailed(call, GetLastError(), "GetAce");
        if (sswseAddAceToFinalList(call.rec, aces, static_cast<sswseAce*>(place)) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
    }
    return SSWSE_SUCCESS;
}

// `dacl` lies in the block of `size` bytes, or is NULL.
DWORD listDacl(const sswseCall& call, PACL dacl, const void* block, size_t size, sswseExistingDacl& existing)
{
    existing.hasList = dacl != nullptr;
    if (dacl && !sswseIsAclWhole(dacl, block, size)) { // the platform's functions take it on trust
        existing.osError = ERROR_INVALID_ACL;
        return sswseApiFailed(call, ERROR_INVALID_ACL, "GetAclInformation");
    }
    existing.read = !dacl || listAces(call, dacl, existing.aces) == SSWSE_SUCCESS;
    return existing.read ? SSWSE_SUCCESS : SSWSE_FAILURE;
}

// Of the descriptor in a block of `size` bytes. Where no DACL is to be found in it the message names the path of a
// file, not the function: deliberate.
DWORD listDaclOf(const sswseCall& call, size_t size, const wchar_t* file, sswseExistingDacl& existing)
{
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL dacl = nullptr;
    if (!GetSecurityDescriptorDacl(existing.descriptor.get(), &present, &dacl, &defaulted)) {
        existing.osError = GetLastError();
        const owned::Heap<char> text = file ? pathText(file) : nullptr;
        return sswseFail(call, WSE_API_FAILED, existing.osError, "GetSecurityDescriptorDAcl",
                         file ? text.get() : "GetSecurityDescriptorDacl");
    }
    return listDacl(call, present ? dacl : nullptr, existing.descriptor.get(), size, existing);
}

DWORD writeNamed(const sswseCall& call, const wchar_t* path, PACL acl, bool inheritFromParent)
{
    const DWORD information =
        inheritFromParent ? DACL_SECURITY_INFORMATION : PROTECTED_DACL_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    // Whatever is written by name is named as a registry key: deliberate.
    const DWORD result =
        SetNamedSecurityInfoW(const_cast<wchar_t*>(path), SE_REGISTRY_KEY, information, nullptr, nullptr, acl, nullptr);
    if (result != ERROR_SUCCESS)
        return sswseFail(call, WSE_SET_SECURITY, result, "SetNamedSecurityInfoW");
    return SSWSE_SUCCESS;
}

// What a new descriptor must say for the DACL to stay as protected and as inheriting as it is: the platform takes the
// second only from one that asks for it.
SECURITY_DESCRIPTOR_CONTROL marksToKeep(const void* selfRelative)
{
    const SECURITY_DESCRIPTOR_CONTROL now = static_cast<const SECURITY_DESCRIPTOR_RELATIVE*>(selfRelative)->Control;
    const bool inherits = (now & SE_DACL_AUTO_INHERITED) != 0;
    return (now & (SE_DACL_PROTECTED | SE_DACL_AUTO_INHERITED)) | (inherits ? SE_DACL_AUTO_INHERIT_REQ : 0);
}

DWORD writeFile(const sswseCall& call, const wchar_t* path, PACL acl, SECURITY_DESCRIPTOR_CONTROL marks,
                bool failOnAccessDenied, DWORD* osError)
{
    SECURITY_DESCRIPTOR descriptor = {};
    if (!InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION))
        return sswseApiFailed(call, GetLastError(), "InitializeSecurityDescriptor");
    if (!SetSecurityDescriptorDacl(&descriptor, TRUE, acl, FALSE))
        return sswseApiFailed(call, GetLastError(), "InitializeSecurityDescriptor"); // that name too: deliberate
    if (marks && !SetSecurityDescriptorControl(&descriptor, marks, marks))
        return sswseApiFailed(call, GetLastError(), "SetSecurityDescriptorControl");
    if (SetFileSecurityW(path, DACL_SECURITY_INFORMATION, &descriptor))
        return SSWSE_SUCCESS;
    *osError = GetLastError();
    return skipOrFail(call, *osError, "SetFileSecurityW", path, failOnAccessDenied);
}

// The entries that a list of the first revision may not hold: compound ones and those with GUIDs in them.
bool needsLaterRevision(BYTE aceType)
{
    return (aceType >= ACCESS_ALLOWED_COMPOUND_ACE_TYPE && aceType <= ACCESS_MAX_MS_V4_ACE_TYPE) ||
           aceType == ACCESS_ALLOWED_CALLBACK_OBJECT_ACE_TYPE || aceType == ACCESS_DENIED_CALLBACK_OBJECT_ACE_TYPE;
}

// The later revision only for an object that keeps an entry which needs it: AddAce refuses such an entry otherwise.
DWORD buildAcl(const sswseCall& call, const sswseAce* const* aces, DWORD count, owned::Heap<ACL>& acl)
{
    size_t size = sizeof(ACL);
    DWORD revision = ACL_REVISION;
    for (DWORD i = 0; i < count; ++i) {
        size += aces[i]->Header.AceSize;
        if (needsLaterRevision(aces[i]->Header.AceType))
            revision = ACL_REVISION_DS;
    }
    acl = owned::allocate<ACL>(size);
    if (!acl)
        return sswseOutOfMemory(call);
    if (!InitializeAcl(acl.get(), static_cast<DWORD>(size), revision)) // refuses more than an ACL can hold
        return sswseApiFailed(call, GetLastError(), "InitializeAcl");
    for (DWORD i = 0; i < count; ++i)
        if (!AddAce(acl.get(), revision, MAXDWORD, const_cast<sswseAce*>(aces[i]), aces[i]->Header.AceSize))
            return sswseApiFailed(call, GetLastError(), "AddAce");
    return SSWSE_SUCCESS;
}

} // namespace

uint32_t sswsePathArgs::operator()(char* buffer, size_t capacity) const
{
    return sswseFormat(buffer, capacity, "wFilename = %s", sswseTextOrEmpty(pathText(path).get()));
}

DWORD sswseReadDacl(const sswseCall& call, const wchar_t* path, bool failOnAccessDenied, sswseExistingDacl& existing)
{
    DWORD needed = 0;
    if (!GetFileSecurityW(path, DACL_SECURITY_INFORMATION, nullptr, 0, &needed)) {
        const DWORD osError = GetLastError();
        if (osError != ERROR_INSUFFICIENT_BUFFER) {
            existing.osError = osError;
            return skipOrFail(call, osError, "GetFileSecurityW", path, failOnAccessDenied);
        }
    }
    size_t size = 0;
    existing.descriptor = sswseAllocateDescriptor(needed, &size);
    if (!existing.descriptor)
        return sswseOutOfMemory(call);
    if (!GetFileSecurityW(path, DACL_SECURITY_INFORMATION, existing.descriptor.get(), needed, &needed)) {
        existing.osError = GetLastError();
        return sswseApiFailed(call, existing.osError, "GetFileSecurityW");
    }
    return listDaclOf(call, size, path, existing);
}

DWORD sswseReadNamedKeyDacl(const sswseCall& call, const wchar_t* path, sswseExistingDacl& existing)
{
    PACL dacl = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    existing.osError = GetNamedSecurityInfoW(path, SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION, nullptr, nullptr, &dacl,
                                             nullptr, &descriptor);
    if (existing.osError != ERROR_SUCCESS)
        return sswseFail(call, WSE_GET_SECURITY, existing.osError, "GetNamedSecurityInfoW");
    existing.platformDescriptor.reset(descriptor);
    return listDacl(call, dacl, dacl, dacl ? dacl->AclSize : 0, existing);
}

DWORD sswseReadOpenKeyDacl(const sswseCall& call, HKEY key, sswseExistingDacl& existing)
{
    DWORD needed = 0;
    size_t size = 0;
    LSTATUS result = RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, nullptr, &needed);
    if (result == ERROR_INSUFFICIENT_BUFFER || result == ERROR_SUCCESS) {
        existing.descriptor = sswseAllocateDescriptor(needed, &size);
        if (!existing.descriptor)
            return sswseOutOfMemory(call);
        result = RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, existing.descriptor.get(), &needed);
    }
    if (result != ERROR_SUCCESS) {
        existing.osError = static_cast<DWORD>(result);
        return sswseFail(call, WSE_GET_SECURITY, existing.osError, "RegGetKeySecurity");
    }
    return listDaclOf(call, size, nullptr, existing);
}

DWORD sswseSetFileSecurity(sswseErrRec* err, const sswseAce* const* finalAces, DWORD finalCount, const wchar_t* path,
                           bool useNamedInfo, bool inheritFromParent, bool failOnAccessDenied)
{
    return sswseRunFramed(err, __func__, sswsePathArgs{path}, [&](const sswseCall& call) -> DWORD {
        if (!finalAces)
            return sswseBadArgument(call, "pAceNew");
        owned::Heap<ACL> acl;
        const DWORD status = buildAcl(call, finalAces, finalCount, acl);
        if (status != SSWSE_SUCCESS)
            return status;
        DWORD osError = ERROR_SUCCESS;
        return useNamedInfo ? writeNamed(call, path, acl.get(), inheritFromParent)
                            : writeFile(call, path, acl.get(), /*marks=*/0, failOnAccessDenied, &osError);
    });
}

DWORD sswseRewriteDacl(const sswseCall& call, const wchar_t* path, const sswseAce* const* aces, DWORD count,
                       const sswseExistingDacl& existing, DWORD* osError)
{
    owned::Heap<ACL> acl;
    const DWORD status = buildAcl(call, aces, count, acl);
    if (status != SSWSE_SUCCESS)
        return status;
    return writeFile(call, path, acl.get(), marksToKeep(existing.descriptor.get()), /*failOnAccessDenied=*/true,
                     osError);
}
