// Access for users to a file, a directory tree or a registry key, as a permission type says: added to what is there, or
// set instead of it.
#include "accounts/account_names.h"
#include "accounts/principal_names.h"
#include "acl/exclusions.h"
#include "acl/object_dacl.h"
#include "acl/object_request.h"
#include "frame/arguments.h"
#include "frame/call.h"

namespace {

struct Request
{
    unsigned wtype;
    const char* path;
    char** usernames;
    int numusers;
    int ptype;
    unsigned char inheritable;
    bool keepExisting;
    const char* installuser = nullptr;
    char** excludelist = nullptr;
    int numexclude = 0;
};

struct Work
{
    sswseObjectType object;
    sswseGrantRequest grants;
    sswseExclusions exclusions;
};

// A key's own entries become exactly these: what it had is not merged. What it inherits stays behind them when entries
// are added; when they are set it inherits nothing.
DWORD applyToKey(const sswseCall& call, const sswseObjectPlace& place, const sswseAceArray& aces, bool keepExisting)
{
    const DWORD status =
        sswseSetFileSecurity(call.rec, aces.entries, aces.count, place.path.get(),
                             /*useNamedInfo=*/true, /*inheritFromParent=*/keepExisting, /*failOnAccessDenied=*/true);
    return status == SSWSE_SUCCESS ? SSWSE_SUCCESS : SSWSE_FAILURE;
}

DWORD checkRequest(const sswseCall& call, const Request& request, Work& work)
{
    if (request.numusers < 0)
        return sswseBadArgument(call, "usernames");
    work.object = static_cast<sswseObjectType>(request.wtype);
    work.grants = {nullptr, request.usernames, static_cast<DWORD>(request.numusers), request.installuser, nullptr};
    const DWORD status = sswseRequirePermissionType(call, request.wtype, request.ptype, &work.grants.permission);
    if (status == SSWSE_SUCCESS && !request.path)
        return sswseBadArgument(call, "path");
    return status;
}

// The further checks of the functions that came later.
DWORD checkLists(const sswseCall& call, const Request& request, Work& work)
{
    DWORD status = sswseCheckNameList(call, request.usernames, request.numusers, "usernames");
    const bool hasInstallUser = request.installuser && request.installuser[0];
    const bool isForUsersOnly = work.grants.permission->principals[0] == sswsePrincipal::none;
    if (status == SSWSE_SUCCESS && isForUsersOnly && !request.numusers && !hasInstallUser)
        status = sswseBadArgument(call, "usernames"); // there is nobody to let in
    if (status == SSWSE_SUCCESS)
        status = sswseCheckNameList(call, request.excludelist, request.numexclude, "excludelist");
    if (status == SSWSE_SUCCESS)
        status =
            sswseReadExclusions(call, request.excludelist, static_cast<DWORD>(request.numexclude), work.exclusions);
    if (status == SSWSE_SUCCESS && request.numexclude && work.object == sswseObjectType::registryKey) {
        sswseReport(call, WSE_INVALID_INPUT, 0, "", "Excluded paths need a file or directory");
        status = SSWSE_INVALID_ARGUMENT;
    }
    return status;
}

DWORD apply(const sswseCall& call, const Request& request, const Work& work)
{
    sswseObjectPlace place;
    sswseGrants grants;
    DWORD status = sswseLocateObject(call, work.object, request.path, place);
    if (status == SSWSE_SUCCESS)
        status = sswseListGrants(call, work.grants, place.machine, grants);
    if (status != SSWSE_SUCCESS || sswseIsStartExcluded(work.exclusions, place.path.get()))
        return status;
    if (work.object == sswseObjectType::registryKey)
        return applyToKey(call, place, grants.aces, request.keepExisting);
    sswseAclUpdate update = {grants.aces.entries, grants.aces.count, request.keepExisting};
    update.excluded = &work.exclusions;
    return sswseUpdatePlace(call, place, request.inheritable && work.object != sswseObjectType::groupsOnly, update);
}

DWORD checkAndApply(const sswseCall& call, const Request& request)
{
    Work work = {};
    DWORD status = checkRequest(call, request, work);
    if (status == SSWSE_SUCCESS && work.grants.permission)
        status = checkLists(call, request, work);
    work.grants.rule = sswseSidOfPrincipal;
    return status == SSWSE_SUCCESS ? apply(call, request, work) : status;
}

// Of the two functions with an install user and excluded paths.
auto argumentLine(const Request& request)
{
    return sswseArgs("wtype=%u\npath=%s\nnumusers=%d\nptype=%d\ninheritable=%u\ninstalluser=%s\nnumexclude=%d",
                     request.wtype, request.path, request.numusers, request.ptype, request.inheritable,
                     request.installuser, request.numexclude);
}

} // namespace

DWORD WINAPI sswseAddACLOnObjectForUser(sswseErrRec* err, unsigned wtype, const char* path, char** usernames,
                                        int numusers, int ptype, unsigned char inheritable)
{
    const auto args = sswseArgs("wtype = %d\npath = %s\nnumusers= %d\npType = %d\ninheritable = %u", wtype, path,
                                numusers, ptype, inheritable);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        const Request request = {wtype, path, usernames, numusers, ptype, inheritable, /*keepExisting=*/true};
        Work work = {};
        const DWORD status = checkRequest(call, request, work);
        work.grants.rule = sswseSidOfNameOnNode; // the later functions know more spellings
        return status == SSWSE_SUCCESS ? apply(call, request, work) : status;
    });
}

DWORD WINAPI sswseSetACLOnObjectForUser(sswseErrRec* err, unsigned wtype, const char* path, char** usernames,
                                        int numusers, int ptype, unsigned char inheritable)
{
    const auto args = sswseArgs("wtype=%u\npath=%s\nnumusers=%d\nptype=%d\ninheritable=%u", wtype, path, numusers,
                                ptype, inheritable);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        return checkAndApply(call, {wtype, path, usernames, numusers, ptype, inheritable, /*keepExisting=*/false});
    });
}

DWORD WINAPI sswseAddACLOnObjectForUser2(sswseErrRec* err, unsigned wtype, const char* path, char** usernames,
                                         int numusers, int ptype, unsigned char inheritable, const char* installuser,
                                         char** excludelist, int numexclude)
{
    const Request request = {wtype,       path,        usernames, numusers, ptype, inheritable, /*keepExisting=*/true,
                             installuser, excludelist, numexclude};
    return sswseRunFramed(err, __func__, argumentLine(request),
                          [&](const sswseCall& call) -> DWORD { return checkAndApply(call, request); });
}

DWORD WINAPI sswseSetACLOnObjectForUser2(sswseErrRec* err, unsigned wtype, const char* path, char** usernames,
                                         int numusers, int ptype, unsigned char inheritable, const char* installuser,
                                         char** excludelist, int numexclude)
{
    const Request request = {wtype,       path,        usernames, numusers, ptype, inheritable, /*keepExisting=*/false,
                             installuser, excludelist, numexclude};
    return sswseRunFramed(err, __func__, argumentLine(request),
                          [&](const sswseCall& call) -> DWORD { return checkAndApply(call, request); });
}
