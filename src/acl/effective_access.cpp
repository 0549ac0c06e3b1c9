#include "acl/effective_access.h"

#include "accounts/account_names.h"
#include "accounts/service_sids.h"
#include "frame/string_list.h"
#include "groups/member_sids.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace {

// A SID that is known beforehand.
struct FixedSid
{
    BYTE revision;
    BYTE count;
    SID_IDENTIFIER_AUTHORITY authority;
    DWORD subAuthorities[2];
};
static_assert(offsetof(FixedSid, subAuthorities) == offsetof(SID, SubAuthority));

constexpr FixedSid everyone = {SID_REVISION, 1, SECURITY_WORLD_SID_AUTHORITY, {SECURITY_WORLD_RID, 0}};
constexpr FixedSid authenticatedUsers = {SID_REVISION, 1, SECURITY_NT_AUTHORITY, {SECURITY_AUTHENTICATED_USER_RID, 0}};
constexpr FixedSid users = {
    SID_REVISION, 2, SECURITY_NT_AUTHORITY, {SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_USERS}};
constexpr FixedSid administrators = {
    SID_REVISION, 2, SECURITY_NT_AUTHORITY, {SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS}};
constexpr FixedSid services = {SID_REVISION, 1, SECURITY_NT_AUTHORITY, {SECURITY_SERVICE_RID, 0}};
constexpr FixedSid allServices = {SID_REVISION, 2, SECURITY_NT_AUTHORITY, {SECURITY_SERVICE_ID_BASE_RID, 0}};

constexpr DWORD mostFixed = 6; // the account itself and what it gets without being listed

// The SIDs of a token. The first one is the account's own.
struct Token
{
    owned::Heap<SID_AND_ATTRIBUTES> sids;
    DWORD count = 0;
    owned::Blocks<void> localGroups; // the blocks of those that were looked up

    void add(const void* sid) { sids.get()[count++] = {const_cast<void*>(sid), SE_GROUP_ENABLED}; }

    bool has(PSID sid) const
    {
        return std::any_of(sids.get(), sids.get() + count,
                           [sid](const SID_AND_ATTRIBUTES& row) { return EqualSid(row.Sid, sid); });
    }
};

bool hasNoGroupsToFind(PSID sid)
{
    return sswseIsServiceSid(sid) || IsWellKnownSid(sid, WinLocalSystemSid) ||
           IsWellKnownSid(sid, WinLocalServiceSid) || IsWellKnownSid(sid, WinNetworkServiceSid);
}

// An account that nobody knows any more may still have been a user.
DWORD requireUser(const sswseCall& call, const wchar_t* machine, PSID sid)
{
    sswseQualifiedName name;
    DWORD accountLength = sswseNameCapacity;
    DWORD domainLength = sswseNameCapacity;
    SID_NAME_USE use = SidTypeUnknown;
    if (!LookupAccountSidW(machine, sid, name.account, &accountLength, name.domain, &domainLength, &use)) {
        const DWORD osError = GetLastError();
        if (osError == ERROR_NONE_MAPPED)
            return SSWSE_SUCCESS;
        return sswseFail(call, WSE_SID_LOOKUP, osError, "LookupAccountSidW");
    }
    if (use == SidTypeUser || use == SidTypeComputer || use == SidTypeDeletedAccount || use == SidTypeUnknown)
        return SSWSE_SUCCESS;
    sswseReport(call, WSE_INVALID_INPUT, 0, "", "Not a user account");
    return SSWSE_INVALID_ARGUMENT;
}

DWORD doesGroupListAny(const sswseCall& call, const wchar_t* group, const Token& token, bool* lists)
{
    *lists = false;
    sswseMemberPiece piece;
    while (sswseNextMembers(nullptr, group, piece))
        for (DWORD i = 0; i < piece.count; ++i) {
            const PSID member = piece.rows.get()[i].lgrmi0_sid;
            *lists = *lists || (member && token.has(member));
        }
    if (piece.result != NERR_Success && !sswseIsNoGroup(piece.result)) // one that is gone by now lists nobody
        return sswseApiFailed(call, piece.result, "NetLocalGroupGetMembers");
    return SSWSE_SUCCESS;
}

// The names of this machine's local groups.
DWORD listLocalGroups(const sswseCall& call, owned::Blocks<wchar_t>& names)
{
    DWORD_PTR resume = 0;
    NET_API_STATUS result = ERROR_MORE_DATA;
    while (result == ERROR_MORE_DATA) {
        BYTE* buffer = nullptr;
        DWORD read = 0;
        DWORD total = 0;
        result = NetLocalGroupEnum(nullptr, 0, &buffer, MAX_PREFERRED_LENGTH, &read, &total, &resume);
        const owned::NetBuffer<LOCALGROUP_INFO_0> groups(reinterpret_cast<LOCALGROUP_INFO_0*>(buffer));
        // More to come, but nothing here: that would never end.
        if (result != NERR_Success && (result != ERROR_MORE_DATA || read == 0))
            return sswseApiFailed(call, result, "NetLocalGroupEnum");
        for (DWORD i = 0; i < read; ++i)
            if (groups.get()[i].lgrpi0_name && !sswseAppendCopy(names, groups.get()[i].lgrpi0_name))
                return sswseOutOfMemory(call);
    }
    return SSWSE_SUCCESS;
}

// One pass over the groups that the token does not have yet; `grew`: a group that was passed may list a new one.
DWORD addGroupsThatList(const sswseCall& call, owned::Blocks<wchar_t>& groups, Token& token, bool* grew)
{
    *grew = false;
    for (DWORD i = 0; i < groups.count; ++i) {
        bool lists = false;
        if (!groups.entries[i])
            continue;
        if (doesGroupListAny(call, groups.entries[i], token, &lists) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        if (!lists)
            continue;
        owned::Heap<void> sid;
        if (sswseLookupSidOfName(call, nullptr, groups.entries[i], "LookupAccountNameW", sid) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        token.add(sid.get());
        token.localGroups.entries[token.localGroups.count++] = sid.release();
        free(std::exchange(groups.entries[i], nullptr));
        *grew = true;
    }
    return SSWSE_SUCCESS;
}

DWORD buildToken(const sswseCall& call, PSID account, Token& token)
{
    owned::Blocks<wchar_t> groups;
    if (listLocalGroups(call, groups) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    token.sids = owned::allocate<SID_AND_ATTRIBUTES>((groups.count + mostFixed) * sizeof(SID_AND_ATTRIBUTES));
    if (!token.sids || !token.localGroups.reserve(groups.count))
        return sswseOutOfMemory(call);
    token.add(account);
    for (const FixedSid* const sid : {&everyone, &authenticatedUsers, &users, &services})
        token.add(sid);
    if (sswseIsServiceSid(account))
        token.add(&allServices);
    if (IsWellKnownSid(account, WinLocalSystemSid))
        token.add(&administrators);
    DWORD status = SSWSE_SUCCESS;
    for (bool grew = true; grew && status == SSWSE_SUCCESS;)
        status = addGroupsThatList(call, groups, token, &grew);
    return status;
}

DWORD openContext(const sswseCall& call, AUTHZ_RESOURCE_MANAGER_HANDLE manager, PSID sid, owned::AuthzContext& context)
{
    const bool isBuiltIn = hasNoGroupsToFind(sid);
    AUTHZ_CLIENT_CONTEXT_HANDLE opened = nullptr;
    if (!AuthzInitializeContextFromSid(isBuiltIn ? AUTHZ_SKIP_TOKEN_GROUPS : 0, sid, manager, nullptr, LUID{}, nullptr,
                                       &opened))
        return sswseApiFailed(call, GetLastError(), "AuthzInitializeContextFromSid");
    context.reset(opened);
    if (!isBuiltIn)
        return SSWSE_SUCCESS;
    Token token;
    if (buildToken(call, sid, token) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    AUTHZ_CLIENT_CONTEXT_HANDLE extended = nullptr;
    if (!AuthzAddSidsToContext(context.get(), token.sids.get() + 1, token.count - 1, nullptr, 0, &extended))
        return sswseApiFailed(call, GetLastError(), "AuthzAddSidsToContext");
    context.reset(extended);
    return SSWSE_SUCCESS;
}

} // namespace

DWORD sswseAuthorize(const sswseCall& call, const wchar_t* machine, void* const* sids, DWORD count,
                     sswseAuthorization& authorization)
{
    for (DWORD i = 0; i < count; ++i)
        if (!hasNoGroupsToFind(sids[i]))
            if (const DWORD status = requireUser(call, machine, sids[i]); status != SSWSE_SUCCESS)
                return status;
    AUTHZ_RESOURCE_MANAGER_HANDLE manager = nullptr;
    if (!AuthzInitializeResourceManager(AUTHZ_RM_FLAG_NO_AUDIT, nullptr, nullptr, nullptr, nullptr, &manager))
        return sswseApiFailed(call, GetLastError(), "AuthzInitializeResourceManager");
    authorization.manager.reset(manager);
    authorization.contexts =
        owned::allocate<AUTHZ_CLIENT_CONTEXT_HANDLE>(std::max<DWORD>(count, 1) * sizeof(AUTHZ_CLIENT_CONTEXT_HANDLE));
    if (!authorization.contexts)
        return sswseOutOfMemory(call);
    while (authorization.count < count) {
        owned::AuthzContext context;
        if (openContext(call, manager, sids[authorization.count], context) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        authorization.contexts.get()[authorization.count++] = context.release();
    }
    return SSWSE_SUCCESS;
}

DWORD sswseGrantedAccess(const sswseCall& call, AUTHZ_CLIENT_CONTEXT_HANDLE context, PSECURITY_DESCRIPTOR security,
                         DWORD* granted, DWORD* osError)
{
    AUTHZ_ACCESS_REQUEST request = {};
    request.DesiredAccess = MAXIMUM_ALLOWED;
    DWORD audit = 0;
    DWORD error = ERROR_SUCCESS;
    *granted = 0;
    AUTHZ_ACCESS_REPLY reply = {1, granted, &audit, &error};
    if (!AuthzAccessCheck(0, context, &request, nullptr, security, nullptr, 0, &reply, nullptr)) {
        const DWORD failure = GetLastError();
        if (failure == ERROR_INVALID_PARAMETER || failure == ERROR_INVALID_SECURITY_DESCR ||
            failure == ERROR_INVALID_ACL)
            *osError = failure;
        return sswseApiFailed(call, failure, "AuthzAccessCheck");
    }
    if (error != ERROR_SUCCESS && (error != ERROR_ACCESS_DENIED || *granted != 0)) // nothing granted is an answer
        return sswseApiFailed(call, error, "AuthzAccessCheck");
    return SSWSE_SUCCESS;
}
