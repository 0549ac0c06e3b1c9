#include "frame/library_file.h"

#include "frame/format.h"

#include <cstring>

HMODULE sswseOwnModule()
{
    char name[MAX_PATH];
    sswseFormatText(name, "keswsec%u.dll", KESWSEC_RELEASE);
    return GetModuleHandleA(name);
}

char* sswseOwnDirectoryEnd(HMODULE self, char (&path)[MAX_PATH])
{
    constexpr DWORD capacity = sizeof path - 1;
    const DWORD length = GetModuleFileNameA(self, path, capacity);
    if (length == 0 || length >= capacity) // a path cut short could end in another directory
        return nullptr;
    return strrchr(path, '\\');
}
