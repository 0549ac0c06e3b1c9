// Can users really do with an object, or with everything below it, what a mask says?
#include "accounts/principal_names.h"
#include "acl/effective_access.h"
#include "acl/generic_rights.h"
#include "acl/object_check.h"
#include "frame/arguments.h"
#include "frame/call.h"

#include <accctrl.h>
#include <aclapi.h>
#include <algorithm>

namespace {

struct Question
{
    char** names;
    owned::Blocks<void> sids;
    sswseAuthorization authorization;
    SE_OBJECT_TYPE type;
    DWORD mask; // in rights of the objects' own kind
};

// A user may have been named twice.
bool isRepeated(const Question& question, DWORD user)
{
    void** const sids = question.sids.entries;
    return std::any_of(sids, sids + user, [&](PSID earlier) { return EqualSid(earlier, sids[user]); });
}

DWORD judgeUser(const sswseCall& call, sswseObjectCheck& check, const wchar_t* path, PSECURITY_DESCRIPTOR security,
                DWORD user, DWORD* osError)
{
    const auto& question = *static_cast<const Question*>(check.question);
    DWORD granted = 0;
    const DWORD status =
        sswseGrantedAccess(call, question.authorization.contexts.get()[user], security, &granted, osError);
    if (status != SSWSE_SUCCESS)
        return status;
    granted &= question.mask;
    if (granted == question.mask)
        return SSWSE_YES;
    sswseFinding finding;
    finding.verb = "allows ";
    finding.name = question.names[user];
    sswseFormatText(finding.detail, " 0x%08lX of 0x%08lX", granted, question.mask);
    return sswseAddFinding(call, check.findings, path, finding);
}

DWORD look(const sswseCall& call, sswseObjectCheck& check, const wchar_t* path, HKEY /*key*/, DWORD* osError)
{
    constexpr SECURITY_INFORMATION parts =
        OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;
    const auto& question = *static_cast<const Question*>(check.question);
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    *osError = GetNamedSecurityInfoW(path, question.type, parts, nullptr, nullptr, nullptr, nullptr, &descriptor);
    if (*osError != ERROR_SUCCESS)
        return sswseFail(call, WSE_GET_SECURITY, *osError, "GetNamedSecurityInfoW");
    const owned::Local<void> security(descriptor);
    DWORD status = SSWSE_YES;
    for (DWORD user = 0; user < question.sids.count && status == SSWSE_YES; ++user)
        if (!isRepeated(question, user))
            status = judgeUser(call, check, path, security.get(), user, osError);
    return status;
}

DWORD checkArguments(const sswseCall& call, unsigned wtype, const char* path, char** usernames, int numusers,
                     DWORD mask, const sswseStringsOut& out)
{
    if (const DWORD status = sswseRequireObjectType(call, wtype); status != SSWSE_SUCCESS)
        return status;
    if (!path)
        return sswseBadArgument(call, "path");
    if (numusers == 0)
        return sswseBadArgument(call, "usernames");
    if (const DWORD status = sswseCheckNameList(call, usernames, numusers, "usernames"); status != SSWSE_SUCCESS)
        return status;
    if (mask == 0 || (mask & (ACCESS_SYSTEM_SECURITY | MAXIMUM_ALLOWED)))
        return sswseBadArgument(call, "mask");
    return sswseCheckStringsOut(call, out, "findings", "count");
}

} // namespace

DWORD WINAPI sswseCheckACLsOnObject(sswseErrRec* err, unsigned wtype, const char* path, char** usernames, int numusers,
                                    DWORD mask, unsigned char inheritable, char*** findings, int* count)
{
    const auto args =
        sswseArgs("wtype=%u\npath=%s\nnumusers=%d\nmask=%u\ninheritable=%u", wtype, path, numusers, mask, inheritable);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        const sswseStringsOut out = sswseClearStrings(findings, count);
        DWORD status = checkArguments(call, wtype, path, usernames, numusers, mask, out);
        const auto object = static_cast<sswseObjectType>(wtype);
        const bool isKey = object == sswseObjectType::registryKey;
        const bool wholeTree = inheritable && object != sswseObjectType::groupsOnly;
        sswseObjectPlace place;
        sswseKeyName name;
        if (status == SSWSE_SUCCESS)
            status = sswseLocateObject(call, object, path, place);
        if (status == SSWSE_SUCCESS && isKey && wholeTree)
            status = sswseSplitKeyName(call, place.path.get(), name);
        Question question = {};
        if (status == SSWSE_SUCCESS)
            status = sswseResolveUsers(call, usernames, static_cast<DWORD>(numusers), place.machine,
                                       sswseSidOfPrincipal, question.sids);
        if (status == SSWSE_SUCCESS)
            status =
                sswseAuthorize(call, place.machine, question.sids.entries, question.sids.count, question.authorization);
        if (status != SSWSE_SUCCESS)
            return status;
        question.names = usernames;
        question.type = isKey ? SE_REGISTRY_KEY : SE_FILE_OBJECT;
        question.mask = sswseMapRights(isKey ? sswseKeyRights : sswseFileRights, mask);
        sswseObjectCheck check = {look, &question, {out}, /*isStrict=*/false};
        if (!isKey)
            status = sswseCheckFiles(call, check, place, wholeTree);
        else
            status = wholeTree ? sswseCheckKeys(call, check, place, name) : sswseCheckNamedKey(call, check, place);
        return sswseAnswerFindings(call, check.findings, status);
    });
}
