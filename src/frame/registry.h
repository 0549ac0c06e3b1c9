// Keys below HKEY_LOCAL_MACHINE of this machine or of a node, and the values written there.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

// The remote root (none on this machine) is released after the key.
struct sswseMachineKey
{
    owned::RegistryKey root;
    owned::RegistryKey key;
};

// The name of a key in both dialects: messages name the multibyte text.
struct sswseSubkey
{
    char text[512];
    owned::Heap<wchar_t> wide;
};

// Connects to the node's HKEY_LOCAL_MACHINE, which `hive` then is; the local one without a node. 2, or 3 with
// WSE-000044 "RegConnectRegistry".
[[nodiscard]] DWORD sswseConnectRegistryA(const sswseCall& call, const char* nodename, owned::RegistryKey& root,
                                          HKEY* hive);

// Opens `subkey` under HKEY_LOCAL_MACHINE of `nodename`. 2; 3 with WSE-000044; `openFailure`, which is 3 in the wide
// dialect, with WSE-000010 naming `subkey` and "HKLM". The multibyte dialect names "RegConnectRegistry" and
// "RegOpenKeyEx", the wide one "RegConnectRegistryW" and "RegOpenKeyExW" and may fail with WSE-00006 as well.
[[nodiscard]] DWORD sswseOpenMachineKeyA(const sswseCall& call, const char* nodename, const char* subkey, REGSAM access,
                                         DWORD openFailure, sswseMachineKey& opened);
[[nodiscard]] DWORD sswseOpenMachineKeyW(const sswseCall& call, const char* nodename, const sswseSubkey& subkey,
                                         REGSAM access, sswseMachineKey& opened);

// Stores a value of any type. 2, or 3 with WSE-000049 "RegSetValueEx" naming it.
[[nodiscard]] DWORD sswseSetRegistryValueA(const sswseCall& call, HKEY key, const char* value, DWORD type,
                                           const void* data, size_t size);
// The same for a terminated text (REG_SZ, REG_EXPAND_SZ), its terminator stored as well.
[[nodiscard]] DWORD sswseSetRegistryTextA(const sswseCall& call, HKEY key, const char* value, DWORD type,
                                          const char* text);
