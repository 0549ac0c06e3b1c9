#include "frame/string_list.h"

#include "frame/text.h"

#include <cwchar>
#include <utility>

DWORD sswseAddString(const sswseCall& call, sswseStringList& list, owned::Heap<char> text)
{
    if (!list.append(std::move(text)))
        return sswseOutOfMemory(call);
    return SSWSE_SUCCESS;
}

DWORD sswseAddString(const sswseCall& call, sswseStringList& list, const wchar_t* text)
{
    owned::Heap<char> multibyte;
    if (sswseToMultibyte(call, text, multibyte) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return sswseAddString(call, list, std::move(multibyte));
}

bool sswseAppendCopy(owned::Blocks<wchar_t>& list, const wchar_t* text)
{
    owned::Heap<wchar_t> copy = owned::allocate<wchar_t>((wcslen(text) + 1) * sizeof(wchar_t));
    if (copy)
        wcscpy(copy.get(), text);
    return list.append(std::move(copy));
}

sswseStringsOut sswseClearStrings(char*** list, int* count)
{
    if (list)
        *list = nullptr;
    if (count)
        *count = 0;
    return {list, count};
}

DWORD sswseCheckStringsOut(const sswseCall& call, const sswseStringsOut& out, const char* listName,
                           const char* countName)
{
    if (!out.list && out.count)
        return sswseBadArgument(call, listName);
    if (out.list && !out.count)
        return sswseBadArgument(call, countName);
    return SSWSE_SUCCESS;
}

void sswseHandOutStrings(sswseStringList& list, const sswseStringsOut& out)
{
    if (!out.wanted() || list.count == 0)
        return;
    *out.count = static_cast<int>(list.count);
    *out.list = list.release();
}
