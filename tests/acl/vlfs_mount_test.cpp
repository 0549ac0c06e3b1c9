// Mount points of the cluster file system, on volumes and files that the test makes up.
#include "acl/vlfs_mount.h"
#include "tests/support/cases.h"
#include "whatif/imports.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

struct Volume
{
    const wchar_t* fileSystem; // NULL: cannot be asked
    DWORD attributes;          // of the path; all bits: it cannot be found
    DWORD tag;
    const char* volumePath; // NULL: it does not fit
};
const Volume* volume;
DWORD bufferSize;

BOOL WINAPI getVolumeInformation(LPCWSTR, LPWSTR, DWORD, LPDWORD, LPDWORD, LPDWORD, LPWSTR fileSystem, DWORD)
{
    if (volume->fileSystem)
        wcscpy(fileSystem, volume->fileSystem);
    SetLastError(ERROR_NOT_READY);
    return volume->fileSystem != nullptr;
}

HANDLE WINAPI findFirstFile(LPCSTR, WIN32_FIND_DATAA* entry)
{
    entry->dwFileAttributes = volume->attributes;
    entry->dwReserved0 = volume->tag;
    SetLastError(ERROR_PATH_NOT_FOUND);
    return volume->attributes == INVALID_FILE_ATTRIBUTES ? INVALID_HANDLE_VALUE : &bufferSize;
}

BOOL WINAPI findClose(HANDLE handle)
{
    EXPECT_EQ(handle, &bufferSize);
    return TRUE;
}

BOOL WINAPI getVolumePathName(LPCSTR, LPSTR buffer, DWORD size)
{
    bufferSize = size;
    if (volume->volumePath)
        strcpy(buffer, volume->volumePath);
    SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return volume->volumePath != nullptr;
}

} // namespace

TEST(VlfsMount, IsRecognised)
{
    constexpr DWORD link = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY;
    struct
    {
        const char* what;
        Volume volume;
        DWORD status;
        bool isMountPoint;
        const char* message;
    } const rows[] = {
        {"cannot be asked", {nullptr, link, IO_REPARSE_TAG_MOUNT_POINT, "C:\\"}, 2, false, ""},
        {"another file system", {L"NTFS", link, IO_REPARSE_TAG_MOUNT_POINT, "C:\\"}, 2, false, ""},
        {"no link", {L"VLFS", FILE_ATTRIBUTE_DIRECTORY, IO_REPARSE_TAG_MOUNT_POINT, "C:\\"}, 2, false, ""},
        {"a tag without any of the bits", {L"VLFS", link, 0x40000010, "C:\\"}, 2, false, ""},
        {"a mount point", {L"vlfs", link, IO_REPARSE_TAG_MOUNT_POINT, "C:\\mnt\\"}, 2, true, ""},
        {"another tag that shares bits", {L"VLFS", link, IO_REPARSE_TAG_SYMLINK, "C:\\mnt\\"}, 2, true, ""},
        {"not found",
         {L"VLFS", INVALID_FILE_ATTRIBUTES, 0, "C:\\"},
         3,
         false,
         "WSE-000012: Null or invalid  parameter."},
        {"a volume path that does not fit", {L"VLFS", link, IO_REPARSE_TAG_MOUNT_POINT, nullptr}, 3, false, " "},
    };
    whatif::Imports imports(GetModuleHandleA(nullptr));
    imports.redirect("GetVolumeInformationW", reinterpret_cast<void*>(getVolumeInformation));
    imports.redirect("FindFirstFileA", reinterpret_cast<void*>(findFirstFile));
    imports.redirect("FindClose", reinterpret_cast<void*>(findClose));
    imports.redirect("GetVolumePathNameA", reinterpret_cast<void*>(getVolumePathName));
    for (const auto& row : rows) {
        volume = &row.volume;
        char path[sswseVolumePathSize] = "";
        bool isMountPoint = !row.isMountPoint;
        support::expectCases(
            {{row.what,
              [&](sswseErrRec* rec) { return sswseCheckIfVlfsAndMountPoint(rec, "C:\\mnt", path, &isMountPoint); },
              row.status, row.message}});
        EXPECT_EQ(isMountPoint, row.isMountPoint) << row.what;
        EXPECT_STREQ(path, row.isMountPoint ? row.volume.volumePath : "");
    }
    EXPECT_EQ(bufferSize, sswseVolumePathSize);
}
