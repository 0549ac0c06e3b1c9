// Names and SIDs, on the machine that the tests run on.
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
    EXPECT_EQ(sidOf("BUILTIN\\Administrators"), L"S-1-5-32-544");
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
    char small[64];
    expectCases({{"too small", calling(sswseConvertSIDToUname, service.data(), small, required - 1, nullptr), 3,
                  "WSE-000033: Insufficient output buffer for username."}});
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

TEST(AccountNames, AreAskedForBeforeAPlaceForTheirSids)
{
    expectRefused("username", {calling(sswseConvertUnameToSIDOnNode, nullptr, nullptr, nullptr)});
}

// Those that no look-up answers, and the domain of this machine's own accounts.
TEST(PrincipalNames, HaveSpellingsOfTheirOwn)
{
    char computer[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = sizeof computer;
    ASSERT_TRUE(GetComputerNameA(computer, &size));
    const std::string own = computer;
    // Of this machine or another one; a SID, or the message that there is none.
    const std::tuple<std::string, const wchar_t*, const wchar_t*, const char*> rows[] = {
        {"S-1-5-21-1-2-3-1104", nullptr, L"S-1-5-21-1-2-3-1104", ""},
        {"s-1-5-80-0", nullptr, L"S-1-5-80-0", ""},
        {"S-1-5-x", nullptr, L"", "WSE-000038"},
        {"S-1-", nullptr, L"", "WSE-000038"},
        {"S-2-5-18", nullptr, L"", "WSE-000014"},
        {"localsystem", nullptr, L"S-1-5-18", ""},
        {".\\LOCALSYSTEM", nullptr, L"S-1-5-18", ""},
        {own + "\\LocalSystem", nullptr, L"S-1-5-18", ""},
        {"DB2\\LocalSystem", nullptr, L"", "WSE-000014"},
        {"db2\\LocalSystem", L"\\\\DB2", L"S-1-5-18", ""},
        {"DB\\LocalSystem", L"db2.example.com", L"", "WSE-000014"},
        {"DB2\\LocalSystem", L"db2.example.com", L"S-1-5-18", ""},
        {"nt authority\\system", nullptr, L"S-1-5-18", ""},
        {"NT AUTHORITY\\LocalService", nullptr, L"S-1-5-19", ""},
        {"NT AUTHORITY\\networkservice", nullptr, L"S-1-5-20", ""},
        {".\\none", nullptr, L"", "WSE-000014"},
    };
    for (const auto& [name, machine, found, message] : rows) {
        owned::Heap<void> sid;
        sswseErrRec rec = {};
        EXPECT_EQ(sswseSidOfPrincipal({&rec, ""}, name.c_str(), machine, sid), *message ? 3u : 2u) << name;
        EXPECT_EQ(messageOf(rec).substr(0, strlen(message)), message);
        EXPECT_EQ(*message ? L"" : whatif::sidText(sid.get()), found) << name;
    }
}
