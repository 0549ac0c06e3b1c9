// A registry key and every key below it.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

// The name of a key, taken apart.
struct sswseKeyName
{
    HKEY root = nullptr;
    const wchar_t* subkey = nullptr; // a part of the name
    wchar_t rootName[16] = {};       // as it stands there
    wchar_t node[260] = {};          // with its leading backslashes; empty: this machine
};

// Only roots that can be had: MACHINE and USERS, on this machine CLASSES_ROOT and CURRENT_USER as well. 2, or 4 with
// WSE-000012 "Registry Path".
[[nodiscard]] DWORD sswseSplitKeyName(const sswseCall& call, const wchar_t* path, sswseKeyName& name);

// Who looks at the keys. Both answer 1 to go on; anything else ends the walk and is its answer.
struct sswseKeyVisitor
{
    void* context;
    // A key at `path`, open; `isFirst`: the one that the walk begins with.
    DWORD (*look)(const sswseCall& call, void* context, const wchar_t* path, HKEY key, bool isFirst);
    // A key below the first one that cannot be opened or listed.
    DWORD (*unreadable)(const sswseCall& call, void* context, const wchar_t* path, DWORD osError);
};

// Has this error befallen a key because it was deleted meanwhile?
inline bool sswseIsKeyGone(DWORD osError)
{
    return osError == ERROR_FILE_NOT_FOUND || osError == ERROR_KEY_DELETED;
}

// The key called `path`, which is `name`, and those below it, each before what is below it; one that is gone by then is
// passed over. Links to other keys are opened themselves and not followed, but for the first key. 1, what a visitor
// answered, or 3 with WSE-000044, WSE-000010, WSE-000053 "RegEnumKeyExW" for the first key, WSE-00002, WSE-00007.
[[nodiscard]] DWORD sswseWalkKeys(const sswseCall& call, const wchar_t* path, const sswseKeyName& name,
                                  const sswseKeyVisitor& visitor);
