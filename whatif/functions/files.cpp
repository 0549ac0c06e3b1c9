#include "whatif/model/files.h"

#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/security/object_security.h"

#include <algorithm>

namespace whatif {

namespace {

constexpr wchar_t longName[] = L"\\\\?\\";

bool startsWith(const std::wstring& text, const wchar_t* prefix)
{
    return text.compare(0, wcslen(prefix), prefix) == 0;
}

// "\\server\share\...", but not "\\?\C:\..." and "\\.\device".
bool namesServer(const std::wstring& name)
{
    return startsWith(name, L"\\\\") && name.size() > 2 && name[2] != L'?' && name[2] != L'.';
}

// Absolute, without "." and "..", doubled and trailing backslashes.
std::wstring absolute(const std::wstring& name)
{
    std::wstring path = startsWith(name, longName) ? name.substr(wcslen(longName)) : name;
    if (startsWith(path, L"UNC\\"))
        path = L'\\' + path.substr(3);
    const DWORD size = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring full(size, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
    while (full.size() > 3 && full.back() == L'\\')
        full.pop_back();
    return full;
}

// A path that takes more than 259 characters in full is not found, unless it says that it is a long one. That a process
// opts in to long paths is not played; the real platform may take them all the same.
bool isTooLong(const std::wstring& name)
{
    return !startsWith(name, longName) && GetFullPathNameW(name.c_str(), 0, nullptr, nullptr) > MAX_PATH;
}

bool isShareOfDrive(const std::wstring& share)
{
    return share.size() == 2 && iswalpha(share[0]) && share[1] == L'$';
}

DWORD locateOnServer(World& world, const std::wstring& name, File& file)
{
    const size_t share = name.find(L'\\', 2);
    const size_t found = share == std::wstring::npos ? share : name.find(L'\\', share + 1);
    const size_t rest = found == std::wstring::npos ? name.size() : found;
    file.node = world.find(name.substr(0, share).c_str());
    if (!file.node) { // another machine: only a node that reads the real one gets there
        file = {&world.local(), absolute(name), name};
        return world.local().readsMachine ? ERROR_SUCCESS : ERROR_BAD_NETPATH;
    }
    if (share == std::wstring::npos || share + 1 == rest)
        return ERROR_BAD_PATHNAME;
    const std::wstring shareName = name.substr(share + 1, rest - share - 1);
    const auto drive = file.node->drives.find(shareName.substr(0, 1));
    const bool mapped = drive != file.node->drives.end();
    if (!isShareOfDrive(shareName) || (!mapped && file.node != &world.local()))
        return ERROR_BAD_NET_NAME;
    const std::wstring letter = shareName.substr(0, 1) + L':';
    const std::wstring below = rest == name.size() ? L"\\" : name.substr(rest);
    file.path = absolute(letter + below);
    file.real = (mapped ? drive->second : letter) + file.path.substr(letter.size());
    return ERROR_SUCCESS;
}

// ---- as they are imported ----------------------------------------------------------------------------------------

// The real name of what the library names; false with the last error set.
bool realName(const std::wstring& name, std::wstring& real)
{
    real = name;
    if (!namesServer(name) && !isTooLong(name))
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
           !allows(security, access, *object.rights);
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
           !mayChange(parent, above, FILE_LIST_DIRECTORY);
}

HANDLE WINAPI createFile(LPCSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                         DWORD flags, HANDLE pattern)
{
    std::wstring real;
    if (!realName(wide(name), real))
        return INVALID_HANDLE_VALUE;
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
    if (root && namesServer(root)) {
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

DWORD locate(World& world, const std::wstring& name, File& file)
{
    if (isTooLong(name))
        return ERROR_PATH_NOT_FOUND;
    if (namesServer(name))
        return locateOnServer(world, name, file);
    file = {&world.local(), absolute(name), name};
    return file.path.empty() ? ERROR_BAD_PATHNAME : ERROR_SUCCESS;
}

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
