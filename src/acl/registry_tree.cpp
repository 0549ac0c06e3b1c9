#include "acl/registry_tree.h"

#include "frame/text.h"

#include <cwchar>

namespace {

constexpr REGSAM access = READ_CONTROL | KEY_ENUMERATE_SUB_KEYS;
constexpr size_t nameSize = 256; // of one key, with its terminator or the backslash before it
constexpr size_t deepest = 512;  // levels that a registry has

struct KeyWalk
{
    const sswseKeyVisitor& visitor;
    wchar_t* path; // of the key at hand; each level appends a name and cuts it off again
};

bool isReachable(const sswseKeyName& name)
{
    if (name.root == HKEY_LOCAL_MACHINE || name.root == HKEY_USERS)
        return true;
    return !name.node[0] && (name.root == HKEY_CLASSES_ROOT || name.root == HKEY_CURRENT_USER);
}

DWORD connect(const sswseCall& call, const sswseKeyName& name, owned::RegistryKey& connection)
{
    if (!name.node[0])
        return SSWSE_YES;
    HKEY connected = nullptr;
    const LSTATUS result = RegConnectRegistryW(name.node, name.root, &connected);
    if (result != ERROR_SUCCESS)
        return sswseFail(call, WSE_REMOTE_REGISTRY, static_cast<DWORD>(result), "RegConnectRegistryW");
    connection.reset(connected);
    return SSWSE_YES;
}

DWORD cannotOpen(const sswseCall& call, const sswseKeyName& name, DWORD osError)
{
    owned::Heap<char> subkey;
    owned::Heap<char> root;
    if (sswseToMultibyte(call, name.subkey, subkey) != SSWSE_SUCCESS ||
        sswseToMultibyte(call, name.rootName, root) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return sswseFail(call, WSE_OPEN_REGISTRY_KEY, osError, "RegOpenKeyExW", subkey.get(), root.get());
}

DWORD unreadable(const sswseCall& call, const KeyWalk& walk, DWORD osError)
{
    if (sswseIsKeyGone(osError))
        return SSWSE_YES;
    return walk.visitor.unreadable(call, walk.visitor.context, walk.path, osError);
}

DWORD walkKey(const sswseCall& call, const KeyWalk& walk, HKEY key, size_t level);

DWORD walkChild(const sswseCall& call, const KeyWalk& walk, HKEY parent, const wchar_t* name, size_t level)
{
    if (level > deepest)
        return unreadable(call, walk, ERROR_FILENAME_EXCED_RANGE);
    HKEY opened = nullptr;
    const LSTATUS result = RegOpenKeyExW(parent, name, REG_OPTION_OPEN_LINK, access, &opened);
    if (result != ERROR_SUCCESS)
        return unreadable(call, walk, static_cast<DWORD>(result));
    const owned::RegistryKey key(opened);
    return walkKey(call, walk, key.get(), level);
}

DWORD walkChildren(const sswseCall& call, const KeyWalk& walk, HKEY key, size_t level)
{
    const size_t length = wcslen(walk.path);
    wchar_t* const end = walk.path + length;
    wchar_t* const name = length && end[-1] == L'\\' ? end : end + 1;
    for (DWORD index = 0;; ++index) {
        DWORD room = nameSize;
        const LSTATUS result = RegEnumKeyExW(key, index, name, &room, nullptr, nullptr, nullptr, nullptr);
        DWORD status = SSWSE_YES;
        if (result == ERROR_SUCCESS) {
            name[-1] = L'\\';
            status = walkChild(call, walk, key, name, level + 1);
        }
        *end = L'\0';
        if (result == ERROR_NO_MORE_ITEMS || status != SSWSE_YES)
            return status;
        if (result != ERROR_SUCCESS)
            return level ? unreadable(call, walk, static_cast<DWORD>(result))
                         : sswseApiFailed(call, static_cast<DWORD>(result), "RegEnumKeyExW");
    }
}

DWORD walkKey(const sswseCall& call, const KeyWalk& walk, HKEY key, size_t level)
{
    const DWORD status = walk.visitor.look(call, walk.visitor.context, walk.path, key, level == 0);
    return status == SSWSE_YES ? walkChildren(call, walk, key, level) : status;
}

} // namespace

DWORD sswseSplitKeyName(const sswseCall& call, const wchar_t* path, sswseKeyName& name)
{
    wchar_t* subkey = nullptr;
    const DWORD status = sswseGetPredefKey(call.rec, path, &name.root, &subkey, name.node);
    if (status != SSWSE_SUCCESS)
        return status;
    if (wcscmp(name.node, L"\\\\") == 0) // a node without a name is this machine
        name.node[0] = L'\0';
    if (!isReachable(name))
        return sswseBadArgument(call, "Registry Path");
    name.subkey = subkey;
    const wchar_t* rootName = subkey - 1;
    while (rootName != path && rootName[-1] != L'\\')
        --rootName;
    wmemcpy(name.rootName, rootName, static_cast<size_t>(subkey - 1 - rootName)); // one of the four fits
    return SSWSE_SUCCESS;
}

DWORD sswseWalkKeys(const sswseCall& call, const wchar_t* path, const sswseKeyName& name,
                    const sswseKeyVisitor& visitor)
{
    const size_t length = wcslen(path);
    const owned::Heap<wchar_t> room =
        owned::allocate<wchar_t>((length + 1 + (deepest + 1) * nameSize) * sizeof(wchar_t));
    if (!room)
        return sswseOutOfMemory(call);
    wcscpy(room.get(), path);

    owned::RegistryKey connection;
    if (const DWORD status = connect(call, name, connection); status != SSWSE_YES)
        return status;
    HKEY opened = nullptr;
    const LSTATUS result = RegOpenKeyExW(connection ? connection.get() : name.root, name.subkey, 0, access, &opened);
    if (result != ERROR_SUCCESS)
        return cannotOpen(call, name, static_cast<DWORD>(result));
    const owned::RegistryKey key(opened);
    return walkKey(call, {visitor, room.get()}, key.get(), 0);
}
