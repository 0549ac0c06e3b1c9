// What is recorded of a home: type, service user and its facts, read and written for homes of this machine and of a
// remote node, given by key and by path.
#include "cli/text.h"
#include "home/home_name.h"
#include "tests/support/node_test.h"
#include "whatif/model/registry.h"
#include "whatif/spelling.h"
#include "whatif/whatif.h"

#include <cstring>
#include <fstream>

using namespace support;
using namespace std::string_literals;

namespace {

// Each reads the home that is given by its path, or the library's own.
const std::string readers[] = {"IsSVCUserMSA khomepath=HOME nodename=",
                               "IsSVCUserGMSA ckhpath=HOME cNode=",
                               "IsSvcUserLocalSystem ckhpath=HOME nodename=",
                               "IsSvcUserLocalService ckhpath=HOME nodename=",
                               "IsSvcUserVirtualAccount khomepath=HOME nodename=",
                               "IsSVCUserPasswordRequired khomepath=HOME nodename=",
                               "GetUnameForKhomePath khomepath=HOME nodename=",
                               "GetUnameForKhome nodename=",
                               "GetKestelHomeType khomekey=KEY_keswsec_test nodename="};
const std::string &isLocalSystem = readers[2], &isLocalService = readers[3], &isVirtual = readers[4],
                  &needsPassword = readers[5];
const std::string ofPath = "GetKestelHomeTypeForKHPath khomepath=HOME ";

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

    void expectOf(const std::string& home, const std::string& call, const std::string& answered)
    {
        const size_t at = call.find("HOME");
        expect({{at < call.size() ? std::string(call).replace(at, 4, cli::quoted(home)) : call, answered}});
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
    void expectRecording(const std::string& user, const std::string& node, const Lines& values,
                         const std::string& answered = "2")
    {
        const char* const names[] = {"KESTEL_SVCUSER", "KESTEL_SVCUSER_TYPE", "KESTEL_SVCUSER_PWDREQ"};
        const std::string homeKey = "KEY_" + std::to_string(++homes);
        world.registry().createKey(node == "DB2" ? remote : local,
                                   whatif::wide(("SOFTWARE\\Kestel\\" + homeKey).c_str()));
        Lines lines;
        for (const std::string& value : values)
            lines.push_back(node + ": registry HKLM\\software\\Kestel\\" + homeKey + ": " + names[lines.size()] +
                            " set: " + (value == " " ? "\" \"" : value));
        expect({{"SetUnameForKhome uname=\"" + user + "\" khomekey=" + homeKey + (node == "DB2" ? " nodename=DB2" : ""),
                 answered, lines}});
    }

    const std::string path = library.path();
    int homes = 0;
};

} // namespace

// Under the key that the home's key file names, on the node; or with a status of each reader.
TEST_F(RecordedHome, HasItsValuesOnTheNode)
{
    const std::string user = "2 = NT AUTHORITY\\LocalService 26", noKey = " WSE-000010 2";
    const std::pair<const char*, Lines> rows[] = {
        {"\"\"", {"1", "1", "0", "0", "0", "0", "2 = CORP\\gmsa$ 11", "2 = CORP\\gmsa$ 11", "2 = 0 2"}},
        {"DB2", {"0", "0", "0", "1", "1", "1", user, user, "2 = 2 2"}},
        {"\\\\db2", {"0", "0", "0", "1", "1", "1", user, user, "2 = 2 2"}},
    };
    for (const auto& [node, answers] : rows)
        for (size_t i = 0; i < answers.size(); ++i)
            expectOf(path, readers[i] + node, answers[i]);
    for (const auto& [keyFile, statuses, message] : {std::tuple("KEY_keswsec_test\r\n", "6333636", " WSE-000052"s),
                                                     {"SOFTWARE\\Kestel\\KEY_none\r\n", "6333363", noKey}}) {
        library.writeKeyFile(keyFile);
        for (size_t i = 0; i < strlen(statuses); ++i)
            expectOf(path, readers[i] + "\"\"", statuses[i] + message);
        expectOf(path, ofPath, "6" + noKey);
    }
    library.writeKeyFile("SOFTWARE\\KESTEL\\KEY_keswsec_test\r\n");
    record(remote, "KESTEL_SVCUSER", "DB2\\svc"); // that this machine does not know
    expectOf(path, isLocalSystem + "DB2", "3 WSE-000014 1332");
    expectOf(path, isLocalService + "DB2", "3 WSE-000014 1332");
    record(remote, "KESTEL_SVCUSER", "SYSTEM");
    expectOf(path, isLocalSystem + "DB2", "1");
    expectOf(path, isLocalService + "DB2", "0");
}

TEST_F(RecordedHome, HasATypeThatIsReadThroughTheAdministrativeShare)
{
    const ScratchDirectory drive; // of the node, with the same path on it
    const std::string below = path.substr(2);
    const std::filesystem::path bin = drive.path().string() + below + "\\bin";
    std::filesystem::create_directories(bin);
    std::ofstream(bin / "kestel.key") << "SOFTWARE\\Kestel\\KEY_other\n";
    remote.drives[whatif::wide(path.substr(0, 1).c_str())] = drive.path().wstring();
    world.registry().setValue(remote, L"SOFTWARE\\Kestel\\KEY_other", L"KESTEL_HOME_TYPE", whatif::registryText(L"1"));
    const std::string share = path.substr(0, 1) + "$" + below;
    // What is given; the answer, with the path as it is afterwards where that is another.
    const std::tuple<std::string, const char*, std::string> rows[] = {
        {path, "\"\"", "2 = 0 2"},
        {path, "DB2", "2 = " + share + " 1 2"},
        {share, "DB2", "2 = 1 2"},
        {share, "nowhere", "6 WSE-000052"},
        {"Qx\\h", "DB2", "6 WSE-000052 = Q$\\h"},
        {"C:", "DB2", "6 WSE-000052 = C$"},
        {"C", "DB2", "6 WSE-000052"},
        {"", "DB2", "6 WSE-000052"},
    };
    for (const auto& [home, node, answered] : rows)
        expectOf(home, ofPath + "nodename=" + node, answered);
}

TEST_F(RecordedHome, HasATypeThatIsCopiedWithItsStoredSize)
{
    const std::string ofKey = "GetKestelHomeType khomekey=KEY_keswsec_test khtype.size=";
    const std::wstring longest(255, L'\x3131');
    for (const auto& [type, stored, read, size] : {std::tuple{REG_SZ, L"1\0"s, "1"s, 2},
                                                   {REG_SZ, L"1"s, "1"s, 1},
                                                   {REG_SZ, L""s, ""s, 0},
                                                   {REG_DWORD, L"\x3231\x3433"s, "1234"s, 4},
                                                   {REG_BINARY, longest, std::string(510, '1'), 510}}) {
        store(L"KESTEL_HOME_TYPE", stored, static_cast<DWORD>(type));
        const std::string its = "2 = " + read + ' ' + std::to_string(size), room = std::to_string(size + 1);
        expect({{ofKey + room, its}});
        expectOf(path, ofPath + "khtype.size=" + room, its);
        expectOf(path, ofPath + "khtype.size=" + std::to_string(size),
                 "3 WSE-000033: Insufficient output buffer for Kestelhometype.");
    }
    store(L"KESTEL_HOME_TYPE", longest, REG_BINARY, 2);
    expect({{ofKey + "600", "3 WSE-000048: Unable to query value for KESTEL_HOME_TYPE in registry. 234"}});
}

TEST_F(RecordedHome, HasATypeThatIsSetOnlyWhenValidAndOnlyBelowAnExistingKey)
{
    const std::string isValid = "IsKhomeTypeValid khometype=", set = "SetKestelHomeType khomekey=KEY_keswsec_test ";
    for (const char* const invalid : {"3", "\"\"", "01", "\" 1\"", "\"1 \"", "one"})
        expect({{isValid + invalid, "0"}, {set + "khometype=" + invalid, "5 WSE-00008"}});
    const std::string line = "NODE: registry HKLM\\Software\\Kestel\\KEY_keswsec_test: KESTEL_HOME_TYPE set: ";
    for (const auto& [type, change] : {std::pair{"2", "0 -> 2"}, {"1", "2 -> 1"}, {"0", "1 -> 0"}})
        expect({{isValid + type, "1"}, {set + "khometype=" + type, "2", {line + change}}});
    for (int i = 0; i < 2; ++i) // still missing then
        expect({{"SetKestelHomeType khomekey=KEY_none khometype=2", "6 WSE-000010 2"}});
    const std::string get = "GetKestelHomeType khomekey=KEY_keswsec_test";
    std::wstring& security = local.security[L"registry HKLM\\SOFTWARE\\Kestel\\KEY_keswsec_test"];
    security = L"O:SYD:P(A;;KR;;;BU)"; // may be read, or written
    expect({{get, "2 = 0 2"}, {set + "khometype=1", "6 WSE-000010 5"}});
    security = L"O:SYD:P(A;;KW;;;BU)";
    expect({{get, "6 WSE-000010 5"}, {set + "khometype=1", "2", {line + "0 -> 1"}}});
}

TEST_F(RecordedHome, HasAUserThatIsReadFromAnyStoredText)
{
    constexpr size_t most = 32766 / sizeof(wchar_t);
    const std::wstring longest(most, L'u');
    const std::tuple<std::wstring, DWORD, size_t, const char*, std::string> rows[] = {
        // with bytes more
        {L"svc_1\0"s, REG_SZ, 0, "6", "2 = svc_1 6"},
        {L"svc_1", REG_SZ, 0, "6", "2 = svc_1 6"},
        {L"svc_1", REG_BINARY, 1, "6", "2 = svc_1 6"},
        {L"", REG_SZ, 0, "1", "2 =  1"},
        {longest, REG_SZ, 0, "32768", "2 = " + std::string(most, 'u') + ' ' + std::to_string(most + 1)},
        {longest, REG_BINARY, 1, "32768", "3 WSE-000048: Unable to query value for KESTEL_SVCUSER in registry. 234"},
    };
    for (const auto& [stored, type, extraBytes, room, answered] : rows) {
        store(L"KESTEL_SVCUSER", stored, type, extraBytes);
        expectOf(path, std::string("GetUnameForKhomePath khomepath=HOME uname.size=") + room, answered);
    }
}

TEST_F(RecordedHome, IsNotTheOneThatANameOrPathCutShortWouldBe)
{
    const std::string key(259 - strlen("Software\\Kestel\\"), 'k'), longest(259 - strlen("\\bin\\kestel.key"), 'p');
    for (const bool isCut : {false, true}) {
        expect({{"GetKestelHomeType khomekey=" + key + (isCut ? "k" : ""),
                 isCut ? "6 WSE-000010 206" : "6 WSE-000010 2"}});
        expectOf(longest + (isCut ? "p" : ""), isVirtual + "\"\"", isCut ? "3 WSE-000053 206" : "3 WSE-000053 3");
        expectOf(longest + (isCut ? "p" : ""), ofPath, isCut ? "6 WSE-000052 206" : "6 WSE-000052");
    }
    expectOf(longest.substr(1), ofPath + "nodename=DB2",
             "6 WSE-000052 206 = p$" + longest.substr(3)); // with "\\\\DB2\\" before it
    expect({{"SetUnameForKhome uname=u khomekey=" + std::string(496, 'k'), "3 WSE-000053 34"}}); // one too many
    expect({{"SetUnameForKhome uname=svc nodename=DB2 khomekey=KEY_1", "3 WSE-000010 2"}});      // not a home there
}

TEST_F(RecordedHome, HasFactsOfTheUserThatAreReadLeniently)
{
    for (const auto& [stored, answered] : {std::pair{L"0"s, "0"},
                                           {L"-1"s, "0"},
                                           {L"abc"s, "0"},
                                           {L""s, "0"},
                                           {std::wstring(511, L'0'), "0"},
                                           {L"2"s, "1"},
                                           {L" 1"s, "1"},
                                           {L"99999999999"s, "1"}}) {
        store(L"KESTEL_SVCUSER_PWDREQ", stored);
        expectOf(path, needsPassword + "\"\"", answered);
    }
    for (const auto& [stored, answered] : {std::pair{L"V", "1"}, {L"v", "1"}, {L" ", "0"}, {L"", "0"}, {L"VV", "0"}}) {
        store(L"KESTEL_SVCUSER_TYPE", stored);
        expectOf(path, isVirtual + "\"\"", answered);
    }
    world.registry().createKey(local, L"SOFTWARE\\Kestel\\KEY_empty"); // nothing is recorded
    library.writeKeyFile("SOFTWARE\\Kestel\\KEY_empty\n");
    expectOf(path, needsPassword + "\"\"", "3 WSE-000048 2");
    expectOf(path, isVirtual + "\"\"", "0");
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
    for (const char* const node : {"NODE", "DB2"})
        for (const auto& [name, written, type, passwordRequired] : rows)
            expectRecording(name, node, {written, type, passwordRequired});
}

// Whose name it is this machine is asked, even for a node; whether it is a group, the node.
TEST_F(RecordedHome, GetsAUserWhoseNameIsThisMachinesAndWhoseGroupIsTheNodes)
{
    addGroup(local, L"KES_LOCAL");
    addGroup(remote, L"KES_REMOTE");
    const std::string unknown = "3 WSE-000014 1332";
    expectRecording("KES_LOCAL", "NODE", {"KES_LOCAL", "V", "0"});
    expectRecording("KES_LOCAL", "DB2", {"KES_LOCAL", " ", "1"});
    expectRecording("KES_REMOTE", "DB2", {"KES_REMOTE"}, unknown);
    expectRecording("NODE\\svc", "DB2", {"NODE\\svc", " ", "1"});
    expectRecording("DB2\\svc", "DB2", {"DB2\\svc"}, unknown);
    expectRecording("NETWORK_SERVICE", "NODE", {"NETWORK_SERVICE"}, unknown);
    expectRecording(std::string(700, 'u'), "NODE", {std::string(511, 'u')}, unknown);
    local.missing = {L"Logoncli.dll"}; // nobody knows of managed accounts
    expectRecording("CORP\\gmsa$", "NODE", {"CORP\\gmsa$", " ", "1"});
}

TEST_F(NodeTest, EventSourcesHaveWholeNamesAndGoWithTheirSecurity)
{
    const std::string create = "CreateSVCEventRegEntry EventMsgFile=m SVCAppKey=";
    const wchar_t key[] = L"registry HKLM\\SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\Kestel";
    expectAnswers({{create + std::string(700, 's'), "3 WSE-000050 87"}, {create + "Kestel", "2"}});
    plan();
    expect({{create + "Kestel", "2"}}); // all of it is there
    local.security[key] = L"D:(A;;KA;;;BA)";
    expectAnswers({{"DeleteSVCEventRegEntry SVCAppKey=Kestel", "2"}});
    EXPECT_EQ(local.security.count(key), 0u); // a new one has nothing of it
    local.security[std::wstring(key, wcslen(key) - wcslen(L"\\Kestel"))] = L"O:SYD:P(A;;KR;;;BU)";
    expectAnswers({{create + "none\\Other", "3 WSE-000050 5"}});
}

TEST(Home, KeepsTheCallersPathWhenABufferIsMissing)
{
    char path[] = "C:\\home";
    expectRefused("KestelHome Type", {calling(sswseGetKestelHomeTypeForKHPath, path, nullptr, 8, nullptr, "node")});
    expectRefused("KestelHome Name", {calling(sswseGetKestelHomeNameForKHPath, path, nullptr, 8, nullptr, "node")});
    EXPECT_STREQ(path, "C:\\home");
}
