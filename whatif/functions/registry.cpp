// The registry functions, led to the nodes' registries. Keys under other roots than HKEY_LOCAL_MACHINE, HKEY_USERS and
// what is a part of them are refused, so that no write gets past the node. A key is opened when its list gives all that
// is asked for ("Registry Key Security and Access Rights"), which is judged as an administrator's; a new one needs that
// right on the key that it comes to lie in, a deleted one DELETE. What an open key can do then the platform itself
// judges, by the handle to the scratch key.
// Codes: RegFlushKey, RegConnectRegistry, RegOpenKeyEx, RegCreateKeyEx, RegDeleteKey, RegEnumKeyEx.
#include "whatif/model/open_keys.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/security/object_security.h"
#include "whatif/spelling.h"

#include <algorithm>

namespace whatif {

namespace {

constexpr REGSAM views = KEY_WOW64_32KEY | KEY_WOW64_64KEY; // not rights

LSTATUS judge(const Registry::Place& place, REGSAM access, REGSAM& handle)
{
    Security security;
    if (const DWORD error = readSecurity(keyAt(*place.node, place.path), security))
        return static_cast<LSTATUS>(error);
    return opens(security, administrator(), access & ~views, keyRights, handle) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

LSTATUS handOut(World& world, LSTATUS status, const OpenKey& opened, HKEY key, HKEY* result)
{
    if (status != ERROR_SUCCESS)
        return status;
    keepOpen(world, key, opened);
    *result = key;
    return ERROR_SUCCESS;
}

LSTATUS openPlace(World& world, const Registry::Place& place, REGSAM access, HKEY* result)
{
    if (!world.registry().hasKey(*place.node, place.path))
        return ERROR_FILE_NOT_FOUND;
    OpenKey opened = {place, 0, {}};
    if (const LSTATUS status = judge(place, access, opened.access))
        return status;
    HKEY key = nullptr;
    const LSTATUS status = world.registry().open(place, opened.access | (access & views), key);
    return handOut(world, status, opened, key, result);
}

LSTATUS connectNode(const std::wstring& machine, HKEY root, HKEY* result)
{
    Locked world;
    Registry::Place place = {world->find(machine.c_str()), L""};
    if (!place.node)
        return ERROR_BAD_NETPATH;
    if (root != HKEY_LOCAL_MACHINE && root != HKEY_USERS)
        return ERROR_INVALID_HANDLE;
    pathOf(root, *place.node, place.path);
    return openPlace(*world, place, MAXIMUM_ALLOWED, result);
}

LSTATUS openNodeKey(HKEY root, const std::wstring& subkey, REGSAM access, HKEY* result)
{
    Locked world;
    Registry::Place place;
    if (const LSTATUS status = placeOf(*world, root, subkey, place))
        return status;
    return openPlace(*world, place, access, result);
}

// Whether the nearest key above that is there takes a new one.
LSTATUS mayCreate(World& world, const Registry::Place& place)
{
    Registry::Place parent = place;
    do
        parent.path.resize(parent.path.rfind(L'\\') == std::wstring::npos ? 0 : parent.path.rfind(L'\\'));
    while (!parent.path.empty() && !world.registry().hasKey(*parent.node, parent.path));
    REGSAM handle = 0;
    return judge(parent, KEY_CREATE_SUB_KEY, handle);
}

LSTATUS createNodeKey(HKEY root, const std::wstring& subkey, const std::wstring& className, REGSAM access, HKEY* result,
                      LPDWORD disposition)
{
    Locked world;
    Registry::Place place;
    if (const LSTATUS status = placeOf(*world, root, subkey, place))
        return status;
    if (world->registry().hasKey(*place.node, place.path)) {
        const LSTATUS status = openPlace(*world, place, access, result);
        if (disposition && status == ERROR_SUCCESS)
            *disposition = REG_OPENED_EXISTING_KEY;
        return status;
    }
    if (const LSTATUS status = mayCreate(*world, place))
        return status;
    HKEY key = nullptr;
    std::vector<std::wstring> created;
    // Who creates a key gets what it is opened with, whatever it inherits.
    const REGSAM all = access & MAXIMUM_ALLOWED ? KEY_ALL_ACCESS : 0;
    const OpenKey opened = {place, mapped((access & ~static_cast<REGSAM>(MAXIMUM_ALLOWED)) | all, keyRights), {}};
    const LSTATUS status = world->registry().create(place, opened.access, className.c_str(), key, created);
    for (const std::wstring& path : created)
        world->record({ChangeKind::registryKey, place.node->name, keyName(path), L"", {}, State::Parts()});
    if (disposition)
        *disposition = REG_CREATED_NEW_KEY;
    return handOut(*world, status, opened, key, result);
}

// What goes with a key.
State stateOf(World& world, const Registry::Place& place)
{
    State::Parts parts;
    if (!world.registry().hasKey(*place.node, place.path))
        return {};
    for (const auto& [name, value] : world.registry().values(*place.node, place.path))
        parts.emplace_back(L"value " + name, textOf(value));
    Security security;
    if (readSecurity(keyAt(*place.node, place.path), security) == ERROR_SUCCESS)
        parts.emplace_back(L"security", textOf(security));
    return parts;
}

LSTATUS deleteNodeKey(HKEY root, const std::wstring& subkey)
{
    Locked world;
    Registry::Place place;
    REGSAM handle = 0;
    if (const LSTATUS status = placeOf(*world, root, subkey, place))
        return status;
    if (!world->registry().hasKey(*place.node, place.path))
        return ERROR_FILE_NOT_FOUND;
    if (const LSTATUS status = judge(place, DELETE, handle))
        return status;
    const State before = stateOf(*world, place);
    const LSTATUS status = world->registry().remove(place);
    if (status == ERROR_SUCCESS) {
        place.node->security.erase(keyName(place.path));
        world->record({ChangeKind::registryKey, place.node->name, keyName(place.path), L"", before, {}});
    }
    return status;
}

// The names are those of the moment when the first is asked for: keys that come and go meanwhile do not shift them.
LSTATUS WINAPI enumKey(HKEY handle, DWORD index, LPWSTR name, LPDWORD size, LPDWORD reserved, LPWSTR className,
                       LPDWORD classSize, PFILETIME written)
{
    Locked world;
    OpenKey* const key = openKeyOf(*world, handle);
    if (!key)
        return ERROR_INVALID_HANDLE;
    if (reserved || !name || !size || (className && !classSize))
        return ERROR_INVALID_PARAMETER;
    if (!(key->access & KEY_ENUMERATE_SUB_KEYS))
        return ERROR_ACCESS_DENIED;
    if (!world->registry().hasKey(*key->place.node, key->place.path))
        return ERROR_KEY_DELETED;
    if (index == 0) {
        key->subkeys.clear();
        for (const Object& child : childrenOf(*world, keyAt(*key->place.node, key->place.path)))
            key->subkeys.push_back(child.real.substr(child.real.rfind(L'\\') + 1));
    }
    if (index >= key->subkeys.size())
        return ERROR_NO_MORE_ITEMS;
    const std::wstring& subkey = key->subkeys[index];
    if (*size <= subkey.size())
        return ERROR_MORE_DATA;
    std::copy_n(subkey.c_str(), subkey.size() + 1, name);
    *size = static_cast<DWORD>(subkey.size());
    if (className && *classSize)
        *className = L'\0';
    if (classSize)
        *classSize = 0;
    if (written)
        *written = {};
    return ERROR_SUCCESS;
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
    const OpenKey* const known = openKeyOf(*world, key);
    if (!known)
        return ERROR_INVALID_HANDLE;
    const Registry::Place& place = known->place;
    const auto before = world->registry().value(*place.node, place.path, name);
    const LSTATUS status = write();
    const auto after = world->registry().value(*place.node, place.path, name);
    if (!(before == after))
        world->record(
            {ChangeKind::registryValue, place.node->name, keyName(place.path), name, stateOf(before), stateOf(after)});
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

LSTATUS WINAPI deleteValueW(HKEY key, LPCWSTR name)
{
    return setNodeValue(key, name ? name : L"", [&] { return RegDeleteValueW(key, name); });
}

LSTATUS WINAPI flushKey(HKEY key)
{
    Locked world;
    const OpenKey* const known = openKeyOf(*world, key);
    return !known ? ERROR_INVALID_HANDLE : known->access & KEY_QUERY_VALUE ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

LSTATUS WINAPI closeKey(HKEY key)
{
    Locked world;
    forget(*world, key);
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
            returningError<&deleteValueW>("RegDeleteValueW"),
            returningError<&enumKey>("RegEnumKeyExW"),
            returningError<&flushKey>("RegFlushKey"),
            returningError<&closeKey>("RegCloseKey")};
}

} // namespace whatif
