// What calls about access to an object have in common: which object, on which machine its accounts are looked up, and
// who gets what there, in order.
#pragma once

#include "acl/ace_array.h"
#include "acl/file_acl.h"
#include "acl/permission_types.h"
#include "acl/vlfs.h"
#include "frame/record.h"

// Where the object is.
struct sswseObjectPlace
{
    owned::Heap<wchar_t> path;
    owned::Heap<wchar_t> node;        // room for the name that `machine` points at
    const wchar_t* machine = nullptr; // whose accounts are meant; NULL: this one
    bool isMountPoint = false;        // of the cluster file system; then `volume` is its volume's path
    char volume[sswseVolumePathSize] = {};
};

// The row for this object and permission type. 2, or 4 with WSE-000063 when they do not go together.
[[nodiscard]] DWORD sswseRequirePermissionType(const sswseCall& call, unsigned wtype, int ptype,
                                               const sswsePermissionType** row);

// For calls without a permission type: 2, or 4 with WSE-000064 for a `wtype` above the `last` one.
[[nodiscard]] DWORD sswseRequireObjectType(const sswseCall& call, unsigned wtype,
                                           sswseObjectType last = sswseObjectType::groupsOnly);

// Converts the path, asks for a mount point (files and directories only) and finds the machine that owns the object. 2;
// 3 with WSE-00002, WSE-00006 or the messages of the mount point; 4 with "path" for a NULL one.
[[nodiscard]] DWORD sswseLocateObject(const sswseCall& call, sswseObjectType object, const char* path,
                                      sswseObjectPlace& place);

// How an account's name is turned into its SID on a machine (NULL: this one). 2, or 3 with the message.
using sswseNameRule = DWORD (*)(const sswseCall& call, const char* name, const wchar_t* machine,
                                owned::Heap<void>& sid);

// The SIDs of users, in their order. 2; 3 with the message of the first one that does not resolve; 4 with "usernames"
// for a NULL array or, once those before it are resolved, a NULL name.
[[nodiscard]] DWORD sswseResolveUsers(const sswseCall& call, char** usernames, DWORD count, const wchar_t* machine,
                                      sswseNameRule rule, owned::Blocks<void>& sids);

// Whom a permission type is to give access.
struct sswseGrantRequest
{
    const sswsePermissionType* permission;
    char** usernames;
    DWORD userCount;         // not looked at when the permission type ignores users
    const char* installUser; // gets full control behind the principals; NULL or "": none
    sswseNameRule rule;      // for users; groups of the permission type are plain names
};

// The entries, inheritable by everything: principals, install user, users.
struct sswseGrants
{
    sswseAceArray aces;
    owned::Heap<const char*> names; // of each: as given, the group's, or the SID in string form
};

// Users are resolved first, then the install user, then the principals. 2; 3 with the message of an account or
// WSE-00002; 4 as above.
[[nodiscard]] DWORD sswseListGrants(const sswseCall& call, const sswseGrantRequest& request, const wchar_t* machine,
                                    sswseGrants& grants);

// Applies the update to the file or directory, with `wholeTree` to everything below it, and then to the volume of a
// mount point. The messages are those of sswseUpdateAclOnFile and sswseUpdateAclOnTree.
[[nodiscard]] DWORD sswseUpdatePlace(const sswseCall& call, const sswseObjectPlace& place, bool wholeTree,
                                     const sswseAclUpdate& update);
