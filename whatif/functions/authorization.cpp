// What others than the caller may do with an object: the authorization interface. Where its documentation leaves open
// what is in a context, it is what is said of an account that is queried directly: no group that stands for the way of
// logging on. That a context for what is neither user nor computer is refused is documented, its error is not.
// Codes: the Authz functions, AUTHZ_ACCESS_REPLY.
#include "whatif/machine/authorization.h"
#include "whatif/model/local_groups.h"
#include "whatif/model/sids.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/security/access.h"

#include <authz.h>

#include <algorithm>
#include <map>

namespace whatif {

namespace {

// The addresses of the records are the handles.
struct Authorization
{
    std::map<AUTHZ_RESOURCE_MANAGER_HANDLE, std::unique_ptr<BYTE>> managers;
    std::map<AUTHZ_CLIENT_CONTEXT_HANDLE, std::unique_ptr<Identities>> contexts;
};

template <class Handle, class Record>
Handle keep(std::map<Handle, std::unique_ptr<Record>>& table, std::unique_ptr<Record> record)
{
    const auto handle = reinterpret_cast<Handle>(record.get());
    table[handle] = std::move(record);
    return handle;
}

BOOL WINAPI initializeResourceManager(DWORD flags, PFN_AUTHZ_DYNAMIC_ACCESS_CHECK, PFN_AUTHZ_COMPUTE_DYNAMIC_GROUPS,
                                      PFN_AUTHZ_FREE_DYNAMIC_GROUPS, PCWSTR, PAUTHZ_RESOURCE_MANAGER_HANDLE manager)
{
    constexpr DWORD known = AUTHZ_RM_FLAG_NO_AUDIT | AUTHZ_RM_FLAG_INITIALIZE_UNDER_IMPERSONATION |
                            AUTHZ_RM_FLAG_NO_CENTRAL_ACCESS_POLICIES;
    Locked world;
    if (!manager || (flags & ~known))
        return failWith(ERROR_INVALID_PARAMETER);
    if (!(flags & AUTHZ_RM_FLAG_NO_AUDIT)) // wants SeAuditPrivilege, which administrators do not hold
        return failWith(ERROR_PRIVILEGE_NOT_HELD);
    *manager = keep(world->table<Authorization>().managers, std::make_unique<BYTE>());
    return TRUE;
}

BOOL WINAPI freeResourceManager(AUTHZ_RESOURCE_MANAGER_HANDLE manager)
{
    Locked world;
    return world->table<Authorization>().managers.erase(manager) ? TRUE : failWith(ERROR_INVALID_PARAMETER);
}

// ---- contexts ----------------------------------------------------------------------------------------------------

std::set<std::wstring> tokenSids(Node& node, const std::wstring& sid)
{
    std::set<std::wstring> sids = {sid, L"S-1-1-0"};                               // Everyone
    if (sid.rfind(L"S-1-5-21-", 0) != 0 || sid.substr(sid.rfind(L'-')) != L"-501") // guests do not authenticate
        sids.insert(L"S-1-5-11");
    if (node.readsMachine)
        for (const std::wstring& group : machineDomainGroups(sid))
            sids.insert(group);
    return withAllGroups(node, sids);
}

DWORD checkUser(const Node& node, const std::wstring& sid)
{
    const auto name = nameOf(node, sid);
    if (!name)
        return ERROR_NONE_MAPPED;
    return name->use == SidTypeUser || name->use == SidTypeComputer ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

BOOL WINAPI initializeContextFromSid(DWORD flags, PSID user, AUTHZ_RESOURCE_MANAGER_HANDLE manager, PLARGE_INTEGER,
                                     LUID, PVOID, PAUTHZ_CLIENT_CONTEXT_HANDLE context)
{
    constexpr DWORD known = AUTHZ_SKIP_TOKEN_GROUPS | AUTHZ_REQUIRE_S4U_LOGON | AUTHZ_COMPUTE_PRIVILEGES;
    Locked world;
    auto& table = world->table<Authorization>();
    const std::wstring sid = sidText(user);
    if (sid.empty() || !context || (flags & ~known) || (manager && !table.managers.count(manager)))
        return failWith(ERROR_INVALID_PARAMETER);
    auto who = std::make_unique<Identities>();
    if (flags & AUTHZ_SKIP_TOKEN_GROUPS) {
        who->enabled.insert(sidBytes(sid));
    } else {
        if (const DWORD error = checkUser(world->local(), sid))
            return failWith(error);
        for (const std::wstring& each : tokenSids(world->local(), sid))
            who->enabled.insert(sidBytes(each));
    }
    *context = keep(table.contexts, std::move(who));
    return TRUE;
}

// A copy with more in it. A group that is not enabled takes no part, but that one which is for denying can deny.
BOOL WINAPI addSidsToContext(AUTHZ_CLIENT_CONTEXT_HANDLE context, PSID_AND_ATTRIBUTES sids, DWORD count,
                             PSID_AND_ATTRIBUTES, DWORD restricted, PAUTHZ_CLIENT_CONTEXT_HANDLE added)
{
    Locked world;
    auto& contexts = world->table<Authorization>().contexts;
    const auto known = contexts.find(context);
    if (known == contexts.end() || !added || (count && !sids))
        return failWith(ERROR_INVALID_PARAMETER);
    if (restricted) // not played
        return failWith(ERROR_NOT_SUPPORTED);
    auto who = std::make_unique<Identities>(*known->second);
    for (DWORD i = 0; i < count; ++i) {
        const Sid sid = sidBytes(sidText(sids[i].Sid));
        if (sid.empty())
            return failWith(ERROR_INVALID_SID);
        if (sids[i].Attributes & SE_GROUP_USE_FOR_DENY_ONLY)
            who->denyOnly.insert(sid);
        else if (sids[i].Attributes & SE_GROUP_ENABLED)
            who->enabled.insert(sid);
    }
    *added = keep(contexts, std::move(who));
    return TRUE;
}

BOOL WINAPI freeContext(AUTHZ_CLIENT_CONTEXT_HANDLE context)
{
    Locked world;
    return world->table<Authorization>().contexts.erase(context) ? TRUE : failWith(ERROR_INVALID_PARAMETER);
}

// ---- checking ----------------------------------------------------------------------------------------------------

bool hasOwnerAndList(PSECURITY_DESCRIPTOR descriptor)
{
    PSID owner = nullptr;
    PACL dacl = nullptr;
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    return descriptor && IsValidSecurityDescriptor(descriptor) &&
           GetSecurityDescriptorOwner(descriptor, &owner, &defaulted) && owner &&
           GetSecurityDescriptorDacl(descriptor, &present, &dacl, &defaulted) && present;
}

// The one place of a reply for an object without parts. There is no mapping: generic rights are bits like others.
void reply(const Security& security, const Identities& who, DWORD desired, AUTHZ_ACCESS_REPLY& answer)
{
    const DWORD given = granted(security, who, nullptr);
    const DWORD wanted = desired & ~static_cast<DWORD>(MAXIMUM_ALLOWED);
    const DWORD mask = desired & MAXIMUM_ALLOWED ? given : given & wanted;
    DWORD error = ERROR_SUCCESS;
    if (wanted & ACCESS_SYSTEM_SECURITY)
        error = ERROR_PRIVILEGE_NOT_HELD;
    else if ((wanted & ~given) || !mask)
        error = ERROR_ACCESS_DENIED;
    *answer.Error = error;
    *answer.GrantedAccessMask = error ? 0 : mask;
    if (answer.SaclEvaluationResults)
        *answer.SaclEvaluationResults = 0;
}

BOOL WINAPI accessCheck(DWORD flags, AUTHZ_CLIENT_CONTEXT_HANDLE context, PAUTHZ_ACCESS_REQUEST request,
                        AUTHZ_AUDIT_EVENT_HANDLE audit, PSECURITY_DESCRIPTOR descriptor, PSECURITY_DESCRIPTOR*,
                        DWORD more, PAUTHZ_ACCESS_REPLY answer, PAUTHZ_ACCESS_CHECK_RESULTS_HANDLE results)
{
    Locked world;
    const auto& contexts = world->table<Authorization>().contexts;
    const auto known = contexts.find(context);
    if (known == contexts.end() || flags || !request || !answer || answer->ResultListLength != 1 ||
        !answer->GrantedAccessMask || !answer->Error || !hasOwnerAndList(descriptor))
        return failWith(ERROR_INVALID_PARAMETER);
    if (request->ObjectTypeListLength || audit || more || results) // not played
        return failWith(ERROR_NOT_SUPPORTED);
    reply(securityOf(descriptor), *known->second, request->DesiredAccess, *answer);
    return TRUE;
}

} // namespace

std::vector<Replacement> authorizationReplacements()
{
    return {
        settingLastError<&initializeResourceManager>("AuthzInitializeResourceManager"),
        settingLastError<&freeResourceManager>("AuthzFreeResourceManager"),
        settingLastError<&initializeContextFromSid>("AuthzInitializeContextFromSid"),
        settingLastError<&addSidsToContext>("AuthzAddSidsToContext"),
        settingLastError<&freeContext>("AuthzFreeContext"),
        settingLastError<&accessCheck>("AuthzAccessCheck"),
    };
}

} // namespace whatif
