#include "whatif/model/registry.h"

#include "frame/owned.h"
#include "whatif/model/names.h"
#include "whatif/spelling.h"

#include <algorithm>
#include <atomic>
#include <set>
#include <sstream>
#include <stdexcept>

namespace whatif {

namespace {

// Each world has a root of its own, "keswsec-what-if-<process id>-<start of the process>-<number>", which no other one
// has had or will have: process ids are used again, but not for a process of the same start.
constexpr wchar_t rootsIn[] = L"Software";
constexpr wchar_t rootPrefix[] = L"keswsec-what-if-";

// Every Windows has it, so that its making would only clutter the plan of a described node. The log is a source of its
// own too, and with a key below it cannot be deleted.
constexpr wchar_t standardKey[] = L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\Application";

constexpr wchar_t users[] = L"HKU";
constexpr wchar_t classes[] = L"SOFTWARE\\Classes";

bool isBelow(const std::wstring& path, const std::wstring& key)
{
    return sameName(path.substr(0, key.size()), key) && (path.size() == key.size() || path[key.size()] == L'\\');
}

using Key = owned::RegistryKey;

LSTATUS openKey(HKEY root, const std::wstring& path, REGSAM access, Key& key)
{
    HKEY opened = nullptr;
    const LSTATUS status = RegOpenKeyExW(root, path.c_str(), 0, access, &opened);
    key.reset(status == ERROR_SUCCESS ? opened : nullptr);
    return status;
}

// Everything below a volatile key has to be volatile, whatever the caller asked for.
LSTATUS makeKey(HKEY root, const std::wstring& path, const wchar_t* className, Key& key)
{
    HKEY made = nullptr;
    const LSTATUS status = RegCreateKeyExW(root, path.c_str(), 0, const_cast<LPWSTR>(className), REG_OPTION_VOLATILE,
                                           KEY_ALL_ACCESS, nullptr, &made, nullptr);
    key.reset(status == ERROR_SUCCESS ? made : nullptr);
    return status;
}

LSTATUS openReal(const std::wstring& path, Key& key)
{
    std::wstring below;
    const HKEY root = realRoot(path, below);
    return openKey(root, below, KEY_READ, key);
}

void require(LSTATUS status)
{
    if (status != ERROR_SUCCESS)
        throw std::runtime_error("the scratch registry failed with error " + std::to_string(status));
}

std::vector<std::wstring> subkeyNames(HKEY key)
{
    constexpr DWORD longest = 256; // of a key name, with its terminator
    std::vector<std::wstring> names;
    wchar_t name[longest];
    DWORD size = longest;
    while (RegEnumKeyExW(key, static_cast<DWORD>(names.size()), name, &size, nullptr, nullptr, nullptr, nullptr) ==
           ERROR_SUCCESS) {
        names.emplace_back(name, size);
        size = longest;
    }
    return names;
}

std::optional<RegistryValue> readValue(HKEY key, const std::wstring& name)
{
    RegistryValue value;
    DWORD size = 0;
    if (RegQueryValueExW(key, name.c_str(), nullptr, &value.type, nullptr, &size) != ERROR_SUCCESS)
        return std::nullopt;
    value.data.resize(size);
    if (RegQueryValueExW(key, name.c_str(), nullptr, &value.type, value.data.data(), &size) != ERROR_SUCCESS)
        return std::nullopt;
    return value;
}

std::map<std::wstring, RegistryValue, NoCase> readValues(HKEY key)
{
    constexpr DWORD longest = 16384; // of a value name, with its terminator
    std::map<std::wstring, RegistryValue, NoCase> values;
    std::vector<wchar_t> name(longest);
    DWORD size = longest;
    for (DWORD i = 0; RegEnumValueW(key, i, name.data(), &size, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++i) {
        const std::wstring text(name.data(), size);
        if (const auto value = readValue(key, text))
            values[text] = *value;
        size = longest;
    }
    return values;
}

LSTATUS writeValue(HKEY key, const std::wstring& name, const RegistryValue& value)
{
    return RegSetValueExW(key, name.c_str(), 0, value.type, value.data.data(), static_cast<DWORD>(value.data.size()));
}

// The path of every key from the root down to the path itself.
std::vector<std::wstring> stepsTo(const std::wstring& path)
{
    std::vector<std::wstring> steps;
    for (size_t end = path.find(L'\\'); end != std::wstring::npos; end = path.find(L'\\', end + 1))
        steps.push_back(path.substr(0, end));
    if (!path.empty() && path.back() != L'\\')
        steps.push_back(path);
    return steps;
}

ULONGLONG startOf(HANDLE process)
{
    FILETIME start = {};
    FILETIME others[3];
    GetProcessTimes(process, &start, &others[0], &others[1], &others[2]);
    return static_cast<ULONGLONG>(start.dwHighDateTime) << 32 | start.dwLowDateTime;
}

// One that may not be looked at has not ended.
bool hasEnded(DWORD processId, ULONGLONG start)
{
    const owned::Handle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, processId));
    if (!process)
        return GetLastError() == ERROR_INVALID_PARAMETER;
    return WaitForSingleObject(process.get(), 0) == WAIT_OBJECT_0 || startOf(process.get()) != start;
}

// Removes what processes have left that did not come to their end.
void removeLeftRoots()
{
    Key software;
    if (openKey(HKEY_CURRENT_USER, rootsIn, KEY_ALL_ACCESS, software) != ERROR_SUCCESS)
        return;
    const std::wstring prefix = rootPrefix;
    for (const std::wstring& name : subkeyNames(software.get())) {
        DWORD processId = 0;
        ULONGLONG start = 0;
        wchar_t dash = 0;
        if (name.compare(0, prefix.size(), prefix) == 0 &&
            std::wistringstream(name.substr(prefix.size())) >> processId >> dash >> start && hasEnded(processId, start))
            RegDeleteTreeW(software.get(), name.c_str());
    }
}

std::wstring usersKey(const Node& node)
{
    return std::wstring(users) + L'\\' + callerSid(node);
}

} // namespace

bool pathOf(HKEY predefined, const Node& node, std::wstring& path)
{
    const bool known = predefined == HKEY_LOCAL_MACHINE || predefined == HKEY_CLASSES_ROOT ||
                       predefined == HKEY_USERS || predefined == HKEY_CURRENT_USER;
    if (predefined == HKEY_CLASSES_ROOT)
        path = classes;
    else if (predefined == HKEY_USERS)
        path = users;
    else if (predefined == HKEY_CURRENT_USER)
        path = usersKey(node);
    else
        path.clear();
    return known;
}

std::wstring keyName(const std::wstring& path)
{
    if (isBelow(path, users))
        return L"registry " + path;
    return path.empty() ? L"registry HKLM" : L"registry HKLM\\" + path;
}

HKEY realRoot(const std::wstring& path, std::wstring& below)
{
    const bool isUsers = isBelow(path, users);
    below = isUsers ? path.substr(std::min(path.size(), wcslen(users) + 1)) : path;
    return isUsers ? HKEY_USERS : HKEY_LOCAL_MACHINE;
}

struct Registry::State
{
    std::wstring path; // of the root, in HKEY_CURRENT_USER
    Key root;
    std::set<std::wstring, NoCase> begun; // the nodes, by their names, that have a key there

    std::wstring under(const Node& node, const std::wstring& key) const
    {
        if (isBelow(key, users))
            return node.name + L':' + key; // no node's name has a colon
        return key.empty() ? node.name : node.name + L'\\' + key;
    }
};

Registry::Registry() : state_(std::make_unique<State>())
{
    static std::atomic<unsigned> count;
    const unsigned number = ++count;
    if (number == 1)
        removeLeftRoots();
    std::wostringstream path;
    path << rootsIn << L'\\' << rootPrefix << GetCurrentProcessId() << L'-' << startOf(GetCurrentProcess()) << L'-'
         << number;
    state_->path = path.str();
    require(makeKey(HKEY_CURRENT_USER, state_->path, nullptr, state_->root));
}

Registry::~Registry()
{
    state_->root.reset();
    RegDeleteTreeW(HKEY_CURRENT_USER, state_->path.c_str());
}

// Makes the key and those above it stand in the scratch key, if this machine has them and the node did not delete them.
LSTATUS Registry::touch(const Node& node, const std::wstring& path)
{
    Key key;
    if (state_->begun.insert(node.name).second)
        require(makeKey(state_->root.get(), state_->under(node, node.readsMachine ? L"" : standardKey), nullptr, key));
    if (!node.readsMachine) {
        if (isBelow(path, users))
            require(makeKey(state_->root.get(), state_->under(node, usersKey(node)), nullptr, key));
        else if (isBelow(path, classes))
            require(makeKey(state_->root.get(), state_->under(node, classes), nullptr, key));
        return ERROR_SUCCESS;
    }
    for (const std::wstring& step : stepsTo(path)) {
        if (openKey(state_->root.get(), state_->under(node, step), KEY_READ, key) == ERROR_SUCCESS)
            continue;
        Key real;
        const LSTATUS status = node.gone.count(keyName(step)) ? ERROR_FILE_NOT_FOUND : openReal(step, real);
        if (status != ERROR_SUCCESS)
            return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
        require(makeKey(state_->root.get(), state_->under(node, step), nullptr, key));
        for (const auto& [name, value] : readValues(real.get()))
            require(writeValue(key.get(), name, value));
    }
    return ERROR_SUCCESS;
}

void Registry::createKey(const Node& node, const std::wstring& path)
{
    Key key;
    require(touch(node, path));
    require(makeKey(state_->root.get(), state_->under(node, path), nullptr, key));
}

void Registry::setValue(const Node& node, const std::wstring& path, const std::wstring& name,
                        const RegistryValue& value)
{
    Key key;
    require(touch(node, path));
    require(makeKey(state_->root.get(), state_->under(node, path), nullptr, key));
    require(writeValue(key.get(), name, value));
}

void Registry::take(const Node& node, const Registry& other)
{
    if (other.state_->begun.count(node.name) && state_->begun.insert(node.name).second)
        for (const wchar_t* const top : {L"", users})
            if (!other.subkeys(node, top).empty())
                takeBelow(node, top, other);
}

void Registry::takeBelow(const Node& node, const std::wstring& path, const Registry& other)
{
    Key key;
    require(makeKey(state_->root.get(), state_->under(node, path), nullptr, key));
    for (const auto& [name, value] : other.values(node, path))
        require(writeValue(key.get(), name, value));
    for (const std::wstring& name : other.subkeys(node, path))
        takeBelow(node, path.empty() ? name : path + L'\\' + name, other);
}

bool Registry::hasKey(const Node& node, const std::wstring& path)
{
    Key key;
    require(touch(node, path));
    return openKey(state_->root.get(), state_->under(node, path), KEY_READ, key) == ERROR_SUCCESS;
}

std::optional<RegistryValue> Registry::value(const Node& node, const std::wstring& path, const std::wstring& name)
{
    Key key;
    require(touch(node, path));
    if (openKey(state_->root.get(), state_->under(node, path), KEY_READ, key) != ERROR_SUCCESS)
        return std::nullopt;
    return readValue(key.get(), name);
}

std::vector<std::wstring> Registry::subkeys(const Node& node, const std::wstring& path) const
{
    Key key;
    return openKey(state_->root.get(), state_->under(node, path), KEY_READ, key) == ERROR_SUCCESS
               ? subkeyNames(key.get())
               : std::vector<std::wstring>();
}

std::map<std::wstring, RegistryValue, NoCase> Registry::values(const Node& node, const std::wstring& path) const
{
    Key key;
    return openKey(state_->root.get(), state_->under(node, path), KEY_READ, key) == ERROR_SUCCESS
               ? readValues(key.get())
               : std::map<std::wstring, RegistryValue, NoCase>();
}

LSTATUS Registry::open(const Place& place, REGSAM access, HKEY& key)
{
    if (const LSTATUS status = touch(*place.node, place.path))
        return status;
    return RegOpenKeyExW(state_->root.get(), state_->under(*place.node, place.path).c_str(), 0, access, &key);
}

LSTATUS Registry::create(const Place& place, REGSAM access, const wchar_t* className, HKEY& key,
                         std::vector<std::wstring>& created)
{
    if (const LSTATUS status = touch(*place.node, place.path))
        return status;
    for (const std::wstring& step : stepsTo(place.path)) {
        const std::wstring path = state_->under(*place.node, step);
        Key made;
        if (openKey(state_->root.get(), path, KEY_READ, made) == ERROR_SUCCESS)
            continue;
        if (const LSTATUS status = makeKey(state_->root.get(), path, className, made))
            return status;
        created.push_back(step);
    }
    return open(place, access, key);
}

LSTATUS Registry::remove(const Place& place)
{
    Key key;
    if (const LSTATUS status = touch(*place.node, place.path))
        return status;
    const std::wstring path = state_->under(*place.node, place.path);
    if (const LSTATUS status = openKey(state_->root.get(), path, KEY_READ, key))
        return status;
    // A key with subkeys cannot be deleted; those that this machine has count as well.
    Key real;
    bool hasSubkeys = !subkeyNames(key.get()).empty();
    if (place.node->readsMachine && openReal(place.path, real) == ERROR_SUCCESS)
        for (const std::wstring& name : subkeyNames(real.get()))
            hasSubkeys = hasSubkeys || !place.node->gone.count(keyName(place.path + L'\\' + name));
    if (hasSubkeys || place.path.empty())
        return ERROR_ACCESS_DENIED;
    key.reset();
    const LSTATUS status = RegDeleteKeyW(state_->root.get(), path.c_str());
    if (status == ERROR_SUCCESS && real)
        place.node->gone.insert(keyName(place.path));
    return status;
}

} // namespace whatif
