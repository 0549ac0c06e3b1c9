#include "tests/acl/held_object.h"

#include "whatif/security/descriptors.h"

#include <gtest/gtest.h>

#include <cstring>

namespace acetext {

namespace {

BYTE typeNamed(const std::string& name)
{
    if (name[0] == 'T')
        return static_cast<BYTE>(std::stoi(name.substr(1)));
    const BYTE base = name.back() == 'D' ? ACCESS_DENIED_ACE_TYPE : ACCESS_ALLOWED_ACE_TYPE;
    return name[0] == 'O' ? static_cast<BYTE>(base + ACCESS_ALLOWED_OBJECT_ACE_TYPE) : base;
}

Ace aceOf(const std::string& text)
{
    if (text[0] == '#') {
        Ace bytes;
        for (size_t i = 1; i + 1 < text.size(); i += 2)
            bytes.push_back(static_cast<BYTE>(std::stoi(text.substr(i, 2), nullptr, 16)));
        return bytes;
    }
    const size_t end = text.find(';');
    const size_t rights = text.find(';', end + 1) + 1;
    const size_t rightsEnd = text.find(';', rights);
    // Not every platform takes a mask of 0.
    const std::string sddl = "D:(A" + text.substr(end, rights - end) + "0x1" + text.substr(rightsEnd) + ")";
    const std::vector<BYTE> acl = whatif::securityOf(std::wstring(sddl.begin(), sddl.end())).dacl;
    Ace ace(acl.begin() + sizeof(ACL), acl.end());
    ace[0] = typeNamed(text.substr(0, end));
    const DWORD mask = std::stoul(text.substr(rights, rightsEnd - rights), nullptr, 16);
    memcpy(&ace[4], &mask, sizeof mask);
    return ace;
}

HeldObject* held;
decltype(&AddAce) realAddAce;

DWORD WINAPI getFileAttributes(LPCWSTR)
{
    return held->attributes;
}

BOOL WINAPI getFileSecurity(LPCWSTR, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR buffer, DWORD size, DWORD* needed)
{
    *needed = static_cast<DWORD>(held->descriptor.size());
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size >= *needed && memcpy(buffer, held->descriptor.data(), *needed);
}

BOOL WINAPI setFileSecurity(LPCWSTR, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR descriptor)
{
    const ACL* const acl = static_cast<SECURITY_DESCRIPTOR*>(descriptor)->Dacl;
    ++held->writes;
    held->result = acesOf(acl);
    held->revision = acl->AclRevision;
    held->control = static_cast<SECURITY_DESCRIPTOR*>(descriptor)->Control;
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

Aces acesOf(const std::string& text)
{
    Aces aces;
    for (size_t begin = 0; begin < text.size(); begin = text.find(')', begin) + 1)
        aces.push_back(aceOf(text.substr(begin + 1, text.find(')', begin) - begin - 1)));
    return aces;
}

Aces acesOf(const ACL* acl)
{
    Aces aces;
    void* place = nullptr;
    for (DWORD i = 0; acl && GetAce(const_cast<PACL>(acl), i, &place); ++i) {
        const auto* const bytes = static_cast<const BYTE*>(place);
        aces.emplace_back(bytes, bytes + static_cast<const ACE_HEADER*>(place)->AceSize);
    }
    return aces;
}

std::vector<ACCESS_ALLOWED_ACE*> pointersTo(Aces& aces)
{
    std::vector<ACCESS_ALLOWED_ACE*> pointers;
    pointers.reserve(aces.size() + 1); // there is an address even for none
    for (Ace& ace : aces)
        pointers.push_back(reinterpret_cast<ACCESS_ALLOWED_ACE*>(ace.data()));
    return pointers;
}

HeldObject::HeldObject(const std::string& aces, SECURITY_DESCRIPTOR_CONTROL given) : imports(GetModuleHandleA(nullptr))
{
    held = this;
    imports.redirect("GetFileAttributesW", reinterpret_cast<void*>(getFileAttributes));
    imports.redirect("GetFileSecurityW", reinterpret_cast<void*>(getFileSecurity));
    imports.redirect("SetFileSecurityW", reinterpret_cast<void*>(setFileSecurity));
    realAddAce = reinterpret_cast<decltype(&AddAce)>(imports.redirect("AddAce", reinterpret_cast<void*>(addAce)));
    struct
    {
        SECURITY_DESCRIPTOR_RELATIVE descriptor = {SECURITY_DESCRIPTOR_REVISION, 0, SE_SELF_RELATIVE, 0, 0, 0, 0};
        ACL dacl = {ACL_REVISION, 0, sizeof(ACL), 0, 0};
    } header;
    header.descriptor.Control |= given;
    header.descriptor.Dacl = aces == "NULL" ? 0 : sizeof header.descriptor;
    descriptor.resize(sizeof header);
    for (const Ace& ace : acesOf(aces == "NULL" ? "" : aces)) {
        descriptor.insert(descriptor.end(), ace.begin(), ace.end());
        header.dacl.AclSize = static_cast<WORD>(header.dacl.AclSize + ace.size());
        ++header.dacl.AceCount;
    }
    memcpy(descriptor.data(), &header, sizeof header);
}

HeldObject::~HeldObject()
{
    held = nullptr;
}

} // namespace acetext

legacy::Result legacy::call(const std::string& name, DWORD isAdmin, decltype(setPermissions)* function)
{
    char marker = 0;
    char* markers = &marker;
    char** list = &markers; // is overwritten at once
    DWORD count = 99;
    Result result = {function(name.c_str(), isAdmin, &list, &count), {}};
    EXPECT_NE(list, &markers);
    EXPECT_EQ(list != nullptr, count != 0);
    for (DWORD i = 0; i < count; ++i)
        result.failed.emplace_back(list[i]);
    sswseFreeArrayofStrings(list, count);
    return result;
}
