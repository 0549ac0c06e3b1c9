#include "acl/strict_walk.h"

#include "acl/vlfs.h"
#include "frame/call.h"
#include "frame/owned.h"

#include <cwchar>

namespace {

// What all levels share, so that a level costs little stack. One listing entry is enough: once the child is named in
// `path` its listing entry is not needed any more.
struct Walk
{
    const sswseCall& call;
    const sswseWalkVisitor& visitor;
    wchar_t path[sswseChildPathSize]; // of the object at hand; each level appends a name and cuts it off again
    WIN32_FIND_DATAW entry;
};

// Whatever these return: false ends the walk.
bool walkDirectory(Walk& walk, const sswseWalkedObject& directory);

sswseWalkAnswer visit(Walk& walk, const sswseWalkedObject& object)
{
    return walk.visitor.visit(walk.call, walk.visitor.context, object);
}

bool tellMissed(Walk& walk, const sswseWalkedObject& directory, DWORD osError, const char* apiName)
{
    sswseReport(walk.call, WSE_ITERATE_FILES, osError, apiName);
    return walk.visitor.missed(walk.call, walk.visitor.context, directory, osError) != sswseWalkAnswer::stop;
}

bool isEmptyListing(DWORD osError)
{
    return osError == ERROR_SUCCESS || osError == ERROR_FILE_NOT_FOUND || osError == ERROR_NO_MORE_FILES;
}

// Of a relative path nobody can tell here how long it is in full.
bool isFullPath(const wchar_t* path)
{
    return path[0] == L'\\' ? path[1] == L'\\' : path[0] && path[1] == L':' && path[2] == L'\\';
}

bool leadsElsewhere(const WIN32_FIND_DATAW& entry)
{
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) &&
           (entry.dwReserved0 == IO_REPARSE_TAG_MOUNT_POINT || entry.dwReserved0 == IO_REPARSE_TAG_SYMLINK);
}

// Opens the listing of the directory whose path is the first `length` characters, which finds the first entry.
owned::FindHandle openListing(Walk& walk, const wchar_t* path, size_t length, DWORD* osError)
{
    *osError = ERROR_FILENAME_EXCED_RANGE;
    if (length + 2 >= sswsePatternSize)
        return nullptr;
    wmemmove(walk.path, path, length); // the walk's own path but for the first directory
    wcscpy(walk.path + length, L"\\*");
    owned::FindHandle listing(owned::orNull(FindFirstFileW(walk.path, &walk.entry)));
    *osError = listing ? ERROR_SUCCESS : GetLastError();
    walk.path[length] = L'\0';
    return listing;
}

bool walkChild(Walk& walk, size_t length)
{
    walk.path[length] = L'\\';
    wcscpy(walk.path + length + 1, walk.entry.cFileName);
    const sswseWalkedObject child = {walk.path, false};
    if ((walk.entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) && !leadsElsewhere(walk.entry))
        return walkDirectory(walk, child);
    return visit(walk, child) != sswseWalkAnswer::stop;
}

bool walkChildren(Walk& walk, const sswseWalkedObject& directory, HANDLE listing, size_t length)
{
    DWORD osError = ERROR_SUCCESS;
    while (osError == ERROR_SUCCESS) {
        if (!sswseIsPassedOver(walk.entry.cFileName) && !walkChild(walk, length))
            return false;
        osError = FindNextFileW(listing, &walk.entry) ? ERROR_SUCCESS : GetLastError();
    }
    walk.path[length] = L'\0';
    return isEmptyListing(osError) || tellMissed(walk, directory, osError, "FindNextFileW");
}

bool walkDirectory(Walk& walk, const sswseWalkedObject& directory)
{
    const size_t length = wcslen(directory.path);
    DWORD osError = ERROR_SUCCESS;
    const owned::FindHandle listing = openListing(walk, directory.path, length, &osError);
    // Perhaps the directory has gone: that is for the visitor to say.
    const bool mayBeGone = osError == ERROR_PATH_NOT_FOUND;
    const bool isNoDirectory = directory.isStart && osError == ERROR_DIRECTORY; // its attributes cannot be read
    const bool isMissed = !isEmptyListing(osError) && !isNoDirectory;
    if (isMissed && !mayBeGone && !tellMissed(walk, directory, osError, "FindFirstFileW"))
        return false;

    const bool isLeftAlone = directory.isStart && sswseIsReservedPath(directory.path);
    const sswseWalkAnswer answer = isLeftAlone ? sswseWalkAnswer::goOn : visit(walk, directory);
    if (answer != sswseWalkAnswer::goOn)
        return answer == sswseWalkAnswer::gone;
    if (mayBeGone && !isLeftAlone && !tellMissed(walk, directory, osError, "FindFirstFileW"))
        return false;
    return !listing || walkChildren(walk, directory, listing.get(), length);
}

} // namespace

void sswseWalkStrictly(const sswseCall& call, const wchar_t* path, const sswseWalkVisitor& visitor)
{
    Walk walk = {call, visitor, {}, {}};
    walkDirectory(walk, {path, true});
}

bool sswseIsGone(const sswseWalkedObject& object, DWORD osError)
{
    if (object.isStart || (osError != ERROR_FILE_NOT_FOUND && osError != ERROR_PATH_NOT_FOUND))
        return false;
    if (wcsncmp(object.path, L"\\\\?\\", 4) == 0)
        return true;
    return wcslen(object.path) < MAX_PATH && (osError == ERROR_FILE_NOT_FOUND || isFullPath(object.path));
}

bool sswseMayBeDirectory(const wchar_t* path)
{
    return (GetFileAttributesW(path) & FILE_ATTRIBUTE_DIRECTORY) != 0;
}
