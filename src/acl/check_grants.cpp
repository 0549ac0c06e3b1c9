// Does an object, or everything below it, hold what adding access for users gives?
#include "accounts/principal_names.h"
#include "acl/dacl_judgement.h"
#include "acl/generic_rights.h"
#include "acl/object_check.h"
#include "frame/arguments.h"
#include "frame/call.h"
#include "frame/text.h"

namespace {

struct Question
{
    sswseGrants grants;
    sswseExpectation expectation;
};

DWORD prepare(const sswseCall& call, const sswseGrantRequest& request, const sswseObjectPlace& place, bool isKey,
              Question& question)
{
    const DWORD status = sswseListGrants(call, request, place.machine, question.grants);
    if (status != SSWSE_SUCCESS)
        return status;
    return sswseExpectGrants(call, question.grants, isKey ? sswseKeyRights : sswseFileRights, question.expectation);
}

// What has been read, with the status of reading it.
DWORD judge(const sswseCall& call, sswseObjectCheck& check, const wchar_t* path, DWORD status,
            const sswseExistingDacl& dacl, DWORD* osError)
{
    *osError = dacl.osError;
    if (status != SSWSE_SUCCESS)
        return status;
    const auto& question = *static_cast<const Question*>(check.question);
    return sswseJudgeDacl(call, path, dacl, question.expectation, check.findings);
}

DWORD lookAtFile(const sswseCall& call, sswseObjectCheck& check, const wchar_t* path, HKEY /*key*/, DWORD* osError)
{
    sswseExistingDacl dacl;
    const DWORD status = sswseReadDacl(call, path, /*failOnAccessDenied=*/true, dacl);
    return judge(call, check, path, status, dacl, osError);
}

DWORD lookAtKey(const sswseCall& call, sswseObjectCheck& check, const wchar_t* path, HKEY key, DWORD* osError)
{
    sswseExistingDacl dacl;
    const DWORD status = key ? sswseReadOpenKeyDacl(call, key, dacl) : sswseReadNamedKeyDacl(call, path, dacl);
    return judge(call, check, path, status, dacl, osError);
}

} // namespace

DWORD WINAPI sswseCheckACLOnObjectForUser(sswseErrRec* err, unsigned wtype, const char* path, char** usernames,
                                          int numusers, int ptype, unsigned char inheritable)
{
    const auto args = sswseArgs("wtype=%u\npath=%s\nnumusers=%d\nptype=%d\ninheritable=%u", wtype, path, numusers,
                                ptype, inheritable);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!path)
            return sswseBadArgument(call, "path");
        sswseGrantRequest request = {nullptr, usernames, static_cast<DWORD>(numusers), nullptr, sswseSidOfPrincipal};
        DWORD status = sswseCheckNameList(call, usernames, numusers, "usernames");
        if (status == SSWSE_SUCCESS && ptype == SSWSE_ACCESS_READ_ONLY && numusers == 0)
            status = sswseBadArgument(call, "usernames");
        if (status == SSWSE_SUCCESS)
            status = sswseRequirePermissionType(call, wtype, ptype, &request.permission);
        const auto object = static_cast<sswseObjectType>(wtype);
        const bool isKey = object == sswseObjectType::registryKey;
        sswseObjectPlace place;
        Question question;
        if (status == SSWSE_SUCCESS)
            status = sswseLocateObject(call, object, path, place);
        if (status == SSWSE_SUCCESS)
            status = prepare(call, request, place, isKey, question);
        if (status != SSWSE_SUCCESS)
            return status;
        sswseObjectCheck check = {isKey ? lookAtKey : lookAtFile, &question, {{nullptr, nullptr}}, /*isStrict=*/true};
        const bool wholeTree = inheritable && object != sswseObjectType::groupsOnly;
        status = isKey ? sswseCheckNamedKey(call, check, place) : sswseCheckFiles(call, check, place, wholeTree);
        return sswseAnswerFindings(call, check.findings, status);
    });
}

DWORD WINAPI sswseCheckACLsOnReg(sswseErrRec* err, const char* path, char** usernames, int numusers, int ptype,
                                 char*** findings, int* count)
{
    const auto args = sswseArgs("path=%s\nnumusers=%d\nptype=%d", path, numusers, ptype);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        const sswseStringsOut out = sswseClearStrings(findings, count);
        if (!path)
            return sswseBadArgument(call, "path");
        sswseGrantRequest request = {nullptr, usernames, static_cast<DWORD>(numusers), nullptr, sswseSidOfPrincipal};
        DWORD status = sswseCheckNameList(call, usernames, numusers, "usernames");
        if (status == SSWSE_SUCCESS)
            status = sswseCheckStringsOut(call, out, "findings", "count");
        if (status == SSWSE_SUCCESS)
            status = sswseRequirePermissionType(call, SSWSE_OBJECT_KEY, ptype, &request.permission);
        sswseObjectPlace place;
        sswseKeyName name;
        Question question;
        if (status == SSWSE_SUCCESS)
            status = sswseLocateObject(call, sswseObjectType::registryKey, path, place);
        if (status == SSWSE_SUCCESS)
            status = sswseSplitKeyName(call, place.path.get(), name);
        if (status == SSWSE_SUCCESS)
            status = prepare(call, request, place, /*isKey=*/true, question);
        if (status != SSWSE_SUCCESS)
            return status;
        sswseObjectCheck check = {lookAtKey, &question, {out}, /*isStrict=*/false};
        return sswseAnswerFindings(call, check.findings, sswseCheckKeys(call, check, place, name));
    });
}
