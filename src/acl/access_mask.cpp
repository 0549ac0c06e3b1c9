// The question whether a list of entries grants a SID a mask.
#include "accounts/account_names.h"
#include "acl/ace_list.h"
#include "frame/call.h"

namespace {

// The entry's own SID counts by the rules for entries; one that lies elsewhere is the caller's word.
bool isOf(const AceListNode& node, PSID sid)
{
    const auto* const ace = static_cast<const sswseAce*>(node.ace);
    if (!ace || !node.sid)
        return false;
    const PSID found = node.sid == static_cast<const void*>(&ace->SidStart) ? sswseSidOfAce(ace) : node.sid;
    return found && IsValidSid(found) && EqualSid(found, sid);
}

} // namespace

DWORD WINAPI sswseCheckAccessMask(sswseErrRec* err, void* reserved, AceListNode* list, PSID sid, DWORD mask)
{
    (void)reserved;
    // The record keeps what an earlier step of the caller left in it.
    const auto args = sswseArgs("Mask = %u", mask);
    return sswseRunFramedKeepingRecord(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        const DWORD status = sswseRequireValidSid(call, sid);
        if (status != SSWSE_SUCCESS)
            return status;
        for (const AceListNode* node = list; node; node = node->next)
            if (isOf(*node, sid)) { // the first one decides
                const DWORD granted = static_cast<sswseAce*>(node->ace)->Mask;
                return (granted & mask) == mask ? SSWSE_YES : SSWSE_NO;
            }
        return SSWSE_NO;
    });
}
