// Names, SIDs and built-in accounts, on the machine that the tests run on.
#include "accounts/account_names.h"
#include "accounts/principal_names.h"
#include "tests/support/cases.h"
#include "whatif/model/sids.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace support;

namespace {

std::wstring sidOf(const char* name)
{
    PSID sid = nullptr;
    expectCases({{name, calling(sswseConvertUnameToSID, name, &sid), 2}});
    const owned::Heap<void> owner(sid);
    return whatif::sidText(sid);
}

} // namespace

TEST(AccountNames, ResolveToTheirSids)
{
    for (const auto& [name, sid] : {std::pair{"NT AUTHORITY\\LOCAL SERVICE", L"S-1-5-19"},
                                    {"BUILTIN\\Administrators", L"S-1-5-32-544"},
                                    {"everyone", L"S-1-1-0"}})
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
    std::vector<BYTE> service = whatif::sidBytes(L"S-1-5-19");
    const std::string name = "NT AUTHORITY\\LOCAL SERVICE";
    const size_t required = name.size() + 3;
    expectTexts({
        {"too small", [&](auto rec, auto... buffer) { return sswseConvertSIDToUname(rec, service.data(), buffer...); },
         required - 1, 3, "", untouched, "WSE-000033: Insufficient output buffer for username."},
    });
    for (const size_t size : {required, required + 1, required + 40}) {
        std::string buffer(size + 1, '#'); // the last one is not the function's
        size_t written = 0;
        expectCases({{"fits", calling(sswseConvertSIDToUname, service.data(), buffer.data(), size, &written), 2}});
        EXPECT_EQ(written, required);
        std::string expected = name + '\0' + std::string(buffer.size() - name.size() - 1, '#');
        if (size > required)
            expected[required] = '\0';
        EXPECT_EQ(buffer, expected);
    }
}

TEST(AccountNames, AreNotThoseOfUnknownSids)
{
    std::vector<BYTE> nobody = whatif::sidBytes(L"S-1-5-21-1-2-3-4567");
    char invalid[SECURITY_MAX_SID_SIZE];
    memset(invalid, 0xFF, sizeof invalid);
    char name[600];
    const auto convert = [](PSID given, char* buffer, size_t size) {
        return calling(sswseConvertSIDToUname, given, buffer, size, nullptr);
    };
    expectCases({{"SID of nobody", convert(nobody.data(), name, sizeof name), 3, "WSE-000034"},
                 {"no SID at all", convert(invalid, name, sizeof name), 3, "WSE-000034"}});
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
                 {"too small", nameOf("LOCAL_SYSTEM", name, 22 - 1), 3, "WSE-000033"}});
}

// Those that no look-up answers, and the domain of this machine's own accounts.
TEST(PrincipalNames, HaveSpellingsOfTheirOwn)
{
    char computer[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = sizeof computer;
    ASSERT_TRUE(GetComputerNameA(computer, &size));
    const std::string own = computer;
    const struct
    {
        std::string name;
        const wchar_t* machine;
        DWORD status;
        const wchar_t* sid;
        const char* message = "";
    } rows[] = {
        {"S-1-5-21-1-2-3-1104", nullptr, 2, L"S-1-5-21-1-2-3-1104"},
        {"s-1-5-80-0", nullptr, 2, L"S-1-5-80-0"},
        {"S-1-5-x", nullptr, 3, L"", "WSE-000038"},
        {"S-1-", nullptr, 3, L"", "WSE-000038"},
        {"S-2-5-18", nullptr, 3, L"", "WSE-000014"},
        {"localsystem", nullptr, 2, L"S-1-5-18"},
        {".\\LOCALSYSTEM", nullptr, 2, L"S-1-5-18"},
        {own + "\\LocalSystem", nullptr, 2, L"S-1-5-18"},
        {"DB2\\LocalSystem", nullptr, 3, L"", "WSE-000014"},
        {"db2\\LocalSystem", L"\\\\DB2", 2, L"S-1-5-18"},
        {"DB2\\LocalSystem", L"db2.example.com", 2, L"S-1-5-18"},
        {"nt authority\\system", nullptr, 2, L"S-1-5-18"},
        {"NT AUTHORITY\\LocalService", nullptr, 2, L"S-1-5-19"},
        {"NT AUTHORITY\\networkservice", nullptr, 2, L"S-1-5-20"},
        {".\\none", nullptr, 3, L"", "WSE-000014"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        owned::Heap<void> sid;
        sswseErrRec rec = {};
        EXPECT_EQ(sswseSidOfPrincipal({&rec, ""}, row.name.c_str(), row.machine, sid), row.status);
        EXPECT_EQ(messageOf(rec).substr(0, strlen(row.message)), row.message);
        EXPECT_EQ(row.status == 2 ? whatif::sidText(sid.get()) : L"", row.sid);
    }
}
