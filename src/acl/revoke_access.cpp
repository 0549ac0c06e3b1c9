// Access of accounts taken back: their allow entries go from a file, a directory tree or a registry key.
#include "accounts/principal_names.h"
#include "acl/object_request.h"
#include "acl/rewrite_tree.h"
#include "frame/arguments.h"
#include "frame/call.h"
#include "frame/text.h"

namespace {

bool isAllowEntry(const sswseAce* ace)
{
    return ace->Header.AceType == ACCESS_ALLOWED_ACE_TYPE || ace->Header.AceType == ACCESS_ALLOWED_CALLBACK_ACE_TYPE;
}

bool allows(const AceListNode& node, PSID sid)
{
    return node.sid && isAllowEntry(static_cast<const sswseAce*>(node.ace)) && EqualSid(node.sid, sid);
}

bool allowsAny(const AceListNode& node, const owned::Blocks<void>& sids)
{
    for (DWORD i = 0; i < sids.count; ++i)
        if (allows(node, sids.entries[i]))
            return true;
    return false;
}

// What is left of the entries; `isChanged`: not all of them. Inherited ones stay in a list whose object gets them from
// above again.
DWORD listRest(const sswseCall& call, const sswseAceList& aces, const owned::Blocks<void>& sids, bool keepInherited,
               sswseAceView& rest, bool* isChanged)
{
    *isChanged = false;
    if (!sswseReserveView(aces, rest))
        return sswseOutOfMemory(call);
    for (const AceListNode* node = aces.first; node; node = node->next) {
        const auto* const ace = static_cast<const sswseAce*>(node->ace);
        if (allowsAny(*node, sids) && !(keepInherited && sswseIsInherited(ace)))
            *isChanged = true;
        else
            rest.entries.get()[rest.count++] = ace;
    }
    return SSWSE_SUCCESS;
}

DWORD revokeFromFile(const sswseCall& call, const void* context, const sswseWalkedObject& object, DWORD* osError)
{
    const auto& sids = *static_cast<const owned::Blocks<void>*>(context);
    sswseExistingDacl existing;
    sswseAceView rest;
    bool isChanged = false;
    DWORD status = sswseReadWalked(call, object, existing, osError);
    if (status == SSWSE_SUCCESS)
        status = listRest(call, existing.aces, sids, /*keepInherited=*/false, rest, &isChanged);
    if (status == SSWSE_SUCCESS && isChanged)
        status = sswseRewriteDacl(call, object.path, rest.entries.get(), rest.count, existing, osError);
    return status;
}

DWORD revokeFromOne(const sswseCall& call, const wchar_t* path, const owned::Blocks<void>& sids)
{
    if (sswseIsReservedPath(path))
        return SSWSE_SUCCESS;
    DWORD osError = ERROR_SUCCESS;
    return revokeFromFile(call, &sids, {path, true}, &osError);
}

DWORD revokeFromFiles(const sswseCall& call, const sswseObjectPlace& place, bool wholeTree,
                      const owned::Blocks<void>& sids)
{
    const wchar_t* const path = place.path.get();
    DWORD status = wholeTree && sswseMayBeDirectory(path) ? sswseRewriteTree(call, path, &sids, revokeFromFile)
                                                          : revokeFromOne(call, path, sids);
    if (status != SSWSE_SUCCESS || !place.isMountPoint)
        return status;
    owned::Heap<wchar_t> volume;
    status = sswseToWide(call, place.volume, volume);
    return status == SSWSE_SUCCESS ? revokeFromOne(call, volume.get(), sids) : status;
}

// The first account that a key above still gives access to.
void tellInherited(const sswseCall& call, const char* path, const sswseAceList& aces, char** usernames,
                   const owned::Blocks<void>& sids)
{
    for (DWORD i = 0; i < sids.count; ++i)
        for (const AceListNode* node = aces.first; node; node = node->next)
            if (sswseIsInherited(static_cast<const sswseAce*>(node->ace)) && allows(*node, sids.entries[i])) {
                char finding[sizeof call.rec->message];
                sswseFormatText(finding, "still inherits %s", usernames[i]);
                sswseReport(call, WSE_TEXT_2, 0, "", path, finding);
                return;
            }
}

DWORD revokeFromKey(const sswseCall& call, const char* path, const wchar_t* widePath, char** usernames,
                    const owned::Blocks<void>& sids)
{
    sswseExistingDacl existing;
    sswseAceView rest;
    bool isChanged = false;
    DWORD status = sswseReadNamedKeyDacl(call, widePath, existing);
    if (status == SSWSE_SUCCESS)
        status = listRest(call, existing.aces, sids, /*keepInherited=*/true, rest, &isChanged);
    if (status == SSWSE_SUCCESS && isChanged)
        status = sswseSetFileSecurity(call.rec, rest.entries.get(), rest.count, widePath, /*useNamedInfo=*/true,
                                      /*inheritFromParent=*/true, /*failOnAccessDenied=*/true);
    if (status == SSWSE_SUCCESS)
        tellInherited(call, path, existing.aces, usernames, sids);
    return status;
}

} // namespace

DWORD WINAPI sswseRevokeACLOnObjectForUser(sswseErrRec* err, unsigned wtype, const char* path, char** usernames,
                                           int numusers, unsigned char inheritable)
{
    const auto args = sswseArgs("wtype=%u\npath=%s\nnumusers=%d\ninheritable=%u", wtype, path, numusers, inheritable);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        DWORD status = sswseRequireObjectType(call, wtype);
        if (status == SSWSE_SUCCESS && !path)
            status = sswseBadArgument(call, "path");
        if (status == SSWSE_SUCCESS)
            status = sswseCheckNameList(call, usernames, numusers, "usernames");
        if (status == SSWSE_SUCCESS && numusers == 0)
            status = sswseBadArgument(call, "usernames");
        const auto object = static_cast<sswseObjectType>(wtype);
        sswseObjectPlace place;
        owned::Blocks<void> sids;
        if (status == SSWSE_SUCCESS)
            status = sswseLocateObject(call, object, path, place);
        if (status == SSWSE_SUCCESS)
            status = sswseResolveUsers(call, usernames, static_cast<DWORD>(numusers), place.machine,
                                       sswseSidOfPrincipal, sids);
        if (status != SSWSE_SUCCESS)
            return status;
        sswseClearRecord(call.rec); // of what finding the machine may have left
        if (object == sswseObjectType::registryKey)
            return revokeFromKey(call, path, place.path.get(), usernames, sids);
        return revokeFromFiles(call, place, inheritable && object != sswseObjectType::groupsOnly, sids);
    });
}
