#include "frame/arguments.h"

#include <algorithm>

DWORD sswseCheckNameList(const sswseCall& call, char** list, int count, const char* name)
{
    if (count < 0 || (count > 0 && !list) || std::find(list, list + count, nullptr) != list + count)
        return sswseBadArgument(call, name);
    return SSWSE_SUCCESS;
}

void sswseEmptyOutputList(char*** list, int* count)
{
    if (list)
        *list = nullptr;
    if (count)
        *count = 0;
}

DWORD sswseCheckOutputList(const sswseCall& call, char*** list, const char* listName, int* count, const char* countName)
{
    if (!list && count)
        return sswseBadArgument(call, listName);
    if (list && !count)
        return sswseBadArgument(call, countName);
    return SSWSE_SUCCESS;
}
