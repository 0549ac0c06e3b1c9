#include "frame/files.h"

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

void sswseNameBeside(char (&path)[MAX_PATH], char* directoryEnd, const char* fileName)
{
    const size_t room = static_cast<size_t>(path + sizeof path - directoryEnd);
    sswseFormat(directoryEnd, room - 1, "\\%s", fileName);
    path[sizeof path - 1] = '\0';
}

owned::Handle sswseOpenToRead(const char* path)
{
    return owned::Handle(owned::orNull(
        CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)));
}
