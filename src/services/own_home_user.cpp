#include "services/own_home_user.h"

#include "accounts/account_names.h"
#include "frame/call.h"
#include "home/home_registry.h"
#include "home/recorded_user.h"

#include <cstring>

DWORD sswseIsCurKHSvcUserLocalSystem(sswseErrRec* err, const char* nodename)
{
    return sswseRunFramed(err, __func__, sswseArgs("nodename = %s", nodename), [&](const sswseCall& call) -> DWORD {
        char user[512];
        if (sswseGetUnameForKhome(call.rec, user, sizeof user - 1, nullptr, nodename) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        owned::Heap<void> sid;
        if (sswseSidOfName(call, user, sid) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        return IsWellKnownSid(sid.get(), WinLocalSystemSid) ? SSWSE_YES : SSWSE_NO;
    });
}

DWORD sswseIsCurKHSvcUserVA(sswseErrRec* err, const char* nodename)
{
    return sswseRunFramed(err, __func__, sswseArgs("nodename = %s", nodename), [&](const sswseCall& call) -> DWORD {
        char homeKey[512];
        if (sswseGetKestelHomeKey(call.rec, homeKey, sizeof homeKey, nullptr) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        owned::Heap<char> type;
        if (sswseReadValueOfHomeW(call, homeKey, nodename, sswseUserTypeValue, type, nullptr) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        return _stricmp(type.get(), sswseVirtualAccountType) == 0 ? SSWSE_SUCCESS : SSWSE_NO;
    });
}
