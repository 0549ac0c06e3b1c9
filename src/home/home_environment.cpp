#include "home/home_environment.h"

#include <cstring>

DWORD sswseHomeTextFromEnvironment(const sswseCall& call, const char* variable, const char* label, char* text,
                                   size_t size, size_t* outlen)
{
    char value[259];
    const DWORD length = GetEnvironmentVariableA(variable, value, sizeof value);
    if (length == 0)
        return sswseFail(call, WSE_FIND_HOME, 0, "");
    if (length >= sizeof value || length >= size)
        return sswseBufferTooSmall(call, label);
    memcpy(text, value, length);
    text[length] = '\0';
    if (outlen)
        *outlen = length;
    return SSWSE_SUCCESS;
}
