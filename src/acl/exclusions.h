// Paths that a walk leaves alone with everything below them.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

// Paths are compared component by component, without regard to case, to trailing and doubled backslashes; "/" counts as
// "\". Nothing is asked of the file system: a path is what its text says.
struct sswseExclusions
{
    owned::Blocks<wchar_t> paths;
};

// Takes the paths of a list that has been checked. 2; 3 with WSE-00002, WSE-00006; 4 with "excludelist" for one that is
// empty, begins with a single backslash or with a drive and no backslash, or has a component "." or "..".
[[nodiscard]] DWORD sswseReadExclusions(const sswseCall& call, char** list, DWORD count, sswseExclusions& exclusions);

// Is `start` itself excluded, or one above it?
bool sswseIsStartExcluded(const sswseExclusions& exclusions, const wchar_t* start);

// Is this path excluded, whose first `startLength` characters are those of the path that the walk began with? Relative
// exclusions are relative to that one.
bool sswseIsExcluded(const sswseExclusions& exclusions, const wchar_t* path, size_t startLength);
