// The registry functions of the library, led to the nodes' registries. Keys under other roots than HKEY_LOCAL_MACHINE
// are refused, so that no write gets past the node.
#include "whatif/model/registry.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/security/object_security.h"

#include <map>

namespace whatif {

namespace {

// The keys that the library holds.
std::map<HKEY, Registry::Place>& openKeys()
{
    static std::map<HKEY, Registry::Place> keys;
    return keys;
}

LSTATUS placeOf(World& world, HKEY key, const std::wstring& subkey, Registry::Place& place)
{
    const auto known = openKeys().find(key);
    if (known != openKeys().end())
        place = known->second;
    else if (key == HKEY_LOCAL_MACHINE)
        place.node = &world.local();
    else
        return ERROR_INVALID_HANDLE;
    if (!subkey.empty())
        place.path += (place.path.empty() ? L"" : L"\\") + subkey;
    while (!place.path.empty() && place.path.back() == L'\\')
        place.path.pop_back();
    return subkey.compare(0, 1, L"\\") == 0 ? ERROR_BAD_PATHNAME : ERROR_SUCCESS;
}

LSTATUS handOut(LSTATUS status, const Registry::Place& place, HKEY key, HKEY* result)
{
    if (status != ERROR_SUCCESS)
        return status;
    openKeys()[key] = place;
    *result = key;
    return ERROR_SUCCESS;
}

std::wstring printable(const std::wstring& path)
{
    return L"registry HKLM\\" + path;
}

LSTATUS connectNode(const std::wstring& machine, HKEY root, HKEY* result)
{
    Locked world;
    const Registry::Place place = {world->find(machine.c_str()), L""};
    if (!place.node)
        return ERROR_BAD_NETPATH;
    if (root != HKEY_LOCAL_MACHINE)
        return ERROR_INVALID_HANDLE;
    HKEY key = nullptr;
    const LSTATUS status = world->registry().open(place, KEY_ALL_ACCESS, key);
    return handOut(status, place, key, result);
}

LSTATUS openNodeKey(HKEY root, const std::wstring& subkey, REGSAM access, HKEY* result)
{
    Locked world;
    Registry::Place place;
    LSTATUS status = placeOf(*world, root, subkey, place);
    if (status != ERROR_SUCCESS)
        return status;
    HKEY key = nullptr;
    status = world->registry().open(place, access, key);
    return handOut(status, place, key, result);
}

LSTATUS createNodeKey(HKEY root, const std::wstring& subkey, const std::wstring& className, REGSAM access, HKEY* result,
                      LPDWORD disposition)
{
    Locked world;
    Registry::Place place;
    if (const LSTATUS status = placeOf(*world, root, subkey, place))
        return status;
    HKEY key = nullptr;
    std::vector<std::wstring> created;
    const LSTATUS status = world->registry().create(place, access, className.c_str(), key, created);
    for (const std::wstring& path : created)
        world->record({ChangeKind::registryKey, place.node->name, printable(path), L"", {}, State::Parts()});
    if (disposition)
        *disposition = created.empty() ? REG_OPENED_EXISTING_KEY : REG_CREATED_NEW_KEY;
    return handOut(status, place, key, result);
}

// What goes with a key.
State stateOf(World& world, const Registry::Place& place)
{
    State::Parts parts;
    if (!world.registry().hasKey(*place.node, place.path))
        return {};
    for (const auto& [name, value] : world.registry().values(*place.node, place.path))
        parts.emplace_back(L"value " + name, textOf(value));
    Object object;
    Security security;
    if (keyObject(world, L"\\\\" + place.node->name + L"\\MACHINE\\" + place.path, object) == ERROR_SUCCESS &&
        readSecurity(object, security) == ERROR_SUCCESS)
        parts.emplace_back(L"security", textOf(security));
    return parts;
}

LSTATUS deleteNodeKey(HKEY root, const std::wstring& subkey)
{
    Locked world;
    Registry::Place place;
    if (const LSTATUS status = placeOf(*world, root, subkey, place))
        return status;
    const State before = stateOf(*world, place);
    const LSTATUS status = world->registry().remove(place);
    if (status == ERROR_SUCCESS)
        world->record({ChangeKind::registryKey, place.node->name, printable(place.path), L"", before, {}});
    return status;
}

State stateOf(const std::optional<RegistryValue>& value)
{
    return value ? State(textOf(*value)) : State();
}

// Writes through the library's own key, so that its access and the data are judged by the platform.
template <class Write>
LSTATUS setNodeValue(HKEY key, const std::wstring& name, Write write)
{
    Locked world;
    const auto known = openKeys().find(key);
    if (known == openKeys().end())
        return ERROR_INVALID_HANDLE;
    const Registry::Place& place = known->second;
    const auto before = world->registry().value(*place.node, place.path, name);
    const LSTATUS status = write();
    const auto after = world->registry().value(*place.node, place.path, name);
    if (!(before == after))
        world->record({ChangeKind::registryValue, place.node->name, printable(place.path), name, stateOf(before),
                       stateOf(after)});
    return status;
}

// ---- as they are imported ----------------------------------------------------------------------------------------

LSTATUS WINAPI connectRegistryA(LPCSTR machine, HKEY root, PHKEY result)
{
    return connectNode(wide(machine), root, result);
}

LSTATUS WINAPI connectRegistryW(LPCWSTR machine, HKEY root, PHKEY result)
{
    return connectNode(machine ? machine : L"", root, result);
}

LSTATUS WINAPI openKeyA(HKEY root, LPCSTR subkey, DWORD, REGSAM access, PHKEY result)
{
    return openNodeKey(root, wide(subkey), access, result);
}

LSTATUS WINAPI openKeyW(HKEY root, LPCWSTR subkey, DWORD, REGSAM access, PHKEY result)
{
    return openNodeKey(root, subkey ? subkey : L"", access, result);
}

LSTATUS WINAPI createKeyA(HKEY root, LPCSTR subkey, DWORD, LPSTR className, DWORD, REGSAM access,
                          const LPSECURITY_ATTRIBUTES, PHKEY result, LPDWORD disposition)
{
    return createNodeKey(root, wide(subkey), wide(className), access, result, disposition);
}

LSTATUS WINAPI createKeyW(HKEY root, LPCWSTR subkey, DWORD, LPWSTR className, DWORD, REGSAM access,
                          const LPSECURITY_ATTRIBUTES, PHKEY result, LPDWORD disposition)
{
    return createNodeKey(root, subkey ? subkey : L"", className ? className : L"", access, result, disposition);
}

LSTATUS WINAPI deleteKeyA(HKEY root, LPCSTR subkey)
{
    return deleteNodeKey(root, wide(subkey));
}

LSTATUS WINAPI deleteKeyW(HKEY root, LPCWSTR subkey)
{
    return deleteNodeKey(root, subkey ? subkey : L"");
}

LSTATUS WINAPI setValueA(HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size)
{
    return setNodeValue(key, wide(name), [&] { return RegSetValueExA(key, name, reserved, type, data, size); });
}

LSTATUS WINAPI setValueW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size)
{
    return setNodeValue(key, name ? name : L"", [&] { return RegSetValueExW(key, name, reserved, type, data, size); });
}

LSTATUS WINAPI closeKey(HKEY key)
{
    Locked world;
    openKeys().erase(key);
    return RegCloseKey(key);
}

} // namespace

std::vector<Replacement> registryReplacements()
{
    return {returningError<&connectRegistryA>("RegConnectRegistryA"),
            returningError<&connectRegistryW>("RegConnectRegistryW"),
            returningError<&openKeyA>("RegOpenKeyExA"),
            returningError<&openKeyW>("RegOpenKeyExW"),
            returningError<&createKeyA>("RegCreateKeyExA"),
            returningError<&createKeyW>("RegCreateKeyExW"),
            returningError<&deleteKeyA>("RegDeleteKeyA"),
            returningError<&deleteKeyW>("RegDeleteKeyW"),
            returningError<&setValueA>("RegSetValueExA"),
            returningError<&setValueW>("RegSetValueExW"),
            returningError<&closeKey>("RegCloseKey")};
}

} // namespace whatif
