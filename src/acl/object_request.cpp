#include "acl/object_request.h"

#include "accounts/account_names.h"
#include "acl/tree_acl.h"
#include "frame/call.h"
#include "frame/node.h"
#include "frame/text.h"

#include <cwchar>

namespace {

// One SID: those made from a string and those looked up by name are released in different ways.
struct PrincipalSid
{
    owned::Local<void> wellKnown;
    owned::Heap<void> lookedUp;

    PSID get() const { return wellKnown ? wellKnown.get() : lookedUp.get(); }
};

using PrincipalSids = std::array<PrincipalSid, sswsePrincipalCount>;

// The machine whose accounts are meant: the one that owns the object. An empty name (also that of a malformed UNC path,
// which does not end the call) and the permission type for groups only mean this machine.
DWORD findMachine(const sswseCall& call, sswseObjectType object, sswseObjectPlace& place)
{
    const wchar_t* const path = place.path.get();
    place.node = owned::allocate<wchar_t>((wcslen(path) + 1) * sizeof(wchar_t));
    if (!place.node)
        return sswseOutOfMemory(call);
    place.node.get()[0] = L'\0';
    const DWORD found = sswseNodeName(call.rec, path, place.node.get());
    if (found == SSWSE_FAILURE)
        return SSWSE_FAILURE;
    const bool local = found == SSWSE_NO || object == sswseObjectType::groupsOnly || !place.node.get()[0];
    place.machine = local ? nullptr : place.node.get();
    return SSWSE_SUCCESS;
}

DWORD resolvePrincipal(const sswseCall& call, const sswsePrincipalRow& row, const wchar_t* machine, PrincipalSid& sid)
{
    if (row.sid) {
        const DWORD status = sswseSidFromString(call, row.sid, sid.wellKnown);
        return status == SSWSE_SUCCESS ? sswseRequireValidSid(call, sid.get()) : status;
    }
    return sswseSidOfNameOnNode(call, row.name, machine, sid.lookedUp);
}

DWORD addGrant(const sswseCall& call, sswseGrants& grants, PSID sid, DWORD mask, const char* name)
{
    grants.names.get()[grants.aces.count] = name;
    return sswseBuildAceArray(call.rec, sid, sswseInheritedByAll, mask, grants.aces.entries, &grants.aces.count);
}

// These two have their entries, always the first ones, before the other principals are looked up.
bool isAddedAtOnce(sswsePrincipal principal)
{
    return principal == sswsePrincipal::administrators || principal == sswsePrincipal::localSystem;
}

// The principals are looked up in their own order and get their entries in that of the permission type.
DWORD addPrincipals(const sswseCall& call, const sswsePermissionType& permission, const wchar_t* machine,
                    sswseGrants& grants)
{
    PrincipalSids sids;
    const auto add = [&](sswsePrincipal principal) {
        const auto i = static_cast<size_t>(principal);
        return addGrant(call, grants, sids[i].get(), sswsePrincipals[i].mask, sswsePrincipals[i].name);
    };
    DWORD status = SSWSE_SUCCESS;
    for (size_t i = 0; i < sswsePrincipalCount && status == SSWSE_SUCCESS; ++i) {
        const auto principal = static_cast<sswsePrincipal>(i);
        if (!permission.includes(principal))
            continue;
        status = resolvePrincipal(call, sswsePrincipals[i], machine, sids[i]);
        if (status == SSWSE_SUCCESS && isAddedAtOnce(principal))
            status = add(principal);
    }
    for (const sswsePrincipal principal : permission.principals)
        if (status == SSWSE_SUCCESS && principal != sswsePrincipal::none && !isAddedAtOnce(principal))
            status = add(principal);
    return status;
}

} // namespace

DWORD sswseRequirePermissionType(const sswseCall& call, unsigned wtype, int ptype, const sswsePermissionType** row)
{
    *row = sswseFindPermissionType(wtype, ptype);
    if (*row)
        return SSWSE_SUCCESS;
    sswseReport(call, WSE_INVALID_INPUT, 0, "", "Windows object type and Permission type mismatch");
    return SSWSE_INVALID_ARGUMENT;
}

DWORD sswseRequireObjectType(const sswseCall& call, unsigned wtype, sswseObjectType last)
{
    if (wtype <= static_cast<unsigned>(last))
        return SSWSE_SUCCESS;
    sswseReport(call, WSE_PERMISSION_TYPE, 0, "");
    return SSWSE_INVALID_ARGUMENT;
}

DWORD sswseLocateObject(const sswseCall& call, sswseObjectType object, const char* path, sswseObjectPlace& place)
{
    if (!path)
        return sswseBadArgument(call, "path");
    DWORD status = sswseToWide(call, path, place.path);
    if (status != SSWSE_SUCCESS)
        return status;
    if (object == sswseObjectType::file || object == sswseObjectType::directory)
        status = sswseCheckIfVlfsAndMountPoint(call.rec, path, place.volume, &place.isMountPoint);
    if (status != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return findMachine(call, object, place);
}

DWORD sswseResolveUsers(const sswseCall& call, char** usernames, DWORD count, const wchar_t* machine,
                        sswseNameRule rule, owned::Blocks<void>& sids)
{
    if (count && !usernames)
        return sswseBadArgument(call, "usernames");
    if (!sids.reserve(count))
        return sswseOutOfMemory(call);
    while (sids.count < count) {
        const char* const username = usernames[sids.count];
        if (!username)
            return sswseBadArgument(call, "usernames");
        owned::Heap<void> sid;
        if (rule(call, username, machine, sid) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        sids.entries[sids.count++] = sid.release();
    }
    return SSWSE_SUCCESS;
}

DWORD sswseListGrants(const sswseCall& call, const sswseGrantRequest& request, const wchar_t* machine,
                      sswseGrants& grants)
{
    const sswsePermissionType& permission = *request.permission;
    const DWORD userCount = permission.userMask ? request.userCount : 0;
    const bool hasInstallUser = request.installUser && request.installUser[0];
    owned::Blocks<void> users;
    owned::Heap<void> installUser;
    DWORD status = sswseResolveUsers(call, request.usernames, userCount, machine, request.rule, users);
    if (status == SSWSE_SUCCESS && hasInstallUser)
        status = request.rule(call, request.installUser, machine, installUser);
    if (status != SSWSE_SUCCESS)
        return status;

    const size_t most = permission.principals.size() + 1 + userCount;
    grants.names = owned::allocate<const char*>(most * sizeof(const char*));
    if (!grants.names || !grants.aces.reserve(most))
        return sswseOutOfMemory(call);
    status = addPrincipals(call, permission, machine, grants);
    if (status == SSWSE_SUCCESS && hasInstallUser)
        status = addGrant(call, grants, installUser.get(), GENERIC_ALL, request.installUser);
    for (DWORD i = 0; i < userCount && status == SSWSE_SUCCESS; ++i)
        status = addGrant(call, grants, users.entries[i], permission.userMask, request.usernames[i]);
    return status;
}

DWORD sswseUpdatePlace(const sswseCall& call, const sswseObjectPlace& place, bool wholeTree,
                       const sswseAclUpdate& update)
{
    const auto apply = wholeTree ? sswseUpdateAclOnTree : sswseUpdateAclOnFile;
    DWORD status = apply(call.rec, place.path.get(), update, /*failOnAccessDenied=*/true);
    if (status != SSWSE_SUCCESS || !place.isMountPoint)
        return status;
    owned::Heap<wchar_t> volume;
    status = sswseToWide(call, place.volume, volume);
    if (status != SSWSE_SUCCESS)
        return status;
    const sswseErrRec walk = *call.rec;
    status = sswseUpdateAclOnFile(call.rec, volume.get(), update, /*failOnAccessDenied=*/true);
    if (!call.rec->message[0]) // the message of a skipped child outlives a volume without one
        *call.rec = walk;
    return status == SSWSE_SUCCESS ? SSWSE_SUCCESS : SSWSE_FAILURE;
}
