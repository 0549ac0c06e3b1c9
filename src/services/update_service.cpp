// Gives an existing service of the library's own home a new binary path and decides its account, groups and rights
// anew.
#include "accounts/principal_names.h"
#include "frame/call.h"
#include "services/service_key.h"
#include "services/service_manager.h"
#include "services/service_setup.h"

namespace {

DWORD changeConfiguration(const sswseCall& call, const sswseServiceLogon& logon, const char* binpath, SC_HANDLE service)
{
    owned::Heap<wchar_t> path;
    if (sswseToWide(call, binpath, path) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    // No account would leave the present one in place, so LocalSystem must be named.
    const wchar_t* const account = logon.account ? logon.account.get() : sswseLocalSystem;
    if (!ChangeServiceConfigW(service, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, path.get(), nullptr,
                              nullptr, nullptr, account, logon.password.get(), nullptr))
        return sswseFail(call, WSE_UPDATE_SERVICE, GetLastError(), "ChangeServiceConfigW");
    return SSWSE_SUCCESS;
}

} // namespace

DWORD WINAPI sswseUpdateService(sswseErrRec* err, const char* nodename, const char* servicename, const char* username,
                                const char* password, const char* binpath)
{
    // `username` is only traced: the home decides.
    const auto args = sswseArgs("nodename = %s\nService Name = %s\nUsername = %s   \nPassword = %s\nBinpath = %s",
                                nodename, servicename, username, "****", binpath);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!servicename)
            return sswseBadArgument(call, "Service Name");
        sswseDecidedService decided;
        if (sswseGetServiceKeyFromBinPath(call.rec, binpath, servicename, decided.svckey, sizeof decided.svckey) !=
            SSWSE_SUCCESS)
            return SSWSE_INVALID_ARGUMENT;
        // An invalid home type gives no message here, unlike at creation: deliberate.
        const DWORD status = sswseReadOwnHomeType(call, nodename, sswseHomeTypeFault::unreadable, decided);
        if (status != SSWSE_SUCCESS)
            return status;
        sswseDecideService(call, servicename, nodename, decided);
        sswseServiceLogon logon;
        sswseOpenedService opened;
        if (sswseMakeServiceLogon(call, decided, decided.account.name, password, logon) != SSWSE_SUCCESS ||
            sswseOpenNodeService(call, nodename, servicename, SERVICE_ALL_ACCESS, opened) != SSWSE_SUCCESS ||
            changeConfiguration(call, logon, binpath, opened.service.get()) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        return sswseEquipService(call, servicename, nodename, decided, opened.service.get());
    });
}
