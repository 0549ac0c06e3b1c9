// Files and volumes, by the documentation of each function and "Naming Files, Paths, and Namespaces"; rights as "File
// Security and Access Rights" tells them. Who may list a directory sees the attributes of what is in it ("File Access
// Rights Constants", FILE_LIST_DIRECTORY).
#include "whatif/model/files.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/security/object_security.h"
#include "whatif/spelling.h"

#include <algorithm>

namespace whatif {

namespace {

// The real name of what the library names; false with the last error set.
bool realName(const std::wstring& name, std::wstring& real)
{
    real = name;
    if (standsForItself(name))
        return true;
    Locked world;
    File file;
    if (const DWORD error = locate(*world, name, file))
        return failWith(error);
    real = file.real;
    return true;
}

// Whether security that the node has to tell refuses the access. What only the real machine knows of, or what is not
// there, is left to it.
bool refuses(const Object& object, DWORD access)
{
    Security security;
    return !machineDecides(object) && readSecurity(object, security) == ERROR_SUCCESS &&
           !administratorGets(security, access, *object.rights);
}

bool refusesListing(const std::wstring& pattern)
{
    Locked world;
    Object directory;
    const size_t separator = pattern.rfind(L'\\');
    return separator != std::wstring::npos &&
           fileObject(*world, pattern.substr(0, separator + 1), directory) == ERROR_SUCCESS &&
           refuses(directory, FILE_LIST_DIRECTORY);
}

// Who may list a directory may read the attributes of what is in it.
bool refusesAttributes(const std::wstring& name)
{
    Locked world;
    Object object;
    if (fileObject(*world, name, object) != ERROR_SUCCESS || !refuses(object, FILE_READ_ATTRIBUTES))
        return false;
    Object parent;
    Security above;
    return !parentOf(object, parent) || readSecurity(parent, above) != ERROR_SUCCESS ||
           !callerGets(parent, above, FILE_LIST_DIRECTORY);
}

bool refusesOpening(const std::wstring& name, DWORD access)
{
    Locked world;
    Object object;
    return fileObject(*world, name, object) == ERROR_SUCCESS && refuses(object, access);
}

HANDLE WINAPI createFile(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                         DWORD flags, HANDLE pattern)
{
    std::wstring real;
    if (!realName(wide(name), real))
        return INVALID_HANDLE_VALUE;
    if (refusesOpening(wide(name), access)) {
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    return CreateFileW(real.c_str(), access, share, security, disposition, flags, pattern);
}

DWORD WINAPI getFileAttributes(LPCWSTR name)
{
    std::wstring real;
    if (!name || !realName(name, real))
        return INVALID_FILE_ATTRIBUTES;
    if (!refusesAttributes(name))
        return GetFileAttributesW(real.c_str());
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_FILE_ATTRIBUTES;
}

HANDLE WINAPI findFirstFile(LPCWSTR pattern, LPWIN32_FIND_DATAW data)
{
    std::wstring real;
    if (!pattern || !realName(pattern, real))
        return INVALID_HANDLE_VALUE;
    if (!refusesListing(pattern))
        return FindFirstFileW(real.c_str(), data);
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

// The file system of every volume of a described node, whatever the directory lies on that plays its drive.
BOOL describedVolume(LPWSTR name, LPDWORD serial, LPDWORD longest, LPDWORD flags, LPWSTR fileSystem, DWORD size)
{
    constexpr wchar_t ntfs[] = L"NTFS";
    if (fileSystem && size < std::size(ntfs))
        return failWith(ERROR_BAD_LENGTH);
    if (fileSystem)
        wcscpy(fileSystem, ntfs);
    if (name)
        *name = L'\0';
    for (const auto& [place, value] :
         {std::pair<LPDWORD, DWORD>(serial, 0), {longest, 255}, {flags, FILE_PERSISTENT_ACLS}})
        if (place)
            *place = value;
    return TRUE;
}

// The root of a share stands for the root of the volume that the share's directory lies on.
BOOL WINAPI getVolumeInformation(LPCWSTR root, LPWSTR name, DWORD nameSize, LPDWORD serial, LPDWORD longest,
                                 LPDWORD flags, LPWSTR fileSystem, DWORD fileSystemSize)
{
    wchar_t volume[MAX_PATH + 1];
    File file;
    {
        Locked world;
        if (const DWORD error = locate(*world, root ? root : L"\\", file))
            return failWith(error);
    }
    if (!file.node->readsMachine)
        return GetFileAttributesW(file.real.c_str()) != INVALID_FILE_ATTRIBUTES &&
               describedVolume(name, serial, longest, flags, fileSystem, fileSystemSize);
    if (root && !standsForItself(root)) {
        if (!GetVolumePathNameW(file.real.c_str(), volume, MAX_PATH + 1))
            return FALSE;
        root = volume;
    }
    return GetVolumeInformationW(root, name, nameSize, serial, longest, flags, fileSystem, fileSystemSize);
}

BOOL WINAPI getVolumePathName(LPCWSTR name, LPWSTR volume, DWORD size)
{
    std::wstring root = textOrEmpty(name);
    std::wstring real;
    if (!realName(root, real))
        return FALSE;
    if (real == root)
        return GetVolumePathNameW(real.c_str(), volume, size);
    root.resize(std::min(root.size(), root.find(L'\\', root.find(L'\\', 2) + 1)));
    root += L'\\';
    if (root.size() >= size)
        return failWith(ERROR_FILENAME_EXCED_RANGE);
    root.copy(volume, root.size());
    volume[root.size()] = L'\0';
    return TRUE;
}

} // namespace

std::vector<Replacement> fileReplacements()
{
    return {
        settingLastError<&createFile>("CreateFileA"),
        settingLastError<&getFileAttributes>("GetFileAttributesW"),
        settingLastError<&findFirstFile>("FindFirstFileW"),
        settingLastError<&getVolumeInformation>("GetVolumeInformationW"),
        settingLastError<&getVolumePathName>("GetVolumePathNameW"),
    };
}

} // namespace whatif
