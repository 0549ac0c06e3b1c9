#include "bench/bare_loop.h"

namespace bench {

namespace {

struct Walk
{
    const Platform& platform;
    PACL newEntries;
    wchar_t path[520];
    char text[1024];
    alignas(8) BYTE descriptor[1024];
    alignas(8) BYTE acl[1024];
    WIN32_FIND_DATAW entry;
};

void secureObject(Walk& walk)
{
    const int length = WideCharToMultiByte(CP_ACP, 0, walk.path, -1, nullptr, 0, nullptr, nullptr);
    WideCharToMultiByte(CP_ACP, 0, walk.path, -1, walk.text, length, nullptr, nullptr);

    DWORD needed = 0;
    walk.platform.getFileSecurity(walk.path, DACL_SECURITY_INFORMATION, nullptr, 0, &needed);
    walk.platform.getFileSecurity(walk.path, DACL_SECURITY_INFORMATION, walk.descriptor, needed, &needed);
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL existing = nullptr;
    GetSecurityDescriptorDacl(walk.descriptor, &present, &existing, &defaulted);
    ACL_SIZE_INFORMATION size = {};
    GetAclInformation(existing, &size, sizeof size, AclSizeInformation);
    void* last = nullptr;
    for (DWORD i = 0; i < size.AceCount; ++i)
        GetAce(existing, i, &last);

    const auto acl = reinterpret_cast<PACL>(walk.acl);
    InitializeAcl(acl, sizeof walk.acl, ACL_REVISION);
    auto* ace = reinterpret_cast<BYTE*>(walk.newEntries + 1);
    for (WORD i = 0; i < walk.newEntries->AceCount; ++i) {
        const WORD aceSize = reinterpret_cast<ACE_HEADER*>(ace)->AceSize;
        AddAce(acl, ACL_REVISION, MAXDWORD, ace, aceSize);
        ace += aceSize;
    }
    AddAce(acl, ACL_REVISION, MAXDWORD, last, static_cast<ACE_HEADER*>(last)->AceSize);
    SECURITY_DESCRIPTOR written;
    InitializeSecurityDescriptor(&written, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&written, TRUE, acl, FALSE);
    walk.platform.setFileSecurity(walk.path, DACL_SECURITY_INFORMATION, &written);
}

void secureDirectory(Walk& walk)
{
    secureObject(walk);
    const size_t length = wcslen(walk.path);
    wcscpy(walk.path + length, L"\\*");
    const HANDLE listing = walk.platform.findFirstFile(walk.path, &walk.entry);
    do {
        if (walk.entry.cFileName[0] == L'.')
            continue;
        wcscpy(walk.path + length + 1, walk.entry.cFileName);
        if (walk.platform.getFileAttributes(walk.path) & FILE_ATTRIBUTE_DIRECTORY)
            secureDirectory(walk);
        else
            secureObject(walk);
    } while (walk.platform.findNextFile(listing, &walk.entry));
    walk.platform.findClose(listing);
}

} // namespace

void secureTree(const Platform& platform, const wchar_t* directory, PACL newEntries)
{
    Walk walk = {platform, newEntries, {}, {}, {}, {}, {}};
    wcscpy(walk.path, directory);
    secureDirectory(walk);
}

} // namespace bench
