// Full control for the group that gathers the service SIDs of the library's own home.
#include "accounts/account_names.h"
#include "acl/file_acl.h"
#include "acl/final_ace_list.h"
#include "acl/generic_rights.h"
#include "acl/object_dacl.h"
#include "acl/object_request.h"
#include "frame/call.h"
#include "frame/text.h"
#include "home/home_group.h"

namespace {

// The entry of the home's group on the machine of the object.
DWORD makeEntry(const sswseCall& call, const wchar_t* machine, sswseAceArray& aces)
{
    char homeName[512];
    DWORD status = sswseGetKestelHomeName(call.rec, homeName, sizeof homeName, nullptr);
    if (status != SSWSE_SUCCESS)
        return status;
    char group[512];
    sswseHomeGroup(group, homeName, sswseServiceSidsSuffix);
    owned::Heap<void> sid;
    status = sswseSidOfNameOnNode(call, group, machine, sid);
    if (status != SSWSE_SUCCESS)
        return status;
    if (!aces.reserve(1))
        return sswseOutOfMemory(call);
    return sswseBuildAceArray(call.rec, sid.get(), sswseInheritedByAll, GENERIC_ALL, aces.entries, &aces.count);
}

// The system may keep the entry in two pieces, one for the key and one to be inherited. An entry that another one of
// the account stands before does not count.
bool hasEntry(const sswseAceList& aces, const sswseAce* entry)
{
    const PSID sid = sswseSidOfAce(entry);
    bool isForKey = false;
    bool isForSubkeys = false;
    for (const AceListNode* node = aces.first; node && !(isForKey && isForSubkeys); node = node->next) {
        if (!node->sid || !EqualSid(node->sid, sid) || sswseIsInherited(static_cast<const sswseAce*>(node->ace)))
            continue;
        const auto* const ace = static_cast<const sswseAce*>(node->ace);
        if (ace->Header.AceType != ACCESS_ALLOWED_ACE_TYPE ||
            sswseMapRights(sswseKeyRights, ace->Mask) != KEY_ALL_ACCESS)
            return false;
        isForKey = isForKey || !(ace->Header.AceFlags & INHERIT_ONLY_ACE);
        isForSubkeys = isForSubkeys || ((ace->Header.AceFlags & CONTAINER_INHERIT_ACE) &&
                                        !(ace->Header.AceFlags & NO_PROPAGATE_INHERIT_ACE));
    }
    return isForKey && isForSubkeys;
}

// A key without a list lets everybody in already: one with this entry alone would shut the others out.
DWORD addToKey(const sswseCall& call, const wchar_t* path, const sswseAceArray& aces)
{
    sswseExistingDacl existing;
    DWORD status = sswseReadNamedKeyDacl(call, path, existing);
    if (status != SSWSE_SUCCESS || !existing.hasList || hasEntry(existing.aces, aces.entries[0]))
        return status;
    sswseFinalAces finalAces;
    status =
        sswseCreateFinalAceList(call.rec, existing.aces, aces.entries, aces.count, /*keepExisting=*/true, &finalAces);
    if (status == SSWSE_SUCCESS)
        status = sswseSetFileSecurity(call.rec, finalAces.entries.get(), finalAces.count, path, /*useNamedInfo=*/true,
                                      /*inheritFromParent=*/true, /*failOnAccessDenied=*/true);
    return status == SSWSE_SUCCESS ? SSWSE_SUCCESS : SSWSE_FAILURE;
}

} // namespace

DWORD WINAPI sswseAddFullPermForSVCSIDSGroup(sswseErrRec* err, unsigned wtype, const char* path,
                                             unsigned char inheritable)
{
    const auto args = sswseArgs("wtype=%u\npath=%s\ninheritable=%u", wtype, path, inheritable);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        DWORD status = sswseRequireObjectType(call, wtype, sswseObjectType::registryKey);
        const auto object = static_cast<sswseObjectType>(wtype);
        sswseObjectPlace place;
        sswseAceArray aces;
        if (status == SSWSE_SUCCESS)
            status = sswseLocateObject(call, object, path, place);
        if (status == SSWSE_SUCCESS)
            status = makeEntry(call, place.machine, aces);
        if (status != SSWSE_SUCCESS)
            return status;
        if (object == sswseObjectType::registryKey)
            return addToKey(call, place.path.get(), aces);
        sswseAclUpdate update = {aces.entries, aces.count, /*keepExisting=*/true};
        update.skipUnchanged = true;
        return sswseUpdatePlace(call, place, inheritable != 0, update);
    });
}
