#include "acl/legacy_tree.h"

#include "acl/legacy_object.h"
#include "frame/call.h"

#include <algorithm>
#include <cwchar>

namespace {

// A directory being listed. Levels are linked blocks and not frames of a recursion: paths have no bound of our own, and
// with long path names a tree may be some ten thousand levels deep.
struct Level
{
    HANDLE search;
    size_t pathLength;
    bool isFailed; // the directory itself is in the fail list
    bool hasFound; // an entry has been found and not been visited
    Level* parent;
};

struct Walk
{
    const sswseLegacyEntries& entries;
    sswseFailList& failed;
    owned::Heap<wchar_t> path; // of the object at hand; a level's directory is its beginning
    size_t capacity;
    Level* level; // innermost
    WIN32_FIND_DATAW& found;
};

DWORD traceNoMemory(DWORD status, const char* step)
{
    if (status == SSWSE_LEGACY_NO_MEMORY)
        sswseTrace("%s failed in mem. alloc.", step);
    return status;
}

// Ends the frame of a directory below walk.level; what it could report has been traced object by object.
DWORD endFrame(const Walk& walk, DWORD status)
{
    static constexpr sswseErrRec nothing = {};
    sswseTraceExit(sswseLegacyTreeRoutine, &nothing);
    return walk.level ? traceNoMemory(status, sswseLegacyTreeRoutine) : status;
}

// Makes room for `needed` characters; the text is kept.
bool growPath(Walk& walk, size_t needed)
{
    if (needed <= walk.capacity)
        return true;
    const size_t capacity = std::max(needed, 2 * walk.capacity);
    owned::Heap<wchar_t> longer = owned::allocate<wchar_t>(capacity * sizeof(wchar_t));
    if (!longer)
        return false;
    if (walk.path)
        wmemcpy(longer.get(), walk.path.get(), walk.capacity);
    walk.path = std::move(longer);
    walk.capacity = capacity;
    return true;
}

// Puts "\name" behind the first `length` characters of the path.
bool appendName(Walk& walk, size_t length, const wchar_t* name)
{
    const size_t nameLength = wcslen(name);
    if (!growPath(walk, length + 1 + nameLength + 1))
        return false;
    walk.path.get()[length] = L'\\';
    wmemcpy(walk.path.get() + length + 1, name, nameLength + 1);
    return true;
}

const wchar_t* directoryOf(Walk& walk, const Level& level)
{
    walk.path.get()[level.pathLength] = L'\0';
    return walk.path.get();
}

DWORD failListing(Walk& walk, Level& level)
{
    const wchar_t* const directory = directoryOf(walk, level);
    if (level.isFailed)
        return SSWSE_LEGACY_INCOMPLETE;
    level.isFailed = true;
    return sswseAddToFailList(walk.failed, directory, sswseLegacyTreeRoutine);
}

// The directory itself, then its first entry.
DWORD openLevel(Walk& walk, Level& level)
{
    const DWORD status = traceNoMemory(sswseUpdateLegacyObject(directoryOf(walk, level), walk.entries, walk.failed),
                                       sswseLegacyObjectRoutine);
    if (status == SSWSE_LEGACY_NO_MEMORY)
        return status;
    level.isFailed = status == SSWSE_LEGACY_INCOMPLETE;
    if (!appendName(walk, level.pathLength, L"*"))
        return sswseLegacyNoMemory(sswseLegacyTreeRoutine);
    level.search = owned::orNull(FindFirstFileW(walk.path.get(), &walk.found));
    level.hasFound = level.search != nullptr;
    if (!level.search && GetLastError() != ERROR_FILE_NOT_FOUND)
        return failListing(walk, level);
    return status;
}

DWORD enterDirectory(Walk& walk)
{
    sswseTraceEntry(sswseLegacyTreeRoutine);
    auto* const level = static_cast<Level*>(malloc(sizeof(Level)));
    if (!level)
        return endFrame(walk, sswseLegacyNoMemory(sswseLegacyTreeRoutine));
    *level = {nullptr, wcslen(walk.path.get()), false, false, walk.level};
    walk.level = level;
    return openLevel(walk, *level);
}

void leaveDirectory(Walk& walk, DWORD status)
{
    const owned::Heap<Level> level(walk.level);
    const owned::FindHandle search(level->search);
    walk.level = level->parent;
    endFrame(walk, status);
}

DWORD visitFound(Walk& walk, Level& level)
{
    const wchar_t* const name = walk.found.cFileName;
    level.hasFound = false;
    if (wcscmp(name, L".") == 0 || wcscmp(name, L"..") == 0)
        return SSWSE_LEGACY_DONE;
    if (!appendName(walk, level.pathLength, name))
        return sswseLegacyNoMemory(sswseLegacyTreeRoutine);
    const DWORD attributes = GetFileAttributesW(walk.path.get());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return sswseAddToFailList(walk.failed, walk.path.get(), sswseLegacyTreeRoutine);
    if (attributes & FILE_ATTRIBUTE_DIRECTORY)
        return enterDirectory(walk);
    return traceNoMemory(sswseUpdateLegacyObject(walk.path.get(), walk.entries, walk.failed), sswseLegacyObjectRoutine);
}

// One step of the innermost directory: its next entry, or the end of it.
DWORD step(Walk& walk)
{
    Level& level = *walk.level;
    if (!level.hasFound && level.search) {
        level.hasFound = FindNextFileW(level.search, &walk.found) != FALSE;
        if (!level.hasFound && GetLastError() != ERROR_NO_MORE_FILES &&
            failListing(walk, level) == SSWSE_LEGACY_NO_MEMORY)
            return SSWSE_LEGACY_NO_MEMORY;
    }
    if (level.hasFound)
        return visitFound(walk, level);
    leaveDirectory(walk, SSWSE_LEGACY_DONE);
    return SSWSE_LEGACY_DONE;
}

} // namespace

DWORD sswseUpdateLegacyTree(const wchar_t* directory, const sswseLegacyEntries& entries, sswseFailList& failed)
{
    WIN32_FIND_DATAW found = {};
    Walk walk = {entries, failed, nullptr, 0, nullptr, found};
    if (!growPath(walk, wcslen(directory) + MAX_PATH))
        return sswseLegacyNoMemory(sswseLegacyTreeRoutine);
    wcscpy(walk.path.get(), directory);

    DWORD status = enterDirectory(walk);
    while (walk.level) {
        if (status == SSWSE_LEGACY_NO_MEMORY)
            leaveDirectory(walk, status);
        else
            status = step(walk);
    }
    if (status == SSWSE_LEGACY_NO_MEMORY)
        return status;
    return failed.count ? SSWSE_LEGACY_INCOMPLETE : SSWSE_LEGACY_DONE;
}
