// The library's own home: key file beside the library, environment, home name; and the names of virtual-account groups.
#include "tests/support/node_test.h"

#include <cstring>

using namespace support;
using namespace std::string_literals;

namespace {

constexpr char noHome[] = "3 WSE-000052: Unable to determine Kestel home.";

const std::string keyInto = "GetKestelHomeKey khkey.size=", nameInto = "GetKestelHomeName khname.size=";

} // namespace

TEST_F(NodeTest, HomeKeyIsTheLastPartOfTheFirstLine)
{
    for (const auto& [content, answered] :
         {std::pair{"SOFTWARE\\KESTEL\\KEY_h1"s, "2 = KEY_h1 6"s},
          {"SOFTWARE\\KESTEL\\KEY_h1\nSOFTWARE\\KESTEL\\KEY_h2\n"s, "2 = KEY_h1 6"s},
          {"A\\KEY_h1\0\\KEY_h2\r\n"s, "2 = KEY_h1 6"s},
          {"\\KEY h1 \r\n"s, "2 = KEY h1  7"s},
          {"SOFTWARE\\KESTEL\\\r\n"s, "2 =  0"s},
          {"SOFTWARE\\" + std::string(600, 'k'), "2 = " + std::string(511 - 9, 'k') + " 502"},
          {"KEY_h1\r\n"s, noHome},
          {"\r\nSOFTWARE\\KESTEL\\KEY_h1\r\n"s, noHome},
          {""s, noHome}}) {
        library.writeKeyFile(content);
        expect({{keyInto + "600", answered}});
    }
    library.writeKeyFile("SOFTWARE\\KESTEL\\KEY_h1\r\n");
    expect({{keyInto + "7", "2 = KEY_h1 6"}, {keyInto + "6", "2 = KEY_h 5"}, {keyInto + "1", "2 =  0"}});
}

TEST_F(NodeTest, HomeKeyFromTheEnvironmentMustFitWithItsTerminator)
{
    library.removeKeyFile();
    constexpr char noRoom[] = "3 WSE-000033: Insufficient output buffer for Kestelhomekey.";
    const std::string longest(258, 'k');
    for (const auto& [value, size, answered] : {std::tuple("KEY_env"s, 8, "2 = KEY_env 7"s),
                                                {"KEY_env"s, 7, noRoom},
                                                {longest, 500, "2 = " + longest + " 258"},
                                                {longest + "k", 500, noRoom},
                                                {""s, 8, noHome}}) {
        const EnvironmentVariable variable("KESTEL_HOME_KEY", value.c_str());
        expect({{keyInto + std::to_string(size), answered}});
    }
    expect({{keyInto + "8", noHome}});
}

TEST_F(NodeTest, HomeKeyIsNotLookedForWhereThePlatformCutsTheLibrarysPath)
{
    library.redirect(
        "GetModuleFileNameA", +[](HMODULE, char* path, DWORD size) -> DWORD {
            strcpy(path, ("C:\\" + std::string(size - 4, 'x')).c_str()); // C: may have a key file
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return size;
        });
    expect({{keyInto + "16", "3 WSE-000047: Unable to get full path for the module. 122"}});
    library.redirect(
        "GetModuleFileNameA", +[](HMODULE, char* path, DWORD) -> DWORD {
            strcpy(path, "C:\\keswsec19.dll"); // in no home
            return static_cast<DWORD>(strlen(path));
        });
    expect({{"GetAllServicesInKHForUser username=svc", "3 WSE-000052: Unable to determine Kestel home."}});
}

TEST_F(NodeTest, HomeNameIsReadWithoutClosingAPredefinedKey)
{
    static int closedPredefinedKeys;
    library.redirect(
        "RegOpenKeyExA", +[](HKEY root, const char*, DWORD, REGSAM, HKEY* opened) -> LSTATUS {
            *opened = root; // as for a key without a name
            return ERROR_SUCCESS;
        });
    library.redirect(
        "RegCloseKey", +[](HKEY closed) -> LSTATUS {
            closedPredefinedKeys += closed == HKEY_LOCAL_MACHINE;
            return ERROR_SUCCESS;
        });
    EXPECT_EQ(answer(nameInto + "16"), "3 WSE-000048 2");
    EXPECT_EQ(closedPredefinedKeys, 0);
}

// A name from the environment is a success that keeps the home key's failure in the record.
TEST_F(NodeTest, HomeNameIsReadBelowTheKeyOrWithoutAKeyFromTheEnvironment)
{
    constexpr char noRoom[] = "3 WSE-000033: Insufficient output buffer for Kestelhomename.";
    expect({{nameInto + "16",
             "6 WSE-000010: Unable to open registry key Software\\Kestel\\KEY_keswsec_test under HKLM. 2"}});
    record(local, "KESTEL_HOME_NAME", "h1");
    expect({{nameInto + "4", "2 = h1 2"}, {nameInto + "3", noRoom}});
    library.removeKeyFile();
    expect({{nameInto + "16", noHome}});
    const EnvironmentVariable variable("KESTEL_HOME_NAME", "h_env");
    expect({{nameInto + "6", "2 WSE-000052: Unable to determine Kestel home. = h_env 5"}, {nameInto + "5", noRoom}});
}

TEST_F(NodeTest, VirtualAccountGroupsHaveTheirHomesNamesInThem)
{
    const std::string group = "GetVAGroupnameForKHomename homename=", home = "GetKHomeNameFromVAGroupName groupname=";
    const std::string longHome(498, 'h'), longest = "KES_" + longHome + "_SVCACCTS";
    constexpr char noRoom[] = "3 WSE-000033: Insufficient output buffer for groupname.";
    expect({
        {group + "h1 groupname.size=16", "2 = KES_h1_SVCACCTS 15"},
        {group + "h1 groupname.size=15", noRoom},
        {group + "\"\" groupname.size=14", "2 = KES__SVCACCTS 13"},
        {group + longHome + longHome + " groupname.size=1009", noRoom},
        {group + longHome + longHome + " groupname.size=1010", "2 = KES_" + longHome + "hhhhhhhhh 511"},
        {home + "KES_h1_SVCACCTS homename.size=3", "2 = h1 2"},
        {home + "KES_h1_SVCACCTS homename.size=2", "3 WSE-000033: Insufficient output buffer for homename."},
        {home + "XKES_h1_SVCACCTS_more homename.size=9", "2 = h1 2"},
        {home + "KES_KES_a_SVCACCTS_SVCACCTS homename.size=9", "2 = KES_a 5"},
        {home + longest + " homename.size=499", "2 = " + longHome + " 498"},
        {home + "x" + longest, "3 WSE-000053: Windows application programming interface (API) strcpy_s failed. 34"},
    });
    for (const char* const none : {"KES__SVCACCTS", "KES_SVCACCTS", "_SVCACCTS_KES_x"})
        expect({{home + none, "4 WSE-000012: Null or invalid groupname parameter."}});
    for (const char* const none : {"kes_h1_SVCACCTS", "KES_h1_svcaccts", "\"\""})
        expect({{home + none, "4 WSE-000012: Null or invalid tempstr parameter."}});
}
