#include "home/home_path.h"

#include "frame/files.h"
#include "frame/text.h"

#include <cstring>

namespace {

// Writes the path in the one spelling; `path` has room for it as it stands.
void spell(const char* khomepath, char* path)
{
    char* end = path; // behind the last character that is no separator
    while (*khomepath) {
        const bool isPair = IsDBCSLeadByte(static_cast<BYTE>(*khomepath)) && khomepath[1];
        const bool isSeparator = !isPair && (*khomepath == '/' || *khomepath == '\\');
        *path++ = isSeparator ? '\\' : *khomepath;
        if (isPair)
            *path++ = *++khomepath;
        ++khomepath;
        if (!isSeparator)
            end = path;
    }
    *end = '\0';
}

// What begins at the last backslash goes.
bool cutLastPart(char* path)
{
    char* last = nullptr;
    for (const char* at = sswseFindBackslash(path); at; at = sswseFindBackslash(at + 1))
        last = path + (at - path);
    if (last)
        *last = '\0';
    return last != nullptr;
}

} // namespace

DWORD sswseCheckHomePath(const sswseCall& call, const char* khomepath)
{
    if (khomepath && khomepath[strspn(khomepath, "/\\")] == '\0')
        return sswseBadArgument(call, "khomepath");
    return SSWSE_SUCCESS;
}

DWORD sswseHomePath(const sswseCall& call, const char* khomepath, owned::Heap<char>& path)
{
    char own[MAX_PATH];
    char* end = nullptr;
    if (!khomepath) {
        if (sswseOwnFile(call, own, end) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        *end = '\0';
        if (!cutLastPart(own))
            return sswseFail(call, WSE_FIND_HOME, 0, "");
        khomepath = own;
    }
    path = owned::allocate<char>(strlen(khomepath) + 1);
    if (!path)
        return sswseOutOfMemory(call);
    spell(khomepath, path.get());
    return SSWSE_SUCCESS;
}

DWORD sswseOwnFile(const sswseCall& call, char (&path)[MAX_PATH], char*& end)
{
    const HMODULE self = sswseOwnModule();
    if (!self)
        return sswseFail(call, WSE_MODULE_HANDLE, GetLastError(), "GetModuleHandle");
    end = sswseOwnDirectoryEnd(self, path);
    if (!end)
        return sswseFail(call, WSE_MODULE_PATH, GetLastError(), "GetModuleFileName");
    return SSWSE_SUCCESS;
}
