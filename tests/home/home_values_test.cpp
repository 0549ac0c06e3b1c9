// Values of a home in the registry: type, service user and its facts, for homes given by key and by path.
#include "home/home_type.h"
#include "tests/support/cases.h"
#include "tests/support/home.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>

namespace {

using support::Case;
using support::expectCases;
using support::messageOf;
using support::RegistryHome;
using support::ScratchDirectory;
using namespace std::string_literals;

constexpr char noNode[] = "keswsec-no-such-node";
constexpr char noHome[] = "WSE-000052: Unable to determine Kestel home.";

// A home directory with a key file, whatever its registry key holds.
struct HomeDirectory
{
    HomeDirectory() { std::filesystem::create_directory(directory.path() / "bin"); }
    explicit HomeDirectory(const std::string& keyFile) : HomeDirectory()
    {
        std::ofstream(directory.path() / "bin" / "kestel.key", std::ios::binary) << keyFile;
    }
    // Writable, as some routines change it.
    char* path() { return text.data(); }

    ScratchDirectory directory;
    std::string text = directory.path().string();
};

const std::string keyLine = "SOFTWARE\\KESTEL\\KEY_keswsec_test\r\n";

std::string terminated(const std::string& text)
{
    return text + '\0';
}

} // namespace

TEST(HomeType, StoredTextIsCopiedWithItsStoredSize)
{
    const std::string longest(510, '1');
    const struct
    {
        std::string stored;
        DWORD type;
        size_t size;
        DWORD status;
    } rows[] = {
        {terminated("1"), REG_SZ, 3, 2},
        {terminated("1"), REG_SZ, 2, 3},
        {terminated("1"), REG_SZ, 0, 3},
        {"1", REG_SZ, 2, 2},
        {"1", REG_SZ, 1, 3},
        {"", REG_SZ, 1, 2},
        {"2", REG_BINARY, 2, 2},
        {"\x01\x02\x03\x04", REG_DWORD, 5, 2},
        {longest, REG_BINARY, 511, 2},
        {longest, REG_BINARY, 510, 3},
    };
    const RegistryHome home;
    HomeDirectory directory(keyLine);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.stored + " into " + std::to_string(row.size));
        home.set("KESTEL_HOME_TYPE", row.stored, row.type);
        for (const bool byPath : {false, true}) {
            std::string type(row.size + 16, '#');
            size_t length = 0;
            sswseErrRec rec;
            EXPECT_EQ(byPath ? sswseGetKestelHomeTypeForKHPath(&rec, directory.path(), type.data(), row.size, &length,
                                                               nullptr)
                             : sswseGetKestelHomeType(&rec, home.homeKey().c_str(), type.data(), row.size, &length, ""),
                      row.status);
            EXPECT_EQ(messageOf(rec),
                      row.status == 2 ? "" : "WSE-000033: Insufficient output buffer for Kestelhometype.");
            const std::string copied = row.status == 2 ? row.stored + '\0' : "";
            EXPECT_EQ(type, copied + std::string(type.size() - copied.size(), '#'));
            EXPECT_EQ(length, row.status == 2 ? row.stored.size() : 0);
        }
    }
    home.set("KESTEL_HOME_TYPE", longest + '1', REG_BINARY);
    std::string type(600, '#');
    expectCases({{"longer than any type",
                  [&](auto rec) {
                      return sswseGetKestelHomeType(rec, home.homeKey().c_str(), type.data(), 600, nullptr, nullptr);
                  },
                  3, "WSE-000048: Unable to query value for KESTEL_HOME_TYPE in registry."}});
}

TEST(HomeType, IsSetOnlyWhenValidAndOnlyBelowAnExistingKey)
{
    const RegistryHome home;
    const char* const key = home.homeKey().c_str();
    home.set("KESTEL_HOME_TYPE", terminated("0"));
    for (const char* invalid : {"3", "", "01", " 1", "1 ", "one"}) {
        expectCases({{invalid, [&](auto rec) { return sswseIsKhomeTypeValid(rec, invalid); }, 0},
                     {invalid, [&](auto rec) { return sswseSetKestelHomeType(rec, key, invalid, nullptr); }, 5,
                      "WSE-00008: Unsupported Kestel home type."}});
        EXPECT_EQ(home.get("KESTEL_HOME_TYPE"), terminated("0"));
    }
    for (const char* valid : {"0", "1", "2"}) {
        expectCases({{valid, [&](auto rec) { return sswseIsKhomeTypeValid(rec, valid); }, 1},
                     {valid, [&](auto rec) { return sswseSetKestelHomeType(rec, key, valid, nullptr); }, 2}});
        DWORD type = REG_NONE;
        EXPECT_EQ(home.get("KESTEL_HOME_TYPE", &type), terminated(valid));
        EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    }
    const std::string endless(600, 'k');
    const auto missing = "WSE-000010: Unable to open registry key Software\\Kestel\\KEY_none under HKLM.";
    expectCases({
        {"missing", [](auto rec) { return sswseSetKestelHomeType(rec, "KEY_none", "2", nullptr); }, 6, missing},
        {"not created", [](auto rec) { return sswseSetKestelHomeType(rec, "KEY_none", "2", nullptr); }, 6, missing},
        {"endless", [&](auto rec) { return sswseSetKestelHomeType(rec, endless.c_str(), "2", nullptr); }, 6,
         "WSE-000010"},
        {"node", [&](auto rec) { return sswseSetKestelHomeType(rec, key, "2", noNode); }, 3,
         "WSE-000044: Unable to open registry on remote node."},
    });
}

// What each routine that is given a home by its path answers when the key file or what it names is not there.
TEST(HomePath, EachRoutineHasItsOwnStatuses)
{
    const auto noFile = "WSE-000053: Windows application programming interface (API) CreateFile failed.";
    const auto lineAsKey = "WSE-000010: Unable to open registry key KEY_keswsec_test under HKLM.";
    char text[64];
    const struct
    {
        const char* name;
        std::function<DWORD(sswseErrRec*, char*)> call;
        std::array<DWORD, 3> statuses; // no file, no backslash in its line, no such registry key
        const char* noFile = noHome;
        const char* noBackslash = noHome;
    } rows[] = {
        {"type",
         [&](auto rec, char* path) { return sswseGetKestelHomeTypeForKHPath(rec, path, text, 64, nullptr, nullptr); },
         {6, 6, 6},
         noHome,
         lineAsKey},
        {"name",
         [&](auto rec, char* path) { return sswseGetKestelHomeNameForKHPath(rec, path, text, 64, nullptr, nullptr); },
         {6, 6, 6},
         noHome,
         lineAsKey},
        {"password",
         [](auto rec, char* path) { return sswseIsSVCUserPasswordRequired(rec, path, nullptr); },
         {6, 3, 6}},
        {"user",
         [&](auto rec, char* path) { return sswseGetUnameForKhomePath(rec, path, text, 64, nullptr, nullptr); },
         {3, 6, 3}},
        {"virtual",
         [](auto rec, char* path) { return sswseIsSvcUserVirtualAccount(rec, path, nullptr); },
         {3, 6, 3},
         noFile},
        {"managed", [](auto rec, char* path) { return sswseIsSVCUserMSA(rec, path, nullptr); }, {6, 6, 6}},
        {"group managed", [](auto rec, char* path) { return sswseIsSVCUserGMSA(rec, path, nullptr); }, {3, 3, 3}},
        {"LocalSystem", [](auto rec, char* path) { return sswseIsSvcUserLocalSystem(rec, path, nullptr); }, {3, 3, 3}},
        {"LocalService",
         [](auto rec, char* path) { return sswseIsSvcUserLocalService(rec, path, nullptr); },
         {3, 3, 3}},
    };
    HomeDirectory none;
    HomeDirectory noBackslash("KEY_keswsec_test\r\n");
    HomeDirectory unknown(keyLine);
    HomeDirectory endless;
    endless.text = std::string(700, 'd');
    for (const auto& row : rows)
        expectCases({
            {row.name, [&](auto rec) { return row.call(rec, none.path()); }, row.statuses[0], row.noFile},
            {row.name, [&](auto rec) { return row.call(rec, endless.path()); }, row.statuses[0], row.noFile},
            {row.name, [&](auto rec) { return row.call(rec, noBackslash.path()); }, row.statuses[1], row.noBackslash},
            {row.name, [&](auto rec) { return row.call(rec, unknown.path()); }, row.statuses[2],
             "WSE-000010: Unable to open registry key "},
        });
}

TEST(HomePath, AnUnreadableKeyFileIsTold)
{
    support::TemporaryHome home;
    home.redirect(
        "ReadFile", +[](HANDLE, void*, DWORD, DWORD*, OVERLAPPED*) WINAPI -> BOOL {
            SetLastError(ERROR_LOCK_VIOLATION);
            return FALSE;
        });
    std::string path = home.path();
    char text[64] = "kept";
    size_t length = 7;
    const auto ofType = EXPORT_OF(home, sswseGetKestelHomeTypeForKHPath);
    const auto ofUser = EXPORT_OF(home, sswseGetUnameForKhomePath);
    const auto ofPassword = EXPORT_OF(home, sswseIsSVCUserPasswordRequired);
    const auto isVirtual = EXPORT_OF(home, sswseIsSvcUserVirtualAccount);
    const auto ownKey = EXPORT_OF(home, sswseGetKestelHomeKey);
    expectCases({
        {"type", [&](auto rec) { return ofType(rec, path.data(), text, 64, &length, nullptr); }, 3, noHome},
        {"user", [&](auto rec) { return ofUser(rec, path.c_str(), text, 64, &length, nullptr); }, 3, noHome},
        {"password", [&](auto rec) { return ofPassword(rec, path.c_str(), nullptr); }, 3, noHome},
        {"virtual", [&](auto rec) { return isVirtual(rec, path.c_str(), nullptr); }, 3,
         "WSE-000053: Windows application programming interface (API) ReadFile failed."},
        {"own home: without a word", [&](auto rec) { return ownKey(rec, text, 64, &length); }, 3},
    });
    EXPECT_STREQ(text, "kept");
    EXPECT_EQ(length, 7u);
}

TEST(HomePath, OnANodeKeepsTheAdministrativeShare)
{
    char type[16];
    for (const auto& [before, after] :
         {std::pair{"C:\\no\\home", "C$\\no\\home"}, {"C:", "C$"}, {"C", "C"}, {"", ""}}) {
        std::string path = before;
        sswseErrRec rec;
        EXPECT_EQ(sswseGetKestelHomeTypeForKHPath(&rec, path.data(), type, sizeof type, nullptr, noNode), 6u);
        EXPECT_EQ(path, after);
        EXPECT_EQ(messageOf(rec), noHome);
    }
    HomeDirectory home(keyLine); // read on this machine even for a node
    expectCases(
        {{"user", [&](auto rec) { return sswseGetUnameForKhomePath(rec, home.path(), type, 16, nullptr, noNode); }, 3,
          "WSE-000044"}});
    EXPECT_EQ(home.text, home.directory.path().string());
}

TEST(ServiceUser, IsReadFromAnyStoredText)
{
    const RegistryHome home;
    HomeDirectory directory(keyLine);
    const std::wstring longest(32764 / sizeof(wchar_t), L'u');
    const struct
    {
        std::wstring stored;
        DWORD type;
        DWORD extraBytes;
        size_t size;
        DWORD status;
        const char* message;
    } rows[] = {
        {std::wstring(L"svc_1", 6), REG_SZ, 0, 6, 2, ""},
        {std::wstring(L"svc_1", 6), REG_SZ, 0, 5, 3, "WSE-000033: Insufficient output buffer for username."},
        {L"svc_1", REG_SZ, 0, 6, 2, ""},
        {L"svc_1", REG_BINARY, 1, 6, 2, ""},
        {L"", REG_SZ, 0, 1, 2, ""},
        {longest, REG_SZ, 0, 32768, 2, ""},
        {longest, REG_BINARY, 1, 32768, 3, "WSE-000048: Unable to query value for KESTEL_SVCUSER in registry."},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.size);
        home.setWide("KESTEL_SVCUSER", row.stored, row.type, row.extraBytes);
        std::string user(row.size + 16, '#');
        size_t length = 0;
        sswseErrRec rec;
        EXPECT_EQ(sswseGetUnameForKhomePath(&rec, directory.path(), user.data(), row.size, &length, nullptr),
                  row.status);
        EXPECT_EQ(messageOf(rec), row.message);
        if (row.status != 2)
            continue;
        const std::wstring expected = row.stored.c_str();
        EXPECT_EQ(std::string(user.c_str()), std::string(expected.begin(), expected.end()));
        EXPECT_EQ(length, expected.size() + 1);
        EXPECT_EQ(user.substr(length), std::string(user.size() - length, '#'));
    }
}

TEST(ServiceUser, FactsAreReadLeniently)
{
    const RegistryHome home;
    HomeDirectory directory(keyLine);
    const auto password = [&](auto rec) { return sswseIsSVCUserPasswordRequired(rec, directory.path(), nullptr); };
    const auto isVirtual = [&](auto rec) { return sswseIsSvcUserVirtualAccount(rec, directory.path(), nullptr); };
    expectCases({{"password not recorded", password, 3,
                  "WSE-000048: Unable to query value for KESTEL_SVCUSER_PWDREQ in registry."},
                 {"type not recorded", isVirtual, 0}});
    for (const auto& [stored, answer] : {std::pair{"0"s, 0u},
                                         {"1"s, 1u},
                                         {"2"s, 1u},
                                         {" 1"s, 1u},
                                         {"-1"s, 0u},
                                         {"abc"s, 0u},
                                         {""s, 0u},
                                         {"99999999999"s, 1u},
                                         {std::string(510, '0'), 0u}}) {
        home.set("KESTEL_SVCUSER_PWDREQ", stored);
        expectCases({{stored.c_str(), password, answer}});
    }
    for (const auto& [stored, answer] : {std::pair{L"V", 1u}, {L"v", 1u}, {L" ", 0u}, {L"", 0u}, {L"VV", 0u}}) {
        home.setWide("KESTEL_SVCUSER_TYPE", stored);
        expectCases({{"type", isVirtual, answer}});
    }
}

TEST(ServiceUser, IsToldByItsSid)
{
    const RegistryHome home;
    HomeDirectory directory(keyLine);
    for (const auto& [user, isSystem, isService] : {std::tuple{L"NT AUTHORITY\\SYSTEM", 1u, 0u},
                                                    {L"nt authority\\local service", 0u, 1u},
                                                    {L"NT AUTHORITY\\NETWORK SERVICE", 0u, 0u},
                                                    {L"keswsec no such user", 3u, 3u}}) {
        home.setWide("KESTEL_SVCUSER", user);
        const char* const message = isSystem == 3 ? "WSE-000014" : "";
        expectCases({
            {"system", [&](auto rec) { return sswseIsSvcUserLocalSystem(rec, directory.path(), nullptr); }, isSystem,
             message},
            {"service", [&](auto rec) { return sswseIsSvcUserLocalService(rec, directory.path(), nullptr); }, isService,
             message},
        });
    }
}

TEST(ServiceUser, IsRecordedByTheSystemsNameForAKeyword)
{
    const RegistryHome home;
    const char* const key = home.homeKey().c_str();
    const std::string endless(700, 'u');
    const std::string longKey(496, 'k');
    for (const auto& [user, recorded] : {std::pair{"local_System", terminated("NT AUTHORITY\\SYSTEM")},
                                         {"LOCAL_SERVICE", terminated("NT AUTHORITY\\LOCAL SERVICE")},
                                         {"BUILTIN\\Users", terminated("BUILTIN\\Users")}}) {
        expectCases({{user, [&](auto rec) { return sswseSetUnameForKhome(rec, user, nullptr, key); }, 2}});
        EXPECT_EQ(home.get("KESTEL_SVCUSER"), recorded);
        EXPECT_EQ(home.get("KESTEL_SVCUSER_PWDREQ").size(), 2u);
        EXPECT_EQ(home.get("KESTEL_SVCUSER_TYPE").size(), 2u);
    }
    expectCases({
        {"endless name", [&](auto rec) { return sswseSetUnameForKhome(rec, endless.c_str(), nullptr, key); }, 3,
         "WSE-000014"},
        {"long home key", [&](auto rec) { return sswseSetUnameForKhome(rec, "u", nullptr, longKey.c_str()); }, 3,
         "WSE-000053: Windows application programming interface (API) strcat_s failed."},
        {"missing key", [](auto rec) { return sswseSetUnameForKhome(rec, "u", nullptr, "KEY_none"); }, 3,
         "WSE-000010: Unable to open registry key software\\Kestel\\KEY_none under HKLM."},
        {"node", [&](auto rec) { return sswseSetUnameForKhome(rec, "u", noNode, key); }, 3, "WSE-000044"},
    });
    EXPECT_EQ(home.get("KESTEL_SVCUSER"), terminated(endless.substr(0, 511)));
}

TEST(Home, MissingArgumentsAreNamed)
{
    char out[8];
    char path[] = "C:\\home";
    const struct
    {
        std::string label;
        std::vector<std::function<DWORD(sswseErrRec*)>> calls;
        DWORD status = 4;
    } rows[] = {
        {"KestelHome Key",
         {[](auto rec) { return sswseGetKestelHomeType(rec, nullptr, nullptr, 1, nullptr, nullptr); },
          [](auto rec) { return sswseSetKestelHomeType(rec, nullptr, nullptr, nullptr); }}},
        {"KestelHome Type",
         {[](auto rec) { return sswseGetKestelHomeType(rec, "K", nullptr, 1, nullptr, nullptr); },
          [](auto rec) { return sswseSetKestelHomeType(rec, "K", nullptr, nullptr); },
          [](auto rec) { return sswseIsKhomeTypeValid(rec, nullptr); },
          [&](auto rec) { return sswseGetKestelHomeTypeForKHPath(rec, path, nullptr, 8, nullptr, noNode); }}},
        {"KestelHome Name",
         {[](auto rec) { return sswseGetKestelHomeName(rec, nullptr, 1, nullptr); },
          [&](auto rec) { return sswseGetKestelHomeNameForKHPath(rec, path, nullptr, 8, nullptr, noNode); }}},
        {"KestelHome Path",
         {[&](auto rec) { return sswseGetKestelHomeTypeForKHPath(rec, nullptr, out, 8, nullptr, nullptr); },
          [](auto rec) { return sswseIsSVCUserMSA(rec, nullptr, nullptr); },
          [](auto rec) { return sswseIsSVCUserPasswordRequired(rec, nullptr, nullptr); },
          [](auto rec) { return sswseIsSvcUserVirtualAccount(rec, nullptr, nullptr); }}},
        {"KestelHome Path",
         {[](auto rec) { return sswseGetUnameForKhomePath(rec, nullptr, nullptr, 8, nullptr, nullptr); }},
         6},
        {"KestelHomePath",
         {[](auto rec) { return sswseIsSvcUserLocalSystem(rec, nullptr, nullptr); },
          [](auto rec) { return sswseIsSvcUserLocalService(rec, nullptr, nullptr); },
          [](auto rec) { return sswseIsSVCUserGMSA(rec, nullptr, nullptr); }}},
        {"username",
         {[](auto rec) { return sswseSetUnameForKhome(rec, nullptr, nullptr, nullptr); },
          [](auto rec) { return sswseGetUnameForKhome(rec, nullptr, 8, nullptr, nullptr); },
          [&](auto rec) { return sswseGetUnameForKhomePath(rec, path, nullptr, 8, nullptr, nullptr); }}},
        {"KestelHomeKey", {[](auto rec) { return sswseSetUnameForKhome(rec, "u", nullptr, nullptr); }}, 6},
        {"khkey", {[](auto rec) { return sswseGetKestelHomeKey(rec, nullptr, 1, nullptr); }}},
    };
    for (const auto& row : rows)
        for (const auto& call : row.calls) {
            const std::string message = "WSE-000012: Null or invalid " + row.label + " parameter.";
            expectCases({{row.label.c_str(), call, row.status, message.c_str()}});
        }
    EXPECT_STREQ(path, "C:\\home"); // not even for a node
}
