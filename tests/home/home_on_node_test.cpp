// What is recorded of a home, read for a remote node: which part comes from this machine and which from the node.
#include "tests/support/node_test.h"
#include "whatif/active.h"
#include "whatif/registry.h"

#include <cstring>
#include <fstream>

namespace {

using support::Call;
using support::calling;
using support::failing;

constexpr char noHome[] = "WSE-000052: Unable to determine Kestel home.";

std::vector<std::string> opened; // key files
class HomeOfNode : public support::NodeTest
{
protected:
    struct Reader
    {
        const char* name;
        Call call;
        DWORD unreachable = 3; // the answer
    };

    HomeOfNode()
    {
        opened.clear();
        static decltype(&CreateFileA) open;
        open = library.redirect(
            "CreateFileA", +[](const char* name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                               DWORD disposition, DWORD flags, HANDLE pattern) WINAPI {
                if (_stricmp(strrchr(name, '.'), ".key") == 0)
                    opened.push_back(name);
                return open(name, access, share, security, disposition, flags, pattern);
            });
        for (const auto& [value, here, there] : {std::tuple{"KESTEL_HOME_TYPE", "0", "2"},
                                                 {"KESTEL_SVCUSER", "CORP\\gmsa$", "NT AUTHORITY\\LocalService"},
                                                 {"KESTEL_SVCUSER_TYPE", " ", "V"},
                                                 {"KESTEL_SVCUSER_PWDREQ", "0", "1"}}) {
            record(local, value, here);
            record(remote, value, there);
        }
    }

    std::vector<Reader> predicates(const char* node) const
    {
        const char* const home = path.c_str();
        return {
            {"managed", calling(EXPORT(sswseIsSVCUserMSA), home, node), 6},
            {"group managed", calling(EXPORT(sswseIsSVCUserGMSA), home, node)},
            {"LocalSystem", calling(EXPORT(sswseIsSvcUserLocalSystem), home, node)},
            {"LocalService", calling(EXPORT(sswseIsSvcUserLocalService), home, node)},
            {"virtual", calling(EXPORT(sswseIsSvcUserVirtualAccount), home, node)},
            {"password", calling(EXPORT(sswseIsSVCUserPasswordRequired), home, node)},
        };
    }

    std::vector<Reader> texts(const char* node)
    {
        return {
            {"own home's user", calling(EXPORT(sswseGetUnameForKhome), text, sizeof text, &length, node)},
            {"user", calling(EXPORT(sswseGetUnameForKhomePath), path.c_str(), text, sizeof text, &length, node)},
            {"type", calling(EXPORT(sswseGetKestelHomeType), "KEY_keswsec_test", text, sizeof text, &length, node)},
        };
    }

    const std::string path = library.path();
    const std::string keyFile = path + "\\bin\\kestel.key";
    char text[64] = "";
    size_t length = 0;
};

} // namespace

TEST_F(HomeOfNode, KeyFileIsThisMachinesValuesAreTheNodes)
{
    const struct
    {
        const char* node;
        std::vector<DWORD> answers; // in the order of the predicates
        const char* user;
        const char* type;
    } rows[] = {
        {nullptr, {1, 1, 0, 0, 0, 0}, "CORP\\gmsa$", "0"},
        {"DB2", {0, 0, 0, 1, 1, 1}, "NT AUTHORITY\\LocalService", "2"},
        {"\\\\db2", {0, 0, 0, 1, 1, 1}, "NT AUTHORITY\\LocalService", "2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.user);
        size_t answer = 0;
        for (const Reader& reader : predicates(row.node)) {
            expectNodeCases({{reader.name, reader.call, row.answers[answer++]}});
            EXPECT_EQ(opened, std::vector<std::string>{keyFile});
            opened.clear();
        }
        const std::string wanted[] = {row.user, row.user, row.type};
        size_t next = 0;
        for (const Reader& reader : texts(row.node)) {
            expectNodeCases({{reader.name, reader.call, 2}});
            EXPECT_EQ(text, wanted[next]);
            EXPECT_EQ(length, wanted[next++].size() + 1);
        }
        EXPECT_EQ(opened, (std::vector<std::string>{path + "\\bin\\KESTEL.KEY", keyFile}));
        opened.clear();
    }
    record(remote, "KESTEL_SVCUSER", "DB2\\svc"); // that this machine does not know
    expectNodeCases({
        {"LocalSystem", predicates("DB2")[2].call, 3, "WSE-000014", ERROR_NONE_MAPPED},
        {"LocalService", predicates("DB2")[3].call, 3, "WSE-000014", ERROR_NONE_MAPPED},
    });
    record(remote, "KESTEL_SVCUSER", "SYSTEM");
    expectNodeCases({{"LocalSystem", predicates("DB2")[2].call, 1}, {"LocalService", predicates("DB2")[3].call, 0}});
}

TEST_F(HomeOfNode, EveryReaderSaysWhenItCannotRead)
{
    const auto noNode = "WSE-000044: Unable to open registry on remote node.";
    for (const auto& readers : {predicates("nowhere"), texts("nowhere")})
        for (const Reader& reader : readers)
            expectNodeCases({{reader.name, reader.call, reader.unreachable, noNode, ERROR_BAD_NETPATH}});
    constexpr DWORD denied = ERROR_ACCESS_DENIED;
    const intercept::Fault value = failing("RegQueryValueExA", denied);
    const intercept::Fault wideValue = failing("RegQueryValueExW", denied);
    const std::vector<Reader> of = predicates("DB2");
    expectNodeCases({
        {"managed", of[0].call, 6, "WSE-000048: Unable to query value for KESTEL_SVCUSER in", denied, wideValue},
        {"virtual", of[4].call, 3, "WSE-000048: Unable to query value for KESTEL_SVCUSER_TYPE in", denied, wideValue},
        {"password", of[5].call, 3, "WSE-000048: Unable to query value for KESTEL_SVCUSER_PWDREQ in", denied, value},
        {"type", texts("DB2")[2].call, 3, "WSE-000048: Unable to query value for KESTEL_HOME_TYPE in", denied, value},
        {"key", texts("DB2")[2].call, 6, "WSE-000010", denied, failing("RegOpenKeyExA", denied)},
    });
}

// What each that is given a home by its path answers when the key file or what it names is not there.
TEST_F(HomeOfNode, EveryReaderHasItsOwnStatusesForItsKeyFile)
{
    struct Answer
    {
        DWORD status;
        const char* message = noHome;
        DWORD osError = 0;
    };
    std::string given = path;
    const auto type = calling(EXPORT(sswseGetKestelHomeTypeForKHPath), given.data(), text, 64, &length, nullptr);
    const auto noFile = "WSE-000053: Windows application programming interface (API) CreateFile failed.";
    const auto notRead = "WSE-000053: Windows application programming interface (API) ReadFile failed.";
    const auto lineAsKey = "WSE-000010: Unable to open registry key KEY_keswsec_test under HKLM.";
    const std::vector<Reader> of = predicates(nullptr);
    const struct
    {
        Reader reader;
        Answer notRead;
        Answer noBackslash;
        DWORD noKey;
        Answer noFile;
    } rows[] = {
        {{"type", type}, {3}, {6, lineAsKey, ERROR_FILE_NOT_FOUND}, 6, {6}},
        {texts(nullptr)[1], {3}, {6}, 3, {3}},
        {of[0], {6}, {6}, 6, {6}},
        {of[1], {3}, {3}, 3, {3}},
        {of[2], {3}, {3}, 3, {3}},
        {of[3], {3}, {3}, 3, {3}},
        {of[4], {3, notRead, ERROR_LOCK_VIOLATION}, {6}, 3, {3, noFile, ERROR_FILE_NOT_FOUND}},
        {of[5], {3}, {3}, 6, {6}},
    };
    for (const auto& row : rows) {
        const auto expect = [&](const Answer& answer, intercept::Fault fault = {}) {
            expectNodeCases({{row.reader.name, row.reader.call, answer.status, answer.message, answer.osError, fault}});
        };
        library.writeKeyFile("KEY_keswsec_test\r\n");
        expect(row.notRead, failing("ReadFile", ERROR_LOCK_VIOLATION));
        expect(row.noBackslash);
        library.writeKeyFile("SOFTWARE\\Kestel\\KEY_none\r\n");
        expect({row.noKey, "WSE-000010: Unable to open registry key ", ERROR_FILE_NOT_FOUND});
        library.removeKeyFile();
        expect(row.noFile);
    }
    library.writeKeyFile("KEY_keswsec_test\r\n");
    expectNodeCases({{"own home: not a word", calling(EXPORT(sswseGetKestelHomeKey), text, 64, &length), 3, "", 0,
                      failing("ReadFile", ERROR_LOCK_VIOLATION)}});
}

TEST_F(HomeOfNode, TypeOfAPathIsReadThroughTheAdministrativeShare)
{
    const support::ScratchDirectory drive; // of the node, with the same path on it
    const std::string below = path.substr(2);
    const std::filesystem::path bin = drive.path().string() + below + "\\bin";
    std::filesystem::create_directories(bin);
    std::ofstream(bin / "kestel.key") << "SOFTWARE\\Kestel\\KEY_other\n";
    remote.drives[whatif::wide(path.substr(0, 1).c_str())] = drive.path().wstring();
    world.registry().setValue(remote, L"SOFTWARE\\Kestel\\KEY_other", L"KESTEL_HOME_TYPE", whatif::registryText(L"1"));

    const auto read = EXPORT(sswseGetKestelHomeTypeForKHPath);
    const std::string share = path.substr(0, 1) + "$" + below;
    std::string given = path;
    expectNodeCases({{"local", calling(read, given.data(), text, sizeof text, &length, ""), 2}});
    EXPECT_STREQ(text, "0");
    EXPECT_EQ(given, path);
    expectNodeCases({{"node", calling(read, given.data(), text, sizeof text, &length, "DB2"), 2}});
    EXPECT_STREQ(text, "1");
    EXPECT_EQ(length, 2u);
    EXPECT_EQ(given, share);
    std::string otherDrive = "Q:\\h";
    expectNodeCases({
        {"drive not shared", calling(read, otherDrive.data(), text, sizeof text, &length, "DB2"), 6, noHome},
        {"no such node", calling(read, given.data(), text, sizeof text, &length, "nowhere"), 6, noHome},
    });
    EXPECT_EQ(opened, (std::vector<std::string>{keyFile, "\\\\DB2\\" + share + "\\bin\\kestel.key",
                                                "\\\\DB2\\Q$\\h\\bin\\kestel.key",
                                                "\\\\nowhere\\" + share + "\\bin\\kestel.key"}));
    for (std::string each : {"C:", "C", ""}) {
        const std::string expected = each == "C:" ? "C$" : each;
        expectNodeCases({{"short", calling(read, each.data(), text, sizeof text, &length, "DB2"), 6, noHome}});
        EXPECT_EQ(each, expected);
    }
}
