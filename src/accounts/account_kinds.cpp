// What kind of account a name stands for.
#include "accounts/account_names.h"
#include "frame/call.h"
#include "frame/text.h"

namespace {

DWORD lookup(const sswseCall& call, const char* username, sswseAccount& account)
{
    owned::Heap<wchar_t> name;
    if (sswseToWide(call, username, name) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return sswseLookupAccount(call, nullptr, name.get(), "LookupAccountNameW", account);
}

} // namespace

// One rule for all: the accounts of BUILTIN, NT AUTHORITY and NT SERVICE are of another domain than the computer's too.
DWORD WINAPI sswseIsUserDomainUser(sswseErrRec* err, const char* username)
{
    return sswseRunFramed(err, __func__, sswseArgs("username = %s", username), [&](const sswseCall& call) -> DWORD {
        if (!username)
            return sswseBadArgument(call, "username");
        sswseAccount account;
        if (lookup(call, username, account) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        wchar_t computer[MAX_COMPUTERNAME_LENGTH + 1];
        if (sswseComputerName(call, computer) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        return CompareStringOrdinal(account.domain.get(), -1, computer, -1, TRUE) == CSTR_EQUAL ? SSWSE_NO : SSWSE_YES;
    });
}

DWORD WINAPI sswseCheckUserExists(sswseErrRec* err, const char* username)
{
    return sswseRunFramed(err, __func__, sswseArgs("username = %s", username), [&](const sswseCall& call) -> DWORD {
        if (!username)
            return sswseBadArgument(call, "username");
        sswseAccount account;
        if (lookup(call, username, account) == SSWSE_SUCCESS)
            return account.use == SidTypeUser ? SSWSE_YES : SSWSE_NO;
        if (account.osError != ERROR_NONE_MAPPED)
            return SSWSE_FAILURE;
        sswseClearRecord(call.rec); // that there is none is an answer, not a failure
        return SSWSE_NO;
    });
}
