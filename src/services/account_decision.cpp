#include "services/account_decision.h"

#include "accounts/home_types.h"
#include "frame/call.h"
#include "services/own_home_user.h"
#include "services/role_table.h"

#include <cstring>

namespace {

// What the routines that write account names are told of the name's 512 bytes.
constexpr size_t announcedSize = sizeof(sswseServiceAccount::name) - 1;

DWORD virtualAccount(const sswseCall& call, const char* servicename, sswseServiceAccount& account)
{
    account.isVirtual = true;
    const DWORD status = sswseGetServiceSidName(call.rec, servicename, account.name, announcedSize, nullptr);
    // Upside down, so a name that was found answers 3. Nobody sees it: the caller goes by the account.
    return status == 0 ? SSWSE_SUCCESS : SSWSE_FAILURE;
}

DWORD builtinAccount(const sswseCall& call, const char* keyword, sswseServiceAccount& account)
{
    return sswseGetBuiltinAccName(call.rec, keyword, account.name, announcedSize, nullptr) == SSWSE_SUCCESS
               ? SSWSE_SUCCESS
               : SSWSE_FAILURE;
}

DWORD homeServiceUser(const sswseCall& call, const char* nodename, sswseServiceAccount& account)
{
    if (sswseGetUnameForKhome(call.rec, account.name, announcedSize, nullptr, nodename) != SSWSE_SUCCESS) {
        account.name[0] = '\0'; // a home without a readable service user runs as LocalSystem, silently
        return SSWSE_SUCCESS;
    }
    DWORD kind = 0;
    if (sswseIsNameBuiltinAcc(call.rec, account.name, &kind) != SSWSE_YES) {
        account.isUserAccount = true;
        return SSWSE_SUCCESS;
    }
    if (kind == SSWSE_BUILTIN_LOCAL_SYSTEM)
        account.name[0] = '\0';
    return SSWSE_SUCCESS;
}

} // namespace

DWORD sswseDecideSvcUser(sswseErrRec* err, const char* svckey, const char* khtype, int index, const char* nodename,
                         const char* servicename, sswseServiceAccount& account)
{
    const bool found = index != sswseNoRole;
    const auto args = sswseArgs("svckey = %s\nkhtype = %s\nindex = %d   \nsvcIndexFound = %d\nilen = %Iu\n"
                                "nodename = %s\n servicename = %s",
                                svckey, khtype, index, found, announcedSize, nodename, servicename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        account = {};
        if (!svckey || !khtype)
            return SSWSE_FAILURE;
        if (sswseIsCurKHSvcUserVA(call.rec, nodename) == SSWSE_SUCCESS)
            return virtualAccount(call, servicename, account);
        if (!found && strcmp(khtype, sswseHomeType0) == 0)
            return SSWSE_SUCCESS; // LocalSystem, even if the home has a service user
        const sswseRoleTable* const table = sswseRoleTableOf(khtype);
        if (!table)
            return SSWSE_SUCCESS;
        const sswseServiceRole& role = sswseRoleAt(*table, index);
        if (!sswseSameServiceKey(role.svckey, svckey))
            return homeServiceUser(call, nodename, account);
        if (strcmp(role.accttype, "LOCAL_SYSTEM") == 0)
            return SSWSE_SUCCESS;
        if (strcmp(role.accttype, "LOCAL_SERVICE") == 0 || strcmp(role.accttype, "NETWORK_SERVICE") == 0)
            return builtinAccount(call, role.accttype, account);
        return homeServiceUser(call, nodename, account);
    });
}
