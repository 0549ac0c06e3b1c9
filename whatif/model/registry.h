// The registries of the nodes. Each node's HKEY_LOCAL_MACHINE is a volatile scratch key of the real registry, and so
// is its HKEY_USERS, below a root of the world's own that is removed with it, so that the platform itself does what a
// registry does: types, sizes, handles, text conversion. On a node that reads this machine a key is copied when it is
// first touched; what was deleted there stays deleted.
//
// A node's registry goes by the node's name, and is empty but for what every Windows has. Paths are relative to
// HKEY_LOCAL_MACHINE ("SOFTWARE\\Kestel\\KEY_h1"), or begin with "HKU" for HKEY_USERS ("HKU\\S-1-5-18"); neither paths
// nor names regard case.
#pragma once

#include "whatif/model/registry_value.h"
#include "whatif/spelling.h"

#include <map>
#include <memory>
#include <optional>

namespace whatif {

// The path of a predefined key: HKEY_CLASSES_ROOT is a part of HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER the part of
// HKEY_USERS that is the caller's. False for another root.
bool pathOf(HKEY predefined, const Node& node, std::wstring& path);

// "registry HKLM\\SOFTWARE\\Kestel", "registry HKU\\S-1-5-18": the name of a key as an object of its node.
std::wstring keyName(const std::wstring& path);

// What one of this machine's keys goes by, and its predefined key.
HKEY realRoot(const std::wstring& path, std::wstring& below);

class Registry
{
public:
    Registry();
    ~Registry();
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

    // For descriptions and tests: nothing is recorded in the plan. Missing keys are made; a failure throws.
    void createKey(const Node& node, const std::wstring& path);
    void setValue(const Node& node, const std::wstring& path, const std::wstring& name, const RegistryValue& value);

    bool hasKey(const Node& node, const std::wstring& path);
    std::optional<RegistryValue> value(const Node& node, const std::wstring& path, const std::wstring& name);

    // The node's keys of another registry, which become its own here.
    void take(const Node& node, const Registry& other);

    // What the node itself holds, in the order of the registry; nothing is read from this machine.
    std::vector<std::wstring> subkeys(const Node& node, const std::wstring& path) const;
    std::map<std::wstring, RegistryValue, NoCase> values(const Node& node, const std::wstring& path) const;

    // For the replacement functions: a key of a node, and its path as it was opened.
    struct Place
    {
        Node* node = nullptr;
        std::wstring path;
    };
    // Win32 error codes. The caller closes the keys.
    LSTATUS open(const Place& place, REGSAM access, HKEY& key);
    LSTATUS create(const Place& place, REGSAM access, const wchar_t* className, HKEY& key,
                   std::vector<std::wstring>& created); // paths of the keys that were not there
    LSTATUS remove(const Place& place);

private:
    void takeBelow(const Node& node, const std::wstring& path, const Registry& other);
    LSTATUS touch(const Node& node, const std::wstring& path);

    struct State;
    std::unique_ptr<State> state_;
};

} // namespace whatif
