// Opening a home's registry key on this machine or on a node.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

// The remote root (none on this machine) is released after the key.
struct sswseHomeRegistryKey
{
    owned::RegistryKey root;
    owned::RegistryKey key;
};

// What routines of the two dialects answer when the key cannot be opened; a node that cannot be reached is always 3.
// Opens `subkey` under HKEY_LOCAL_MACHINE of `nodename`. 2; 3 with WSE-000044; `openFailure` with WSE-000010 naming
// `subkey` and "HKLM". The multibyte dialect names "RegConnectRegistry" and "RegOpenKeyEx", the wide one
// "RegConnectRegistryW" and "RegOpenKeyExW".
DWORD sswseOpenHomeKeyA(const sswseCall& call, const char* nodename, const char* subkey, REGSAM access,
                        DWORD openFailure, sswseHomeRegistryKey& opened);
DWORD sswseOpenHomeKeyW(const sswseCall& call, const char* nodename, const char* subkey, REGSAM access,
                        DWORD openFailure, sswseHomeRegistryKey& opened);

// Builds "software\Kestel\" + home key in the array. 2, or 3 with WSE-000053 "strcat_s".
DWORD sswseHomeSubkey(const sswseCall& call, const char* homeKey, char (&subkey)[512]);

// Reads a text value of at most `size` - 1 bytes into `text`, which is terminated; the type is not looked at and a
// stored text need not be terminated. `stored` is the size in the registry. 2, or 3 with WSE-000048 naming the value.
DWORD sswseReadHomeValueA(const sswseCall& call, HKEY key, const char* value, char* text, DWORD size, DWORD* stored);

// The same for wide text, converted to multibyte: 3 also with WSE-00002, WSE-00007. With `absent`, a value that is not
// there is no failure: *absent becomes true and the status is 2.
DWORD sswseReadHomeValueW(const sswseCall& call, HKEY key, const wchar_t* value, const char* valueName,
                          owned::Heap<char>& text, size_t* length, bool* absent = nullptr);
