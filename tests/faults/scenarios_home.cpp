// Home key, type and name, the recorded service user, event-log sources.
#include "tests/faults/driver.h"

#include "whatif/model/registry.h"

namespace faults {

namespace {

constexpr wchar_t sources[] = L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\Kestel";

void withEnvironment(Stage& s)
{
    s.library().removeKeyFile();
    s.setEnvironment("KESTEL_HOME_KEY", "KEY_h1");
    s.setEnvironment("KESTEL_HOME_NAME", "h1");
}

void withSource(Stage& s)
{
    s.registry().createKey(s.remote(), sources);
}

// What the home records as its service user.
template <const wchar_t* user>
void withUser(Stage& s)
{
    s.setHome(L"KESTEL_SVCUSER", user);
}

constexpr wchar_t localSystem[] = L"NT AUTHORITY\\SYSTEM";
constexpr wchar_t localService[] = L"NT AUTHORITY\\LOCAL SERVICE";
constexpr wchar_t managed[] = L"CORP\\gmsa$";

void withoutFacts(Stage& s)
{
    s.setHome(L"KESTEL_SVCUSER_TYPE", L"unknown");
    s.setHome(L"KESTEL_SVCUSER_PWDREQ", L"unknown");
}

void withVirtualAccounts(Stage& s)
{
    s.setHome(L"KESTEL_SVCUSER_TYPE", L"V");
}

} // namespace

std::vector<Scenario> homeScenarios()
{
    return {
        {CALL(sswseGetKestelHomeKey, BUFFER(7)), "key file", 2},
        {CALL(sswseGetKestelHomeKey, BUFFER(7)), "environment", 2, withEnvironment},
        {CALL(sswseGetKestelHomeType, "KEY_h1", BUFFER(3), nullptr), "on this machine", 2},
        {CALL(sswseGetKestelHomeType, "KEY_h1", BUFFER(3), "DB2"), "on a node", 2},
        {CALL(sswseSetKestelHomeType, "KEY_h1", "2", "DB2"), "on a node", 2},
        {CALL(sswseIsKhomeTypeValid, "1"), "yes", 1},
        {CALL(sswseGetKestelHomeName, BUFFER(4)), "key file", 2},
        {CALL(sswseGetKestelHomeName, BUFFER(4)), "environment", 2, withEnvironment},
        {CALL(sswseGetKestelHomeTypeForKHPath, s.home(), BUFFER(3), nullptr), "on this machine", 2},
        {CALL(sswseGetKestelHomeTypeForKHPath, s.writable("D:"), BUFFER(3), "DB2"), "on a node", 2},
        {CALL(sswseSetUnameForKhome, "nobody", nullptr, "KEY_h1"), "a user", 2, withoutFacts},
        {CALL(sswseSetUnameForKhome, "LOCAL_SYSTEM", "DB2", "KEY_h1"), "a keyword, on a node", 2, withoutFacts},
        {CALL(sswseSetUnameForKhome, "KES_DBA", nullptr, "KEY_h1"), "a group", 2, withoutFacts},
        {CALL(sswseGetUnameForKhome, BUFFER(4), nullptr), "on this machine", 2},
        {CALL(sswseGetUnameForKhome, BUFFER(4), "DB2"), "on a node", 2},
        {CALL(sswseGetUnameForKhomePath, s.home(), BUFFER(4), "DB2"), "on a node", 2},
        {CALL(sswseIsSVCUserMSA, s.home(), nullptr), "yes", 1, withUser<managed>},
        {CALL(sswseIsSVCUserGMSA, s.home(), nullptr), "yes", 1, withUser<managed>},
        {CALL(sswseIsSVCUserPasswordRequired, s.home(), "DB2"), "yes", 1},
        {CALL(sswseIsSvcUserLocalSystem, s.home(), nullptr), "yes", 1, withUser<localSystem>},
        {CALL(sswseIsSvcUserLocalService, s.home(), nullptr), "yes", 1, withUser<localService>},
        {CALL(sswseIsSvcUserVirtualAccount, s.home(), nullptr), "yes", 1, withVirtualAccounts},
        {CALL(sswseGetVAGroupnameForKHomename, "h1", BUFFER(16)), "a name", 2},
        {CALL(sswseGetKHomeNameFromVAGroupName, "KES_h1_SVCACCTS", BUFFER(3)), "a group name", 2},
        {CALL(sswseCreateSVCEventRegEntry, "Kestel", "m.dll", 0, nullptr), "on this machine", 2},
        {CALL(sswseCreateSVCEventRegEntry, "Kestel", "m.dll", 0, "DB2"), "on a node", 2},
        {CALL(sswseDeleteSVCEventRegEntry, "Kestel", "DB2"), "on a node", 2, withSource},
    };
}

} // namespace faults
