#include "tests/support/this_machine.h"

#include "cli/text.h"
#include "frame/owned.h"
#include "journal/platform.h"
#include "whatif/machine/groups.h"
#include "whatif/model/sids.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <vector>

namespace support {

namespace {

const char whatIsMade[] =
    "The tests make on this machine, and remove again, whatever happens:\n"
    "  local users, local groups and services that are called kwt-PROCESSID-..., the users' account rights,\n"
    "  a source kwt-... of the application event log,\n"
    "  registry keys HKEY_LOCAL_MACHINE\\Software\\kwt-... and "
    "HKEY_LOCAL_MACHINE\\Software\\Kestel\\KEY_keswsec_test,\n"
    "  volatile registry keys HKEY_CURRENT_USER\\Software\\keswsec-what-if-...,\n"
    "  directories kwt-... in the directory for temporary files.\n"
    "No service is started, and nothing else is changed. Say --on-this-machine if that is agreed.\n";

bool isAdministrator()
{
    std::vector<BYTE> administrators = whatif::sidBytes(L"S-1-5-32-544");
    BOOL member = FALSE;
    return CheckTokenMembership(nullptr, administrators.data(), &member) && member;
}

std::wstring registryText(const wchar_t* path, const wchar_t* value)
{
    wchar_t text[64] = {};
    DWORD size = sizeof text;
    RegGetValueW(HKEY_LOCAL_MACHINE, path, value, RRF_RT_REG_SZ, nullptr, text, &size);
    return text;
}

std::wstring productType() // of a domain controller "LanmanNT"
{
    return registryText(L"SYSTEM\\CurrentControlSet\\Control\\ProductOptions", L"ProductType");
}

using Names = std::vector<std::wstring>;

Names users()
{
    USER_INFO_0* block = nullptr;
    DWORD read = 0;
    DWORD total = 0;
    Names names;
    if (NetUserEnum(nullptr, 0, FILTER_NORMAL_ACCOUNT, reinterpret_cast<BYTE**>(&block), MAX_PREFERRED_LENGTH, &read,
                    &total, nullptr) == NERR_Success)
        std::transform(block, block + read, std::back_inserter(names),
                       [](const auto& user) { return user.usri0_name; });
    NetApiBufferFree(block);
    return names;
}

Names subkeys(const wchar_t* path)
{
    Names names;
    owned::RegistryKey key;
    HKEY opened = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &opened) == ERROR_SUCCESS)
        key.reset(opened);
    wchar_t name[256];
    while (key && RegEnumKeyW(opened, static_cast<DWORD>(names.size()), name, 256) == ERROR_SUCCESS)
        names.emplace_back(name);
    return names;
}

DWORD removeRightsOf(const std::wstring& account)
{
    const journal::Machine machine = journal::thisMachine();
    std::vector<BYTE> sid = whatif::sidBytes(machine.sidOf(machine.name, account));
    if (sid.empty())
        return ERROR_NONE_MAPPED;
    LSA_OBJECT_ATTRIBUTES attributes = {};
    LSA_HANDLE policy = nullptr;
    NTSTATUS status = LsaOpenPolicy(nullptr, &attributes, POLICY_LOOKUP_NAMES, &policy);
    if (status >= 0) {
        status = LsaRemoveAccountRights(policy, sid.data(), TRUE, nullptr, 0);
        LsaClose(policy);
    }
    const DWORD error = LsaNtStatusToWinError(status);
    return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error; // it had none
}

DWORD removeUser(const std::wstring& name)
{
    const DWORD error = removeRightsOf(name);
    const DWORD removed = NetUserDel(nullptr, name.c_str());
    return removed ? removed : error;
}

DWORD removeService(const std::wstring& name)
{
    const owned::ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    const owned::ServiceHandle service(OpenServiceW(manager.get(), name.c_str(), DELETE));
    return service && DeleteService(service.get()) ? ERROR_SUCCESS : GetLastError();
}

constexpr wchar_t software[] = L"Software\\";
constexpr wchar_t eventSources[] = L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\";

template <const wchar_t* parent>
DWORD removeKey(const std::wstring& name)
{
    return static_cast<DWORD>(RegDeleteTreeW(HKEY_LOCAL_MACHINE, (parent + name).c_str()));
}

} // namespace

bool isWine()
{
    static const bool wine = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version");
    return wine;
}

std::string release()
{
    constexpr wchar_t path[] = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
    return cli::utf8FromWide(L"Windows build " + registryText(path, L"CurrentBuildNumber") + L", " +
                             registryText(path, L"EditionID") + L", " + productType());
}

std::wstring machineName(const std::wstring& rest)
{
    const std::wstring id = std::to_wstring(GetCurrentProcessId());
    return machinePrefix + std::wstring(std::max<size_t>(id.size(), 8) - id.size(), L'0') + id + L"-" + rest;
}

std::string reasonNotToTest(bool agreed)
{
    if (!agreed)
        return whatIsMade;
    if (productType() == L"LanmanNT")
        return "The accounts of a domain controller are those of its domain: not tested here.\n";
    return isAdministrator() ? "" : "It takes an administrator: start it from an elevated command prompt.\n";
}

std::string removeLeftovers(Whose whose)
{
    namespace fs = std::filesystem;
    const std::wstring prefix = whose == Whose::ours ? machineName(L"") : machinePrefix;
    std::string said;
    const auto each = [&](const char* kind, const Names& names,
                          const std::function<DWORD(const std::wstring&)>& remove) {
        for (const std::wstring& name : names) {
            if (name.rfind(prefix, 0) != 0)
                continue;
            const DWORD error = remove(name);
            said += kind + (" " + cli::utf8FromWide(name)) +
                    (error ? " cannot be removed, error " + std::to_string(error) : std::string(" removed")) + "\n";
        }
    };
    each("user", users(), removeUser);
    each("group", whatif::machineGroupNames(),
         [](const std::wstring& name) { return NetLocalGroupDel(nullptr, name.c_str()); });
    each("service", subkeys(L"SYSTEM\\CurrentControlSet\\Services"), removeService);
    each("key", subkeys(software), removeKey<software>);
    each("event source", subkeys(eventSources), removeKey<eventSources>);
    Names directories;
    for (const fs::directory_entry& entry : fs::directory_iterator(fs::temp_directory_path()))
        directories.push_back(entry.path().filename().wstring());
    each("directory", directories, [](const std::wstring& name) {
        std::error_code error;
        fs::remove_all(fs::temp_directory_path() / name, error);
        return static_cast<DWORD>(error.value());
    });
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, "Software\\Kestel\\KEY_keswsec_test");
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, "Software\\Kestel"); // stays when other homes are registered
    if (whose == Whose::everyones)
        whatif::World(whatif::Base::described); // removes the registries of nodes whose processes have ended
    return said;
}

} // namespace support
