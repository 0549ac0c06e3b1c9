// Registry object names as the security functions take them: [\\node\]root name\subkey.
#include "frame/call.h"

#include <cwchar>
#include <cwctype>

namespace {

constexpr size_t nameSize = 260; // of a node and of a root name, with the terminator

struct PredefinedKey
{
    const wchar_t* name;
    HKEY key;
};

// The keys' values are casts, which no constant expression may hold.
const PredefinedKey predefinedKeys[] = {
    {L"MACHINE", HKEY_LOCAL_MACHINE},     {L"CONFIG", HKEY_CURRENT_CONFIG},
    {L"CLASSES_ROOT", HKEY_CLASSES_ROOT}, {L"USERS", HKEY_USERS},
    {L"CURRENT_USER", HKEY_CURRENT_USER}, {L"PERFORMANCE_DATA", HKEY_PERFORMANCE_DATA},
};

bool isUpperCaseOf(const wchar_t* name, const wchar_t* text, size_t length)
{
    for (size_t i = 0; i < length; ++i)
        if (towupper(text[i]) != name[i]) // also ends a text that is longer than the name
            return false;
    return name[length] == L'\0';
}

// The backslash that ends the name at `name`; NULL when there is none or the name is too long.
const wchar_t* endOfName(const wchar_t* name, size_t size)
{
    const size_t room = wcsnlen(name, size);
    return wmemchr(name, L'\\', room);
}

} // namespace

DWORD WINAPI sswseGetPredefKey(sswseErrRec* err, const wchar_t* path, HKEY* root, wchar_t** subkey, wchar_t* node)
{
    return sswseRunFramed(err, __func__, sswseNoArgs{}, [&](const sswseCall& call) -> DWORD {
        if (!path)
            return sswseBadArgument(call, "Registry Path");
        if (!root || !subkey || !node)
            return sswseBadArgument(call, !root ? "root" : !subkey ? "subkey" : "node");
        const wchar_t* name = path;
        if (wcsncmp(path, L"\\\\", 2) == 0) {
            const wchar_t* const nodeEnd = endOfName(path + 2, nameSize - 2);
            if (!nodeEnd)
                return sswseBadArgument(call, "Registry Path");
            const auto length = static_cast<size_t>(nodeEnd - path); // the leading backslashes belong to it
            wmemcpy(node, path, length);
            node[length] = L'\0';
            name = nodeEnd + 1;
        }
        const wchar_t* const nameEnd = endOfName(name, nameSize);
        if (!nameEnd)
            return sswseBadArgument(call, "Registry Path");
        *subkey = const_cast<wchar_t*>(nameEnd + 1);
        for (const PredefinedKey& row : predefinedKeys)
            if (isUpperCaseOf(row.name, name, static_cast<size_t>(nameEnd - name))) {
                *root = row.key;
                break;
            }
        return SSWSE_SUCCESS; // an unknown name too, with `root` as it was: deliberate
    });
}
