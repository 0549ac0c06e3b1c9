// Access for users to a file, a directory tree or a registry key, as a permission type says.
#include "accounts/account_names.h"
#include "acl/file_acl.h"
#include "acl/object_dacl.h"
#include "acl/object_request.h"
#include "acl/tree_acl.h"
#include "frame/call.h"
#include "frame/text.h"

namespace {

// A key's own entries become exactly these: what it had is not merged. What it inherits stays behind them.
DWORD applyToKey(const sswseCall& call, const sswseObjectPlace& place, const sswseAceArray& aces)
{
    const DWORD status =
        sswseSetFileSecurity(call.rec, aces.entries, aces.count, place.path.get(),
                             /*useNamedInfo=*/true, /*inheritFromParent=*/true, /*failOnAccessDenied=*/true);
    return status == SSWSE_SUCCESS ? SSWSE_SUCCESS : SSWSE_FAILURE;
}

DWORD applyToFile(const sswseCall& call, const sswseObjectPlace& place, bool wholeTree, const sswseAceArray& aces)
{
    const auto apply = wholeTree ? sswseUpdateAclOnTree : sswseUpdateAclOnFile;
    DWORD status =
        apply(call.rec, place.path.get(), aces.entries, aces.count, /*keepExisting=*/true, /*failOnAccessDenied=*/true);
    if (status != SSWSE_SUCCESS || !place.isMountPoint)
        return status;
    owned::Heap<wchar_t> volume;
    status = sswseToWide(call, place.volume, volume);
    if (status != SSWSE_SUCCESS)
        return status;
    const sswseErrRec walk = *call.rec;
    status = sswseUpdateAclOnFile(call.rec, volume.get(), aces.entries, aces.count, /*keepExisting=*/true,
                                  /*failOnAccessDenied=*/true);
    if (!call.rec->message[0]) // the message of a skipped child outlives a volume without one
        *call.rec = walk;
    return status == SSWSE_SUCCESS ? SSWSE_SUCCESS : SSWSE_FAILURE;
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
        sswseGrantRequest request = {nullptr, usernames, static_cast<DWORD>(numusers), nullptr, sswseSidOfNameOnNode};
        DWORD status = sswseRequirePermissionType(call, wtype, ptype, &request.permission);
        const auto object = static_cast<sswseObjectType>(wtype);
        sswseObjectPlace place;
        sswseGrants grants;
        if (status == SSWSE_SUCCESS)
            status = sswseLocateObject(call, object, path, place);
        if (status == SSWSE_SUCCESS)
            status = sswseListGrants(call, request, place.machine, grants);
        if (status != SSWSE_SUCCESS)
            return status;
        if (object == sswseObjectType::registryKey)
            return applyToKey(call, place, grants.aces);
        return applyToFile(call, place, inheritable && object != sswseObjectType::groupsOnly, grants.aces);
    });
}
