// The type of a home, one of the texts "0", "1" and "2": read, set, validated.
#include "accounts/home_types.h"
#include "frame/call.h"
#include "home/home_registry.h"
#include "home/home_values.h"

#include <cstring>

namespace {

constexpr sswseHomeValueNames typeNames = {"KESTEL_HOME_TYPE", "Kestelhometype", "KestelHome Type"};
constexpr const char* validTypes[] = {sswseHomeType0, sswseHomeType1, sswseHomeType2};

DWORD checkTypeArguments(const sswseCall& call, const char* khomekey, const char* khtype)
{
    if (!khomekey)
        return sswseBadArgument(call, "KestelHome Key");
    if (!khtype)
        return sswseBadArgument(call, typeNames.noBuffer);
    return SSWSE_SUCCESS;
}

} // namespace

DWORD WINAPI sswseGetKestelHomeType(sswseErrRec* err, const char* khomekey, char* khtype, size_t khtypel,
                                    size_t* outlen, const char* nodename)
{
    const auto args = sswseArgs("khomekey=%s\nkhtypel=%Iu\nnodename=%s", khomekey, khtypel, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        sswseMachineKey home;
        DWORD status = checkTypeArguments(call, khomekey, khtype);
        if (status == SSWSE_SUCCESS)
            status = sswseOpenHomeA(call, khomekey, nodename, KEY_QUERY_VALUE, home);
        if (status != SSWSE_SUCCESS)
            return status;
        return sswseCopyHomeValue(call, home.key.get(), typeNames, khtype, khtypel, outlen);
    });
}

DWORD WINAPI sswseSetKestelHomeType(sswseErrRec* err, const char* khomekey, const char* khometype, const char* nodename)
{
    const auto args = sswseArgs("khomekey=%s\nkhometype=%s\nnodename=%s", khomekey, khometype, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (const DWORD status = checkTypeArguments(call, khomekey, khometype); status != SSWSE_SUCCESS)
            return status;
        if (sswseIsKhomeTypeValid(call.rec, khometype) == SSWSE_NO) {
            sswseReport(call, WSE_UNSUPPORTED_HOME_TYPE, 0, "");
            return SSWSE_UNSUPPORTED_HOME_TYPE;
        }
        // The key is opened, never created: a home without a key cannot be given a type.
        sswseMachineKey home;
        DWORD status = sswseOpenHomeA(call, khomekey, nodename, KEY_SET_VALUE, home);
        if (status != SSWSE_SUCCESS)
            return status;
        status = sswseSetRegistryTextA(call, home.key.get(), typeNames.value, REG_SZ, khometype);
        RegFlushKey(home.key.get()); // on disk when the call returns
        return status;
    });
}

DWORD WINAPI sswseIsKhomeTypeValid(sswseErrRec* err, const char* khometype)
{
    return sswseRunFramed(err, __func__, sswseArgs("khometype=%s", khometype), [&](const sswseCall& call) -> DWORD {
        if (!khometype)
            return sswseBadArgument(call, typeNames.noBuffer);
        for (const char* valid : validTypes)
            if (strcmp(khometype, valid) == 0)
                return SSWSE_YES;
        return SSWSE_NO;
    });
}

DWORD WINAPI sswseGetKestelHomeTypeForKHPath(sswseErrRec* err, char* khomepath, char* khtype, size_t khtypel,
                                             size_t* outlen, const char* nodename)
{
    const auto args = sswseArgs("KhomePath=%s\nkhtypel=%Iu\nnodename=%s", khomepath, khtypel, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        return sswseCopyHomeValueOfPath(call, khomepath, typeNames, khtype, khtypel, outlen, nodename);
    });
}
