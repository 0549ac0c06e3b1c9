#include "acl/ace_array.h"

#include "accounts/account_names.h"
#include "frame/call.h"

DWORD sswseBuildAceArray(sswseErrRec* err, PSID sid, BYTE aceFlags, DWORD mask, sswseAce** array, DWORD* count)
{
    return sswseRunFramed(err, __func__, sswseNoArgs{}, [&](const sswseCall& call) -> DWORD {
        DWORD status = sswseRequireValidSid(call, sid);
        if (status == SSWSE_SUCCESS)
            status = sswseCreateAceForSid(call.rec, sid, aceFlags, mask, &array[*count]);
        if (status == SSWSE_SUCCESS)
            ++*count;
        return status;
    });
}
