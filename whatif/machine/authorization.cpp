#include "whatif/machine/authorization.h"

#include "whatif/model/sids.h"

#include <authz.h>

#include <memory>

namespace whatif {

namespace {

struct ManagerCloser
{
    using pointer = AUTHZ_RESOURCE_MANAGER_HANDLE;
    void operator()(AUTHZ_RESOURCE_MANAGER_HANDLE manager) const { AuthzFreeResourceManager(manager); }
};

struct ContextCloser
{
    using pointer = AUTHZ_CLIENT_CONTEXT_HANDLE;
    void operator()(AUTHZ_CLIENT_CONTEXT_HANDLE context) const { AuthzFreeContext(context); }
};

std::vector<BYTE> groupsIn(AUTHZ_CLIENT_CONTEXT_HANDLE context)
{
    DWORD size = 0;
    AuthzGetInformationFromContext(context, AuthzContextInfoGroupsSids, 0, &size, nullptr);
    std::vector<BYTE> bytes(size);
    if (size < sizeof(TOKEN_GROUPS) ||
        !AuthzGetInformationFromContext(context, AuthzContextInfoGroupsSids, size, &size, bytes.data()))
        bytes.clear();
    return bytes;
}

// Only the machine's own groups are aliases.
bool isAlias(PSID sid)
{
    wchar_t name[512];
    wchar_t domain[512];
    DWORD nameSize = 512;
    DWORD domainSize = 512;
    SID_NAME_USE use = SidTypeUnknown;
    return LookupAccountSidW(nullptr, sid, name, &nameSize, domain, &domainSize, &use) && use == SidTypeAlias;
}

} // namespace

std::vector<std::wstring> machineDomainGroups(const std::wstring& sid)
{
    std::vector<std::wstring> sids;
    std::vector<BYTE> user = sidBytes(sid);
    AUTHZ_RESOURCE_MANAGER_HANDLE manager = nullptr;
    if (!AuthzInitializeResourceManager(AUTHZ_RM_FLAG_NO_AUDIT, nullptr, nullptr, nullptr, nullptr, &manager))
        return sids;
    const std::unique_ptr<void, ManagerCloser> managerOwner(manager);
    AUTHZ_CLIENT_CONTEXT_HANDLE context = nullptr;
    if (!AuthzInitializeContextFromSid(0, user.data(), manager, nullptr, {}, nullptr, &context))
        return sids;
    const std::unique_ptr<void, ContextCloser> contextOwner(context);
    const std::vector<BYTE> bytes = groupsIn(context);
    const auto* const groups = reinterpret_cast<const TOKEN_GROUPS*>(bytes.data());
    for (DWORD i = 0; !bytes.empty() && i < groups->GroupCount; ++i)
        if ((groups->Groups[i].Attributes & SE_GROUP_ENABLED) && !isAlias(groups->Groups[i].Sid))
            sids.push_back(sidText(groups->Groups[i].Sid));
    return sids;
}

} // namespace whatif
