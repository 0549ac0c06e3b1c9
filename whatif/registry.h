// The registries of the nodes. Each node's HKEY_LOCAL_MACHINE is a volatile scratch key of the real registry, removed
// at the end, so that the platform itself does what a registry does: types, sizes, handles, text conversion. A node
// that reads this machine has a key copied on the first touch; what was deleted on it stays deleted.
//
// Paths are relative to HKEY_LOCAL_MACHINE ("SOFTWARE\\Kestel\\KEY_h1"); neither paths nor names regard case.
#pragma once

#include "whatif/node.h"

#include <memory>
#include <optional>

namespace whatif {

struct RegistryValue
{
    DWORD type = REG_NONE;
    std::vector<BYTE> data;

    bool operator==(const RegistryValue& other) const { return type == other.type && data == other.data; }
};

RegistryValue registryText(const std::wstring& text, DWORD type = REG_SZ); // with its terminator
RegistryValue registryNumber(DWORD number);

// As descriptions and the plan show a value: the text itself, "expand:text", "dword:7", "hex(3):01,02". Exact both
// ways.
std::wstring textOf(const RegistryValue& value);
RegistryValue registryValueOf(const std::wstring& text); // throws std::runtime_error

class Registry
{
public:
    Registry();
    ~Registry();
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

    // For descriptions and tests: no access checks, nothing recorded in the plan. Missing keys are made.
    void createKey(const Node& node, const std::wstring& path);
    void setValue(const Node& node, const std::wstring& path, const std::wstring& name, const RegistryValue& value);
    bool hasKey(const Node& node, const std::wstring& path);
    std::optional<RegistryValue> value(const Node& node, const std::wstring& path, const std::wstring& name);
    // What the node itself holds, sorted by name.
    std::vector<std::wstring> subkeys(const Node& node, const std::wstring& path);
    std::map<std::wstring, RegistryValue, NoCase> values(const Node& node, const std::wstring& path);

    // For the replacement functions. A key of a node that was handed out to the library:
    struct Place
    {
        Node* node;
        std::wstring path; // as it was opened, for the plan
    };
    // Win32 error codes; a key that is handed out is forgotten by `forget`.
    LSTATUS open(const Place& place, REGSAM access, HKEY& key);
    LSTATUS create(const Place& place, REGSAM access, const wchar_t* className, HKEY& key, DWORD& disposition);
    LSTATUS remove(const Place& place);
    const Place* placeOf(HKEY key) const; // NULL: not one of ours
    void forget(HKEY key);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace whatif
