#include "frame/registry.h"

#include "frame/node.h"

#include <cstring>

namespace {

// The machine to connect to; NULL: this one.
const char* machineOf(const char* nodename)
{
    return sswseIsLocalNode(nodename) ? nullptr : nodename;
}

// One dialect of the registry: multibyte or wide. Made for each call: a table would be filled when the library is
// loaded, before a program that watches its imports can replace them.
template <class Char>
struct Dialect
{
    LSTATUS(WINAPI* connect)(const Char* machine, HKEY hive, HKEY* root);
    const char* connectName;
    LSTATUS(WINAPI* open)(HKEY root, const Char* subkey, DWORD options, REGSAM access, HKEY* key);
    const char* openName;
};

template <class Char>
DWORD connectTo(const sswseCall& call, const Char* machine, const Dialect<Char>& dialect, owned::RegistryKey& root,
                HKEY* hive)
{
    *hive = HKEY_LOCAL_MACHINE;
    if (!machine)
        return SSWSE_SUCCESS;
    HKEY connected = nullptr;
    const LSTATUS result = dialect.connect(machine, HKEY_LOCAL_MACHINE, &connected);
    if (result != ERROR_SUCCESS)
        return sswseFail(call, WSE_REMOTE_REGISTRY, static_cast<DWORD>(result), dialect.connectName);
    root.reset(connected);
    *hive = connected;
    return SSWSE_SUCCESS;
}

struct KeyRequest
{
    const char* subkey; // as messages name it
    REGSAM access;
    DWORD openFailure;
};

template <class Char>
DWORD openKey(const sswseCall& call, const Char* machine, const Char* subkey, const Dialect<Char>& dialect,
              const KeyRequest& request, sswseMachineKey& opened)
{
    HKEY hive = nullptr;
    if (const DWORD status = connectTo(call, machine, dialect, opened.root, &hive); status != SSWSE_SUCCESS)
        return status;
    HKEY key = nullptr;
    const LSTATUS result = dialect.open(hive, subkey, 0, request.access, &key);
    if (result != ERROR_SUCCESS) {
        sswseReport(call, WSE_OPEN_REGISTRY_KEY, static_cast<DWORD>(result), dialect.openName, request.subkey, "HKLM");
        return request.openFailure;
    }
    opened.key.reset(key);
    return SSWSE_SUCCESS;
}

Dialect<char> multibyteDialect()
{
    return {RegConnectRegistryA, "RegConnectRegistry", RegOpenKeyExA, "RegOpenKeyEx"};
}

Dialect<wchar_t> wideDialect()
{
    return {RegConnectRegistryW, "RegConnectRegistryW", RegOpenKeyExW, "RegOpenKeyExW"};
}

} // namespace

DWORD sswseConnectRegistryA(const sswseCall& call, const char* nodename, owned::RegistryKey& root, HKEY* hive)
{
    return connectTo(call, machineOf(nodename), multibyteDialect(), root, hive);
}

DWORD sswseOpenMachineKeyA(const sswseCall& call, const char* nodename, const char* subkey, REGSAM access,
                           DWORD openFailure, sswseMachineKey& opened)
{
    return openKey(call, machineOf(nodename), subkey, multibyteDialect(), {subkey, access, openFailure}, opened);
}

DWORD sswseOpenMachineKeyW(const sswseCall& call, const char* nodename, const sswseSubkey& subkey, REGSAM access,
                           sswseMachineKey& opened)
{
    owned::Heap<wchar_t> node;
    if (const DWORD status = sswseNodeToWide(call, nodename, node); status != SSWSE_SUCCESS)
        return status;
    return openKey<wchar_t>(call, node.get(), subkey.wide.get(), wideDialect(), {subkey.text, access, SSWSE_FAILURE},
                            opened);
}

DWORD sswseSetRegistryValueA(const sswseCall& call, HKEY key, const char* value, DWORD type, const void* data,
                             size_t size)
{
    const LSTATUS result =
        RegSetValueExA(key, value, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size));
    if (result != ERROR_SUCCESS)
        return sswseFail(call, WSE_SET_REGISTRY_VALUE, static_cast<DWORD>(result), "RegSetValueEx", value);
    return SSWSE_SUCCESS;
}

DWORD sswseSetRegistryTextA(const sswseCall& call, HKEY key, const char* value, DWORD type, const char* text)
{
    return sswseSetRegistryValueA(call, key, value, type, text, strlen(text) + 1);
}
