// The account that runs a home's services, as recorded under the home's registry key: recorded with the facts derived
// from it, and read back.
#include "home/recorded_user.h"

#include "accounts/account_names.h"
#include "frame/call.h"
#include "frame/text.h"
#include "home/home_registry.h"
#include "home/key_file.h"

#include <cstring>

namespace {

struct UserFacts
{
    const char* type = " "; // a blank, not an empty text: deliberate
    const char* passwordRequired = "1";
};

// NETWORK_SERVICE is not among them: deliberate.
bool isReplacedKeyword(const char* uname)
{
    return _stricmp(uname, "LOCAL_SYSTEM") == 0 || _stricmp(uname, "LOCAL_SERVICE") == 0;
}

// What is recorded as the user: the system's own name for a keyword, else the given name, cut at 511 characters.
DWORD nameToRecord(const sswseCall& call, const char* uname, char (&recorded)[512])
{
    sswseFormatText(recorded, "%s", uname);
    if (!isReplacedKeyword(uname))
        return SSWSE_SUCCESS;
    size_t length = 0;
    const DWORD status = sswseGetBuiltinAccName(call.rec, uname, recorded, sizeof recorded, &length);
    return status == SSWSE_SUCCESS ? SSWSE_SUCCESS : SSWSE_FAILURE;
}

// 1, 0, or 3 with the message of the look-up, which this machine makes even for a node.
DWORD isPasswordNeeded(const sswseCall& call, const char* uname, const char* nodename)
{
    if (sswseIsManagedSVCAccount(call.rec, uname, nodename) == SSWSE_YES || isReplacedKeyword(uname))
        return SSWSE_NO;
    owned::Heap<void> sid;
    if (sswseSidOfName(call, uname, sid) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    const bool isLocal = IsWellKnownSid(sid.get(), WinLocalSystemSid) || IsWellKnownSid(sid.get(), WinLocalServiceSid);
    return isLocal ? SSWSE_NO : SSWSE_YES;
}

// Classifies the name as given, not what is recorded in its place: deliberate.
DWORD classify(const sswseCall& call, const char* uname, const char* nodename, UserFacts& facts)
{
    const DWORD needed = isPasswordNeeded(call, uname, nodename);
    if (needed == SSWSE_FAILURE)
        return SSWSE_FAILURE;
    if (needed == SSWSE_NO)
        facts.passwordRequired = "0";
    if (sswseCheckOSGroup(call.rec, uname, nodename) == SSWSE_YES) // a virtual account's group
        facts = {sswseVirtualAccountType, "0"};
    return SSWSE_SUCCESS;
}

DWORD recordUser(const sswseCall& call, HKEY key, const char* user)
{
    owned::Heap<wchar_t> wide;
    size_t characters = 0;
    if (const DWORD status = sswseToWide(call, user, wide, &characters); status != SSWSE_SUCCESS)
        return status;
    const LSTATUS result =
        RegSetValueExW(key, sswseUserValue.wide, 0, REG_SZ, reinterpret_cast<const BYTE*>(wide.get()),
                       static_cast<DWORD>(characters * sizeof(wchar_t)));
    if (result != ERROR_SUCCESS)
        return sswseFail(call, WSE_SET_REGISTRY_VALUE, static_cast<DWORD>(result), "RegSetValueExW",
                         sswseUserValue.text);
    return SSWSE_SUCCESS;
}

// A failure leaves what was written by then.
DWORD recordUserAndFacts(const sswseCall& call, HKEY key, const char* recorded, const char* uname, const char* nodename)
{
    UserFacts facts;
    DWORD status = recordUser(call, key, recorded);
    if (status == SSWSE_SUCCESS)
        status = classify(call, uname, nodename, facts);
    if (status == SSWSE_SUCCESS)
        status = sswseSetRegistryTextA(call, key, sswseUserTypeValue.text, REG_SZ, facts.type);
    if (status == SSWSE_SUCCESS)
        status = sswseSetRegistryTextA(call, key, sswsePasswordRequiredValue, REG_SZ, facts.passwordRequired);
    return status;
}

DWORD readUser(const sswseCall& call, const char* homeKey, char* uname, size_t unamel, size_t* outlen,
               const char* nodename)
{
    owned::Heap<char> text;
    size_t length = 0;
    const DWORD status = sswseReadValueOfHomeW(call, homeKey, nodename, sswseUserValue, text, &length);
    if (status != SSWSE_SUCCESS)
        return status;
    if (length > unamel)
        return sswseBufferTooSmall(call, "username");
    memcpy(uname, text.get(), length);
    if (outlen)
        *outlen = length;
    return SSWSE_SUCCESS;
}

} // namespace

DWORD WINAPI sswseSetUnameForKhome(sswseErrRec* err, const char* uname, const char* nodename, const char* khomekey)
{
    // The last one without its "=": deliberate.
    const auto args = sswseArgs("uname=%s\nnodename=%s\nkhomekey%s", uname, nodename, khomekey);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!uname)
            return sswseBadArgument(call, "username");
        if (!khomekey)
            return sswseBadArgument(call, "KestelHomeKey", SSWSE_HOME_NOT_FOUND); // this status: deliberate
        char recorded[512];
        sswseSubkey subkey;
        sswseMachineKey home;
        DWORD status = sswseMakeHomeSubkey(call, khomekey, subkey);
        if (status == SSWSE_SUCCESS)
            status = nameToRecord(call, uname, recorded);
        if (status == SSWSE_SUCCESS)
            status = sswseOpenMachineKeyW(call, nodename, subkey, KEY_SET_VALUE, home);
        if (status != SSWSE_SUCCESS)
            return status;
        return recordUserAndFacts(call, home.key.get(), recorded, uname, nodename);
    });
}

DWORD WINAPI sswseGetUnameForKhome(sswseErrRec* err, char* uname, size_t unamel, size_t* outlen, const char* nodename)
{
    const auto args = sswseArgs("unamel=%Iu\nnodename=%s", unamel, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!uname)
            return sswseBadArgument(call, "username");
        char homeKey[512];
        if (sswseGetKestelHomeKey(call.rec, homeKey, sizeof homeKey, nullptr) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        return readUser(call, homeKey, uname, unamel, outlen, nodename);
    });
}

DWORD WINAPI sswseGetUnameForKhomePath(sswseErrRec* err, const char* khomepath, char* uname, size_t unamel,
                                       size_t* outlen, const char* nodename)
{
    const auto args = sswseArgs("unamel=%Iu\nKhomePath=%s\nnodename=%s", unamel, khomepath, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        constexpr sswseKeyFileAnswers answers = {SSWSE_FAILURE, SSWSE_FAILURE, SSWSE_HOME_NOT_FOUND, false};
        if (!khomepath)
            return sswseBadArgument(call, "KestelHome Path", SSWSE_HOME_NOT_FOUND); // this status: deliberate
        if (!uname)
            return sswseBadArgument(call, "username");
        sswseKeyLine line;
        const char* homeKey = nullptr;
        if (const DWORD status = sswseFindHomeKey(call, khomepath, answers, line, &homeKey); status != SSWSE_SUCCESS)
            return status;
        return readUser(call, homeKey, uname, unamel, outlen, nodename);
    });
}
