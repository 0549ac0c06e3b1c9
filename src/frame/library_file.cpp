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
    if (!GetModuleFileNameA(self, path, sizeof path - 1))
        return nullptr;
    path[sizeof path - 1] = '\0';
    path[sizeof path - 2] = '\0'; // a path that was cut short is not terminated by every release
    return strrchr(path, '\\');
}
