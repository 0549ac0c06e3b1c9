// setPermissions and setPermissions2: the older, self-contained way of securing an installed file or tree. One
// implementation; the two differ in the names of some routines in the trace.
#include "acl/legacy_object.h"
#include "acl/legacy_tree.h"
#include "frame/call.h"
#include "frame/text.h"

#include <cwchar>

namespace {

struct RoutineNames
{
    const char* setPermissions;
    const char* updateUserAcl;
    const char* updateAdminAcl;
    const char* createFinalFailList;
};

constexpr RoutineNames names = {"setPermissions", "updateUserAcl", "updateAdminAcl", "createFinalFailList"};
constexpr RoutineNames names2 = {"setPermissions2", "updateUserAcl2", "updateAdminAcl2", "createFinalFailList2"};

// The caller's request.
struct Request
{
    const RoutineNames& names;
    const char* fileName;
    DWORD isAdmin; // 1: administrators only; any other value is a user tree
    char*** failList;
    DWORD* failCount; // may be NULL
};

bool isAdminOnly(const Request& request)
{
    return request.isAdmin == 1;
}

// The file system's name is asked for and not examined, and on any system of the NT family the answer is yes:
// deliberate. A system that does not tell its version is taken for one of the family.
bool isOnNTFSVolume(const wchar_t* path, bool& isNT4)
{
    isNT4 = false;
    const DWORD answer = sswseRunFramed(nullptr, __func__, sswseNoArgs{}, [&](const sswseCall&) -> DWORD {
        OSVERSIONINFOW version = {};
        version.dwOSVersionInfoSize = sizeof version;
        if (GetVersionExW(&version)) {
            if (version.dwPlatformId != VER_PLATFORM_WIN32_NT)
                return SSWSE_NO;
            isNT4 = version.dwMajorVersion == 4;
        }
        wchar_t root[_MAX_DRIVE + 1] = L"";
        _wsplitpath(path, root, nullptr, nullptr, nullptr);
        wcscat(root, L"\\");
        wchar_t fileSystem[260] = L"";
        GetVolumeInformationW(root, nullptr, 0, nullptr, nullptr, nullptr, fileSystem, 260);
        return SSWSE_YES;
    });
    if (answer != SSWSE_YES)
        sswseTrace("%s returned FALSE", "isOnNTFSVolume");
    return answer == SSWSE_YES;
}

DWORD toWide(const sswseCall& call, const char* text, owned::Heap<wchar_t>& wide)
{
    size_t length = 0;
    if (sswseMbToWide(text, wide, &length) == SSWSE_SUCCESS)
        return SSWSE_LEGACY_DONE;
    const DWORD osError = GetLastError();
    if (!wide && length != 0) {
        sswseTrace("malloc() failed to allocate %d bytes", static_cast<int>(length * sizeof(wchar_t)));
        return SSWSE_LEGACY_NO_MEMORY;
    }
    sswseReport(call, WSE_MB_TO_WIDE, osError, "MultiByteToWideChar");
    return SSWSE_LEGACY_INCOMPLETE;
}

DWORD createFinalFailList(const Request& request, sswseFailList& failed)
{
    const char* const routine = request.names.createFinalFailList;
    return sswseRunFramed(nullptr, routine, sswseNoArgs{}, [&](const sswseCall& call) -> DWORD {
        *request.failList = sswseTakeFailedNames(failed);
        if (!*request.failList)
            return sswseLegacyNoMemory(call.function);
        if (request.failCount)
            *request.failCount = failed.count;
        return SSWSE_LEGACY_INCOMPLETE;
    });
}

DWORD apply(const wchar_t* path, DWORD attributes, const sswseLegacyEntries& entries, sswseFailList& failed)
{
    const bool isTree = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    sswseTrace("calling %s", isTree ? sswseLegacyTreeRoutine : sswseLegacyObjectRoutine);
    return isTree ? sswseUpdateLegacyTree(path, entries, failed) : sswseUpdateLegacyObject(path, entries, failed);
}

DWORD updateAcl(const sswseCall& call, const Request& request)
{
    owned::Heap<wchar_t> path;
    if (const DWORD status = toWide(call, request.fileName, path))
        return status;
    const DWORD attributes = GetFileAttributesW(path.get());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        const DWORD osError = GetLastError();
        sswseApiFailed(call, osError, "GetFileAttributes");
        return osError == ERROR_FILE_NOT_FOUND ? SSWSE_LEGACY_NO_OBJECT : SSWSE_LEGACY_INCOMPLETE;
    }
    bool isNT4 = false;
    if (!isOnNTFSVolume(path.get(), isNT4))
        return SSWSE_LEGACY_DONE;

    sswseLegacyEntries entries = {};
    sswseMakeLegacyEntries(isAdminOnly(request), isNT4, entries);
    sswseFailList failed;
    const DWORD status = apply(path.get(), attributes, entries, failed);
    return status == SSWSE_LEGACY_INCOMPLETE ? createFinalFailList(request, failed) : status;
}

DWORD updateAclFramed(const Request& request)
{
    const char* const routine = isAdminOnly(request) ? request.names.updateAdminAcl : request.names.updateUserAcl;
    const auto args = sswseArgs("fname = %s", request.fileName);
    return sswseRunFramed(nullptr, routine, args,
                          [&](const sswseCall& call) -> DWORD { return updateAcl(call, request); });
}

DWORD setPermissionsAs(const Request& request)
{
    const auto args = sswseArgs("wFilename = %s, isAdmin=%d", request.fileName, static_cast<int>(request.isAdmin));
    return sswseRunFramed(nullptr, request.names.setPermissions, args, [&](const sswseCall& call) -> DWORD {
        if (request.failCount)
            *request.failCount = 0;
        if (!request.failList)
            return sswseBadArgument(call, "failList");
        *request.failList = nullptr;
        if (!request.fileName)
            return sswseBadArgument(call, "wFilename", SSWSE_LEGACY_INCOMPLETE);
        return updateAclFramed(request);
    });
}

} // namespace

DWORD WINAPI setPermissions(const char* wFilename, DWORD isAdmin, char*** failList, DWORD* failCount)
{
    return setPermissionsAs({names, wFilename, isAdmin, failList, failCount});
}

DWORD WINAPI setPermissions2(const char* wFilename, DWORD isAdmin, char*** failList, DWORD* failCount)
{
    return setPermissionsAs({names2, wFilename, isAdmin, failList, failCount});
}
