#include "accounts/builtin_accounts.h"

#include "accounts/account_names.h"
#include "frame/call.h"

#include <cstring>

namespace {

constexpr sswseBuiltinAccount builtinAccounts[] = {
    {"LOCAL_SYSTEM", "S-1-5-18", SSWSE_BUILTIN_LOCAL_SYSTEM},
    {"LOCAL_SERVICE", "S-1-5-19", SSWSE_BUILTIN_LOCAL_SERVICE},
    {"NETWORK_SERVICE", "S-1-5-20", SSWSE_BUILTIN_NETWORK_SERVICE},
};

} // namespace

const sswseBuiltinAccount* sswseFindBuiltinKeyword(const char* keyword)
{
    for (const sswseBuiltinAccount& account : builtinAccounts)
        if (_stricmp(keyword, account.keyword) == 0)
            return &account;
    return nullptr;
}

DWORD WINAPI sswseGetBuiltinAccName(sswseErrRec* err, const char* accname, char* buf, size_t ilen, size_t* outlen)
{
    return sswseRunFramed(err, __func__, sswseArgs("ilen=%Iu", ilen), [&](const sswseCall& call) -> DWORD {
        if (!accname)
            return sswseBadArgument(call, "account name");
        const sswseBuiltinAccount* const account = sswseFindBuiltinKeyword(accname);
        if (!account)
            return SSWSE_FAILURE; // no keyword: told from a failure by the empty record
        if (!buf && ilen)
            return sswseBadArgument(call, "buf");
        owned::Local<void> sid;
        if (sswseSidFromString(call, account->sid, sid) != SSWSE_SUCCESS ||
            sswseRequireValidSid(call, sid.get()) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        const DWORD status = sswseConvertSIDToUname(call.rec, sid.get(), buf, ilen, outlen);
        return status == SSWSE_SUCCESS ? SSWSE_SUCCESS : SSWSE_FAILURE;
    });
}

// A missing name answers 3 here, not 4, and a name that is none of the three answers 3 with an empty record:
// deliberate.
DWORD WINAPI sswseIsNameBuiltinAcc(sswseErrRec* err, const char* accname, DWORD* kind)
{
    return sswseRunFramed(err, __func__, sswseArgs("accname=%s", accname), [&](const sswseCall& call) -> DWORD {
        if (kind)
            *kind = 0;
        if (!accname)
            return sswseBadArgument(call, "account name", SSWSE_FAILURE);
        if (!kind)
            return sswseBadArgument(call, "kind");
        PSID converted = nullptr;
        if (sswseConvertUnameToSID(call.rec, accname, &converted) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        const owned::Heap<void> sid(converted);
        for (const sswseBuiltinAccount& account : builtinAccounts) {
            owned::Local<void> builtin;
            if (sswseSidFromString(call, account.sid, builtin) != SSWSE_SUCCESS)
                return SSWSE_FAILURE;
            if (EqualSid(sid.get(), builtin.get())) {
                *kind = account.kind;
                return SSWSE_YES;
            }
        }
        return SSWSE_FAILURE;
    });
}
