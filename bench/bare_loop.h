// The platform calls of securing a tree and nothing around them: no checks, no memory of its own per object.
#pragma once

#include <windows.h>

namespace bench {

struct Platform
{
    decltype(GetFileAttributesW)* getFileAttributes;
    decltype(FindFirstFileW)* findFirstFile;
    decltype(FindNextFileW)* findNextFile;
    decltype(FindClose)* findClose;
    decltype(GetFileSecurityW)* getFileSecurity;
    decltype(SetFileSecurityW)* setFileSecurity;
};

// Puts the entries of `newEntries` before the last of the existing ones on the directory and everything below it.
void secureTree(const Platform& platform, const wchar_t* directory, PACL newEntries);

} // namespace bench
