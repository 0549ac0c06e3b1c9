// Registry keys, their values, their security.
#include "journal/kinds.h"

#include "journal/descriptor.h"
#include "whatif/model/registry_value.h"

namespace journal {

namespace {

constexpr wchar_t valuePart[] = L"value ";

// The predefined key of a node that a key lies below, and its path there.
class Root
{
public:
    Root(const Machine& machine, const Change& what) : platform_(machine.platform)
    {
        const std::wstring name = nameOf(what.object);
        const size_t separator = std::min(name.find(L'\\'), name.size());
        handle = name.compare(0, separator, L"HKU") == 0 ? HKEY_USERS : HKEY_LOCAL_MACHINE;
        path = name.substr(std::min(separator + 1, name.size()));
        std::wstring server;
        if (const wchar_t* const other = machine.server(what.node, server)) {
            status = platform_.RegConnectRegistryW(other, handle, &handle);
            isConnected_ = status == ERROR_SUCCESS;
        }
    }
    ~Root()
    {
        if (isConnected_)
            platform_.RegCloseKey(handle);
    }
    Root(const Root&) = delete;
    Root& operator=(const Root&) = delete;

    HKEY handle = nullptr;
    std::wstring path;
    LSTATUS status = ERROR_SUCCESS;

private:
    const Platform& platform_;
    bool isConnected_ = false;
};

class Key
{
public:
    Key(const Machine& machine, const Change& what, REGSAM access, bool isToBeMade = false)
        : platform_(machine.platform)
    {
        const Root root(machine, what);
        status = root.status;
        if (status == ERROR_SUCCESS)
            status = isToBeMade ? platform_.RegCreateKeyExW(root.handle, root.path.c_str(), 0, nullptr, 0, access,
                                                            nullptr, &handle, nullptr)
                                : platform_.RegOpenKeyExW(root.handle, root.path.c_str(), 0, access, &handle);
    }
    ~Key()
    {
        if (handle)
            platform_.RegCloseKey(handle);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    bool isMissing() const { return status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND; }
    std::wstring problem() const { return problemOf(L"RegOpenKeyExW", static_cast<DWORD>(status)); }

    LSTATUS status = ERROR_SUCCESS;
    HKEY handle = nullptr;

private:
    const Platform& platform_;
};

std::wstring done(const wchar_t* function, LSTATUS status)
{
    return status == ERROR_SUCCESS ? std::wstring() : problemOf(function, static_cast<DWORD>(status));
}

LSTATUS readValueOf(HKEY key, const std::wstring& name, whatif::RegistryValue& value)
{
    LSTATUS status = ERROR_MORE_DATA;
    DWORD size = 0;
    while (status == ERROR_MORE_DATA || (status == ERROR_SUCCESS && size > value.data.size())) {
        value.data.resize(size);
        status = RegQueryValueExW(key, name.c_str(), nullptr, &value.type, size ? value.data.data() : nullptr, &size);
    }
    value.data.resize(size);
    return status;
}

LSTATUS readContent(const Platform& platform, HKEY key, State::Parts& parts)
{
    constexpr DWORD longest = 16384; // of a value's name, with its terminator
    std::vector<wchar_t> name(longest);
    std::wstring subkeys;
    LSTATUS status = ERROR_SUCCESS;
    for (DWORD i = 0, size = longest;
         (status = RegEnumValueW(key, i, name.data(), &size, nullptr, nullptr, nullptr, nullptr)) == ERROR_SUCCESS;
         ++i, size = longest) {
        whatif::RegistryValue value;
        const std::wstring text(name.data(), size);
        if (const LSTATUS read = readValueOf(key, text, value))
            return read;
        parts.emplace_back(valuePart + text, whatif::textOf(value));
    }
    if (status != ERROR_NO_MORE_ITEMS)
        return status;
    for (DWORD i = 0, size = longest; (status = platform.RegEnumKeyExW(key, i, name.data(), &size, nullptr, nullptr,
                                                                       nullptr, nullptr)) == ERROR_SUCCESS;
         ++i, size = longest)
        subkeys += (subkeys.empty() ? L"" : L"\\") + std::wstring(name.data(), size);
    parts.emplace_back(L"subkeys", subkeys);
    return status == ERROR_NO_MORE_ITEMS ? ERROR_SUCCESS : status;
}

LSTATUS setText(const Machine& machine, HKEY key, const std::wstring& name, const std::wstring& text)
{
    const whatif::RegistryValue value = whatif::registryValueOf(text);
    return machine.platform.RegSetValueExW(key, name.c_str(), 0, value.type, value.data.data(),
                                           static_cast<DWORD>(value.data.size()));
}

} // namespace

Reading readKeySecurity(const Machine& machine, const Change& what)
{
    const Key key(machine, what, READ_CONTROL);
    if (key.status != ERROR_SUCCESS)
        return key.isMissing() ? Reading() : Reading{{}, key.problem()};
    return readDescriptor(L"RegGetKeySecurity", [&](BYTE* buffer, DWORD size, DWORD* needed) {
        *needed = size;
        return static_cast<DWORD>(machine.platform.RegGetKeySecurity(key.handle, partsToRead(what), buffer, needed));
    });
}

std::wstring writeKeySecurity(const Machine& machine, const Change& what, const State& found, const State& wanted)
{
    const Descriptor descriptor(found, wanted);
    const Key key(machine, what, descriptor.access());
    if (key.status != ERROR_SUCCESS)
        return key.problem();
    return done(L"RegSetKeySecurity",
                machine.platform.RegSetKeySecurity(key.handle, descriptor.parts(), descriptor.bytes()));
}

Reading readKey(const Machine& machine, const Change& what)
{
    const Key key(machine, what, KEY_READ);
    if (key.status != ERROR_SUCCESS)
        return key.isMissing() ? Reading() : Reading{{}, key.problem()};
    State::Parts parts;
    if (const LSTATUS status = readContent(machine.platform, key.handle, parts))
        return {{}, problemOf(L"RegEnumValueW", static_cast<DWORD>(status))};
    Reading security = readKeySecurity(machine, what);
    if (!security.problem.empty())
        return security;
    parts.emplace_back(L"security", security.state.text);
    return {parts, L""};
}

// What a key holds comes first and its security last, which may keep us out.
std::wstring writeKey(const Machine& machine, const Change& what, const State& /*found*/, const State& wanted)
{
    if (!wanted.there) {
        const Root root(machine, what);
        return done(L"RegDeleteKeyW",
                    root.status ? root.status : machine.platform.RegDeleteKeyW(root.handle, root.path.c_str()));
    }
    {
        const Key key(machine, what, KEY_READ | KEY_WRITE, true);
        if (key.status != ERROR_SUCCESS)
            return key.problem();
        for (const auto& [name, text] : wanted.parts)
            if (name.compare(0, wcslen(valuePart), valuePart) == 0)
                if (const LSTATUS status = setText(machine, key.handle, name.substr(wcslen(valuePart)), text))
                    return problemOf(L"RegSetValueExW", static_cast<DWORD>(status));
    }
    const std::wstring* const security = wanted.part(L"security");
    const Reading now = readKeySecurity(machine, what);
    if (!security || !now.problem.empty() || now.state.text == *security)
        return now.problem;
    return writeKeySecurity(machine, what, now.state, *security);
}

Reading readValue(const Machine& machine, const Change& what)
{
    const Key key(machine, what, KEY_QUERY_VALUE);
    if (key.status != ERROR_SUCCESS)
        return key.isMissing() ? Reading() : Reading{{}, key.problem()};
    whatif::RegistryValue value;
    const LSTATUS status = readValueOf(key.handle, what.attribute, value);
    if (status == ERROR_FILE_NOT_FOUND)
        return {};
    return status == ERROR_SUCCESS ? Reading{State(whatif::textOf(value)), L""}
                                   : Reading{{}, problemOf(L"RegQueryValueExW", static_cast<DWORD>(status))};
}

std::wstring writeValue(const Machine& machine, const Change& what, const State& /*found*/, const State& wanted)
{
    const Key key(machine, what, KEY_QUERY_VALUE | KEY_SET_VALUE);
    if (key.status != ERROR_SUCCESS)
        return key.problem();
    return wanted.there
               ? done(L"RegSetValueExW", setText(machine, key.handle, what.attribute, wanted.text))
               : done(L"RegDeleteValueW", machine.platform.RegDeleteValueW(key.handle, what.attribute.c_str()));
}

} // namespace journal
