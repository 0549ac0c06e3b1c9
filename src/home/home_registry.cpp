#include "home/home_registry.h"

#include "frame/format.h"
#include "frame/node.h"

#include <cstring>

namespace {

DWORD readWideValue(const sswseCall& call, HKEY key, const sswseValueName& value, owned::Heap<char>& text,
                    size_t* length, bool* absent)
{
    constexpr DWORD bufferSize = 32766;
    const owned::Heap<wchar_t> wide = owned::allocate<wchar_t>(bufferSize + sizeof(wchar_t));
    if (!wide)
        return sswseOutOfMemory(call);
    DWORD stored = bufferSize;
    const LSTATUS result =
        RegQueryValueExW(key, value.wide, nullptr, nullptr, reinterpret_cast<BYTE*>(wide.get()), &stored);
    if (absent)
        *absent = result == ERROR_FILE_NOT_FOUND;
    if (absent && *absent)
        return SSWSE_SUCCESS;
    if (result != ERROR_SUCCESS)
        return sswseFail(call, WSE_QUERY_REGISTRY_VALUE, static_cast<DWORD>(result), "RegQueryValueExW", value.text);
    wide.get()[stored / sizeof(wchar_t)] = L'\0';
    return sswseToMultibyte(call, wide.get(), text, length);
}

} // namespace

DWORD sswseOpenHomeA(const sswseCall& call, const char* homeKey, const char* nodename, REGSAM access,
                     sswseMachineKey& opened)
{
    char subkey[260];
    if (sswseFormatText(subkey, "Software\\Kestel\\%s", homeKey) == sswseFormatOverflow) { // cut, it is another home's
        sswseReport(call, WSE_OPEN_REGISTRY_KEY, ERROR_FILENAME_EXCED_RANGE, "RegOpenKeyEx", subkey, "HKLM");
        return SSWSE_HOME_NOT_FOUND;
    }
    return sswseOpenMachineKeyA(call, nodename, subkey, access, SSWSE_HOME_NOT_FOUND, opened);
}

DWORD sswseMakeHomeSubkey(const sswseCall& call, const char* homeKey, sswseSubkey& subkey)
{
    sswseFormatText(subkey.text, "%s", "software\\Kestel\\");
    const DWORD status = sswseAppend(call, subkey.text, sizeof subkey.text, homeKey);
    return status == SSWSE_SUCCESS ? sswseToWide(call, subkey.text, subkey.wide) : status;
}

DWORD sswseReadHomeValueA(const sswseCall& call, HKEY key, const char* value, sswseHomeValue& read)
{
    read.stored = sizeof read.text - 1;
    const LSTATUS result =
        RegQueryValueExA(key, value, nullptr, nullptr, reinterpret_cast<BYTE*>(read.text), &read.stored);
    if (result != ERROR_SUCCESS)
        return sswseFail(call, WSE_QUERY_REGISTRY_VALUE, static_cast<DWORD>(result), "RegQueryValueEx", value);
    read.text[read.stored] = '\0';
    return SSWSE_SUCCESS;
}

DWORD sswseReadValueOfHomeW(const sswseCall& call, const char* homeKey, const char* nodename,
                            const sswseValueName& value, owned::Heap<char>& text, size_t* length, bool* absent)
{
    sswseSubkey subkey;
    sswseMachineKey home;
    DWORD status = sswseMakeHomeSubkey(call, homeKey, subkey);
    if (status == SSWSE_SUCCESS)
        status = sswseOpenMachineKeyW(call, nodename, subkey, KEY_QUERY_VALUE, home);
    if (status != SSWSE_SUCCESS)
        return status;
    return readWideValue(call, home.key.get(), value, text, length, absent);
}
