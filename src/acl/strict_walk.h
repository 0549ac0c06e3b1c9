// A walk over a directory and everything below it that tells what it could not see: for calls that take entries away,
// copy or judge them. sswseUpdateAclOnTree, which adds them, is the lenient one.
#pragma once

#include "frame/record.h"

#include <cstdint>

struct sswseWalkedObject
{
    const wchar_t* path; // until the visitor returns
    bool isStart;        // what the walk began with
};

enum class sswseWalkAnswer : uint8_t
{
    goOn,
    gone, // the object is not there any more: what is below it is passed over
    stop
};

struct sswseWalkVisitor
{
    void* context;
    // Looks at an object. What it leaves in the record is its own business: the walk neither reads nor clears it.
    sswseWalkAnswer (*visit)(const sswseCall& call, void* context, const sswseWalkedObject& object);
    // Is told that a directory cannot be listed, or not to its end; WSE-000065 with `osError` is in the record.
    sswseWalkAnswer (*missed)(const sswseCall& call, void* context, const sswseWalkedObject& directory, DWORD osError);
};

// Visits the directory at `path`, then its children in listing order, those of a directory behind it. A directory is
// opened for listing before it is visited and visited even when that fails, which is told before; a mount point or
// symbolic link below `path` is visited and not entered; reserved names are left out (at `path` only the name itself,
// not what is below). An empty listing is none that failed. What the visitor calls gone is passed over, as is a listing
// that fails because of it. A directory whose path has more than 257 characters cannot be listed: the error is 206,
// ERROR_FILENAME_EXCED_RANGE. Memory does not grow with the tree.
void sswseWalkStrictly(const sswseCall& call, const wchar_t* path, const sswseWalkVisitor& visitor);

// Is the failure to open an object that a listing has just named because it has gone? Never that of what the walk began
// with, nor of a path that is too long for the platform, which answers the same.
bool sswseIsGone(const sswseWalkedObject& object, DWORD osError);

// A directory, or nobody knows: attributes that cannot be read have all bits set.
bool sswseMayBeDirectory(const wchar_t* path);
