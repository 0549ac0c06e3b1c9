// Node names: which machine a call is about.
#pragma once

#include "frame/text.h"

// NULL and "" are the local machine; any other name goes through exactly as given.
inline bool sswseIsLocalNode(const char* nodename)
{
    return !nodename || !nodename[0];
}

// The wide name for a platform call; NULL for the local machine. 2, or 3 with WSE-00006.
[[nodiscard]] DWORD sswseNodeToWide(const sswseCall& call, const char* nodename, owned::Heap<wchar_t>& node);

// The machine name of a UNC object path. 0: not a UNC path, `node` is not touched; 2: `node` holds the name (empty for
// "\\\share"); 4 with WSE-000012 "Path": no backslash ends the name. `node` has room for the whole path.
[[nodiscard]] DWORD sswseNodeName(sswseErrRec* err, const wchar_t* path, wchar_t* node);
