#include "whatif/model/kernel_objects.h"

#include "whatif/security/entries.h"
#include "whatif/spelling.h"
#include "whatif/whatif.h"

#include <aclapi.h>

#include <algorithm>
#include <cwctype>

namespace whatif {

const wchar_t tokenOfThisProcess[] = L"token of this process";

namespace {

constexpr wchar_t tokenPrefix[] = L"token of ";

constexpr DWORD mutexQueryState = 1; // MUTANT_QUERY_STATE
constexpr DWORD readData = STANDARD_RIGHTS_READ;
constexpr DWORD writeData = STANDARD_RIGHTS_WRITE;
constexpr DWORD execute = STANDARD_RIGHTS_EXECUTE;

// What generic rights come to. A token's list keeps them, they mean what the new object's kind says.
struct KindRow
{
    const wchar_t* word;
    GENERIC_MAPPING rights;
};

const KindRow kinds[] = {
    {L"event", {readData | 1, writeData | EVENT_MODIFY_STATE, execute | SYNCHRONIZE, EVENT_ALL_ACCESS}},
    {L"mutex", {readData | mutexQueryState, writeData, execute | SYNCHRONIZE, MUTEX_ALL_ACCESS}},
    {L"semaphore", {readData | 1, writeData | SEMAPHORE_MODIFY_STATE, execute | SYNCHRONIZE, SEMAPHORE_ALL_ACCESS}},
    {L"section",
     {readData | SECTION_QUERY | SECTION_MAP_READ, writeData | SECTION_MAP_WRITE, execute | SECTION_MAP_EXECUTE,
      SECTION_ALL_ACCESS}},
    {L"process",
     {readData | PROCESS_VM_READ | PROCESS_QUERY_INFORMATION,
      writeData | PROCESS_CREATE_THREAD | PROCESS_VM_OPERATION | PROCESS_VM_WRITE | PROCESS_DUP_HANDLE |
          PROCESS_CREATE_PROCESS | PROCESS_SET_QUOTA | PROCESS_SET_INFORMATION | PROCESS_SUSPEND_RESUME,
      execute | SYNCHRONIZE | PROCESS_TERMINATE | PROCESS_QUERY_LIMITED_INFORMATION, PROCESS_ALL_ACCESS}},
    {L"token", {}},
};

const KindRow& rowOf(KernelKind kind)
{
    return kinds[static_cast<size_t>(kind)];
}

bool isIdentifier(const std::wstring& name)
{
    return name.size() < 10 && std::all_of(name.begin(), name.end(), iswdigit);
}

using KernelHandles = std::map<HANDLE, KernelHandle>;

DWORD readMachineToken(HANDLE token, Security& security)
{
    DWORD size = 0;
    GetTokenInformation(token, TokenDefaultDacl, nullptr, 0, &size);
    std::vector<BYTE> bytes(std::max<size_t>(size, sizeof(TOKEN_DEFAULT_DACL)));
    if (!GetTokenInformation(token, TokenDefaultDacl, bytes.data(), static_cast<DWORD>(bytes.size()), &size))
        return GetLastError();
    TOKEN_DEFAULT_DACL held;
    memcpy(&held, bytes.data(), sizeof held);
    security = securityOfList(held.DefaultDacl);
    return ERROR_SUCCESS;
}

DWORD readMachineObject(HANDLE object, Security& security)
{
    constexpr SECURITY_INFORMATION parts = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD error =
        GetSecurityInfo(object, SE_KERNEL_OBJECT, parts, nullptr, nullptr, nullptr, nullptr, &descriptor);
    if (error == ERROR_SUCCESS)
        security = securityOf(descriptor);
    LocalFree(descriptor);
    return error;
}

} // namespace

std::wstring KernelName::text() const
{
    if (kind != KernelKind::token)
        return rowOf(kind).word + (L' ' + name);
    return name.empty() ? tokenOfThisProcess : tokenPrefix + KernelName{KernelKind::process, name}.text();
}

std::optional<KernelName> kernelNameOf(const std::wstring& text)
{
    if (sameName(text, tokenOfThisProcess))
        return KernelName{KernelKind::token, L""};
    const size_t prefix = wcslen(tokenPrefix);
    if (sameName(text.substr(0, prefix), tokenPrefix)) {
        const std::optional<KernelName> process = kernelNameOf(text.substr(prefix));
        if (!process || process->kind != KernelKind::process)
            return std::nullopt;
        return KernelName{KernelKind::token, process->name};
    }
    const size_t blank = std::min(text.find(L' '), text.size());
    const std::wstring name = text.substr(std::min(blank + 1, text.size()));
    for (const KernelKind kind :
         {KernelKind::event, KernelKind::mutex, KernelKind::semaphore, KernelKind::section, KernelKind::process})
        if (!name.empty() && sameName(text.substr(0, blank), rowOf(kind).word) &&
            (kind != KernelKind::process || isIdentifier(name)))
            return KernelName{kind, name};
    return std::nullopt;
}

HANDLE openHandle(HANDLE real, World& world, Node& node, KernelKind kind, const std::wstring& object, DWORD access)
{
    world.table<KernelHandles>()[real] = {kind, {&node, object, L"", false, &rowOf(kind).rights}, access};
    return real;
}

const KernelHandle* kernelHandleOf(World& world, HANDLE handle)
{
    const KernelHandles& handles = world.table<KernelHandles>();
    const auto found = handles.find(handle);
    return found == handles.end() ? nullptr : &found->second;
}

void forgetHandle(World& world, HANDLE handle)
{
    world.table<KernelHandles>().erase(handle);
}

DWORD readSecurity(HANDLE handle, const KernelHandle& opened, Security& security)
{
    const Node& node = *opened.object.node;
    const std::wstring* const held = node.security.find(opened.object.name);
    if (!held && node.readsMachine)
        return opened.kind == KernelKind::token ? readMachineToken(handle, security)
                                                : readMachineObject(handle, security);
    // Else the token of this process, whose user is an administrator.
    const std::wstring text = held ? *held : L"D:(A;;GA;;;BA)(A;;GA;;;SY)";
    security = securityOf(text);
    if (opened.kind != KernelKind::token)
        mapGenericRights(security, *opened.object.rights);
    return ERROR_SUCCESS;
}

Security securityOfList(PACL dacl)
{
    SECURITY_DESCRIPTOR descriptor;
    InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&descriptor, TRUE, dacl, FALSE);
    return securityOf(&descriptor);
}

} // namespace whatif
