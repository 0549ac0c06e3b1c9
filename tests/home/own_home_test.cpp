// The library's own home: key file beside the library, environment, home name; and the names of virtual-account groups.
#include "tests/support/cases.h"
#include "tests/support/home.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace support;
using namespace std::string_literals;

namespace {

constexpr char noHome[] = "WSE-000052: Unable to determine Kestel home.";

int closedPredefinedKeys;

struct OwnHome : testing::Test
{
    TemporaryHome home;
    decltype(&sswseGetKestelHomeKey) const key = EXPORT_OF(home, sswseGetKestelHomeKey);
    decltype(&sswseGetKestelHomeName) const name = EXPORT_OF(home, sswseGetKestelHomeName);
};

} // namespace

TEST_F(OwnHome, KeyIsTheLastPartOfTheFirstLine)
{
    const std::string longLine = "SOFTWARE\\" + std::string(600, 'k');
    for (const auto& [content, expected] : {std::pair{"SOFTWARE\\KESTEL\\KEY_h1"s, "KEY_h1"s},
                                            {"SOFTWARE\\KESTEL\\KEY_h1\nSOFTWARE\\KESTEL\\KEY_h2\n"s, "KEY_h1"s},
                                            {"A\\KEY_h1\0\\KEY_h2\r\n"s, "KEY_h1"s},
                                            {"\\KEY h1 \r\n"s, "KEY h1 "s},
                                            {"SOFTWARE\\KESTEL\\\r\n"s, ""s},
                                            {longLine, std::string(511 - 9, 'k')}}) {
        home.writeKeyFile(content);
        expectTexts({{content, key, 600, 2, expected, expected.size()}});
    }
    for (const char* const content : {"KEY_h1\r\n", "\r\nSOFTWARE\\KESTEL\\KEY_h1\r\n", ""}) {
        home.writeKeyFile(content);
        expectTexts({{content, key, 600, 3, "", untouched, noHome}});
    }
    home.writeKeyFile("SOFTWARE\\KESTEL\\KEY_h1\r\n");
    expectTexts({{"fits", key, 7, 2, "KEY_h1", 6}, {"cut", key, 6, 2, "KEY_h", 5}, {"emptied", key, 1, 2, "", 0}});
}

TEST_F(OwnHome, KeyFromTheEnvironmentMustFitWithItsTerminator)
{
    home.removeKeyFile();
    const auto noRoom = "WSE-000033: Insufficient output buffer for Kestelhomekey.";
    const std::string longest(258, 'k');
    const std::string tooLong(259, 'k');
    const auto expect = [](const char* value, const TextCase& expected) {
        const EnvironmentVariable variable("KESTEL_HOME_KEY", value);
        expectTexts({expected});
    };
    expect("KEY_env", {"fits", key, 8, 2, "KEY_env", 7});
    expect("KEY_env", {"too small", key, 7, 3, "", untouched, noRoom});
    expect(longest.c_str(), {"longest", key, 500, 2, longest, 258});
    expect(tooLong.c_str(), {"too long", key, 500, 3, "", untouched, noRoom});
    expect(nullptr, {"not set", key, 8, 3, "", untouched, noHome});
    expect("", {"empty", key, 8, 3, "", untouched, noHome});
}

TEST_F(OwnHome, KeyIsNotLookedForWhereThePlatformCutsTheLibrarysPath)
{
    home.redirect(
        "GetModuleFileNameA", +[](HMODULE, char* path, DWORD size) -> DWORD {
            strcpy(path, ("C:\\" + std::string(size - 4, 'x')).c_str()); // C: may have a key file
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return size;
        });
    expectTexts({{"cut", key, 16, 3, "", untouched, "WSE-000047: Unable to get full path for the module."}});
}

TEST_F(OwnHome, NameIsReadWithoutClosingAPredefinedKey)
{
    home.redirect(
        "RegOpenKeyExA", +[](HKEY root, const char*, DWORD, REGSAM, HKEY* opened) -> LSTATUS {
            *opened = root; // as for a key without a name
            return ERROR_SUCCESS;
        });
    home.redirect(
        "RegCloseKey", +[](HKEY closed) -> LSTATUS {
            closedPredefinedKeys += closed == HKEY_LOCAL_MACHINE;
            return ERROR_SUCCESS;
        });
    expectTexts({{"no value", name, 16, 3, "", untouched,
                  "WSE-000048: Unable to query value for KESTEL_HOME_NAME in registry."}});
    EXPECT_EQ(closedPredefinedKeys, 0);
}

// A name from the environment is a success that keeps the home key's failure in the record.
TEST_F(OwnHome, NameIsReadBelowTheKeyOrWithoutAKeyFromTheEnvironment)
{
    const auto noKey = "WSE-000010: Unable to open registry key Software\\Kestel\\KEY_keswsec_test under HKLM.";
    const auto noRoom = "WSE-000033: Insufficient output buffer for Kestelhomename.";
    expectTexts({{"no key", name, 16, 6, "", untouched, noKey}});
    const RegistryHome registry;
    registry.set("KESTEL_HOME_NAME", "h1\0"s);
    expectTexts({{"fits", name, 4, 2, "h1\0"s, 2}, {"too small", name, 3, 3, "", untouched, noRoom}});
    home.removeKeyFile();
    expectTexts({{"not set", name, 16, 3, "", untouched, noHome}});
    const EnvironmentVariable variable("KESTEL_HOME_NAME", "h_env");
    expectTexts({{"fits", name, 6, 2, "h_env", 5, noHome}, {"too small", name, 5, 3, "", untouched, noRoom}});
}

TEST(VirtualAccountGroup, HasItsHomesNameInsideIts)
{
    const auto groupOf = [](const std::string& home) {
        return [home](auto rec, auto... group) { return sswseGetVAGroupnameForKHomename(rec, home.c_str(), group...); };
    };
    const auto homeOf = [](const std::string& group) {
        return [group](auto rec, auto... to) { return sswseGetKHomeNameFromVAGroupName(rec, group.c_str(), to...); };
    };
    const std::string longHome(498, 'h');
    const std::string longest = "KES_" + longHome + "_SVCACCTS";
    const auto noRoom = "WSE-000033: Insufficient output buffer for groupname.";
    expectTexts({
        {"group", groupOf("h1"), 16, 2, "KES_h1_SVCACCTS", 15},
        {"group", groupOf("h1"), 15, 3, "", untouched, noRoom},
        {"group of no name", groupOf(""), 14, 2, "KES__SVCACCTS", 13},
        {"group of a long name", groupOf(longHome + longHome), 1009, 3, "", untouched, noRoom},
        {"group of a long name", groupOf(longHome + longHome), 1010, 2, "KES_" + longHome + "hhhhhhhhh", 511},
        {"home", homeOf("KES_h1_SVCACCTS"), 3, 2, "h1", 2},
        {"home", homeOf("KES_h1_SVCACCTS"), 2, 3, "", untouched,
         "WSE-000033: Insufficient output buffer for homename."},
        {"home inside", homeOf("XKES_h1_SVCACCTS_more"), 9, 2, "h1", 2},
        {"home twice", homeOf("KES_KES_a_SVCACCTS_SVCACCTS"), 9, 2, "KES_a", 5},
        {"longest home", homeOf(longest), 499, 2, longHome, 498},
        {"home too long", homeOf("x" + longest), 600, 3, "", untouched,
         "WSE-000053: Windows application programming interface (API) strcpy_s failed."},
    });
    char home[8];
    size_t length = 0;
    const auto take = [&](const char* group) {
        return calling(sswseGetKHomeNameFromVAGroupName, group, home, sizeof home, &length);
    };
    expectRefused("groupname", {take("KES__SVCACCTS"), take("KES_SVCACCTS"), take("_SVCACCTS_KES_x")});
    expectRefused("tempstr", {take("kes_h1_SVCACCTS"), take("KES_h1_svcaccts"), take("")});
}
