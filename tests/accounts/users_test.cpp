// User accounts and rights, as far as they do not change the machine that the tests run on.
#include "accounts/lsa_policy.h"
#include "accounts/privileges.h"
#include "tests/accounts/current_user.h"
#include "tests/support/cases.h"

#include <gtest/gtest.h>

#include <cstdarg>

namespace {

using support::expectCases;

void __cdecl keepLine(void* context, const char* format, ...)
{
    char line[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    static_cast<std::vector<std::string>*>(context)->push_back(line);
}

} // namespace

TEST(Users, MissingAndInvalidArguments)
{
    const std::string domain511(511, 'd');
    const std::string domain512(512, 'd');
    const auto missingName = "WSE-000012: Null or invalid username parameter.";
    expectCases({
        {"valid user", [](auto rec) { return sswseCheckValidUser(rec, nullptr, nullptr); }, 4, missingName},
        {"domain too long", [&](auto rec) { return sswseCheckValidUser(rec, (domain512 + "\\u").c_str(), "p"); }, 4,
         "WSE-000012: Null or invalid domain name parameter."},
        {"create", [](auto rec) { return sswseCreateKestelSVCUser(rec, nullptr, nullptr); }, 4, missingName},
        {"create in a domain", [](auto rec) { return sswseCreateKestelSVCUser(rec, "DOM\\svc", "p"); }, 4,
         "WSE-000016: Creating a domain user account is not supported."},
        {"create: last backslash", [](auto rec) { return sswseCreateKestelSVCUser(rec, "svc\\", "p"); }, 4,
         "WSE-000016"},
        {"delete", [](auto rec) { return sswseDeleteKestelSVCUser(rec, nullptr); }, 4, missingName},
        {"delete in a domain", [](auto rec) { return sswseDeleteKestelSVCUser(rec, ".\\svc"); }, 4,
         "WSE-000017: Deleting a domain user account is not supported."},
        {"password", [](auto rec) { return sswseIsPasswordValid(rec, nullptr); }, 4,
         "WSE-000012: Null or invalid password parameter."},
        {"administrator", [](auto rec) { return sswseIsAdministrator(rec, nullptr); }, 4, missingName},
        {"administrator: unknown user", [](auto rec) { return sswseIsAdministrator(rec, "no such user"); }, 3,
         "WSE-000014"},
        {"managed", [](auto rec) { return sswseIsManagedSVCAccount(rec, nullptr, nullptr); }, 4, missingName},
        {"group managed", [](auto rec) { return sswseIsGroupManagedSVCAccount(rec, nullptr, nullptr); }, 4,
         "WSE-000012: Null or invalid User name parameter."},
        {"group managed: no domain", [](auto rec) { return sswseIsGroupManagedSVCAccount(rec, "svc$", nullptr); }, 0},
        {"domain user", [](auto rec) { return sswseIsUserDomainUser(rec, nullptr); }, 4, missingName},
        {"exists", [](auto rec) { return sswseCheckUserExists(rec, nullptr); }, 4, missingName},
    });
    EXPECT_NE(sswseCheckValidUser(nullptr, (domain511 + "\\u").c_str(), "p"), 4u) << "one less is a domain";
}

TEST(Users, KindsOfAccounts)
{
    const std::string user = currentUser();
    expectCases({
        {"own user exists", [&](auto rec) { return sswseCheckUserExists(rec, user.c_str()); }, 1},
        {"a group is no user", [](auto rec) { return sswseCheckUserExists(rec, "BUILTIN\\Users"); }, 0},
        {"a well-known name is no user", [](auto rec) { return sswseCheckUserExists(rec, "SYSTEM"); }, 0},
        {"nobody", [](auto rec) { return sswseCheckUserExists(rec, "no such user"); }, 0},
        {"own user is local", [&](auto rec) { return sswseIsUserDomainUser(rec, user.c_str()); }, 0},
        {"SYSTEM is not", [](auto rec) { return sswseIsUserDomainUser(rec, "SYSTEM"); }, 1},
        {"nor is a built-in group", [](auto rec) { return sswseIsUserDomainUser(rec, "BUILTIN\\Users"); }, 1},
        {"nobody's domain", [](auto rec) { return sswseIsUserDomainUser(rec, "no such user"); }, 3, "WSE-000014"},
    });
}

TEST(Users, WithoutTheManagedAccountLibraryNothingIsSaid)
{
    if (LoadLibraryA("Logoncli.dll"))
        GTEST_SKIP() << "this machine has it";
    expectCases({{"managed", [](auto rec) { return sswseIsManagedSVCAccount(rec, "svc$", "node"); }, 3}});
}

TEST(Users, ArgumentLinesOfTheTrace)
{
    struct Row
    {
        std::function<DWORD()> call;
        const char* line;
    };
    const Row rows[] = {
        {[] { return sswseCheckValidUser(nullptr, nullptr, "pw"); }, "Username = (null)\npasswd  = pw"},
        {[] { return sswseCreateKestelSVCUser(nullptr, "D\\u", "pw"); }, "username = D\\u\npassword = pw"},
        {[] { return sswseDeleteKestelSVCUser(nullptr, "D\\u"); }, "username = D\\u"},
        {[] { return sswseIsPasswordValid(nullptr, nullptr); }, "password = (null)"},
        {[] { return sswseIsAdministrator(nullptr, nullptr); }, "Username = (null)"},
        {[] { return sswseIsManagedSVCAccount(nullptr, nullptr, "n"); }, "nodename = n\nUsername = (null)"},
        {[] { return sswseIsGroupManagedSVCAccount(nullptr, "u", "n"); }, "cUser = u\ncNode = n"},
        {[] { return sswseGrantPrivilegesToUser(nullptr, "u", "n", "9"); },
         "username = u\nnodename = n\nKestelHomeType = 9"},
        {[] { return sswseRevokePrivilegesFromUser(nullptr, "u", "n", "9"); },
         "username = u\nnodename = n\nKestelHomeType = 9"},
        {[] { return sswseCheckUserPrivileges(nullptr, "u", "9", nullptr, nullptr); },
         "username = u\nKestelHomeType = 9"},
        {[] { return sswseGrantPrivilegesToSid(nullptr, nullptr, "p", "n"); }, "nodename = n\nPrivilege Name = p"},
        {[] { return sswseGetBuiltinAccName(nullptr, "k", nullptr, 7, nullptr); }, "ilen=7"},
        {[] { return sswseConvertUnameToSID(nullptr, "u", nullptr); }, "username=u"},
        {[] { return sswseConvertSIDToUname(nullptr, nullptr, nullptr, 7, nullptr); }, "OSSid=0\nunamel=7"},
    };
    for (const Row& row : rows) {
        std::vector<std::string> lines;
        ASSERT_EQ(sswseTraceOn(nullptr, keepLine, &lines, 0), 1u);
        row.call();
        sswseTraceOff(nullptr);
        ASSERT_GT(lines.size(), 1u) << row.line;
        EXPECT_EQ(lines[1], row.line);
    }
}

TEST(Privileges, ArgumentsAndHomeTypes)
{
    char** missing = reinterpret_cast<char**>(1);
    int count = 7;
    BYTE invalid[SECURITY_MAX_SID_SIZE] = {};
    const auto missingName = "WSE-000012: Null or invalid username parameter.";
    const auto check = [](const char* user, const char* type, char*** names, int* number) {
        return [=](sswseErrRec* rec) { return sswseCheckUserPrivileges(rec, user, type, names, number); };
    };
    const auto grantToSid = [](PSID sid, const char* right) {
        return [=](sswseErrRec* rec) { return sswseGrantPrivilegesToSid(rec, sid, right, nullptr); };
    };
    expectCases({
        {"grant", [](auto rec) { return sswseGrantPrivilegesToUser(rec, nullptr, nullptr, "9"); }, 4, missingName},
        {"grant: type", [](auto rec) { return sswseGrantPrivilegesToUser(rec, "SYSTEM", nullptr, "3"); }, 3,
         "WSE-00008: Unsupported Kestel home type."},
        {"revoke", [](auto rec) { return sswseRevokePrivilegesFromUser(rec, nullptr, nullptr, "0"); }, 4, missingName},
        {"revoke: type", [](auto rec) { return sswseRevokePrivilegesFromUser(rec, "SYSTEM", nullptr, ""); }, 3,
         "WSE-00008"},
        {"revoke: nobody", [](auto rec) { return sswseRevokePrivilegesFromUser(rec, "no such user", "", "1"); }, 3,
         "WSE-000014"},
        {"check", check(nullptr, "9", &missing, &count), 4, missingName},
        {"check: no array", check("SYSTEM", "0", nullptr, &count), 4, "WSE-000012: Null or invalid missing parameter."},
        {"check: no number", check("SYSTEM", "0", &missing, nullptr), 4,
         "WSE-000012: Null or invalid count parameter."},
        {"check: type", check("SYSTEM", "01", &missing, &count), 5, "WSE-00008"},
        {"check: no type", check("SYSTEM", nullptr, &missing, &count), 5, "WSE-00008"},
        {"SID: no right", grantToSid(nullptr, nullptr), 4, "WSE-000012: Null or invalid privilege name parameter."},
        {"SID: none", grantToSid(nullptr, "SeServiceLogonRight"), 4, "WSE-000012: Null or invalid OS SID parameter."},
        {"SID: invalid", grantToSid(invalid, "SeServiceLogonRight"), 4, "WSE-000039"},
    });
    EXPECT_EQ(missing, nullptr);
    EXPECT_EQ(count, 0);
}

TEST(Privileges, PolicyTextsAreMeasuredInBytesAndNeverWrap)
{
    const std::wstring longest(32766, L'n');
    const std::wstring tooLong(40000, L'n');
    const LSA_UNICODE_STRING name = sswseLsaString(L"node");
    EXPECT_EQ(name.Length, 8);
    EXPECT_EQ(name.MaximumLength, 10);
    EXPECT_EQ(sswseLsaString(longest.c_str()).Length, 65532);
    EXPECT_EQ(sswseLsaString(longest.c_str()).MaximumLength, 65534);
    EXPECT_EQ(sswseLsaString(tooLong.c_str()).Length, 65532);
}
