#include "frame/node.h"

#include "frame/call.h"

#include <cwchar>

DWORD sswseNodeToWide(const sswseCall& call, const char* nodename, owned::Heap<wchar_t>& node)
{
    return sswseToWide(call, sswseIsLocalNode(nodename) ? nullptr : nodename, node);
}

DWORD sswseNodeName(sswseErrRec* err, const wchar_t* path, wchar_t* node)
{
    return sswseRunFramed(err, __func__, sswseNoArgs{}, [&](const sswseCall& call) -> DWORD {
        if (wcsncmp(path, L"\\\\", 2) != 0)
            return SSWSE_NO;
        const wchar_t* const name = path + 2;
        const wchar_t* const end = wcschr(name, L'\\');
        if (!end)
            return sswseBadArgument(call, "Path");
        const size_t length = static_cast<size_t>(end - name);
        wmemcpy(node, name, length);
        node[length] = L'\0';
        return SSWSE_SUCCESS;
    });
}
