#include "whatif/model/files.h"

#include <cstring>

namespace whatif {

namespace {

bool identify(const std::wstring& real, BY_HANDLE_FILE_INFORMATION& information)
{
    const HANDLE directory =
        CreateFileW(real.c_str(), FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (directory == INVALID_HANDLE_VALUE)
        return false;
    const bool known = GetFileInformationByHandle(directory, &information);
    CloseHandle(directory);
    return known;
}

std::pair<DWORD, ULONGLONG> keyOf(const BY_HANDLE_FILE_INFORMATION& information)
{
    return {information.dwVolumeSerialNumber,
            static_cast<ULONGLONG>(information.nFileIndexHigh) << 32 | information.nFileIndexLow};
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

std::wstring firstNameOf(Node& node, const DirectoryNames::Name& directory)
{
    DirectoryNames& names = node.directories;
    if (names.last.real == directory.real)
        return names.last.path;
    BY_HANDLE_FILE_INFORMATION information = {};
    if (!identify(directory.real, information))
        return directory.path;
    const auto [entry, isNew] = names.known.emplace(keyOf(information), directory);
    if (!isNew && entry->second.real != directory.real && !isStill(entry->second.real, information))
        entry->second = directory;
    names.last = {directory.real, entry->second.path};
    return names.last.path;
}

} // namespace whatif
