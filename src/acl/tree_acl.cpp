#include "acl/tree_acl.h"

#include "acl/exclusions.h"
#include "acl/object_dacl.h"
#include "acl/vlfs.h"
#include "frame/call.h"
#include "frame/owned.h"

#include <cwchar>

namespace {

// What all levels of a walk share, so that a level costs little stack. One listing entry is enough: once the child is
// named in `path` its listing entry is not needed any more.
struct TreeWalk
{
    const sswseAclUpdate& update;
    size_t startLength;               // of the path that the walk began with
    wchar_t path[sswseChildPathSize]; // of the object at hand; each level appends a name and cuts it off again
    WIN32_FIND_DATAW entry;
    sswseErrRec lastReport;
    size_t reports;
};

DWORD walkDirectory(sswseErrRec* err, TreeWalk& walk, const wchar_t* path, bool failOnAccessDenied);

// The routines that are called for the next child clear the record, so what was reported for this one is kept aside.
void keepReport(const sswseCall& call, TreeWalk& walk)
{
    walk.lastReport = *call.rec;
    ++walk.reports;
}

DWORD updateOne(const sswseCall& call, TreeWalk& walk, const wchar_t* path, bool failOnAccessDenied)
{
    const DWORD status = sswseUpdateAclOnFile(call.rec, path, walk.update, failOnAccessDenied);
    if (call.rec->message[0])
        keepReport(call, walk);
    return status;
}

// The listed entry below the directory whose path is the first `length` characters. False stops the walk; only a
// directory changes the status.
bool updateChild(const sswseCall& call, TreeWalk& walk, size_t length, DWORD* status)
{
    walk.path[length] = L'\\';
    wcscpy(walk.path + length + 1, walk.entry.cFileName);
    if (walk.update.excluded && sswseIsExcluded(*walk.update.excluded, walk.path, walk.startLength))
        return true;
    // Attributes that cannot be read have all bits set: such a child is taken for a directory.
    if (GetFileAttributesW(walk.path) & FILE_ATTRIBUTE_DIRECTORY) {
        *status = walkDirectory(call.rec, walk, walk.path, false);
        return *status == SSWSE_SUCCESS;
    }
    return updateOne(call, walk, walk.path, false) == SSWSE_SUCCESS;
}

DWORD updateChildren(const sswseCall& call, TreeWalk& walk, const wchar_t* path)
{
    const size_t length = wcslen(path);
    if (length + 2 >= sswsePatternSize) { // cut, it would list another directory
        sswseApiFailed(call, ERROR_FILENAME_EXCED_RANGE, "FindFirstFileW");
        keepReport(call, walk);
        return SSWSE_SUCCESS;
    }
    wmemmove(walk.path, path, length); // the walk's own path but for the first directory
    wcscpy(walk.path + length, L"\\*");
    const owned::FindHandle listing(owned::orNull(FindFirstFileW(walk.path, &walk.entry)));
    DWORD status = SSWSE_SUCCESS;
    bool goOn = listing != nullptr;
    while (goOn) {
        if (!sswseIsPassedOver(walk.entry.cFileName))
            goOn = updateChild(call, walk, length, &status);
        goOn = goOn && FindNextFileW(listing.get(), &walk.entry);
    }
    return status;
}

DWORD walkDirectory(sswseErrRec* err, TreeWalk& walk, const wchar_t* path, bool failOnAccessDenied)
{
    return sswseRunFramed(err, "sswseUpdateAclOnTree", sswsePathArgs{path}, [&](const sswseCall& call) -> DWORD {
        const size_t reportsBefore = walk.reports;
        DWORD status = updateOne(call, walk, path, failOnAccessDenied);
        if (status == SSWSE_SUCCESS)
            status = updateChildren(call, walk, path);
        if (status == SSWSE_SUCCESS && !call.rec->message[0] && walk.reports != reportsBefore)
            *call.rec = walk.lastReport;
        return status;
    });
}

} // namespace

DWORD sswseUpdateAclOnTree(sswseErrRec* err, const wchar_t* path, const sswseAclUpdate& update, bool failOnAccessDenied)
{
    TreeWalk walk = {update, wcslen(path), {}, {}, {}, 0};
    return walkDirectory(err, walk, path, failOnAccessDenied);
}
