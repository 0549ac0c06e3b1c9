#include "whatif/model/objects.h"

#include "whatif/model/files.h"
#include "whatif/model/registry.h"
#include "whatif/security/access.h"
#include "whatif/spelling.h"
#include "whatif/whatif.h"

#include <algorithm>

namespace whatif {

namespace {

constexpr wchar_t filePrefix[] = L"file ";

const struct
{
    const wchar_t* name;
    HKEY key;
} roots[] = {{L"MACHINE", HKEY_LOCAL_MACHINE},
             {L"USERS", HKEY_USERS},
             {L"CLASSES_ROOT", HKEY_CLASSES_ROOT},
             {L"CURRENT_USER", HKEY_CURRENT_USER}};

// Without the last component; the root of a drive keeps its backslash.
std::wstring above(const std::wstring& path)
{
    const size_t separator = path.rfind(L'\\');
    if (separator == std::wstring::npos)
        return {};
    return path.substr(0, separator && path[separator - 1] == L':' ? separator + 1 : separator);
}

// ---- what lies below ---------------------------------------------------------------------------------------------

std::vector<Object> filesBelow(const Object& object)
{
    std::vector<Object> children;
    WIN32_FIND_DATAW data;
    const owned::FindHandle search(owned::orNull(FindFirstFileW((object.real + L"\\*").c_str(), &data)));
    if (!search)
        return children;
    const std::wstring separator = object.name.back() == L'\\' ? L"" : L"\\";
    do {
        const std::wstring name = data.cFileName;
        if (name != L"." && name != L"..")
            children.push_back({object.node, object.name + separator + name, object.real + L'\\' + name,
                                (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0, &fileRights});
    } while (FindNextFileW(search.get(), &data));
    return children;
}

std::vector<std::wstring> realSubkeys(const Object& object)
{
    constexpr DWORD longest = 256; // of a key name, with its terminator
    std::vector<std::wstring> names;
    owned::RegistryKey key;
    if (openRealKey(object, KEY_ENUMERATE_SUB_KEYS, key) != ERROR_SUCCESS)
        return names;
    wchar_t name[longest];
    DWORD size = longest;
    while (RegEnumKeyExW(key.get(), static_cast<DWORD>(names.size()), name, &size, nullptr, nullptr, nullptr,
                         nullptr) == ERROR_SUCCESS) {
        names.emplace_back(name, size);
        size = longest;
    }
    return names;
}

std::vector<Object> keysBelow(World& world, const Object& object)
{
    std::set<std::wstring, NoCase> names;
    for (const std::wstring& name : world.registry().subkeys(*object.node, object.real))
        names.insert(name);
    if (object.node->readsMachine)
        for (const std::wstring& name : realSubkeys(object))
            names.insert(name);
    std::vector<Object> children;
    for (const std::wstring& name : names) {
        const Object child = keyAt(*object.node, object.real.empty() ? name : object.real + L'\\' + name);
        if (!object.node->gone.count(child.name) || world.registry().hasKey(*object.node, child.real))
            children.push_back(child);
    }
    return children;
}

} // namespace

DWORD openRealKey(const Object& object, REGSAM access, owned::RegistryKey& key)
{
    HKEY opened = nullptr;
    std::wstring below;
    const HKEY root = realRoot(object.real, below);
    const LSTATUS status = RegOpenKeyExW(root, below.c_str(), 0, access, &opened);
    if (status == ERROR_SUCCESS)
        key.reset(opened);
    return static_cast<DWORD>(status);
}

bool isFile(const Object& object)
{
    return object.rights == &fileRights;
}

DWORD fileObject(World& world, const std::wstring& name, Object& object)
{
    File file;
    if (const DWORD error = locate(world, name, file))
        return error;
    const DWORD attributes = GetFileAttributesW(file.real.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES)
        return GetLastError();
    const std::wstring real = file.real == name ? file.path : file.real;
    object = {file.node, filePrefix + file.path, real, (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0, &fileRights};
    Object parent;
    if (parentOf(object, parent)) { // a link is an object of its own, what lies below it is not
        const std::wstring path = firstNameOf(*file.node, {parent.real, parent.name.substr(wcslen(filePrefix))});
        object.name.erase(0, object.name.rfind(L'\\') + 1);
        object.name.insert(0, filePrefix + path + (path.back() == L'\\' ? L"" : L"\\"));
    }
    return ERROR_SUCCESS;
}

DWORD keyObject(World& world, const std::wstring& name, Object& object)
{
    const bool remote = name.compare(0, 2, L"\\\\") == 0;
    const size_t begin = remote ? std::min(name.find(L'\\', 2), name.size() - 1) + 1 : 0;
    Node* const node = world.find(remote ? name.substr(0, begin - 1).c_str() : nullptr);
    const size_t end = std::min(name.find(L'\\', begin), name.size());
    if (!node)
        return ERROR_BAD_NETPATH;
    const std::wstring rootName = name.substr(begin, end - begin);
    const std::wstring below = end < name.size() ? name.substr(end + 1) : L"";
    for (const auto& root : roots) {
        std::wstring path;
        const bool reachable = root.key == HKEY_LOCAL_MACHINE || root.key == HKEY_USERS || !remote;
        if (!reachable || !sameName(rootName, root.name) || !pathOf(root.key, *node, path))
            continue;
        object = keyAt(*node, path.empty() || below.empty() ? path + below : path + L'\\' + below);
        return object.real.empty() || world.registry().hasKey(*node, object.real) ? ERROR_SUCCESS
                                                                                  : ERROR_FILE_NOT_FOUND;
    }
    return ERROR_INVALID_PARAMETER;
}

Object keyAt(Node& node, const std::wstring& path)
{
    return {&node, keyName(path), path, true, &keyRights};
}

bool parentOf(const Object& object, Object& parent)
{
    const size_t separator = object.name.rfind(L'\\');
    if (separator == std::wstring::npos || separator + 1 == object.name.size())
        return false;
    parent = object;
    parent.container = true;
    parent.name = above(object.name);
    parent.real = above(object.real);
    return true;
}

std::vector<Object> childrenOf(World& world, const Object& object)
{
    if (!object.container)
        return {};
    return isFile(object) ? filesBelow(object) : keysBelow(world, object);
}

} // namespace whatif
