// The machine around the library: its release and name, and what it loads at run time.
// Codes: GetVersionEx, GetComputerName, LoadLibrary, GetProcAddress, NetIsServiceAccount, NetQueryServiceAccount.
#include "whatif/model/names.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/spelling.h"

#include <lm.h>

namespace whatif {

namespace {

// `Extended` begins with the fields of `Info` and has the product's type among the others.
template <class Extended, class Info, BOOL(WINAPI* real)(Info*)>
BOOL WINAPI getVersionEx(Info* info)
{
    if (!real(info))
        return FALSE;
    Locked world;
    const Node& node = world->local();
    info->dwMajorVersion = node.major;
    info->dwMinorVersion = node.minor;
    if (info->dwOSVersionInfoSize >= sizeof(Extended))
        reinterpret_cast<Extended*>(info)->wProductType = node.productType;
    return TRUE;
}

BOOL WINAPI getComputerName(LPWSTR buffer, LPDWORD size)
{
    Locked world;
    const std::wstring& name = world->local().name;
    if (!buffer || *size <= name.size()) {
        *size = static_cast<DWORD>(name.size() + 1);
        return failWith(ERROR_BUFFER_OVERFLOW);
    }
    name.copy(buffer, name.size());
    buffer[name.size()] = L'\0';
    *size = static_cast<DWORD>(name.size());
    return TRUE;
}

// ---- managed service accounts, resolved at run time --------------------------------------------------------------

constexpr DWORD installed = 5;                                       // MsaInfoInstalled
constexpr NTSTATUS notSupported = static_cast<NTSTATUS>(0xC00000BB); // STATUS_NOT_SUPPORTED

// The function of the real machine; NULL where it is missing. The library stays loaded.
template <class Function>
Function* machineFunction(const char* library, const char* name)
{
    const HMODULE module = LoadLibraryA(library);
    return module ? reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name))) : nullptr;
}

// The name of a managed account may be given without its "$".
const Account* accountOf(const Node& node, const std::wstring& text)
{
    for (const std::wstring& spelling : {text, text + L"$"})
        if (const auto name = resolve(node, spelling))
            for (const Account& account : node.accounts)
                if (account.sid == name->sid)
                    return &account;
    return nullptr;
}

NTSTATUS WINAPI isServiceAccount(LPWSTR server, LPWSTR name, BOOL* answer)
{
    Locked world;
    const Node& node = world->local();
    const Account* const account = accountOf(node, textOrEmpty(name));
    // A state of its own other than that of an installed account means that it is not in this computer's store.
    *answer = account && account->managed && (account->managedState == 0 || account->managedState == installed);
    if (account || !node.readsMachine)
        return 0;
    auto* const real = machineFunction<decltype(isServiceAccount)>("Logoncli.dll", "NetIsServiceAccount");
    return real ? real(server, name, answer) : notSupported;
}

NTSTATUS WINAPI queryServiceAccount(LPWSTR server, LPWSTR name, DWORD level, PBYTE* info)
{
    Locked world;
    *info = nullptr;
    const Node& node = world->local();
    const Account* const account = accountOf(node, textOrEmpty(name));
    if (!account && node.readsMachine) {
        auto* const real = machineFunction<decltype(queryServiceAccount)>("Netapi32.dll", "NetQueryServiceAccount");
        return real ? real(server, name, level, info) : notSupported;
    }
    if (level != 0 || !account || account->managedState == 0)
        return notSupported;
    void* buffer = nullptr;
    if (NetApiBufferAllocate(sizeof(DWORD), &buffer) != NERR_Success)
        return static_cast<NTSTATUS>(0xC0000017); // STATUS_NO_MEMORY
    *static_cast<DWORD*>(buffer) = account->managedState;
    *info = static_cast<PBYTE>(buffer);
    return 0;
}

// The libraries that the node stands in for. Their handles are the addresses of their rows.
struct RunTimeLibrary
{
    const wchar_t* library;
    const wchar_t* name;
    const char* function;
    Replacement standIn;
};

const RunTimeLibrary* runTimeLibraries()
{
    static const RunTimeLibrary rows[] = {{L"Logoncli.dll", L"NetIsServiceAccount", "NetIsServiceAccount",
                                           returningStatus<&isServiceAccount>("NetIsServiceAccount")},
                                          {L"Netapi32.dll", L"NetQueryServiceAccount", "NetQueryServiceAccount",
                                           returningStatus<&queryServiceAccount>("NetQueryServiceAccount")},
                                          {}};
    return rows;
}

const RunTimeLibrary* rowOf(HMODULE module)
{
    for (const RunTimeLibrary* row = runTimeLibraries(); row->library; ++row)
        if (reinterpret_cast<const void*>(module) == row)
            return row;
    return nullptr;
}

HMODULE WINAPI loadLibrary(LPCSTR name)
{
    Locked world;
    const Node& node = world->local();
    for (const RunTimeLibrary* row = runTimeLibraries(); row->library; ++row) {
        if (!sameName(row->library, wide(name)))
            continue;
        if (node.missing.count(row->library) || (node.readsMachine && !LoadLibraryA(name)))
            return failWith<HMODULE>(ERROR_MOD_NOT_FOUND);
        return reinterpret_cast<HMODULE>(const_cast<RunTimeLibrary*>(row));
    }
    return LoadLibraryA(name);
}

FARPROC WINAPI getProcAddress(HMODULE module, LPCSTR name)
{
    const RunTimeLibrary* const row = rowOf(module);
    if (!row)
        return GetProcAddress(module, name);
    Locked world;
    const Node& node = world->local();
    const bool known = !IS_INTRESOURCE(name) && strcmp(name, row->function) == 0;
    if (!known || node.missing.count(row->name) ||
        (node.readsMachine && !GetProcAddress(GetModuleHandleW(row->library), name)))
        return failWith<FARPROC>(ERROR_PROC_NOT_FOUND);
    return reinterpret_cast<FARPROC>(row->standIn.function);
}

BOOL WINAPI freeLibrary(HMODULE module)
{
    return rowOf(module) ? TRUE : FreeLibrary(module);
}

} // namespace

std::vector<Replacement> kernelReplacements()
{
    return {settingLastError<&getVersionEx<OSVERSIONINFOEXA, OSVERSIONINFOA, &GetVersionExA>>("GetVersionExA"),
            settingLastError<&getVersionEx<OSVERSIONINFOEXW, OSVERSIONINFOW, &GetVersionExW>>("GetVersionExW"),
            settingLastError<&getComputerName>("GetComputerNameW"),
            settingLastError<&loadLibrary>("LoadLibraryA"),
            settingLastError<&getProcAddress>("GetProcAddress"),
            settingLastError<&freeLibrary>("FreeLibrary")};
}

} // namespace whatif
