#include "whatif/machine/accounts.h"

#include "frame/owned.h"
#include "whatif/model/sids.h"
#include "whatif/spelling.h"

#include <ntstatus.h>

namespace whatif {

namespace {

bool wasDeleted(const Node& node, const Name& name)
{
    return node.gone.count(L"user " + name.name) || node.gone.count(L"group " + name.name);
}

std::optional<Name> unlessDeleted(const Node& node, Name name)
{
    if (sameName(name.domain, accountDomain(node)) && wasDeleted(node, name))
        return std::nullopt;
    return name;
}

LSA_UNICODE_STRING lsaString(const std::wstring& text)
{
    const auto bytes = static_cast<USHORT>(text.size() * sizeof(wchar_t));
    return {bytes, static_cast<USHORT>(bytes + sizeof(wchar_t)), const_cast<wchar_t*>(text.c_str())};
}

template <class Work>
NTSTATUS withPolicy(Work work)
{
    LSA_OBJECT_ATTRIBUTES attributes = {};
    LSA_HANDLE policy = nullptr;
    NTSTATUS status = LsaOpenPolicy(nullptr, &attributes, POLICY_LOOKUP_NAMES | POLICY_VIEW_LOCAL_INFORMATION, &policy);
    if (status < 0)
        return status;
    const owned::PolicyHandle owner(policy);
    return work(policy);
}

} // namespace

std::optional<Name> machineResolve(const Node& node, const std::wstring& name)
{
    std::vector<BYTE> sid(SECURITY_MAX_SID_SIZE);
    DWORD sidSize = static_cast<DWORD>(sid.size());
    wchar_t domain[512];
    DWORD domainSize = 512;
    Name found;
    if (!LookupAccountNameW(nullptr, name.c_str(), sid.data(), &sidSize, domain, &domainSize, &found.use))
        return std::nullopt;
    found.sid = sidText(sid.data());
    found.domain = domain;
    return found.use == SidTypeDomain ? found : machineNameOf(node, found.sid); // for the name as it is written
}

std::optional<Name> machineNameOf(const Node& node, const std::wstring& sid)
{
    std::vector<BYTE> bytes = sidBytes(sid);
    wchar_t name[512];
    wchar_t domain[512];
    DWORD nameSize = 512;
    DWORD domainSize = 512;
    Name found;
    if (bytes.empty() || !LookupAccountSidW(nullptr, bytes.data(), name, &nameSize, domain, &domainSize, &found.use))
        return std::nullopt;
    found.sid = sid;
    found.domain = domain;
    if (found.use != SidTypeDomain)
        found.name = name;
    return unlessDeleted(node, found);
}

std::wstring machineUser()
{
    HANDLE token = nullptr;
    BYTE user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof user;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token))
        return {};
    const owned::Handle owner(token);
    const bool known = GetTokenInformation(token, TokenUser, user, size, &size);
    return known ? sidText(reinterpret_cast<const TOKEN_USER*>(user)->User.Sid) : L"";
}

bool machineHasService(const std::wstring& name)
{
    const owned::ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    return manager && (owned::ServiceHandle(OpenServiceW(manager.get(), name.c_str(), SERVICE_QUERY_STATUS)) ||
                       GetLastError() == ERROR_ACCESS_DENIED);
}

NTSTATUS machineHolders(const std::wstring& right, std::vector<std::wstring>& sids)
{
    LSA_UNICODE_STRING name = lsaString(right);
    void* buffer = nullptr;
    ULONG count = 0;
    const NTSTATUS status = withPolicy(
        [&](LSA_HANDLE policy) { return LsaEnumerateAccountsWithUserRight(policy, &name, &buffer, &count); });
    if (status == STATUS_NO_MORE_ENTRIES)
        return STATUS_SUCCESS;
    if (status < 0 || !buffer)
        return status;
    const owned::LsaBuffer<void> owner(buffer);
    const auto* const holders = static_cast<const LSA_ENUMERATION_INFORMATION*>(buffer);
    for (ULONG i = 0; i < count; ++i)
        sids.push_back(sidText(holders[i].Sid));
    return STATUS_SUCCESS;
}

NTSTATUS machineRights(const std::wstring& sid, std::vector<std::wstring>& rights)
{
    std::vector<BYTE> bytes = sidBytes(sid);
    LSA_UNICODE_STRING* names = nullptr;
    ULONG count = 0;
    const NTSTATUS status =
        withPolicy([&](LSA_HANDLE policy) { return LsaEnumerateAccountRights(policy, bytes.data(), &names, &count); });
    if (status == STATUS_OBJECT_NAME_NOT_FOUND) // holds none
        return STATUS_SUCCESS;
    if (status < 0 || !names)
        return status;
    const owned::LsaBuffer<LSA_UNICODE_STRING> owner(names);
    for (ULONG i = 0; i < count; ++i)
        rights.emplace_back(names[i].Buffer, names[i].Length / sizeof(wchar_t));
    return STATUS_SUCCESS;
}

} // namespace whatif
