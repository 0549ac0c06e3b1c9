// Access for users to a file, a directory tree or a registry key, as a permission type says.
#include "accounts/account_names.h"
#include "acl/file_acl.h"
#include "acl/object_dacl.h"
#include "acl/permission_types.h"
#include "acl/tree_acl.h"
#include "acl/vlfs.h"
#include "frame/call.h"
#include "frame/node.h"

#include <cwchar>

namespace {

constexpr BYTE inheritedByAll = OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE;

struct Request
{
    sswseObjectType object;
    const sswsePermissionType* permission;
    const char* path;
    const wchar_t* widePath;
    char** usernames;
    DWORD userCount; // 0 when the permission type has no use for users
    bool wholeTree;  // apply to what is below a directory as well
};

// One SID: those made from a string and those looked up by name are released in different ways.
struct PrincipalSid
{
    owned::Local<void> wellKnown;
    owned::Heap<void> lookedUp;

    PSID get() const { return wellKnown ? wellKnown.get() : lookedUp.get(); }
};

using PrincipalSids = std::array<PrincipalSid, sswsePrincipalCount>;
using UserSids = owned::Blocks<void>;

// The machine whose accounts are meant: the one that owns the object. An empty name (also that of a malformed UNC path,
// which does not end the call) and the permission type for groups only mean this machine.
DWORD findNode(const sswseCall& call, const Request& request, owned::Heap<wchar_t>& node, const wchar_t** machine)
{
    node = owned::allocate<wchar_t>((wcslen(request.widePath) + 1) * sizeof(wchar_t));
    if (!node)
        return sswseOutOfMemory(call);
    node.get()[0] = L'\0';
    const DWORD found = sswseNodeName(call.rec, request.widePath, node.get());
    if (found == SSWSE_FAILURE)
        return SSWSE_FAILURE;
    const bool local = found == SSWSE_NO || request.object == sswseObjectType::groupsOnly || !node.get()[0];
    *machine = local ? nullptr : node.get();
    return SSWSE_SUCCESS;
}

DWORD resolveUsers(const sswseCall& call, const Request& request, const wchar_t* machine, UserSids& users)
{
    if (request.userCount && !request.usernames)
        return sswseBadArgument(call, "usernames");
    if (!users.reserve(request.userCount))
        return sswseOutOfMemory(call);
    while (users.count < request.userCount) {
        const char* const username = request.usernames[users.count];
        if (!username)
            return sswseBadArgument(call, "usernames");
        owned::Heap<void> sid;
        if (sswseSidOfNameOnNode(call, username, machine, sid) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        users.entries[users.count++] = sid.release();
    }
    return SSWSE_SUCCESS;
}

DWORD resolvePrincipal(const sswseCall& call, const sswsePrincipalRow& row, const wchar_t* machine, PrincipalSid& sid)
{
    if (row.sid) {
        const DWORD status = sswseSidFromString(call, row.sid, sid.wellKnown);
        return status == SSWSE_SUCCESS ? sswseRequireValidSid(call, sid.get()) : status;
    }
    return sswseSidOfNameOnNode(call, row.group, machine, sid.lookedUp);
}

DWORD addEntry(const sswseCall& call, sswseAceArray& aces, PSID sid, DWORD mask)
{
    return sswseBuildAceArray(call.rec, sid, mask, inheritedByAll, aces.entries, &aces.count);
}

// These two have their entries, always the first ones, before the other principals are looked up.
bool isAddedAtOnce(sswsePrincipal principal)
{
    return principal == sswsePrincipal::administrators || principal == sswsePrincipal::localSystem;
}

// The principals are looked up in their own order and get their entries in that of the permission type.
DWORD addPrincipals(const sswseCall& call, const sswsePermissionType& permission, const wchar_t* machine,
                    sswseAceArray& aces)
{
    PrincipalSids sids;
    DWORD status = SSWSE_SUCCESS;
    for (size_t i = 0; i < sswsePrincipalCount && status == SSWSE_SUCCESS; ++i) {
        const auto principal = static_cast<sswsePrincipal>(i);
        if (!permission.includes(principal))
            continue;
        status = resolvePrincipal(call, sswsePrincipals[i], machine, sids[i]);
        if (status == SSWSE_SUCCESS && isAddedAtOnce(principal))
            status = addEntry(call, aces, sids[i].get(), sswsePrincipals[i].mask);
    }
    for (const sswsePrincipal principal : permission.principals) {
        const auto i = static_cast<size_t>(principal);
        if (status == SSWSE_SUCCESS && principal != sswsePrincipal::none && !isAddedAtOnce(principal))
            status = addEntry(call, aces, sids[i].get(), sswsePrincipals[i].mask);
    }
    return status;
}

// Users are resolved before the principals and get their entries behind them.
DWORD buildEntries(const sswseCall& call, const Request& request, const wchar_t* machine, sswseAceArray& aces)
{
    const sswsePermissionType& permission = *request.permission;
    UserSids users;
    DWORD status = resolveUsers(call, request, machine, users);
    if (status != SSWSE_SUCCESS)
        return status;
    if (!aces.reserve(permission.principals.size() + users.count))
        return sswseOutOfMemory(call);
    status = addPrincipals(call, permission, machine, aces);
    for (DWORD i = 0; i < users.count && status == SSWSE_SUCCESS; ++i)
        status = addEntry(call, aces, users.entries[i], permission.userMask);
    return status;
}

// A key's own entries become exactly these: what it had is not merged. What it inherits stays behind them.
DWORD applyToKey(const sswseCall& call, const Request& request, const sswseAceArray& aces)
{
    const DWORD status =
        sswseSetFileSecurity(call.rec, aces.entries, aces.count, request.widePath,
                             /*useNamedInfo=*/true, /*inheritFromParent=*/true, /*failOnAccessDenied=*/true);
    return status == SSWSE_SUCCESS ? SSWSE_SUCCESS : SSWSE_FAILURE;
}

DWORD applyToFile(const sswseCall& call, const Request& request, const sswseAceArray& aces, const char* mountedVolume)
{
    const auto apply = request.wholeTree ? sswseUpdateAclOnTree : sswseUpdateAclOnFile;
    DWORD status =
        apply(call.rec, request.widePath, aces.entries, aces.count, /*keepExisting=*/true, /*failOnAccessDenied=*/true);
    if (status != SSWSE_SUCCESS || !mountedVolume)
        return status;
    owned::Heap<wchar_t> volume;
    status = sswseToWide(call, mountedVolume, volume);
    if (status != SSWSE_SUCCESS)
        return status;
    const sswseErrRec walk = *call.rec;
    status = sswseUpdateAclOnFile(call.rec, volume.get(), aces.entries, aces.count, /*keepExisting=*/true,
                                  /*failOnAccessDenied=*/true);
    if (!call.rec->message[0]) // the message of a skipped child outlives a volume without one
        *call.rec = walk;
    return status == SSWSE_SUCCESS ? SSWSE_SUCCESS : SSWSE_FAILURE;
}

DWORD addAccess(const sswseCall& call, Request& request)
{
    if (!request.path)
        return sswseBadArgument(call, "path");
    owned::Heap<wchar_t> widePath;
    DWORD status = sswseToWide(call, request.path, widePath);
    if (status != SSWSE_SUCCESS)
        return status;
    request.widePath = widePath.get();

    char volumePath[sswseVolumePathSize] = {};
    bool isMountPoint = false;
    if (request.object == sswseObjectType::file || request.object == sswseObjectType::directory)
        status = sswseCheckIfVlfsAndMountPoint(call.rec, request.path, volumePath, &isMountPoint);
    if (status != SSWSE_SUCCESS)
        return SSWSE_FAILURE;

    owned::Heap<wchar_t> node;
    const wchar_t* machine = nullptr;
    sswseAceArray aces;
    status = findNode(call, request, node, &machine);
    if (status == SSWSE_SUCCESS)
        status = buildEntries(call, request, machine, aces);
    if (status != SSWSE_SUCCESS)
        return status;
    return request.object == sswseObjectType::registryKey
               ? applyToKey(call, request, aces)
               : applyToFile(call, request, aces, isMountPoint ? volumePath : nullptr);
}

} // namespace

DWORD WINAPI sswseAddACLOnObjectForUser(sswseErrRec* err, unsigned wtype, const char* path, char** usernames,
                                        int numusers, int ptype, unsigned char inheritable)
{
    const auto args = sswseArgs("wtype = %d\npath = %s\nnumusers= %d\npType = %d\ninheritable = %u", wtype, path,
                                numusers, ptype, inheritable);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (numusers < 0)
            return sswseBadArgument(call, "usernames");
        const sswsePermissionType* const permission = sswseFindPermissionType(wtype, ptype);
        if (!permission) {
            sswseReport(call, WSE_INVALID_INPUT, 0, "", "Windows object type and Permission type mismatch");
            return SSWSE_INVALID_ARGUMENT;
        }
        const auto object = static_cast<sswseObjectType>(wtype);
        Request request = {};
        request.object = object;
        request.permission = permission;
        request.path = path;
        request.usernames = usernames;
        request.userCount = permission->userMask ? static_cast<DWORD>(numusers) : 0;
        request.wholeTree = inheritable && object != sswseObjectType::groupsOnly;
        return addAccess(call, request);
    });
}
