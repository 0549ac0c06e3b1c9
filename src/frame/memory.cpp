// The one heap that everything handed to callers comes from, and the two functions that give it back.
#include "keswsec.h"

#include <cstdlib>

void WINAPI sswseFreeMemory(void* pointer)
{
    free(pointer);
}

void WINAPI sswseFreeArrayofStrings(char** array, size_t count)
{
    if (!array)
        return;
    for (size_t i = 0; i < count; ++i)
        free(array[i]);
    free(array);
}
