// A home's registry key on this machine or on a node, and the text values kept there.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

// The remote root (none on this machine) is released after the key.
struct sswseHomeRegistryKey
{
    owned::RegistryKey root;
    owned::RegistryKey key;
};

// Connects to the node's HKEY_LOCAL_MACHINE, which `hive` then is; the local one without a node. 2, or 3 with
// WSE-000044 "RegConnectRegistry".
DWORD sswseConnectRegistryA(const sswseCall& call, const char* nodename, owned::RegistryKey& root, HKEY* hive);

// The subkey of a home in both dialects: messages name the multibyte text.
struct sswseHomeSubkey
{
    char text[512];
    owned::Heap<wchar_t> wide;
};

// Builds "software\Kestel\" + home key. 2, or 3 with WSE-000053 "strcat_s" or WSE-00006.
DWORD sswseMakeHomeSubkey(const sswseCall& call, const char* homeKey, sswseHomeSubkey& subkey);

// Opens `subkey` under HKEY_LOCAL_MACHINE of `nodename`. 2; 3 with WSE-000044; `openFailure`, which is 3 in the wide
// dialect, with WSE-000010 naming `subkey` and "HKLM". The multibyte dialect names "RegConnectRegistry" and
// "RegOpenKeyEx", the wide one "RegConnectRegistryW" and "RegOpenKeyExW" and may fail with WSE-00006 as well.
DWORD sswseOpenHomeKeyA(const sswseCall& call, const char* nodename, const char* subkey, REGSAM access,
                        DWORD openFailure, sswseHomeRegistryKey& opened);
DWORD sswseOpenHomeKeyW(const sswseCall& call, const char* nodename, const sswseHomeSubkey& subkey, REGSAM access,
                        sswseHomeRegistryKey& opened);

// Opens "Software\Kestel\" + home key, cut at 259 characters, in the multibyte dialect; `openFailure` is 6.
DWORD sswseOpenHomeA(const sswseCall& call, const char* homeKey, const char* nodename, REGSAM access,
                     sswseHomeRegistryKey& opened);

// A text value as it is stored: the type is not looked at, and a text that is not terminated gets its NUL here.
struct sswseHomeValue
{
    char text[511];
    DWORD stored; // bytes in the registry, which count a stored terminator
};

// 2, or 3 with WSE-000048 "RegQueryValueEx" naming the value, also when it is longer than the buffer less one byte.
DWORD sswseReadHomeValueA(const sswseCall& call, HKEY key, const char* value, sswseHomeValue& read);

// The same for wide text, converted to multibyte, with the length counting its terminator: 3 also with WSE-00002 and
// WSE-00007. With `absent`, a value that is not there is no failure: *absent becomes true and the status is 2.
DWORD sswseReadHomeValueW(const sswseCall& call, HKEY key, const wchar_t* value, const char* valueName,
                          owned::Heap<char>& text, size_t* length, bool* absent = nullptr);

// Opens the key of a home in the wide dialect, every failure being 3, and reads a value as above.
DWORD sswseReadValueOfHomeW(const sswseCall& call, const char* homeKey, const char* nodename, const wchar_t* value,
                            const char* valueName, owned::Heap<char>& text, size_t* length, bool* absent = nullptr);

// Stores a value of any type. 2, or 3 with WSE-000049 "RegSetValueEx" naming it.
DWORD sswseSetRegistryValueA(const sswseCall& call, HKEY key, const char* value, DWORD type, const void* data,
                             size_t size);
// The same for a terminated text (REG_SZ, REG_EXPAND_SZ), its terminator stored as well.
DWORD sswseSetRegistryTextA(const sswseCall& call, HKEY key, const char* value, DWORD type, const char* text);
