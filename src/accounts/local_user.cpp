// The local user account that a home's services can run under.
#include "accounts/account_names.h"
#include "accounts/lsa_policy.h"
#include "frame/call.h"
#include "frame/secret.h"

#include <array>

namespace {

// The account is for services: nobody signs in with it at the console or from afar.
DWORD denyInteractiveLogon(const sswseCall& call, const char* username)
{
    owned::Heap<void> sid;
    owned::PolicyHandle policy;
    if (sswseSidOfName(call, username, sid) != SSWSE_SUCCESS || sswseOpenPolicy(call, nullptr, policy) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    std::array<LSA_UNICODE_STRING, 2> rights = {sswseLsaString(L"SeDenyInteractiveLogonRight"),
                                                sswseLsaString(L"SeDenyRemoteInteractiveLogonRight")};
    return sswseChangeRights(call, sswseDenyLogonRights, policy.get(), sid.get(), rights.data(), rights.size());
}

DWORD addUser(const sswseCall& call, wchar_t* name, wchar_t* password)
{
    USER_INFO_1 info = {};
    info.usri1_name = name;
    info.usri1_password = password;
    info.usri1_priv = USER_PRIV_USER;
    info.usri1_flags = UF_DONT_EXPIRE_PASSWD | UF_PASSWD_CANT_CHANGE;
    DWORD badField = 0;
    const NET_API_STATUS result = NetUserAdd(nullptr, 1, reinterpret_cast<BYTE*>(&info), &badField);
    if (result == NERR_UserExists) {
        sswseReport(call, WSE_USER_EXISTS, 0, "NetUserAdd");
        return SSWSE_ACCOUNT_EXISTS;
    }
    if (result != NERR_Success)
        return sswseFail(call, WSE_CREATE_USER, result, "NetUserAdd");
    return SSWSE_SUCCESS;
}

// 2, or 4: no name, or (with `domainMessage`) one of a domain.
DWORD requireLocalName(const sswseCall& call, const char* username, DWORD domainMessage)
{
    if (!username)
        return sswseBadArgument(call, "username");
    if (!sswseFindBackslash(username))
        return SSWSE_SUCCESS;
    sswseReport(call, domainMessage, 0, "");
    return SSWSE_INVALID_ARGUMENT;
}

} // namespace

// A failure after the account has been added leaves it there.
DWORD WINAPI sswseCreateKestelSVCUser(sswseErrRec* err, const char* username, const char* password)
{
    // The password is traced as given: deliberate.
    const auto args = sswseArgs("username = %s\npassword = %s", username, password);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        DWORD status = requireLocalName(call, username, WSE_CREATE_DOMAIN_USER);
        if (status != SSWSE_SUCCESS)
            return status;
        owned::Heap<wchar_t> name;
        owned::Secret secret;
        if (sswseToWide(call, username, name) != SSWSE_SUCCESS ||
            sswseToWideSecret(call, password, secret) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        status = addUser(call, name.get(), secret.get());
        return status == SSWSE_SUCCESS ? denyInteractiveLogon(call, username) : status;
    });
}

// The rights given at creation are not taken back.
DWORD WINAPI sswseDeleteKestelSVCUser(sswseErrRec* err, const char* username)
{
    return sswseRunFramed(err, __func__, sswseArgs("username = %s", username), [&](const sswseCall& call) -> DWORD {
        const DWORD status = requireLocalName(call, username, WSE_DELETE_DOMAIN_USER);
        if (status != SSWSE_SUCCESS)
            return status;
        owned::Heap<wchar_t> name;
        if (sswseToWide(call, username, name) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        if (const DWORD result = NetUserDel(nullptr, name.get()))
            return sswseFail(call, WSE_DELETE_USER, result, "NetUserDel");
        return SSWSE_SUCCESS;
    });
}
