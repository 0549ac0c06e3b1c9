#include "tests/acl/held_security.h"

#include "tests/acl/ace_text.h"

#include <cstring>
#include <set>

namespace acetext {

namespace {

HeldFiles* held;
decltype(&AddAce) realAddAce;

BOOL WINAPI getFileSecurity(LPCWSTR path, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR buffer, DWORD size, DWORD* needed)
{
    held->calls.emplace_back("GetFileSecurityW");
    const std::vector<BYTE> descriptor = descriptorOf(held->files[path]);
    *needed = static_cast<DWORD>(descriptor.size());
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    if (size < *needed)
        return FALSE;
    memcpy(buffer, descriptor.data(), descriptor.size());
    return TRUE;
}

BOOL WINAPI setFileSecurity(LPCWSTR path, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR descriptor)
{
    held->calls.emplace_back("SetFileSecurityW");
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL acl = nullptr;
    GetSecurityDescriptorDacl(descriptor, &present, &acl, &defaulted);
    held->written.emplace_back(path);
    held->result[path] = textOf(acesOf(acl));
    held->revision = acl->AclRevision;
    return TRUE;
}

// As documented, and not everywhere so: a list of the first revision takes no entry with GUIDs in it.
BOOL WINAPI addAce(PACL acl, DWORD revision, DWORD index, void* list, DWORD size)
{
    const BYTE type = static_cast<const ACE_HEADER*>(list)->AceType;
    if (revision < ACL_REVISION_DS && type >= ACCESS_MIN_MS_OBJECT_ACE_TYPE && type <= ACCESS_MAX_MS_OBJECT_ACE_TYPE) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    return realAddAce(acl, revision, index, list, size);
}

} // namespace

std::vector<BYTE> descriptorOf(const HeldSecurity& security)
{
    if (!security.descriptor.empty())
        return security.descriptor;
    const std::vector<BYTE> acl = aclOf(security.aces);
    SECURITY_DESCRIPTOR_RELATIVE header = {SECURITY_DESCRIPTOR_REVISION, 0, SE_SELF_RELATIVE, 0, 0, 0, 0};
    header.Control |= security.form == HeldSecurity::absent ? 0 : SE_DACL_PRESENT;
    header.Dacl = security.form == HeldSecurity::list ? sizeof header : 0;
    std::vector<BYTE> descriptor(sizeof header + acl.size());
    memcpy(descriptor.data(), &header, sizeof header);
    memcpy(descriptor.data() + sizeof header, acl.data(), acl.size());
    return descriptor;
}

const char* failed(const std::string& api)
{
    static std::set<std::string> messages;
    const std::string message = "WSE-000053: Windows application programming interface (API) " + api + " failed.";
    return messages.insert(message).first->c_str();
}

HeldFiles::HeldFiles() : imports_(GetModuleHandleA(nullptr))
{
    held = this;
    imports_.redirect("GetFileSecurityW", reinterpret_cast<void*>(getFileSecurity));
    imports_.redirect("SetFileSecurityW", reinterpret_cast<void*>(setFileSecurity));
    realAddAce = reinterpret_cast<decltype(&AddAce)>(imports_.redirect("AddAce", reinterpret_cast<void*>(addAce)));
}

HeldFiles::~HeldFiles()
{
    held = nullptr;
}

} // namespace acetext
