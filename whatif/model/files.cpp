#include "whatif/model/files.h"

#include "frame/owned.h"
#include "whatif/whatif.h"

#include <cstring>

namespace whatif {

namespace {

constexpr wchar_t separates = L'|'; // which no path has in it
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

bool identify(const std::wstring& real, BY_HANDLE_FILE_INFORMATION& information)
{
    const owned::Handle directory(owned::orNull(
        CreateFileW(real.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)));
    return directory && GetFileInformationByHandle(directory.get(), &information);
}

std::wstring keyOf(const BY_HANDLE_FILE_INFORMATION& information)
{
    return std::to_wstring(information.dwVolumeSerialNumber) + L' ' + std::to_wstring(information.nFileIndexHigh) +
           L' ' + std::to_wstring(information.nFileIndexLow);
}

// An index is used again after its directory is gone, and not every volume has a serial number.
bool isStill(const std::wstring& real, const BY_HANDLE_FILE_INFORMATION& information)
{
    BY_HANDLE_FILE_INFORMATION now = {};
    return identify(real, now) && keyOf(now) == keyOf(information) &&
           memcmp(&now.ftCreationTime, &information.ftCreationTime, sizeof(FILETIME)) == 0 &&
           memcmp(&now.ftLastWriteTime, &information.ftLastWriteTime, sizeof(FILETIME)) == 0;
}

} // namespace

bool standsForItself(const std::wstring& name)
{
    return !namesServer(name) && !isTooLong(name);
}

DWORD locate(World& world, const std::wstring& name, File& file)
{
    if (isTooLong(name))
        return ERROR_PATH_NOT_FOUND;
    if (namesServer(name))
        return locateOnServer(world, name, file);
    file = {&world.local(), absolute(name), name};
    return file.path.empty() ? ERROR_BAD_PATHNAME : ERROR_SUCCESS;
}

std::wstring firstNameOf(Node& node, const DirectoryNames::Name& directory)
{
    DirectoryNames& names = node.directories;
    if (names.last.real == directory.real)
        return names.last.path;
    BY_HANDLE_FILE_INFORMATION information = {};
    if (!identify(directory.real, information))
        return directory.path;
    std::wstring& known = names.known[keyOf(information)];
    const size_t separator = known.find(separates);
    const std::wstring real = known.substr(0, separator);
    if (known.empty() || (real != directory.real && !isStill(real, information)))
        known = directory.real + separates + directory.path;
    names.last = {directory.real, known.substr(known.find(separates) + 1)};
    return names.last.path;
}

} // namespace whatif
