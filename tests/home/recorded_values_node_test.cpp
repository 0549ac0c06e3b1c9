// What is recorded of a home: type, service user and its facts, read and written for homes of this machine and of a
// remote node, given by key and by path.
#include "home/home_name.h"
#include "tests/support/node_test.h"
#include "whatif/model/registry.h"
#include "whatif/redirect/active.h"

#include <cerrno>
#include <cstring>
#include <fstream>

using namespace support;
using namespace std::string_literals;

namespace {

constexpr char noHome[] = "WSE-000052: Unable to determine Kestel home.";
constexpr char lineAsKey[] = "WSE-000010: Unable to open registry key KEY_keswsec_test under HKLM.";

std::string opened; // the key file that was looked for last

class RecordedHome : public NodeTest
{
protected:
    RecordedHome()
    {
        for (const auto& [value, here, there] : {std::tuple{"KESTEL_HOME_TYPE", "0", "2"},
                                                 {"KESTEL_SVCUSER", "CORP\\gmsa$", "NT AUTHORITY\\LocalService"},
                                                 {"KESTEL_SVCUSER_TYPE", " ", "V"},
                                                 {"KESTEL_SVCUSER_PWDREQ", "0", "1"}}) {
            record(local, value, here);
            record(remote, value, there);
        }
    }

    // All but the last are given the home by its path, or read the library's own.
    std::vector<std::pair<const char*, Call>> readers(const char* node)
    {
        const char* const home = path.c_str();
        return {
            {"managed", calling(EXPORT(sswseIsSVCUserMSA), home, node)},
            {"group managed", calling(EXPORT(sswseIsSVCUserGMSA), home, node)},
            {"LocalSystem", calling(EXPORT(sswseIsSvcUserLocalSystem), home, node)},
            {"LocalService", calling(EXPORT(sswseIsSvcUserLocalService), home, node)},
            {"virtual", calling(EXPORT(sswseIsSvcUserVirtualAccount), home, node)},
            {"password", calling(EXPORT(sswseIsSVCUserPasswordRequired), home, node)},
            {"user", calling(EXPORT(sswseGetUnameForKhomePath), home, text, sizeof text, &length, node)},
            {"own home's user", calling(EXPORT(sswseGetUnameForKhome), text, sizeof text, &length, node)},
            {"type", calling(EXPORT(sswseGetKestelHomeType), key, text, sizeof text, &length, node)},
        };
    }

    Call typeOfPath(std::string& given, const char* node)
    {
        return calling(EXPORT(sswseGetKestelHomeTypeForKHPath), given.data(), text, sizeof text, &length, node);
    }

    void store(const wchar_t* value, const std::wstring& stored, DWORD type = REG_SZ, size_t extraBytes = 0) const
    {
        const std::wstring padded = stored + L"xx"; // the platform looks for a terminator behind a text
        const auto* const bytes = reinterpret_cast<const BYTE*>(padded.data());
        std::vector<BYTE> data(bytes, bytes + padded.size() * sizeof(wchar_t));
        data.resize(stored.size() * sizeof(wchar_t) + extraBytes);
        world.registry().setValue(local, L"SOFTWARE\\Kestel\\KEY_keswsec_test", value, {type, std::move(data)});
    }

    // Into a home of its own; `values` is what is written, in order.
    void expectRecording(const char* user, const char* node, const std::vector<std::string>& values, DWORD status = 2,
                         const char* message = "", DWORD osError = 0)
    {
        SCOPED_TRACE(node ? node : "this machine");
        const char* const names[] = {"KESTEL_SVCUSER", "KESTEL_SVCUSER_TYPE", "KESTEL_SVCUSER_PWDREQ"};
        const std::string homeKey = "KEY_" + std::to_string(++homes);
        world.registry().createKey(node ? remote : local, whatif::wide(("SOFTWARE\\Kestel\\" + homeKey).c_str()));
        Lines lines;
        for (const std::string& value : values)
            lines.push_back((node ? "DB2" : "NODE") + (": registry HKLM\\software\\Kestel\\" + homeKey) + ": " +
                            names[lines.size()] + " set: " + (value == " " ? "\" \"" : value));
        const auto call = calling(EXPORT(sswseSetUnameForKhome), user, node, homeKey.c_str());
        expectNodeCases({{user, call, status, message, osError, {}, lines}});
    }

    const std::string path = library.path();
    const char* const key = "KEY_keswsec_test";
    char text[64] = "";
    size_t length = 0;
    int homes = 0;
};

} // namespace

TEST_F(RecordedHome, HasItsValuesOnTheNode)
{
    // The answers of the readers, in order; the user and the type that they read.
    const std::tuple<const char*, std::vector<DWORD>, std::string, std::string> rows[] = {
        {nullptr, {1, 1, 0, 0, 0, 0, 2, 2, 2}, "CORP\\gmsa$", "0"},
        {"DB2", {0, 0, 0, 1, 1, 1, 2, 2, 2}, "NT AUTHORITY\\LocalService", "2"},
        {"\\\\db2", {0, 0, 0, 1, 1, 1, 2, 2, 2}, "NT AUTHORITY\\LocalService", "2"},
    };
    for (const auto& [node, answers, user, type] : rows) {
        size_t i = 0;
        for (const auto& [name, call] : readers(node)) {
            expectNodeCases({{name, call, answers[i]}});
            const std::string& wanted = i == 8 ? type : user;
            EXPECT_TRUE(i < 6 || (wanted == text && length == wanted.size() + 1)) << text;
            ++i;
        }
    }
    record(remote, "KESTEL_SVCUSER", "DB2\\svc"); // that this machine does not know
    expectNodeCases({{"LocalSystem", readers("DB2")[2].second, 3, "WSE-000014", ERROR_NONE_MAPPED},
                     {"LocalService", readers("DB2")[3].second, 3, "WSE-000014", ERROR_NONE_MAPPED}});
    record(remote, "KESTEL_SVCUSER", "SYSTEM");
    expectNodeCases({{"LocalSystem", readers("DB2")[2].second, 1}, {"LocalService", readers("DB2")[3].second, 0}});
}

TEST_F(RecordedHome, IsNotReachedWithAStatusOfEachReader)
{
    for (const auto& [name, call] : readers("nowhere"))
        expectNodeCases({{name, call, name == "managed"s ? 6u : 3u, "WSE-000044", ERROR_BAD_NETPATH}});
}

// What each that is given a home by its path answers when the key file or what it names is not there.
TEST_F(RecordedHome, IsNotFoundWithStatusesOfEachReader)
{
    std::string given = path;
    const auto of = readers(nullptr);
    // The statuses without a backslash in the key file, without the key and without the file.
    const std::tuple<std::pair<const char*, Call>, DWORD, DWORD, DWORD> rows[] = {
        {{"type", typeOfPath(given, nullptr)}, 6, 6, 6},
        {of[0], 6, 6, 6},
        {of[1], 3, 3, 3},
        {of[2], 3, 3, 3},
        {of[3], 3, 3, 3},
        {of[4], 6, 3, 3},
        {of[5], 3, 6, 6},
        {of[6], 6, 3, 3},
    };
    constexpr DWORD none = ERROR_FILE_NOT_FOUND;
    for (const auto& [reader, noBackslash, noKey, noFile] : rows) {
        const auto& [name, call] = reader;
        const bool isType = name == "type"s, isVirtual = name == "virtual"s;
        library.writeKeyFile("KEY_keswsec_test\r\n");
        expectNodeCases({{name, call, noBackslash, isType ? lineAsKey : noHome, isType ? none : 0}});
        library.writeKeyFile("SOFTWARE\\Kestel\\KEY_none\r\n");
        expectNodeCases({{name, call, noKey, "WSE-000010: Unable to open registry key ", none}});
        library.removeKeyFile();
        expectNodeCases({{name, call, noFile, isVirtual ? "WSE-000053" : noHome, isVirtual ? none : 0}});
    }
}

TEST_F(RecordedHome, HasATypeThatIsReadThroughTheAdministrativeShare)
{
    static decltype(&CreateFileA) open;
    open = library.redirect(
        "CreateFileA", +[](const char* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                           DWORD disposition, DWORD flags, HANDLE pattern) WINAPI {
            if (_stricmp(strrchr(name, '.'), ".key") == 0)
                opened = name;
            return open(name, access, share, security, disposition, flags, pattern);
        });
    const ScratchDirectory drive; // of the node, with the same path on it
    const std::string below = path.substr(2);
    const std::filesystem::path bin = drive.path().string() + below + "\\bin";
    std::filesystem::create_directories(bin);
    std::ofstream(bin / "kestel.key") << "SOFTWARE\\Kestel\\KEY_other\n";
    remote.drives[whatif::wide(path.substr(0, 1).c_str())] = drive.path().wstring();
    world.registry().setValue(remote, L"SOFTWARE\\Kestel\\KEY_other", L"KESTEL_HOME_TYPE", whatif::registryText(L"1"));
    const std::string share = path.substr(0, 1) + "$" + below;
    // What is given and what stands there afterwards; the file that is looked for.
    const std::tuple<std::string, const char*, DWORD, std::string, std::string, std::string> rows[] = {
        {path, "", 2, "0", path, path + "\\bin\\kestel.key"},
        {path, "DB2", 2, "1", share, "\\\\DB2\\" + share + "\\bin\\kestel.key"},
        {"Q:\\h", "DB2", 6, "", "Q$\\h", "\\\\DB2\\Q$\\h\\bin\\kestel.key"},
        {share, "nowhere", 6, "", share, "\\\\nowhere\\" + share + "\\bin\\kestel.key"},
        {"C:", "DB2", 6, "", "C$", "\\\\DB2\\C$\\bin\\kestel.key"},
        {"C", "DB2", 6, "", "C", "\\\\DB2\\C\\bin\\kestel.key"},
        {"", "DB2", 6, "", "", "\\\\DB2\\\\bin\\kestel.key"},
    };
    for (const auto& [before, node, status, type, afterwards, file] : rows) {
        std::string given = before;
        *text = '\0';
        expectNodeCases({{before.c_str(), typeOfPath(given, node), status, status == 2 ? "" : noHome}});
        EXPECT_EQ(text, type);
        EXPECT_EQ(given, afterwards);
        EXPECT_EQ(opened, file);
    }
}

TEST_F(RecordedHome, HasATypeThatIsCopiedWithItsStoredSize)
{
    std::string given = path;
    const auto ofKey = EXPORT(sswseGetKestelHomeType);
    const auto ofPath = EXPORT(sswseGetKestelHomeTypeForKHPath);
    const auto byKey = [&](auto rec, auto... type) { return ofKey(rec, key, type..., ""); };
    const auto byPath = [&](auto rec, auto... type) { return ofPath(rec, given.data(), type..., nullptr); };
    const std::wstring longest(255, L'\x3131');
    for (const auto& [type, stored, read] : {std::tuple{REG_SZ, L"1\0"s, "1\0"s},
                                             {REG_SZ, L"1"s, "1"s},
                                             {REG_SZ, L""s, ""s},
                                             {REG_DWORD, L"\x3231\x3433"s, "1234"s},
                                             {REG_BINARY, longest, std::string(510, '1')}}) {
        store(L"KESTEL_HOME_TYPE", stored, static_cast<DWORD>(type));
        const size_t required = read.size() + 1;
        expectTexts({{read, byKey, required, 2, read, read.size()},
                     {read, byPath, required, 2, read, read.size()},
                     {read, byPath, required - 1, 3, "", untouched,
                      "WSE-000033: Insufficient output buffer for Kestelhometype."}});
    }
    store(L"KESTEL_HOME_TYPE", longest, REG_BINARY, 2);
    expectTexts({{"longer than any type", byKey, 600, 3, "", untouched,
                  "WSE-000048: Unable to query value for KESTEL_HOME_TYPE in registry."}});
}

TEST_F(RecordedHome, HasATypeThatIsSetOnlyWhenValidAndOnlyBelowAnExistingKey)
{
    const auto isValid = EXPORT(sswseIsKhomeTypeValid);
    const auto set = EXPORT(sswseSetKestelHomeType);
    for (const char* invalid : {"3", "", "01", " 1", "1 ", "one"})
        expectNodeCases(
            {{invalid, calling(isValid, invalid), 0}, {invalid, calling(set, key, invalid, nullptr), 5, "WSE-00008:"}});
    const std::string line = "NODE: registry HKLM\\Software\\Kestel\\KEY_keswsec_test: KESTEL_HOME_TYPE set: ";
    for (const auto& [type, change] : {std::pair{"2", "0 -> 2"}, {"1", "2 -> 1"}, {"0", "1 -> 0"}})
        expectNodeCases(
            {{type, calling(isValid, type), 1}, {type, calling(set, key, type, nullptr), 2, Lines{line + change}}});
    for (const char* const time : {"missing", "still missing"})
        expectNodeCases({{time, calling(set, "KEY_none", "2", nullptr), 6, "WSE-000010", ERROR_FILE_NOT_FOUND}});
}

TEST_F(RecordedHome, HasAUserThatIsReadFromAnyStoredText)
{
    const auto ofPath = EXPORT(sswseGetUnameForKhomePath);
    const auto get = [&](auto rec, auto... user) { return ofPath(rec, path.c_str(), user..., nullptr); };
    constexpr size_t most = 32766 / sizeof(wchar_t);
    const std::wstring longest(most, L'u');
    const auto expect = [&](const std::wstring& stored, DWORD type, size_t extraBytes, TextCase expected) {
        store(L"KESTEL_SVCUSER", stored, type, extraBytes);
        expectTexts({std::move(expected)});
    };
    expect(L"svc_1\0"s, REG_SZ, 0, {"terminated", get, 6, 2, "svc_1", 6});
    expect(L"svc_1", REG_SZ, 0, {"not terminated", get, 6, 2, "svc_1", 6});
    expect(L"svc_1", REG_BINARY, 1, {"half a character", get, 6, 2, "svc_1", 6});
    expect(L"", REG_SZ, 0, {"empty", get, 1, 2, "", 1});
    expect(longest, REG_SZ, 0, {"longest", get, 32768, 2, std::string(most, 'u'), most + 1});
    const auto notRead = "WSE-000048: Unable to query value for KESTEL_SVCUSER in registry.";
    expect(longest, REG_BINARY, 1, {"too long", get, 32768, 3, "", untouched, notRead});
}

TEST_F(RecordedHome, IsNotTheOneThatANameOrPathCutShortWouldBe)
{
    const std::string longKey(259 - strlen("Software\\Kestel\\"), 'k');
    std::string longPath(259 - strlen("\\bin\\kestel.key"), 'p');
    for (const bool isCut : {false, true}) {
        const auto typeOf = EXPORT(sswseGetKestelHomeType);
        const auto isVirtual = EXPORT(sswseIsSvcUserVirtualAccount);
        const DWORD tooLong = isCut ? ERROR_FILENAME_EXCED_RANGE : 0;
        const std::string its = longKey + std::string(isCut, 'k');
        longPath += std::string(isCut, 'p');
        expectNodeCases(
            {{"key", calling(typeOf, its.c_str(), text, 9, &length, ""), 6, "WSE-000010", isCut ? tooLong : 2},
             {"path", calling(isVirtual, longPath.c_str(), ""), 3, "WSE-000053", isCut ? tooLong : 3},
             {"its type", typeOfPath(longPath, ""), 6, "WSE-000052", tooLong}});
    }
    longPath.resize(longPath.size() - 2); // with "\\\\DB2\\" before it
    expectNodeCases({{"path on a node", typeOfPath(longPath, "DB2"), 6, "WSE-000052", 206}});
}

TEST_F(RecordedHome, HasFactsOfTheUserThatAreReadLeniently)
{
    const Call isVirtual = readers(nullptr)[4].second;
    const Call password = readers(nullptr)[5].second;
    for (const auto& [stored, answer] : {std::pair{L"0"s, 0u},
                                         {L"-1"s, 0u},
                                         {L"abc"s, 0u},
                                         {L""s, 0u},
                                         {std::wstring(511, L'0'), 0u},
                                         {L"2"s, 1u},
                                         {L" 1"s, 1u},
                                         {L"99999999999"s, 1u}}) {
        store(L"KESTEL_SVCUSER_PWDREQ", stored);
        expectNodeCases({{"password", password, answer}});
    }
    for (const auto& [stored, answer] : {std::pair{L"V", 1u}, {L"v", 1u}, {L" ", 0u}, {L"", 0u}, {L"VV", 0u}}) {
        store(L"KESTEL_SVCUSER_TYPE", stored);
        expectNodeCases({{"type", isVirtual, answer}});
    }
    world.registry().createKey(local, L"SOFTWARE\\Kestel\\KEY_empty");
    library.writeKeyFile("SOFTWARE\\Kestel\\KEY_empty\n");
    expectNodeCases({{"password not recorded", password, 3, "WSE-000048", ERROR_FILE_NOT_FOUND},
                     {"type not recorded", isVirtual, 0}});
}

TEST_F(RecordedHome, GetsAUserThatIsClassifiedByTheNameThatWasGiven)
{
    addGroup(local, L"KES_VA");
    addGroup(remote, L"KES_VA");
    // The name, what is written in its place, the type, and whether there is a password.
    const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
        {"Local_System", "NT AUTHORITY\\SYSTEM", " ", "0"},
        {"Local_Service", "NT AUTHORITY\\LOCAL SERVICE", " ", "0"},
        {"SYSTEM", "SYSTEM", " ", "0"},
        {"NT AUTHORITY\\LocalService", "NT AUTHORITY\\LocalService", " ", "0"},
        {"NT AUTHORITY\\NETWORK SERVICE", "NT AUTHORITY\\NETWORK SERVICE", " ", "1"},
        {"CORP\\gmsa$", "CORP\\gmsa$", " ", "0"},
        {"svc", "svc", " ", "1"},
        {"KES_VA", "KES_VA", "V", "0"},
        {"NODE\\KES_VA", "NODE\\KES_VA", " ", "1"}, // no name of a group
        {"Everyone", "Everyone", " ", "1"},
    };
    for (const char* const node : {static_cast<const char*>(nullptr), "DB2"})
        for (const auto& [name, written, type, passwordRequired] : rows)
            expectRecording(name, node, {written, type, passwordRequired});
}

// Whose name it is this machine is asked, even for a node; whether it is a group, the node.
TEST_F(RecordedHome, GetsAUserWhoseNameIsThisMachinesAndWhoseGroupIsTheNodes)
{
    addGroup(local, L"KES_LOCAL");
    addGroup(remote, L"KES_REMOTE");
    expectRecording("KES_LOCAL", nullptr, {"KES_LOCAL", "V", "0"});
    expectRecording("KES_LOCAL", "DB2", {"KES_LOCAL", " ", "1"});
    expectRecording("KES_REMOTE", "DB2", {"KES_REMOTE"}, 3, "WSE-000014", ERROR_NONE_MAPPED);
    expectRecording("NODE\\svc", "DB2", {"NODE\\svc", " ", "1"});
    expectRecording("DB2\\svc", "DB2", {"DB2\\svc"}, 3, "WSE-000014", ERROR_NONE_MAPPED);
    expectRecording("NETWORK_SERVICE", nullptr, {"NETWORK_SERVICE"}, 3, "WSE-000014", ERROR_NONE_MAPPED);
    expectRecording(std::string(700, 'u').c_str(), nullptr, {std::string(511, 'u')}, 3, "WSE-000014",
                    ERROR_NONE_MAPPED);
    local.missing = {L"Logoncli.dll"}; // nobody knows of managed accounts
    expectRecording("CORP\\gmsa$", nullptr, {"CORP\\gmsa$", " ", "1"});
}

TEST_F(RecordedHome, GetsNoUserWhereItIsNotReached)
{
    const auto set = EXPORT(sswseSetUnameForKhome);
    const std::string longKey(496, 'k'); // one more than there is room for behind "software\Kestel\"
    expectNodeCases({
        {"a home of this machine only", calling(set, "svc", "DB2", "KEY_1"), 3, "WSE-000010", ERROR_FILE_NOT_FOUND},
        {"long home key", calling(set, "u", nullptr, longKey.c_str()), 3, "WSE-000053", ERANGE},
    });
}

TEST(Home, KeepsTheCallersPathWhenABufferIsMissing)
{
    char path[] = "C:\\home";
    expectRefused("KestelHome Type", {calling(sswseGetKestelHomeTypeForKHPath, path, nullptr, 8, nullptr, "node")});
    expectRefused("KestelHome Name", {calling(sswseGetKestelHomeNameForKHPath, path, nullptr, 8, nullptr, "node")});
    EXPECT_STREQ(path, "C:\\home");
}
