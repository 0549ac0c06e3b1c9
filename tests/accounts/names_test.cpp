// Names, SIDs and built-in accounts, on the machine that the tests run on.
#include "accounts/account_names.h"
#include "tests/accounts/current_user.h"
#include "tests/support/cases.h"

#include <gtest/gtest.h>

#include <sddl.h>

#include <array>
#include <cstring>

namespace {

using support::Case;
using support::expectCases;

std::string textOf(PSID sid)
{
    char* text = nullptr;
    if (!ConvertSidToStringSidA(sid, &text))
        return "invalid";
    const owned::Local<char> owner(text);
    return text;
}

owned::Local<void> sidOf(const char* text)
{
    PSID sid = nullptr;
    EXPECT_TRUE(ConvertStringSidToSidA(text, &sid)) << text;
    return owned::Local<void>(sid);
}

const std::string longName(700, 'n');
const std::string longQualified = std::string(600, 'd') + "\\" + longName;

} // namespace

TEST(AccountNames, ResolveToTheirSids)
{
    constexpr std::array<std::array<const char*, 2>, 5> names = {{{"NT AUTHORITY\\SYSTEM", "S-1-5-18"},
                                                                  {"NT AUTHORITY\\LOCAL SERVICE", "S-1-5-19"},
                                                                  {"NT AUTHORITY\\NETWORK SERVICE", "S-1-5-20"},
                                                                  {"BUILTIN\\Administrators", "S-1-5-32-544"},
                                                                  {"everyone", "S-1-1-0"}}};
    for (const auto& [name, expected] : names) {
        sswseErrRec rec;
        PSID sid = nullptr;
        ASSERT_EQ(sswseConvertUnameToSID(&rec, name, &sid), 2u) << name;
        EXPECT_EQ(textOf(sid), expected);
        EXPECT_STREQ(rec.message, "");
        EXPECT_STREQ(rec.oserror, "");
        sswseFreeMemory(sid);
        ASSERT_EQ(sswseConvertUnameToSIDOnNode(nullptr, name, &sid, nullptr), 2u) << name;
        EXPECT_EQ(textOf(sid), expected);
        sswseFreeMemory(sid);
    }
}

TEST(AccountNames, ConversionFailuresAndOrderOfChecks)
{
    PSID sid = nullptr;
    const auto convert = [&sid](const char* name, bool withSid) {
        return [=, &sid](sswseErrRec* rec) { return sswseConvertUnameToSID(rec, name, withSid ? &sid : nullptr); };
    };
    const auto onNode = [&sid](const char* name, bool withSid, const wchar_t* node) {
        return [=, &sid](sswseErrRec* rec) {
            return sswseConvertUnameToSIDOnNode(rec, name, withSid ? &sid : nullptr, node);
        };
    };
    expectCases({
        {"both missing", convert(nullptr, false), 4, "WSE-000012: Null or invalid Pointer to OS SID parameter."},
        {"no name", convert(nullptr, true), 4, "WSE-000012: Null or invalid username parameter."},
        {"both missing, node", onNode(nullptr, false, L""), 4, "WSE-000012: Null or invalid username parameter."},
        {"no SID, node", onNode("SYSTEM", false, nullptr), 4, "WSE-000012: Null or invalid Pointer to OS SID"},
        {"unknown name", convert("no such account", true), 3, "WSE-000014"},
        {"overlong name", convert(longName.c_str(), true), 3, "WSE-000014"},
        {"overlong name and domain", convert(longQualified.c_str(), true), 3, "WSE-000014"},
        {"the look-up is made on the node", onNode("SYSTEM", true, L"no-such-node"), 3, "WSE-000014"},
    });
    EXPECT_EQ(sid, nullptr);

    sswseErrRec rec;
    EXPECT_EQ(sswseConvertUnameToSID(&rec, "no such account", &sid), 3u);
    EXPECT_EQ(rec.oserror, std::to_string(ERROR_NONE_MAPPED));
}

TEST(AccountNames, SidToNameFillsBuffersToTheLastByte)
{
    const owned::Local<void> sid = sidOf("S-1-5-19");
    const std::string expected = "NT AUTHORITY\\LOCAL SERVICE";
    const size_t required = expected.size() + 3;
    for (const size_t size : {required - 1, required, required + 1, required + 40}) {
        SCOPED_TRACE(size);
        std::vector<char> buffer(size + 1, '#'); // the last one is not the function's
        size_t written = 0;
        sswseErrRec rec;
        const DWORD status = sswseConvertSIDToUname(&rec, sid.get(), buffer.data(), size, &written);
        EXPECT_EQ(buffer[size], '#');
        if (size < required) {
            EXPECT_EQ(status, 3u);
            EXPECT_EQ(support::messageOf(rec), "WSE-000033: Insufficient output buffer for username.");
            EXPECT_EQ(written, 0u);
            continue;
        }
        EXPECT_EQ(status, 2u);
        EXPECT_EQ(buffer.data(), expected);
        EXPECT_EQ(written, required);
        EXPECT_EQ(buffer[required - 1], '#');
        EXPECT_EQ(buffer[required], size > required ? '\0' : '#');
    }
}

TEST(AccountNames, SidToNameFailures)
{
    const owned::Local<void> system = sidOf("S-1-5-18");
    const owned::Local<void> nobody = sidOf("S-1-5-21-1-2-3-4567");
    char invalid[SECURITY_MAX_SID_SIZE] = {};
    memset(invalid, 0xFF, sizeof invalid);
    char name[600];
    const auto convert = [](PSID sid, char* buffer, size_t size) {
        return [=](sswseErrRec* rec) { return sswseConvertSIDToUname(rec, sid, buffer, size, nullptr); };
    };
    expectCases({
        {"no SID before no room", convert(nullptr, name, 0), 4, "WSE-000012: Null or invalid OS SID parameter."},
        {"no room before no buffer", convert(system.get(), nullptr, 0), 4, "WSE-000033"},
        {"no buffer", convert(system.get(), nullptr, 9), 4, "WSE-000012: Null or invalid uname parameter."},
        {"no length wanted", convert(system.get(), name, sizeof name), 2},
        {"SID of nobody", convert(nobody.get(), name, sizeof name), 3, "WSE-000034"},
        {"no SID at all", convert(invalid, name, sizeof name), 3, "WSE-000034"},
    });
}

TEST(AccountNames, ProcessOwnerIsTheCurrentUser)
{
    sswseErrRec rec;
    EXPECT_EQ(sswseGetOwnerSIDForCurrentProcess(&rec, nullptr), 4u);
    EXPECT_EQ(support::messageOf(rec), "WSE-000012: Null or invalid Pointer to OS SID parameter.");

    PSID owner = nullptr;
    ASSERT_EQ(sswseGetOwnerSIDForCurrentProcess(&rec, &owner), 2u);
    const owned::Heap<void> ownerBlock(owner);
    PSID user = nullptr;
    ASSERT_EQ(sswseConvertUnameToSID(&rec, currentUser().c_str(), &user), 2u);
    const owned::Heap<void> userBlock(user);
    EXPECT_EQ(textOf(owner), textOf(user));

    char name[600];
    ASSERT_EQ(sswseConvertSIDToUname(&rec, owner, name, sizeof name, nullptr), 2u);
    PSID again = nullptr;
    ASSERT_EQ(sswseConvertUnameToSID(&rec, name, &again), 2u);
    const owned::Heap<void> againBlock(again);
    EXPECT_TRUE(EqualSid(owner, again)) << name;
}

TEST(BuiltinAccounts, KeywordsBecomeNamesAndNamesAreRecognised)
{
    struct Row
    {
        const char* keyword;
        const char* name;
        DWORD kind;
    };
    constexpr Row rows[] = {
        {"local_system", "NT AUTHORITY\\SYSTEM", SSWSE_BUILTIN_LOCAL_SYSTEM},
        {"LOCAL_SERVICE", "NT AUTHORITY\\LOCAL SERVICE", SSWSE_BUILTIN_LOCAL_SERVICE},
        {"Network_Service", "NT AUTHORITY\\NETWORK SERVICE", SSWSE_BUILTIN_NETWORK_SERVICE},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.keyword);
        char name[64];
        size_t length = 0;
        sswseErrRec rec;
        ASSERT_EQ(sswseGetBuiltinAccName(&rec, row.keyword, name, sizeof name, &length), 2u);
        EXPECT_STREQ(name, row.name);
        EXPECT_EQ(length, strlen(row.name) + 3);
        DWORD kind = 0;
        EXPECT_EQ(sswseIsNameBuiltinAcc(&rec, name, &kind), 1u);
        EXPECT_EQ(kind, row.kind);
    }
    DWORD kind = 0;
    EXPECT_EQ(sswseIsNameBuiltinAcc(nullptr, "system", &kind), 1u) << "any spelling that resolves";
    EXPECT_EQ(kind, 11u);
}

TEST(BuiltinAccounts, NoAnswersAndFailures)
{
    char name[64];
    DWORD kind = 99;
    const auto nameOf = [](const char* keyword, char* buffer, size_t size) {
        return [=](sswseErrRec* rec) { return sswseGetBuiltinAccName(rec, keyword, buffer, size, nullptr); };
    };
    const auto isBuiltin = [](const char* account, DWORD* result) {
        return [=](sswseErrRec* rec) { return sswseIsNameBuiltinAcc(rec, account, result); };
    };
    expectCases({
        {"no keyword given", nameOf(nullptr, nullptr, 0), 4, "WSE-000012: Null or invalid account name parameter."},
        {"no buffer", nameOf("LOCAL_SYSTEM", nullptr, 9), 4, "WSE-000012: Null or invalid buf parameter."},
        {"a name is no keyword", nameOf("SYSTEM", name, sizeof name), 3},
        {"an overlong keyword", nameOf(longName.c_str(), name, sizeof name), 3},
        {"too small", nameOf("LOCAL_SYSTEM", name, 22 - 1), 3, "WSE-000033"},
        {"no room: 4 becomes 3", nameOf("LOCAL_SYSTEM", name, 0), 3, "WSE-000033"},
        {"no name", isBuiltin(nullptr, nullptr), 3, "WSE-000012: Null or invalid account name parameter."},
        {"no output", isBuiltin("SYSTEM", nullptr), 4, "WSE-000012: Null or invalid kind parameter."},
        {"another account", isBuiltin("Everyone", &kind), 3},
        {"a keyword is no name", isBuiltin("LOCAL_SYSTEM", &kind), 3, "WSE-000014"},
    });
    EXPECT_EQ(kind, 0u);
}
