// Names, SIDs and built-in accounts, on the machine that the tests run on.
#include "accounts/account_names.h"
#include "tests/support/cases.h"
#include "tests/support/trace_log.h"

#include <gtest/gtest.h>

#include <sddl.h>

#include <cstring>

namespace {

using support::calling;
using support::expectCases;
using support::expectRefused;

struct Sid
{
    explicit Sid(const char* text) { EXPECT_TRUE(ConvertStringSidToSidA(text, &sid)) << text; }
    ~Sid() { LocalFree(sid); }
    PSID sid = nullptr;
};

std::string sidOf(const char* name)
{
    PSID sid = nullptr;
    expectCases({{name, calling(sswseConvertUnameToSID, name, &sid), 2}});
    char* text = nullptr;
    EXPECT_TRUE(ConvertSidToStringSidA(sid, &text));
    const owned::Local<char> owner(text);
    sswseFreeMemory(sid);
    return text;
}

} // namespace

TEST(AccountNames, ResolveToTheirSids)
{
    for (const auto& [name, sid] : {std::pair{"NT AUTHORITY\\LOCAL SERVICE", "S-1-5-19"},
                                    {"BUILTIN\\Administrators", "S-1-5-32-544"},
                                    {"everyone", "S-1-1-0"}})
        EXPECT_EQ(sidOf(name), sid);
    PSID owner = nullptr;
    expectCases({{"owner", calling(sswseGetOwnerSIDForCurrentProcess, &owner), 2}});
    char name[600];
    char user[257];
    DWORD size = sizeof user;
    EXPECT_TRUE(GetUserNameA(user, &size));
    expectCases({{"its name", calling(sswseConvertSIDToUname, owner, name, sizeof name, nullptr), 2}});
    EXPECT_EQ(sidOf(name), sidOf(user));
    sswseFreeMemory(owner);
}

// Two characters more than are written must fit, and the last of them is cleared.
TEST(AccountNames, SidToNameFillsBuffersToTheLastByte)
{
    const Sid service("S-1-5-19");
    const std::string name = "NT AUTHORITY\\LOCAL SERVICE";
    const size_t required = name.size() + 3;
    support::expectTexts({
        {"too small", [&](auto rec, auto... buffer) { return sswseConvertSIDToUname(rec, service.sid, buffer...); },
         required - 1, 3, "", support::untouched, "WSE-000033: Insufficient output buffer for username."},
    });
    for (const size_t size : {required, required + 1, required + 40}) {
        std::string buffer(size + 1, '#'); // the last one is not the function's
        size_t written = 0;
        expectCases({{"fits", calling(sswseConvertSIDToUname, service.sid, buffer.data(), size, &written), 2}});
        EXPECT_EQ(written, required);
        std::string expected = name + '\0' + std::string(buffer.size() - name.size() - 1, '#');
        if (size > required)
            expected[required] = '\0';
        EXPECT_EQ(buffer, expected);
    }
}

TEST(AccountNames, SidToNameFailures)
{
    const Sid system("S-1-5-18");
    const Sid nobody("S-1-5-21-1-2-3-4567");
    char invalid[SECURITY_MAX_SID_SIZE];
    memset(invalid, 0xFF, sizeof invalid);
    char name[600];
    const auto convert = [](PSID sid, char* buffer, size_t size) {
        return calling(sswseConvertSIDToUname, sid, buffer, size, nullptr);
    };
    expectCases({{"no room before no buffer", convert(system.sid, nullptr, 0), 4, "WSE-000033"},
                 {"SID of nobody", convert(nobody.sid, name, sizeof name), 3, "WSE-000034"},
                 {"no SID at all", convert(invalid, name, sizeof name), 3, "WSE-000034"}});
    expectRefused("OS SID", {convert(nullptr, name, 0)});
    expectRefused("uname", {convert(system.sid, nullptr, 9)});
}

TEST(AccountNames, MissingArgumentsAndTheirOrder)
{
    PSID sid = nullptr;
    expectRefused("Pointer to OS SID", {calling(sswseConvertUnameToSID, nullptr, nullptr),
                                        calling(sswseConvertUnameToSIDOnNode, "SYSTEM", nullptr, nullptr),
                                        calling(sswseGetOwnerSIDForCurrentProcess, nullptr)});
    expectRefused("username", {calling(sswseConvertUnameToSID, nullptr, &sid),
                               calling(sswseConvertUnameToSIDOnNode, nullptr, nullptr, L"")});
}

TEST(BuiltinAccounts, KeywordsBecomeNames)
{
    for (const auto& [keyword, name] : {std::pair{"local_system", "NT AUTHORITY\\SYSTEM"},
                                        {"LOCAL_SERVICE", "NT AUTHORITY\\LOCAL SERVICE"},
                                        {"Network_Service", "NT AUTHORITY\\NETWORK SERVICE"}}) {
        char buffer[64];
        size_t length = 0;
        expectCases({{keyword, calling(sswseGetBuiltinAccName, keyword, buffer, sizeof buffer, &length), 2}});
        EXPECT_STREQ(buffer, name);
        EXPECT_EQ(length, strlen(name) + 3);
    }
    char name[64];
    const auto nameOf = [](const char* keyword, char* buffer, size_t size) {
        return calling(sswseGetBuiltinAccName, keyword, buffer, size, nullptr);
    };
    expectCases({{"a name is no keyword", nameOf("SYSTEM", name, sizeof name), 3},
                 {"too small", nameOf("LOCAL_SYSTEM", name, 22 - 1), 3, "WSE-000033"},
                 {"no room: 4 becomes 3", nameOf("LOCAL_SYSTEM", name, 0), 3, "WSE-000033"}});
    expectRefused("account name", {nameOf(nullptr, nullptr, 0)});
    expectRefused("buf", {nameOf("LOCAL_SYSTEM", nullptr, 9)});
    expectRefused("account name", {calling(sswseIsNameBuiltinAcc, nullptr, nullptr)}, 3);
    expectRefused("kind", {calling(sswseIsNameBuiltinAcc, "SYSTEM", nullptr)});
}

TEST(Accounts, ArgumentLinesOfTheTrace)
{
    const std::pair<support::Call, const char*> rows[] = {
        {calling(sswseCheckValidUser, nullptr, "pw"), "Username = (null)\npasswd  = pw"},
        {calling(sswseCreateKestelSVCUser, "D\\u", "pw"), "username = D\\u\npassword = pw"},
        {calling(sswseDeleteKestelSVCUser, "D\\u"), "username = D\\u"},
        {calling(sswseIsPasswordValid, nullptr), "password = (null)"},
        {calling(sswseIsAdministrator, nullptr), "Username = (null)"},
        {calling(sswseIsManagedSVCAccount, nullptr, "n"), "nodename = n\nUsername = (null)"},
        {calling(sswseIsGroupManagedSVCAccount, "u", "n"), "cUser = u\ncNode = n"},
        {calling(sswseGrantPrivilegesToUser, "u", "n", "9"), "username = u\nnodename = n\nKestelHomeType = 9"},
        {calling(sswseRevokePrivilegesFromUser, "u", "n", "9"), "username = u\nnodename = n\nKestelHomeType = 9"},
        {calling(sswseCheckUserPrivileges, "u", "9", nullptr, nullptr), "username = u\nKestelHomeType = 9"},
        {calling(sswseGetBuiltinAccName, "k", nullptr, 7, nullptr), "ilen=7"},
        {calling(sswseConvertUnameToSID, "u", nullptr), "username=u"},
        {calling(sswseConvertSIDToUname, nullptr, nullptr, 7, nullptr), "OSSid=0\nunamel=7"},
    };
    for (const auto& [call, line] : rows)
        EXPECT_EQ(support::argumentLine(call), line);
}
