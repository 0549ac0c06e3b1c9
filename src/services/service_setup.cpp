#include "services/service_setup.h"

#include "services/role_table.h"
#include "services/service_acl.h"
#include "services/service_key.h"
#include "services/service_roles.h"
#include "services/service_sid_type.h"

#include <cwchar>

DWORD sswseReadOwnHomeType(const sswseCall& call, const char* nodename, sswseHomeTypeFault reported,
                           sswseDecidedService& decided)
{
    char homeKey[512];
    if (sswseGetKestelHomeKey(call.rec, homeKey, sizeof homeKey, nullptr) != SSWSE_SUCCESS)
        return SSWSE_HOME_NOT_FOUND;
    sswseHomeTypeFault fault = sswseHomeTypeFault::unreadable;
    if (sswseGetKestelHomeType(call.rec, homeKey, decided.khtype, sizeof decided.khtype - 1, nullptr, nodename) ==
        SSWSE_SUCCESS) {
        if (sswseIsKhomeTypeValid(call.rec, decided.khtype) == SSWSE_YES)
            return SSWSE_SUCCESS;
        fault = sswseHomeTypeFault::invalid;
    }
    if (fault == reported)
        sswseReport(call, WSE_UNSUPPORTED_HOME_TYPE, 0, "");
    return SSWSE_UNSUPPORTED_HOME_TYPE;
}

void sswseDecideService(const sswseCall& call, const char* servicename, const char* nodename,
                        sswseDecidedService& decided)
{
    decided.index = sswseNoRole;
    sswseServiceAccount& account = decided.account;
    // The statuses are ignored: only the row and the account count.
    static_cast<void>(sswseGetServiceIndex(call.rec, decided.svckey, decided.khtype, &decided.index));
    static_cast<void>(
        sswseDecideSvcUser(call.rec, decided.svckey, decided.khtype, decided.index, nodename, servicename, account));
    if (!account.isVirtual && sswseIsManagedSVCAccount(call.rec, account.name, nodename) == SSWSE_YES)
        account.isUserAccount = false; // the domain keeps its password
}

DWORD sswseMakeServiceLogon(const sswseCall& call, const sswseDecidedService& decided, const char* account,
                            const char* password, sswseServiceLogon& logon)
{
    constexpr wchar_t ownMachine[] = L".\\";
    if (sswseToWideSecret(call, decided.account.isUserAccount ? password : nullptr, logon.password) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    if (!account || !account[0])
        return SSWSE_SUCCESS;
    size_t length = 0;
    if (sswseToWide(call, account, logon.account, &length) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    if (wcschr(logon.account.get(), L'\\'))
        return SSWSE_SUCCESS;
    owned::Heap<wchar_t> qualified = owned::allocate<wchar_t>(sizeof ownMachine + length * sizeof(wchar_t));
    if (!qualified)
        return sswseOutOfMemory(call);
    wcscpy(qualified.get(), ownMachine);
    wcscat(qualified.get(), logon.account.get());
    logon.account = std::move(qualified);
    return SSWSE_SUCCESS;
}

DWORD sswseEquipService(const sswseCall& call, const char* servicename, const char* nodename,
                        sswseDecidedService& decided, SC_HANDLE service)
{
    char(&account)[512] = decided.account.name;
    DWORD sidtypeUR = 0;
    // The statuses of these three are ignored: a service without them is usable, and older systems lack some of them.
    static_cast<void>(
        sswseSetSvcTypeUnrestricted(call.rec, servicename, decided.svckey, decided.khtype, nodename, sidtypeUR));
    static_cast<void>(sswseSetACLOnService(call.rec, service));
    static_cast<void>(sswseAddSvcToSVCSIDSGrp(call.rec, servicename, decided.khtype, account, nodename));

    // Before the row is asked for: a service without one still joins its home's group of service accounts.
    if (decided.account.isVirtual &&
        sswseAddSvcToVAGroups(call.rec, servicename, decided.khtype, account, decided.index, nodename) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    if (decided.index == sswseNoRole)
        return SSWSE_SUCCESS;
    if (!account[0] &&
        sswseGetBuiltinAccName(call.rec, "LOCAL_SYSTEM", account, sizeof account - 1, nullptr) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    if (sswseAddSvcToGroups(call.rec, servicename, decided.khtype, decided.index, account, nodename, sidtypeUR) !=
            SSWSE_SUCCESS ||
        sswseGrantPrivsToSvc(call.rec, servicename, decided.khtype, decided.index, account, nodename) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return SSWSE_SUCCESS;
}
