// The local account that a home's services can run under: made, unmade, its password and its credentials.
#include "tests/support/node_test.h"

#include <lm.h>
#include <ntstatus.h>

namespace {

using support::calling;
using support::expectRefused;
using support::failing;
using support::Lines;

constexpr DWORD ntDenied = static_cast<DWORD>(STATUS_ACCESS_DENIED);

class ServiceAccount : public support::NodeTest
{
protected:
    support::Call create(const char* name, const char* password = "long enough") const
    {
        return calling(EXPORT(sswseCreateKestelSVCUser), name, password);
    }
    support::Call remove(const char* name) const { return calling(EXPORT(sswseDeleteKestelSVCUser), name); }
    support::Call isValid(const char* password) const { return calling(EXPORT(sswseIsPasswordValid), password); }
    support::Call check(const char* user, const char* password) const
    {
        return calling(EXPORT(sswseCheckValidUser), user, password);
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
        {"create in a domain", create("DOM\\svc"), 4, "WSE-000016: Creating a domain user account is not supported."},
        {"last backslash", create("svc\\"), 4, "WSE-000016"},
        {"delete in a domain", remove(".\\svc"), 4, "WSE-000017: Deleting a domain user account is not supported."},
    });
    EXPECT_EQ(local.rights[L"SeDenyInteractiveLogonRight"], std::vector<std::wstring>{user.sid}); // not taken back
    expectRefused("username", {create(nullptr, nullptr), remove(nullptr), check(nullptr, nullptr)});
    expectRefused("password", {isValid(nullptr)});
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
    });
    const struct
    {
        const char* message;
        DWORD osError;
        intercept::Fault fault;
    } rows[] = {
        {"WSE-000014", unknown, failing("LookupAccountNameW", unknown, 1)},
        {"WSE-000014", unknown, failing("LookupAccountNameW", unknown, 2)},
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
    });
    library.redirect(
        "GetLastError", +[]() WINAPI { return lastError; });
    expectNodeCases({
        {"failed", isValid("12345678"), 3, failed, lastError, failing(policy, ERROR_ACCESS_DENIED)},
        {"no output", isValid("12345678"), 3, failed, lastError, failing(policy, NERR_Success)},
    });
}

TEST_F(ServiceAccount, CredentialsAreSplitAtTheFirstBackslash)
{
    const std::string domain511(511, 'd');
    const std::string user600(600, 'u');
    expectNodeCases({
        {"domain", check("CORP\\dbuser", "right"), 2},
        {"this machine", check(".\\svc", "right"), 2},
        {"wrong", check("CORP\\dbuser", "wrong"), 3, "WSE-000018: Credential verification failed.",
         ERROR_LOGON_FAILURE},
    });
    expectRefused("domain name", {check((domain511 + "d\\svc").c_str(), "pw")});
    static std::vector<std::string> asked;
    library.redirect(
        "LogonUserW",
        +[](const wchar_t* user, const wchar_t* domain, const wchar_t* password, DWORD type, DWORD provider, HANDLE*)
             WINAPI -> BOOL {
            asked = {std::to_string(type), std::to_string(provider)};
            for (const std::wstring text : {user, domain ? domain : L"(none)", password ? password : L"(none)"})
                asked.emplace_back(text.begin(), text.end());
            SetLastError(ERROR_ACCOUNT_LOCKED_OUT);
            return FALSE;
        });
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
        const char* const given = row.given.c_str();
        expectNodeCases({{given, check(given, row.password), 3, "WSE-000018", ERROR_ACCOUNT_LOCKED_OUT}});
        const char* const password = row.password ? row.password : "(none)";
        EXPECT_EQ(asked, (std::vector<std::string>{"3", "0", row.user, row.domain, password}));
    }
}
