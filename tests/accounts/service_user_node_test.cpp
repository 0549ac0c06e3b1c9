// The local account that a home's services can run under: made, unmade, its password and its credentials.
#include "tests/support/node_test.h"

#include <lm.h>
#include <ntstatus.h>

namespace {

using support::failing;
using support::Lines;

constexpr DWORD ntDenied = static_cast<DWORD>(STATUS_ACCESS_DENIED);

class ServiceAccount : public support::NodeTest
{
protected:
    support::Call create(const char* name, const char* password = "long enough") const
    {
        return support::calling(EXPORT(sswseCreateKestelSVCUser), name, password);
    }
    support::Call remove(const char* name) const { return support::calling(EXPORT(sswseDeleteKestelSVCUser), name); }
    support::Call isValid(const char* password) const
    {
        return support::calling(EXPORT(sswseIsPasswordValid), password);
    }
};

} // namespace

TEST_F(ServiceAccount, IsMadeForServicesOnlyAndUnmade)
{
    const auto exists = "WSE-000023: Error creating user account. Account already exists.";
    const auto notDeleted = "WSE-000027: Unable to delete user account.";
    const Lines made = {"NODE: user kessvc: created", "NODE: user kessvc: password set",
                        "NODE: right SeDenyInteractiveLogonRight: granted: NODE\\kessvc",
                        "NODE: right SeDenyRemoteInteractiveLogonRight: granted: NODE\\kessvc"};
    expectNodeCases({{"create", create("kessvc"), 2, made}, {"again", create("KESSVC", "another one"), 9, exists}});
    const whatif::Account user = local.accounts.back();
    EXPECT_EQ(user.name, L"kessvc");
    EXPECT_EQ(user.password, L"long enough");
    EXPECT_EQ(user.flags, 0x10040u);
    expectNodeCases({
        {"delete", remove("kessvc"), 2, Lines{"NODE: user kessvc: deleted"}},
        {"delete again", remove("kessvc"), 3, notDeleted, NERR_UserNotFound},
        {"it came with the system", remove("Administrator"), 3, notDeleted, ERROR_SPECIAL_ACCOUNT},
    });
    EXPECT_EQ(local.rights[L"SeDenyInteractiveLogonRight"], std::vector<std::wstring>{user.sid}); // not taken back
}

TEST_F(ServiceAccount, StaysWhenItsRightsCannotBeSet)
{
    local.minimumPasswordLength = 8;
    constexpr DWORD unknown = ERROR_NONE_MAPPED;
    const auto notCreated = "WSE-000024: Unable to create user account.";
    const auto notDenied = "WSE-000026: Unable to deny interactive login privilege to user.";
    const Lines made = {"NODE: user a: created", "NODE: user a: password set"};
    expectNodeCases({
        {"short password", create("a", "short"), 3, notCreated, NERR_PasswordTooShort},
        {"no password", create("a", nullptr), 3, notCreated, NERR_PasswordTooShort},
        {"a group's name", create("Users"), 3, notCreated, ERROR_ALIAS_EXISTS},
        {"name too long", create("a name of over 20 characters"), 3, notCreated, NERR_BadUsername},
    });
    const struct
    {
        const char* message;
        DWORD osError;
        intercept::Fault fault;
    } rows[] = {
        {"WSE-000014", unknown, failing("LookupAccountNameW", unknown, 1)},
        {notDenied, ERROR_INVALID_PARAMETER, failing("LookupAccountNameW", unknown, 2)}, // goes on without a SID
        {"WSE-000025", ERROR_ACCESS_DENIED, failing("LsaOpenPolicy", ntDenied)},
        {notDenied, ERROR_ACCESS_DENIED, failing("LsaAddAccountRights", ntDenied)},
    };
    for (const auto& row : rows) {
        expectNodeCases({{row.message, create("a"), 3, row.message, row.osError, row.fault, made},
                         {"there by then", create("a"), 9, "WSE-000023"}});
        local.accounts.pop_back();
    }
}

TEST_F(ServiceAccount, PasswordIsJudgedByThePolicy)
{
    local.minimumPasswordLength = 8;
    constexpr DWORD lastError = ERROR_NOT_SUPPORTED;
    constexpr char policy[] = "NetValidatePasswordPolicy";
    const auto unmet = "WSE-00003: Password policy requirements not met. Check the O/S-Error for details.";
    const auto failed = "WSE-000053: Windows application programming interface (API) NetValidatePasswordPolicy failed.";
    expectNodeCases({
        {"met", isValid("12345678"), 1},
        {"not met", isValid("1234567"), 0, unmet, NERR_PasswordTooShort},
        {"empty", isValid(""), 0, unmet, NERR_PasswordTooShort},
    });
    library.redirect(
        "GetLastError", +[]() WINAPI { return lastError; });
    expectNodeCases({
        {"failed", isValid("12345678"), 3, failed, lastError, failing(policy, ERROR_ACCESS_DENIED)},
        {"no output", isValid("12345678"), 3, failed, lastError, failing(policy, NERR_Success)},
    });
}

namespace {

std::vector<std::string> asked; // of LogonUserW

std::string shown(const wchar_t* text)
{
    const std::wstring full = text ? text : L"(none)";
    return {full.begin(), full.end()};
}

BOOL WINAPI noteLogon(const wchar_t* user, const wchar_t* domain, const wchar_t* password, DWORD type, DWORD provider,
                      HANDLE*)
{
    asked = {shown(user), shown(domain), shown(password), std::to_string(type), std::to_string(provider)};
    SetLastError(ERROR_ACCOUNT_LOCKED_OUT);
    return FALSE;
}

} // namespace

TEST_F(ServiceAccount, CredentialsAreSplitAtTheFirstBackslash)
{
    const auto check = EXPORT(sswseCheckValidUser);
    const std::string domain511(511, 'd');
    const std::string user600(600, 'u');
    expectNodeCases({
        {"domain", [&](auto rec) { return check(rec, "CORP\\dbuser", "right"); }, 2},
        {"this machine", [&](auto rec) { return check(rec, ".\\svc", "right"); }, 2},
        {"wrong", [&](auto rec) { return check(rec, "CORP\\dbuser", "wrong"); }, 3,
         "WSE-000018: Credential verification failed.", ERROR_LOGON_FAILURE},
    });
    library.redirect("LogonUserW", &noteLogon);
    const struct
    {
        std::string given;
        const char* password;
        std::string user;
        std::string domain;
    } rows[] = {
        {"svc", "pw", "svc", "(none)"},
        {".\\svc", "pw", "svc", "."},
        {"CORP\\svc", nullptr, "svc", "CORP"},
        {"\\svc", "", "svc", ""},
        {"a\\b\\c", "pw", "b\\c", "a"},
        {domain511 + "\\svc", "pw", "svc", domain511},
        {user600, "pw", user600.substr(0, 511), "(none)"},
    };
    for (const auto& row : rows) {
        expectNodeCases({{row.given.c_str(), [&](auto rec) { return check(rec, row.given.c_str(), row.password); }, 3,
                          "WSE-000018", ERROR_ACCOUNT_LOCKED_OUT}});
        const std::vector<std::string> expected = {row.user, row.domain, row.password ? row.password : "(none)", "3",
                                                   "0"};
        EXPECT_EQ(asked, expected);
    }
}
