#include "home/home_values.h"

#include "home/home_registry.h"
#include "home/key_file.h"

#include <cstring>

DWORD sswseCopyHomeValue(const sswseCall& call, HKEY key, const sswseHomeValueNames& names, char* text, size_t size,
                         size_t* outlen)
{
    sswseHomeValue read;
    if (const DWORD status = sswseReadHomeValueA(call, key, names.value, read); status != SSWSE_SUCCESS)
        return status;
    if (read.stored >= size)
        return sswseBufferTooSmall(call, names.shortBuffer);
    memcpy(text, read.text, read.stored);
    text[read.stored] = '\0';
    if (outlen)
        *outlen = read.stored;
    return SSWSE_SUCCESS;
}

DWORD sswseCopyHomeValueOfPath(const sswseCall& call, char* khomepath, const sswseHomeValueNames& names, char* text,
                               size_t size, size_t* outlen, const char* nodename)
{
    constexpr sswseKeyFileAnswers answers = {SSWSE_HOME_NOT_FOUND, SSWSE_FAILURE, SSWSE_FAILURE, false};
    if (!khomepath)
        return sswseBadArgument(call, "KestelHome Path");
    if (!text)
        return sswseBadArgument(call, names.noBuffer);
    sswseKeyLine subkey; // the whole line: it holds the path from HKEY_LOCAL_MACHINE on
    sswseMachineKey home;
    DWORD status = sswseReadKeyFileOnNode(call, khomepath, nodename, answers, subkey);
    if (status == SSWSE_SUCCESS)
        status = sswseOpenMachineKeyA(call, nodename, subkey, KEY_QUERY_VALUE, SSWSE_HOME_NOT_FOUND, home);
    if (status != SSWSE_SUCCESS)
        return status;
    return sswseCopyHomeValue(call, home.key.get(), names, text, size, outlen);
}
