#include "acl/dacl_judgement.h"

#include "acl/generic_rights.h"
#include "frame/format.h"

#include <algorithm>

namespace {

// What the entries of one account say, as far as they count for the object itself.
struct Standing
{
    DWORD allowed = 0; // by any of them
    DWORD denied = 0;  // by the first one that has the bit
};

Standing standingOf(const AceListNode* entries, PSID sid, const GENERIC_MAPPING& rights)
{
    Standing standing;
    for (const AceListNode* node = entries; node; node = node->next) {
        const auto& ace = *static_cast<const sswseAce*>(node->ace);
        if ((ace.Header.AceFlags & INHERIT_ONLY_ACE) || !node->sid || !EqualSid(node->sid, sid))
            continue;
        const DWORD mask = sswseMapRights(rights, ace.Mask);
        if (ace.Header.AceType == ACCESS_ALLOWED_ACE_TYPE)
            standing.allowed |= mask;
        else if (ace.Header.AceType == ACCESS_DENIED_ACE_TYPE)
            standing.denied |= mask & ~standing.allowed;
    }
    return standing;
}

DWORD tell(const sswseCall& call, const wchar_t* path, const char* verb, const char* name, DWORD mask,
           sswseFindings& findings)
{
    sswseFinding finding;
    finding.verb = verb;
    finding.name = name;
    sswseFormatText(finding.detail, " 0x%08lX", mask);
    return sswseAddFinding(call, findings, path, finding);
}

DWORD judgeAccount(const sswseCall& call, const wchar_t* path, const Standing& standing,
                   const sswseExpectedAccess& account, sswseFindings& findings)
{
    const DWORD denied = account.mask & standing.denied;
    sswseAce allowed = {};
    allowed.Mask = standing.allowed;
    AceListNode united = {&allowed, account.sid, nullptr};
    const DWORD answer = sswseCheckAccessMask(call.rec, nullptr, &united, account.sid, account.mask & ~denied);
    if (answer == SSWSE_NO)
        return tell(call, path, "does not grant ", account.name, account.mask, findings);
    if (answer == SSWSE_YES && denied)
        return tell(call, path, "denies ", account.name, denied, findings);
    return answer;
}

} // namespace

DWORD sswseExpectGrants(const sswseCall& call, const sswseGrants& grants, const GENERIC_MAPPING& rights,
                        sswseExpectation& expectation)
{
    expectation.rights = &rights;
    expectation.accounts = owned::allocate<sswseExpectedAccess>(grants.aces.count * sizeof(sswseExpectedAccess));
    if (!expectation.accounts)
        return sswseOutOfMemory(call);
    sswseExpectedAccess* const first = expectation.accounts.get();
    for (DWORD i = 0; i < grants.aces.count; ++i) {
        sswseAce& ace = *grants.aces.entries[i];
        const PSID sid = &ace.SidStart;
        const DWORD mask = sswseMapRights(rights, ace.Mask);
        sswseExpectedAccess* const end = first + expectation.count;
        sswseExpectedAccess* const known =
            std::find_if(first, end, [sid](const sswseExpectedAccess& row) { return EqualSid(row.sid, sid); });
        if (known != end) { // entries of one account are merged
            known->mask |= mask;
            continue;
        }
        *end = {sid, mask, grants.names.get()[i]};
        ++expectation.count;
    }
    return SSWSE_SUCCESS;
}

DWORD sswseJudgeDacl(const sswseCall& call, const wchar_t* path, const sswseExistingDacl& dacl,
                     const sswseExpectation& expectation, sswseFindings& findings)
{
    if (!dacl.hasList) {
        sswseFinding finding;
        finding.verb = "has no access-control list";
        return sswseAddFinding(call, findings, path, finding);
    }
    DWORD status = SSWSE_YES;
    for (DWORD i = 0; i < expectation.count && status == SSWSE_YES; ++i) {
        const sswseExpectedAccess& account = expectation.accounts.get()[i];
        const Standing standing = standingOf(dacl.aces.first, account.sid, *expectation.rights);
        status = judgeAccount(call, path, standing, account, findings);
    }
    return status;
}
