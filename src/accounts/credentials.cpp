// Are these credentials good, and would the machine's policy accept this password?
#include "frame/call.h"
#include "frame/format.h"
#include "frame/secret.h"

#include <cstring>

namespace {

constexpr size_t partSize = 512;

// "DOMAIN\user" in its two parts; a name without a backslash has no domain part.
struct SplitName
{
    bool hasDomain = false;
    char domain[partSize] = {};
    char user[partSize] = {}; // cut when longer
};

bool splitName(const char* username, SplitName& parts)
{
    const char* user = username;
    if (const char* const backslash = sswseFindBackslash(username)) {
        const size_t length = static_cast<size_t>(backslash - username);
        if (length >= partSize)
            return false;
        memcpy(parts.domain, username, length);
        parts.hasDomain = true;
        user = backslash + 1;
    }
    sswseFormatText(parts.user, "%s", user);
    return true;
}

} // namespace

DWORD WINAPI sswseCheckValidUser(sswseErrRec* err, const char* username, const char* passwd)
{
    // The password is traced as given: deliberate, here and below.
    const auto args = sswseArgs("Username = %s\npasswd  = %s", username, passwd);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!username)
            return sswseBadArgument(call, "username");
        SplitName parts;
        if (!splitName(username, parts))
            return sswseBadArgument(call, "domain name");
        owned::Heap<wchar_t> user;
        owned::Heap<wchar_t> domain;
        owned::Secret password;
        if (sswseToWide(call, parts.user, user) != SSWSE_SUCCESS ||
            sswseToWide(call, parts.hasDomain ? parts.domain : nullptr, domain) != SSWSE_SUCCESS ||
            sswseToWideSecret(call, passwd, password) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        HANDLE token = nullptr;
        if (!LogonUserW(user.get(), domain.get(), password.get(), LOGON32_LOGON_NETWORK, LOGON32_PROVIDER_DEFAULT,
                        &token))
            return sswseFail(call, WSE_CREDENTIALS, GetLastError(), "LogonUserW");
        const owned::Handle loggedOn(token);
        return SSWSE_SUCCESS;
    });
}

DWORD WINAPI sswseIsPasswordValid(sswseErrRec* err, const char* password)
{
    return sswseRunFramed(err, __func__, sswseArgs("password = %s", password), [&](const sswseCall& call) -> DWORD {
        if (!password)
            return sswseBadArgument(call, "password");
        owned::Secret secret;
        if (sswseToWideSecret(call, password, secret) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        NET_VALIDATE_PASSWORD_CHANGE_INPUT_ARG input = {};
        input.ClearPassword = secret.get();
        input.PasswordMatch = TRUE;
        void* output = nullptr;
        const NET_API_STATUS result =
            NetValidatePasswordPolicy(nullptr, nullptr, NetValidatePasswordChange, &input, &output);
        const DWORD osError = GetLastError();
        const owned::PasswordVerdict verdict(static_cast<NET_VALIDATE_OUTPUT_ARG*>(output));
        if (result != NERR_Success || !verdict)
            return sswseApiFailed(call, osError, "NetValidatePasswordPolicy");
        if (verdict->ValidationStatus == NERR_Success)
            return SSWSE_YES;
        sswseReport(call, WSE_TEXT_1, verdict->ValidationStatus, "NetValidatePasswordPolicy",
                    "Password policy requirements not met. Check the O/S-Error for details");
        return SSWSE_NO;
    });
}
