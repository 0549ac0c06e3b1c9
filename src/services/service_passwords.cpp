// A new password for the services that start under an account: the manager stores it, nobody tries it.
#include "accounts/service_sids.h"
#include "frame/call.h"
#include "frame/kept_message.h"
#include "frame/secret.h"
#include "frame/string_list.h"
#include "home/home_path.h"
#include "services/service_walk.h"

#include <utility>

namespace {

// The services, each at the same place in all lists. They are gathered before the first one is changed.
struct FoundServices
{
    owned::Blocks<wchar_t> names;
    owned::Blocks<wchar_t> startNames; // "" for a service that may not be read
    sswseStringList failed;            // names for the caller, until the change has succeeded
    sswseKeptMessage unreadable;
};

DWORD gather(const sswseCall& call, sswseServiceWalk& walk, FoundServices& found)
{
    DWORD answer = SSWSE_YES;
    while ((answer = sswseNextService(call, walk)) == SSWSE_YES) {
        const bool isReadable = walk.config.data != nullptr;
        if (!isReadable)
            sswseKeepMessage(call, found.unreadable);
        if (!sswseAppendCopy(found.names, walk.name) ||
            !sswseAppendCopy(found.startNames, isReadable ? sswseStartName(*walk.config.data) : L""))
            return sswseOutOfMemory(call);
        if (sswseAddString(call, found.failed, walk.name) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
    }
    return answer == SSWSE_NO ? DWORD{SSWSE_SUCCESS} : answer;
}

// A service that is gone by now needs no password.
DWORD changePassword(const sswseCall& call, SC_HANDLE scm, const wchar_t* name, const wchar_t* startName,
                     const wchar_t* password)
{
    const owned::ServiceHandle service(OpenServiceW(scm, name, SERVICE_CHANGE_CONFIG));
    DWORD osError = service ? ERROR_SUCCESS : GetLastError();
    if (!service)
        return sswseIsServiceGone(osError) ? DWORD{SSWSE_SUCCESS}
                                           : sswseFail(call, WSE_OPEN_SERVICE, osError, "OpenServiceW");
    if (ChangeServiceConfigW(service.get(), SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, nullptr, nullptr,
                             nullptr, nullptr, startName, password, nullptr))
        return SSWSE_SUCCESS;
    osError = GetLastError();
    return sswseIsServiceGone(osError) ? DWORD{SSWSE_SUCCESS}
                                       : sswseFail(call, WSE_UPDATE_SERVICE, osError, "ChangeServiceConfigW");
}

// Leaves in `failed` the services that did not get it, and in the record the message of the first one.
DWORD changeAll(const sswseCall& call, SC_HANDLE scm, FoundServices& found, const wchar_t* password)
{
    sswseKeptMessage first;
    DWORD failures = 0;
    for (DWORD i = 0; i < found.names.count; ++i) {
        DWORD status = SSWSE_FAILURE;
        if (found.startNames.entries[i][0])
            status = changePassword(call, scm, found.names.entries[i], found.startNames.entries[i], password);
        else
            *call.rec = found.unreadable.rec;
        if (status == SSWSE_SUCCESS)
            continue;
        sswseKeepMessage(call, first);
        std::swap(found.failed.entries[failures++], found.failed.entries[i]);
    }
    sswseLeaveKeptMessage(call, first);
    while (found.failed.count > failures)
        free(found.failed.entries[--found.failed.count]);
    return failures ? SSWSE_FAILURE : SSWSE_SUCCESS;
}

DWORD requireOwnPassword(const sswseCall& call, const sswseServiceQuestion& question, PSID account)
{
    if (!IsWellKnownSid(account, WinLocalSystemSid) && !IsWellKnownSid(account, WinLocalServiceSid) &&
        !IsWellKnownSid(account, WinNetworkServiceSid) && !sswseIsOfServiceDomain(account) &&
        sswseIsManagedSVCAccount(call.rec, question.username, question.nodename) != SSWSE_YES)
        return SSWSE_SUCCESS;
    sswseReport(call, WSE_INVALID_INPUT, 0, "", "The account has no password of its own");
    return SSWSE_INVALID_ARGUMENT;
}

DWORD changePasswords(const sswseCall& call, const sswseServiceQuestion& question, const char* password,
                      const sswseStringsOut& failed)
{
    sswseServiceWalk walk;
    FoundServices found;
    owned::Secret secret;
    DWORD status = sswsePrepareServiceWalk(call, question, walk);
    if (status == SSWSE_SUCCESS)
        status = requireOwnPassword(call, question, walk.account.get());
    if (status == SSWSE_SUCCESS)
        status = sswseToWideSecret(call, password, secret);
    if (status == SSWSE_SUCCESS)
        status = sswseOpenServiceWalk(call, question.nodename, walk);
    if (status == SSWSE_SUCCESS)
        status = gather(call, walk, found);
    if (status != SSWSE_SUCCESS)
        return status;
    status = changeAll(call, walk.scm.get(), found, secret.get());
    sswseHandOutStrings(found.failed, failed);
    return status;
}

DWORD checkArguments(const sswseCall& call, const char* username, const char* password, const sswseStringsOut& failed)
{
    if (!username)
        return sswseBadArgument(call, "username");
    if (!password)
        return sswseBadArgument(call, "password");
    return sswseCheckStringsOut(call, failed, "failed", "failcount");
}

} // namespace

DWORD WINAPI sswseChangeServicesPwdForUser(sswseErrRec* err, const char* username, const char* password,
                                           const char* nodename, char*** failed, int* failcount)
{
    const auto args = sswseArgs("username=%s\npassword=%s\nnodename=%s", username, "****", nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        const sswseStringsOut list = sswseClearStrings(failed, failcount);
        if (const DWORD status = checkArguments(call, username, password, list); status != SSWSE_SUCCESS)
            return status;
        return changePasswords(call, {nodename, username}, password, list);
    });
}

DWORD WINAPI sswseChangeServicesPwdInKHForUser(sswseErrRec* err, const char* khomepath, const char* username,
                                               const char* password, const char* nodename, char*** failed,
                                               int* failcount)
{
    const auto args =
        sswseArgs("khomepath=%s\nusername=%s\npassword=%s\nnodename=%s", khomepath, username, "****", nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        const sswseStringsOut list = sswseClearStrings(failed, failcount);
        DWORD status = sswseCheckHomePath(call, khomepath);
        if (status == SSWSE_SUCCESS)
            status = checkArguments(call, username, password, list);
        if (status != SSWSE_SUCCESS)
            return status;
        return changePasswords(call, {nodename, username, true, khomepath}, password, list);
    });
}
