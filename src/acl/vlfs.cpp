#include "acl/vlfs.h"

#include "frame/call.h"
#include "frame/text.h"

#include <cwchar>

namespace {

constexpr const wchar_t* reservedNames[] = {L".VLFS", L".fileid", L".Security"};

DWORD askVolume(const sswseCall& call, const wchar_t* path, bool* isVlfs)
{
    // The volume's path is no longer than the full path. For a path that does not begin with a drive the platform
    // answers the volume that the system was started from.
    const size_t size = wcslen(path) + MAX_PATH + 1;
    const owned::Heap<wchar_t> volume = owned::allocate<wchar_t>(size * sizeof(wchar_t));
    if (!volume)
        return sswseOutOfMemory(call);
    wchar_t fileSystem[MAX_PATH + 1] = {};
    *isVlfs = GetVolumePathNameW(path, volume.get(), static_cast<DWORD>(size)) &&
              GetVolumeInformationW(volume.get(), nullptr, 0, nullptr, nullptr, nullptr, fileSystem, MAX_PATH + 1) &&
              _wcsicmp(fileSystem, L"VLFS") == 0;
    return SSWSE_SUCCESS;
}

bool isLink(const WIN32_FIND_DATAA& entry)
{
    // A test of bits, not for one tag: most reparse points pass. Deliberate.
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) &&
           (entry.dwReserved0 & IO_REPARSE_TAG_MOUNT_POINT) != 0;
}

} // namespace

bool sswseIsReservedName(const wchar_t* name)
{
    if (*name != L'.') // as nearly all, without a look at the case of letters
        return false;
    for (const wchar_t* reserved : reservedNames)
        if (_wcsicmp(name, reserved) == 0)
            return true;
    return false;
}

bool sswseIsReservedPath(const wchar_t* path)
{
    const wchar_t* const backslash = wcsrchr(path, L'\\');
    return sswseIsReservedName(backslash ? backslash + 1 : path);
}

bool sswseIsPassedOver(const wchar_t* name)
{
    return wcscmp(name, L".") == 0 || wcscmp(name, L"..") == 0 || sswseIsReservedName(name);
}

DWORD sswseCheckIfVlfsAndMountPoint(sswseErrRec* err, const char* path, char (&volumePath)[sswseVolumePathSize],
                                    bool* isMountPoint)
{
    return sswseRunFramed(err, __func__, sswseArgs("path = %s\n", path), [&](const sswseCall& call) -> DWORD {
        sswseTrace("%s\n",
                   "Checking if the input variable path fed to Set/Add ACl api's is an vlfs mount point or not");
        *isMountPoint = false;
        owned::Heap<wchar_t> widePath;
        DWORD status = sswseToWide(call, path, widePath);
        bool isVlfs = false;
        if (status == SSWSE_SUCCESS)
            status = askVolume(call, widePath.get(), &isVlfs);
        if (status != SSWSE_SUCCESS || !isVlfs)
            return status;

        WIN32_FIND_DATAA entry = {};
        const owned::FindHandle found(owned::orNull(FindFirstFileA(path, &entry)));
        if (!found)
            return sswseFail(call, WSE_INVALID_PARAMETER, GetLastError(), "FindFirstFile");
        if (!isLink(entry))
            return SSWSE_SUCCESS;
        if (!GetVolumePathNameA(path, volumePath, sswseVolumePathSize))
            return sswseFail(call, 0, GetLastError(), "GetVolumePathName"); // message 0, which has no text: deliberate
        volumePath[sswseVolumePathSize - 1] = '\0';
        *isMountPoint = true;
        sswseTrace("%s\n", "Checking completed for the input variable path fed to Set/Add ACl api's is an vlfs mount "
                           "point or not");
        return SSWSE_SUCCESS;
    });
}
