// Values of a home in the real registry: type, service user and its facts, for homes given by key and by path.
#include "home/home_name.h"
#include "tests/support/cases.h"
#include "tests/support/home.h"

#include <gtest/gtest.h>

namespace {

using support::calling;
using support::expectCases;
using support::expectRefused;
using support::expectTexts;
using support::untouched;
using namespace std::string_literals;

std::string terminated(const std::string& text)
{
    return text + '\0';
}

class HomeValues : public testing::Test
{
protected:
    const support::RegistryHome registry;
    const support::TemporaryHome library; // whose key file names it
    std::string path = library.path();
    const char* const key = registry.homeKey().c_str();
};

#define EXPORT(name) EXPORT_OF(library, name)

} // namespace

TEST_F(HomeValues, TypeIsCopiedWithItsStoredSize)
{
    const auto ofKey = EXPORT(sswseGetKestelHomeType);
    const auto ofPath = EXPORT(sswseGetKestelHomeTypeForKHPath);
    const auto byKey = [&](auto rec, auto... type) { return ofKey(rec, key, type..., ""); };
    const auto byPath = [&](auto rec, auto... type) { return ofPath(rec, path.data(), type..., nullptr); };
    const std::string longest(510, '1');
    const auto noRoom = "WSE-000033: Insufficient output buffer for Kestelhometype.";
    for (const auto& [stored, type] : {std::pair{"1\0"s, REG_SZ},
                                       {"1"s, REG_SZ},
                                       {""s, REG_SZ},
                                       {"2"s, REG_BINARY},
                                       {"\x01\x02\x03\x04"s, REG_DWORD},
                                       {longest, REG_BINARY}}) {
        registry.set("KESTEL_HOME_TYPE", stored, static_cast<DWORD>(type));
        const size_t required = stored.size() + 1;
        expectTexts({{stored, byKey, required, 2, stored, stored.size()},
                     {stored, byPath, required, 2, stored, stored.size()},
                     {stored, byKey, required - 1, 3, "", untouched, noRoom},
                     {stored, byPath, required - 1, 3, "", untouched, noRoom},
                     {stored, byKey, 0, 3, "", untouched, noRoom}});
    }
    registry.set("KESTEL_HOME_TYPE", longest + '1', REG_BINARY);
    expectTexts({{"longer than any type", byKey, 600, 3, "", untouched,
                  "WSE-000048: Unable to query value for KESTEL_HOME_TYPE in registry."}});
}

TEST_F(HomeValues, TypeIsSetOnlyWhenValidAndOnlyBelowAnExistingKey)
{
    const auto isValid = EXPORT(sswseIsKhomeTypeValid);
    const auto set = EXPORT(sswseSetKestelHomeType);
    registry.set("KESTEL_HOME_TYPE", terminated("0"));
    for (const char* invalid : {"3", "", "01", " 1", "1 ", "one"}) {
        expectCases({{invalid, calling(isValid, invalid), 0},
                     {invalid, calling(set, key, invalid, nullptr), 5, "WSE-00008: Unsupported Kestel home type."}});
        EXPECT_EQ(registry.get("KESTEL_HOME_TYPE"), terminated("0"));
    }
    for (const char* valid : {"0", "1", "2"}) {
        expectCases({{valid, calling(isValid, valid), 1}, {valid, calling(set, key, valid, nullptr), 2}});
        DWORD type = REG_NONE;
        EXPECT_EQ(registry.get("KESTEL_HOME_TYPE", &type), terminated(valid));
        EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    }
    const auto missing = "WSE-000010: Unable to open registry key Software\\Kestel\\KEY_none under HKLM.";
    expectCases({
        {"missing", calling(set, "KEY_none", "2", nullptr), 6, missing},
        {"still missing", calling(set, "KEY_none", "2", nullptr), 6, missing},
        {"node", calling(set, key, "2", "no-such-node"), 3, "WSE-000044: Unable to open registry on remote node."},
    });
}

TEST_F(HomeValues, NameIsReadByPath)
{
    registry.set("KESTEL_HOME_NAME", terminated("h1"));
    expectTexts(
        {{"name",
          [&](auto rec, auto... name) { return sswseGetKestelHomeNameForKHPath(rec, path.data(), name..., nullptr); },
          8, 2, terminated("h1"), 3}});
}

TEST_F(HomeValues, UserIsReadFromAnyStoredText)
{
    const auto ofPath = EXPORT(sswseGetUnameForKhomePath);
    const auto get = [&](auto rec, auto... user) { return ofPath(rec, path.c_str(), user..., nullptr); };
    const auto noRoom = "WSE-000033: Insufficient output buffer for username.";
    const auto noValue = "WSE-000048: Unable to query value for KESTEL_SVCUSER in registry.";
    constexpr size_t most = 32764 / sizeof(wchar_t);
    const std::wstring longest(most, L'u');
    const auto expect = [&](const std::wstring& stored, DWORD type, DWORD extraBytes, support::TextCase expected) {
        registry.setWide("KESTEL_SVCUSER", stored, type, extraBytes);
        expectTexts({std::move(expected)});
    };
    expect(std::wstring(L"svc_1", 6), REG_SZ, 0, {"fits", get, 6, 2, "svc_1", 6});
    expect(std::wstring(L"svc_1", 6), REG_SZ, 0, {"too small", get, 5, 3, "", untouched, noRoom});
    expect(L"svc_1", REG_SZ, 0, {"not terminated", get, 6, 2, "svc_1", 6});
    expect(L"svc_1", REG_BINARY, 1, {"half a character", get, 6, 2, "svc_1", 6});
    expect(L"", REG_SZ, 0, {"empty", get, 1, 2, "", 1});
    expect(longest, REG_SZ, 0, {"longest", get, 32768, 2, std::string(most, 'u'), most + 1});
    expect(longest, REG_BINARY, 1, {"too long", get, 32768, 3, "", untouched, noValue});
}

TEST_F(HomeValues, FactsOfTheUserAreReadLeniently)
{
    const auto password = calling(EXPORT(sswseIsSVCUserPasswordRequired), path.c_str(), nullptr);
    const auto isVirtual = calling(EXPORT(sswseIsSvcUserVirtualAccount), path.c_str(), nullptr);
    expectCases({{"password not recorded", password, 3,
                  "WSE-000048: Unable to query value for KESTEL_SVCUSER_PWDREQ in registry."},
                 {"type not recorded", isVirtual, 0}});
    const std::pair<DWORD, std::vector<std::string>> texts[] = {{0, {"0", "-1", "abc", "", std::string(510, '0')}},
                                                                {1, {"1", "2", " 1", "99999999999"}}};
    for (const auto& [answer, all] : texts)
        for (const std::string& stored : all) {
            registry.set("KESTEL_SVCUSER_PWDREQ", stored);
            expectCases({{stored.c_str(), password, answer}});
        }
    for (const auto& [stored, answer] : {std::pair{L"V", 1u}, {L"v", 1u}, {L" ", 0u}, {L"", 0u}, {L"VV", 0u}}) {
        registry.setWide("KESTEL_SVCUSER_TYPE", stored);
        expectCases({{"type", isVirtual, answer}});
    }
}

TEST_F(HomeValues, UserIsRecorded)
{
    const auto record = EXPORT(sswseSetUnameForKhome);
    const std::string endless(700, 'u');
    const std::string longKey(496, 'k'); // one more than there is room for behind "software\Kestel\"
    expectCases({{"keyword", calling(record, "local_System", nullptr, key), 2}});
    EXPECT_EQ(registry.get("KESTEL_SVCUSER"), terminated("NT AUTHORITY\\SYSTEM"));
    EXPECT_EQ(registry.get("KESTEL_SVCUSER_PWDREQ"), terminated("0"));
    EXPECT_EQ(registry.get("KESTEL_SVCUSER_TYPE").size(), 2u);
    expectCases({
        {"endless name", calling(record, endless.c_str(), nullptr, key), 3, "WSE-000014"},
        {"long home key", calling(record, "u", nullptr, longKey.c_str()), 3,
         "WSE-000053: Windows application programming interface (API) strcat_s failed."},
    });
    EXPECT_EQ(registry.get("KESTEL_SVCUSER"), terminated(endless.substr(0, 511)));
}

TEST(Home, MissingArgumentsAreNamed)
{
    char out[8];
    char path[] = "C:\\home";
    expectRefused("KestelHome Key", {calling(sswseGetKestelHomeType, nullptr, nullptr, 1, nullptr, nullptr),
                                     calling(sswseSetKestelHomeType, nullptr, nullptr, nullptr)});
    expectRefused("KestelHome Type",
                  {calling(sswseGetKestelHomeType, "K", nullptr, 1, nullptr, nullptr),
                   calling(sswseSetKestelHomeType, "K", nullptr, nullptr), calling(sswseIsKhomeTypeValid, nullptr),
                   calling(sswseGetKestelHomeTypeForKHPath, path, nullptr, 8, nullptr, "node")});
    expectRefused("KestelHome Name", {calling(sswseGetKestelHomeName, nullptr, 1, nullptr),
                                      calling(sswseGetKestelHomeNameForKHPath, path, nullptr, 8, nullptr, "node")});
    expectRefused("KestelHome Path", {calling(sswseGetKestelHomeTypeForKHPath, nullptr, out, 8, nullptr, nullptr),
                                      calling(sswseIsSVCUserMSA, nullptr, nullptr),
                                      calling(sswseIsSVCUserPasswordRequired, nullptr, nullptr),
                                      calling(sswseIsSvcUserVirtualAccount, nullptr, nullptr)});
    expectRefused("KestelHome Path", {calling(sswseGetUnameForKhomePath, nullptr, nullptr, 8, nullptr, nullptr)}, 6);
    expectRefused("KestelHomePath", {calling(sswseIsSvcUserLocalSystem, nullptr, nullptr),
                                     calling(sswseIsSvcUserLocalService, nullptr, nullptr),
                                     calling(sswseIsSVCUserGMSA, nullptr, nullptr)});
    expectRefused("username", {calling(sswseSetUnameForKhome, nullptr, nullptr, nullptr),
                               calling(sswseGetUnameForKhome, nullptr, 8, nullptr, nullptr),
                               calling(sswseGetUnameForKhomePath, path, nullptr, 8, nullptr, nullptr)});
    expectRefused("KestelHomeKey", {calling(sswseSetUnameForKhome, "u", nullptr, nullptr)}, 6);
    expectRefused("khkey", {calling(sswseGetKestelHomeKey, nullptr, 1, nullptr)});
    EXPECT_STREQ(path, "C:\\home"); // not changed even for a node
}
