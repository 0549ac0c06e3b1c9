// The name of the local group that gathers a home's virtual accounts, "KES_<home name>_SVCACCTS", and back.
#include "frame/call.h"
#include "frame/text.h"
#include "home/home_group.h"

#include <cstring>

namespace {

constexpr size_t fixedLength = sizeof sswseHomeGroupPrefix - 1 + sizeof sswseServiceAccountsSuffix - 1;

} // namespace

DWORD WINAPI sswseGetVAGroupnameForKHomename(sswseErrRec* err, const char* homename, char* groupname, size_t gamel,
                                             size_t* outlen)
{
    const auto args = sswseArgs("homename=%s\ngamel=%Iu", homename, gamel);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!homename)
            return sswseBadArgument(call, "homename");
        if (!groupname)
            return sswseBadArgument(call, "groupname");
        if (gamel < strlen(homename) + fixedLength + 1)
            return sswseBufferTooSmall(call, "groupname");
        char work[512];
        sswseHomeGroup(work, homename, sswseServiceAccountsSuffix);
        const size_t length = strlen(work);
        strcpy(groupname, work);
        if (outlen)
            *outlen = length;
        return SSWSE_SUCCESS;
    });
}

DWORD WINAPI sswseGetKHomeNameFromVAGroupName(sswseErrRec* err, const char* groupname, char* homename, size_t hnamel,
                                              size_t* outlen)
{
    const auto args = sswseArgs("groupname=%s\nhnamel=%Iu", groupname, hnamel);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        // The order that callers know, and the length is not optional here: deliberate.
        if (!homename)
            return sswseBadArgument(call, "homename");
        if (!outlen)
            return sswseBadArgument(call, "outlen");
        if (!groupname)
            return sswseBadArgument(call, "groupname");
        char work[512];
        if (const DWORD status = sswseCopy(call, work, sizeof work, groupname); status != SSWSE_SUCCESS)
            return status;
        // Both are looked for from the start and may stand anywhere; the message's name is not an argument's:
        // deliberate.
        const char* const begin = strstr(work, sswseHomeGroupPrefix);
        char* const end = strstr(work, sswseServiceAccountsSuffix);
        if (!begin || !end)
            return sswseBadArgument(call, "tempstr");
        const char* const name = begin + sizeof sswseHomeGroupPrefix - 1;
        if (end <= name)
            return sswseBadArgument(call, "groupname");
        *end = '\0';
        const size_t length = static_cast<size_t>(end - name);
        if (length + 1 > hnamel)
            return sswseBufferTooSmall(call, "homename");
        strcpy(homename, name);
        *outlen = length;
        return SSWSE_SUCCESS;
    });
}
