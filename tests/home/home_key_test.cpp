// The library's own home: key file beside the library, environment, home name.
#include "tests/support/cases.h"
#include "tests/support/home.h"
#include "tests/support/trace_log.h"

#include <gtest/gtest.h>

namespace {

using support::EnvironmentVariable;
using support::expectTexts;
using support::TextCase;
using support::untouched;
using namespace std::string_literals;

constexpr char noHome[] = "WSE-000052: Unable to determine Kestel home.";

// A module path that does not fit, as the platform cuts it: the directory above the library's has a key file.
DWORD WINAPI cutPath(HMODULE, char* path, DWORD size)
{
    memset(path, 'x', size);
    memcpy(path, "C:\\", 3);
    path[size - 1] = '\0';
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size;
}

int closedPredefinedKeys;

LSTATUS WINAPI openPredefined(HKEY root, const char*, DWORD, REGSAM, HKEY* key)
{
    *key = root; // as for a key without a name
    return ERROR_SUCCESS;
}

LSTATUS WINAPI countPredefined(HKEY key)
{
    closedPredefinedKeys += key == HKEY_LOCAL_MACHINE;
    return ERROR_SUCCESS;
}

class OwnHome : public testing::Test
{
protected:
    support::TemporaryHome home;
    decltype(&sswseGetKestelHomeKey) const key = EXPORT_OF(home, sswseGetKestelHomeKey);
    decltype(&sswseGetKestelHomeName) const name = EXPORT_OF(home, sswseGetKestelHomeName);
};

} // namespace

TEST_F(OwnHome, KeyIsTheLastPartOfTheFirstLine)
{
    const std::string longLine = "SOFTWARE\\" + std::string(600, 'k');
    for (const auto& [content, expected] : {std::pair{"SOFTWARE\\KESTEL\\KEY_h1\r\n"s, "KEY_h1"s},
                                            {"SOFTWARE\\KESTEL\\KEY_h1"s, "KEY_h1"s},
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
}

TEST_F(OwnHome, KeyFromTheFileIsCutToTheBuffer)
{
    home.writeKeyFile("SOFTWARE\\KESTEL\\KEY_h1\r\n");
    expectTexts({{"fits", key, 7, 2, "KEY_h1", 6}, {"cut", key, 6, 2, "KEY_h", 5}, {"emptied", key, 1, 2, "", 0}});
    char nothing = '#';
    EXPECT_EQ(key(nullptr, &nothing, 0, nullptr), 2u);
    EXPECT_EQ(nothing, '#');
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
    expect("KEY_env", {"no room", key, 0, 3, "", untouched, noRoom});
    expect(longest.c_str(), {"longest", key, 500, 2, longest, 258});
    expect(tooLong.c_str(), {"too long", key, 500, 3, "", untouched, noRoom});
    expect(nullptr, {"not set", key, 8, 3, "", untouched, noHome});
    expect("", {"empty", key, 8, 3, "", untouched, noHome});
}

TEST_F(OwnHome, HasNoKeyWhereTheLibrarysPathIsCut)
{
    home.redirect("GetModuleFileNameA", &cutPath);
    expectTexts({{"cut", key, 16, 3, "", untouched, "WSE-000047: Unable to get full path for the module."}});
}

TEST_F(OwnHome, DoesNotCloseAPredefinedKey)
{
    home.redirect("RegOpenKeyExA", &openPredefined);
    home.redirect("RegCloseKey", &countPredefined);
    closedPredefinedKeys = 0;
    char text[16];
    EXPECT_EQ(name(nullptr, text, sizeof text, nullptr), 3u);
    EXPECT_EQ(closedPredefinedKeys, 0);
}

TEST_F(OwnHome, NameIsReadBelowTheKey)
{
    const auto noKey = "WSE-000010: Unable to open registry key Software\\Kestel\\KEY_keswsec_test under HKLM.";
    const auto noName = "WSE-000048: Unable to query value for KESTEL_HOME_NAME in registry.";
    const auto noRoom = "WSE-000033: Insufficient output buffer for Kestelhomename.";
    expectTexts({{"no key", name, 16, 6, "", untouched, noKey}});
    const support::RegistryHome registry;
    expectTexts({{"no name", name, 16, 3, "", untouched, noName}});
    registry.set("KESTEL_HOME_NAME", std::string("h1", 3));
    expectTexts({{"fits", name, 4, 2, {"h1", 3}, 2}, {"too small", name, 3, 3, "", untouched, noRoom}});
}

// A name from the environment is a success that keeps the home key's failure in the record.
TEST_F(OwnHome, NameFromTheEnvironmentWithoutAKey)
{
    home.removeKeyFile();
    expectTexts({{"not set", name, 16, 3, "", untouched, noHome}});
    const EnvironmentVariable variable("KESTEL_HOME_NAME", "h_env");
    expectTexts(
        {{"fits", name, 6, 2, "h_env", 5, noHome},
         {"too small", name, 5, 3, "", untouched, "WSE-000033: Insufficient output buffer for Kestelhomename."}});
}

TEST(ServiceUser, TraceLinesAreWrittenAsTheyAre)
{
    using support::argumentLine;
    using support::calling;
    EXPECT_EQ(argumentLine(calling(sswseSetUnameForKhome, nullptr, "n", "KEY")),
              "uname=(null)\nnodename=n\nkhomekeyKEY");
    EXPECT_EQ(argumentLine(calling(sswseIsSvcUserVirtualAccount, nullptr, "n")), "KhomePath=(null) \n nodename=n");
}
