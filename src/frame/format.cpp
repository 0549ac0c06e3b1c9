#include "frame/format.h"

#include <cstdarg>
#include <cstdio>

uint32_t sswseFormat(char* destination, size_t capacity, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int written = _vsnprintf(destination, capacity, format, arguments);
    va_end(arguments);
    return static_cast<uint32_t>(written);
}
