#include "acl/legacy_object.h"

#include "frame/acl_bounds.h"
#include "frame/call.h"

namespace {

struct Object
{
    const sswseCall& call;
    const wchar_t* path;
    sswseFailList& failed;
};

struct Descriptor
{
    owned::Heap<void> bytes;
    size_t size = 0;
};

// Trace lines: the last error, the function, which attempt or which entry.
constexpr char first[] = "%d -GLE %s-1";
constexpr char second[] = "%d -GLE %s-2";
constexpr char nthEntry[] = "%d -GLE %s-%d";
constexpr char bare[] = "%d -GLE %s";

DWORD fail(const Object& object, DWORD osError, const char* api, const char* form, DWORD number = 0)
{
    sswseApiFailed(object.call, osError, api);
    sswseTrace(form, static_cast<int>(osError), api, static_cast<int>(number));
    return sswseAddToFailList(object.failed, object.path, object.call.function);
}

DWORD readDescriptor(const Object& object, Descriptor& descriptor)
{
    DWORD size = 0;
    if (!GetFileSecurityW(object.path, DACL_SECURITY_INFORMATION, nullptr, 0, &size)) {
        const DWORD osError = GetLastError();
        if (osError != ERROR_INSUFFICIENT_BUFFER)
            return fail(object, osError, "GetFileSecurityW", first);
    }
    descriptor.bytes = sswseAllocateDescriptor(size, &descriptor.size);
    if (!descriptor.bytes) {
        sswseTrace("malloc() failed; size %d bytes", static_cast<int>(size));
        return SSWSE_LEGACY_NO_MEMORY;
    }
    if (!GetFileSecurityW(object.path, DACL_SECURITY_INFORMATION, descriptor.bytes.get(), size, &size))
        return fail(object, GetLastError(), "GetFileSecurityW", second);
    return SSWSE_LEGACY_DONE;
}

DWORD readGrants(const Object& object, const Descriptor& descriptor, PACL acl, const sswseLegacyEntries& entries,
                 sswseLegacyGrants& grants)
{
    if (!sswseIsAclWhole(acl, descriptor.bytes.get(), descriptor.size))
        return fail(object, ERROR_INVALID_ACL, "GetAclInformation", first);
    ACL_SIZE_INFORMATION size = {};
    if (!GetAclInformation(acl, &size, sizeof size, AclSizeInformation))
        return fail(object, GetLastError(), "GetAclInformation", first);
    for (DWORD i = 0; i < size.AceCount; ++i) {
        void* ace = nullptr;
        if (!GetAce(acl, i, &ace))
            return fail(object, GetLastError(), "GetAce", nthEntry, i);
        if (!sswseMergeLegacyAce(entries, static_cast<const BYTE*>(ace), grants))
            return fail(object, ERROR_INVALID_ACL, "GetAce", nthEntry, i);
    }
    return SSWSE_LEGACY_DONE;
}

DWORD limitByOldDacl(const Object& object, sswseLegacyEntries& entries)
{
    Descriptor descriptor;
    if (const DWORD status = readDescriptor(object, descriptor))
        return status;
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL acl = nullptr;
    if (!GetSecurityDescriptorDacl(descriptor.bytes.get(), &present, &acl, &defaulted))
        return fail(object, GetLastError(), "GetSecurityDescriptorDacl", first);
    if (!present || !acl)
        return SSWSE_LEGACY_DONE;

    sswseLegacyGrants grants = {};
    if (const DWORD status = readGrants(object, descriptor, acl, entries, grants))
        return status;
    sswseLimitLegacyEntries(entries, grants);
    return SSWSE_LEGACY_DONE;
}

bool setFileSecurity(const wchar_t* path, const sswseLegacyEntries& entries)
{
    alignas(DWORD) BYTE room[sizeof(ACL) + sizeof entries.entry];
    const auto acl = reinterpret_cast<PACL>(room);
    DWORD size = sizeof(ACL);
    for (DWORD i = 0; i < entries.count; ++i)
        size += entries.entry[i].ace.Header.AceSize;
    if (!InitializeAcl(acl, size, ACL_REVISION))
        return false;
    for (DWORD i = 0; i < entries.count; ++i) {
        const ACCESS_ALLOWED_ACE& ace = entries.entry[i].ace;
        if (!AddAce(acl, ACL_REVISION, MAXDWORD, const_cast<ACCESS_ALLOWED_ACE*>(&ace), ace.Header.AceSize))
            return false;
    }
    SECURITY_DESCRIPTOR descriptor = {};
    return InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) &&
           SetSecurityDescriptorDacl(&descriptor, TRUE, acl, FALSE) &&
           SetFileSecurityW(path, DACL_SECURITY_INFORMATION, &descriptor);
}

} // namespace

DWORD sswseUpdateLegacyObject(const wchar_t* path, const sswseLegacyEntries& entries, sswseFailList& failed)
{
    const auto args = sswseArgs("filename = %S", path);
    return sswseRunFramed(nullptr, sswseLegacyObjectRoutine, args, [&](const sswseCall& call) -> DWORD {
        const Object object = {call, path, failed};
        sswseLegacyEntries limited = entries;
        if (const DWORD status = limitByOldDacl(object, limited))
            return status;
        // The message names this routine, not the platform's function: deliberate, support knows it.
        if (!setFileSecurity(path, limited))
            return fail(object, GetLastError(), "setFileSecurity", bare);
        return SSWSE_LEGACY_DONE;
    });
}
