#include "frame/format.h"

#include <cstdarg>
#include <cstdio>
#include <cwchar>

uint32_t sswseFormat(char* destination, size_t capacity, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int written = _vsnprintf(destination, capacity, format, arguments);
    va_end(arguments);
    return static_cast<uint32_t>(written);
}

uint32_t sswseFormatW(wchar_t* destination, size_t capacity, const wchar_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int written = _vsnwprintf(destination, capacity, format, arguments);
    va_end(arguments);
    return static_cast<uint32_t>(written);
}
