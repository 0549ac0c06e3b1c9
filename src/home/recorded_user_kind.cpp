// What kind of account a home's recorded service user is.
#include "home/recorded_user.h"

#include "accounts/account_names.h"
#include "frame/call.h"
#include "home/home_registry.h"
#include "home/key_file.h"

#include <cstdlib>
#include <cstring>

namespace {

struct UserAnswers
{
    const char* label; // what the message about a missing path calls it
    DWORD userNotRead; // the answer when the recorded user cannot be read
};

// `test(user)` answers for the user recorded for the home at `path`.
template <class Test>
DWORD askOfUser(const sswseCall& call, const char* path, const char* nodename, const UserAnswers& answers, Test test)
{
    if (!path)
        return sswseBadArgument(call, answers.label);
    char user[512];
    if (sswseGetUnameForKhomePath(call.rec, path, user, sizeof user - 1, nullptr, nodename) != SSWSE_SUCCESS)
        return answers.userNotRead;
    return test(static_cast<const char*>(user));
}

DWORD isWellKnown(const sswseCall& call, const char* ckhpath, const char* nodename, WELL_KNOWN_SID_TYPE type)
{
    return askOfUser(call, ckhpath, nodename, {"KestelHomePath", SSWSE_FAILURE}, [&](const char* user) -> DWORD {
        owned::Heap<void> sid;
        if (sswseSidOfName(call, user, sid) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        return IsWellKnownSid(sid.get(), type) ? SSWSE_YES : SSWSE_NO;
    });
}

} // namespace

DWORD WINAPI sswseIsSVCUserMSA(sswseErrRec* err, const char* khomepath, const char* nodename)
{
    const auto args = sswseArgs("khomepath=%s\nnodename=%s", khomepath, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        return askOfUser(call, khomepath, nodename, {"KestelHome Path", SSWSE_HOME_NOT_FOUND},
                         [&](const char* user) { return sswseIsManagedSVCAccount(call.rec, user, nodename); });
    });
}

DWORD WINAPI sswseIsSVCUserGMSA(sswseErrRec* err, const char* ckhpath, const char* cNode)
{
    const auto args = sswseArgs("ckhpath=%s\ncNode=%s", ckhpath, cNode);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        return askOfUser(call, ckhpath, cNode, {"KestelHomePath", SSWSE_FAILURE},
                         [&](const char* user) { return sswseIsGroupManagedSVCAccount(call.rec, user, cNode); });
    });
}

DWORD WINAPI sswseIsSvcUserLocalSystem(sswseErrRec* err, const char* ckhpath, const char* nodename)
{
    const auto args = sswseArgs("ckhpath=%s\nnodename=%s", ckhpath, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) {
        return isWellKnown(call, ckhpath, nodename, WinLocalSystemSid);
    });
}

DWORD WINAPI sswseIsSvcUserLocalService(sswseErrRec* err, const char* ckhpath, const char* nodename)
{
    const auto args = sswseArgs("ckhpath=%s\nnodename=%s", ckhpath, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) {
        return isWellKnown(call, ckhpath, nodename, WinLocalServiceSid);
    });
}

DWORD WINAPI sswseIsSVCUserPasswordRequired(sswseErrRec* err, const char* khomepath, const char* nodename)
{
    const auto args = sswseArgs("khomepath=%s\nnodename=%s", khomepath, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        constexpr sswseKeyFileAnswers answers = {SSWSE_HOME_NOT_FOUND, SSWSE_FAILURE, SSWSE_FAILURE, false};
        if (!khomepath)
            return sswseBadArgument(call, "KestelHome Path");
        sswseKeyLine line;
        const char* homeKey = nullptr;
        sswseMachineKey home;
        sswseHomeValue required;
        DWORD status = sswseFindHomeKey(call, khomepath, answers, line, &homeKey);
        if (status == SSWSE_SUCCESS)
            status = sswseOpenHomeA(call, homeKey, nodename, KEY_QUERY_VALUE, home);
        if (status == SSWSE_SUCCESS)
            status = sswseReadHomeValueA(call, home.key.get(), sswsePasswordRequiredValue, required);
        if (status != SSWSE_SUCCESS)
            return status;
        return strtol(required.text, nullptr, 10) > 0 ? SSWSE_YES : SSWSE_NO;
    });
}

DWORD WINAPI sswseIsSvcUserVirtualAccount(sswseErrRec* err, const char* khomepath, const char* nodename)
{
    const auto args = sswseArgs("KhomePath=%s \n nodename=%s", khomepath, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        constexpr sswseKeyFileAnswers answers = {SSWSE_FAILURE, SSWSE_FAILURE, SSWSE_HOME_NOT_FOUND, true};
        if (!khomepath)
            return sswseBadArgument(call, "KestelHome Path");
        sswseKeyLine line;
        const char* homeKey = nullptr;
        owned::Heap<char> type;
        bool absent = false;
        DWORD status = sswseFindHomeKey(call, khomepath, answers, line, &homeKey);
        if (status == SSWSE_SUCCESS)
            status = sswseReadValueOfHomeW(call, homeKey, nodename, sswseUserTypeValue, type, nullptr, &absent);
        if (status != SSWSE_SUCCESS)
            return status;
        return !absent && _stricmp(type.get(), sswseVirtualAccountType) == 0 ? SSWSE_YES : SSWSE_NO;
    });
}
