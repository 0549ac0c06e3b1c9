#include "frame/arguments.h"

#include <algorithm>

DWORD sswseCheckNameList(const sswseCall& call, char** list, int count, const char* name)
{
    if (count < 0 || (count > 0 && !list) || std::find(list, list + count, nullptr) != list + count)
        return sswseBadArgument(call, name);
    return SSWSE_SUCCESS;
}
