#include "frame/string_list.h"

#include "frame/text.h"

#include <algorithm>

namespace {

constexpr DWORD firstCapacity = 16;

bool grow(sswseStringList& list)
{
    owned::Blocks<char> larger;
    const DWORD capacity = list.capacity ? list.capacity * 2 : firstCapacity;
    if (!larger.reserve(capacity))
        return false;
    std::copy_n(list.texts.entries, list.texts.count, larger.entries);
    std::swap(list.texts.entries, larger.entries); // the texts themselves stay counted in the list alone
    list.capacity = capacity;
    return true;
}

} // namespace

DWORD sswseAddString(const sswseCall& call, sswseStringList& list, owned::Heap<char> text)
{
    if (!text || (list.texts.count == list.capacity && !grow(list)))
        return sswseOutOfMemory(call);
    list.texts.entries[list.texts.count++] = text.release();
    return SSWSE_SUCCESS;
}

DWORD sswseAddString(const sswseCall& call, sswseStringList& list, const wchar_t* text)
{
    owned::Heap<char> multibyte;
    if (sswseToMultibyte(call, text, multibyte) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return sswseAddString(call, list, std::move(multibyte));
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
    if (!out.wanted() || list.texts.count == 0)
        return;
    *out.count = static_cast<int>(list.texts.count);
    *out.list = list.texts.release();
    list.capacity = 0;
}
