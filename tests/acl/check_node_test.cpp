// Checks of objects on a node: by their lists alone, and by what users may really do.
#include "tests/acl/on_node.h"
#include "whatif/model/registry.h"

#include <regex>

using namespace acl;
using namespace support;
using namespace testing;

namespace {

class ChecksOnNode : public OnNode
{
protected:
    // As told, with what is below C: or the key; of findings all and their number: "0 = dir does not grant svc 0x1 1".
    // The message before them has to be the first of them.
    std::string said(const std::string& call, intercept::Fault fault = {})
    {
        interception.start(fault);
        std::string text = told(invoke(call), true);
        EXPECT_THAT(interception.finish().balance, IsEmpty());
        EXPECT_EQ(plan(), Lines());
        for (const std::string& place : {narrowRoot, std::string(key)})
            for (size_t at = text.find(place); at != std::string::npos; at = text.find(place))
                text.erase(at, place.size() + 1);
        text = std::regex_replace(text, std::regex(R"( WSE-00004: (.*)\. = (?=\1 ))"), " = ");
        return text == "1 = 0" ? "1" : text;
    }
};

} // namespace

TEST_F(ChecksOnNode, TheFirstEntryThatHasABitDecidesAboutIt)
{
    const std::string check = "CheckACLOnObjectForUser wtype=0 usernames=svc ptype=10 path=" + make(L"file");
    const struct
    {
        const char* what;
        const wchar_t* security;
        const char* said;
    } rows[] = {
        {"exactly", L"D:(A;;0x1200a9;;;svc)", "1"},
        {"in pieces, one inherited", L"D:(A;;FR;;;svc)(A;;FA;;;WD)(A;ID;FX;;;svc)", "1"},
        {"generic", L"D:(A;;GRGX;;;svc)", "1"},
        {"too little", L"D:(A;;FR;;;svc)", "0 WSE-00004: file does not grant svc 0x001200A9."},
        {"nothing", L"D:", "0 WSE-00004: file does not grant svc 0x001200A9."},
        {"only for what is below", L"D:(A;OICIIO;FA;;;svc)", "0 WSE-00004: file does not grant svc 0x001200A9."},
        {"to groups it is in", L"D:(A;;FA;;;WD)(A;;FA;;;BU)", "0 WSE-00004: file does not grant svc 0x001200A9."},
        {"denied behind", L"D:(A;;FA;;;svc)(D;;FA;;;svc)", "1"},
        {"denied before", L"D:(D;;0x1000a0;;;svc)(A;;FA;;;svc)", "0 WSE-00004: file denies svc 0x001000A0."},
        {"denied between", L"D:(A;;FR;;;svc)(D;;FA;;;svc)(A;;FA;;;svc)", "0 WSE-00004: file denies svc 0x00000020."},
        {"denied, and missing", L"D:(D;;0x20;;;svc)(A;;FR;;;svc)", "0 WSE-00004: file denies svc 0x00000020."},
        {"denied, and others missing", L"D:(D;;0x20;;;svc)(A;;0x1;;;svc)",
         "0 WSE-00004: file does not grant svc 0x001200A9."},
        {"denied by inheritance", L"D:(D;ID;GA;;;svc)(A;;FA;;;svc)", "0 WSE-00004: file denies svc 0x001200A9."},
        {"denied other bits", L"D:(D;;SD;;;svc)(A;;FA;;;svc)", "1"},
        {"denied to what is below", L"D:(D;OICIIO;FA;;;svc)(A;;FA;;;svc)", "1"},
        {"denied to a group", L"D:(D;;FA;;;WD)(A;;FA;;;svc)", "1"},
        {"no list", L"O:SY", "0 WSE-00004: file has no access-control list."},
    };
    for (const auto& row : rows) {
        describe({{L"file", row.security}});
        EXPECT_EQ(said(check), row.said) << row.what;
    }
}

// Principals, then users; the first one that falls short is told, by the name that the caller knows.
TEST_F(ChecksOnNode, AccountsAreAskedForInTheOrderOfAdding)
{
    const std::pair<const wchar_t*, const char*> accounts[] = {
        {L"(A;;FA;;;BA)", "S-1-5-32-544 0x001F01FF"},
        {L"(A;;FA;;;SY)", "S-1-5-18 0x001F01FF"},
        {L"(A;;FA;;;mesh)", "KES_MESH_LISTENERS 0x001F01FF"},
        {L"(A;;FRFX;;;AU)", "S-1-5-11 0x001200A9"},
        {L"(A;;FA;;;svc)", ".\\svc 0x001F01FF"},
        {L"(A;;FA;;;S-1-5-21-7-7-7-9)", "s-1-5-21-7-7-7-9 0x001F01FF"}, // gone
        {L"(A;;FA;;;LS)", "NT AUTHORITY\\LocalService 0x001F01FF"},
    };
    const std::string check = "CheckACLOnObjectForUser wtype=1 usernames=.\\svc usernames=s-1-5-21-7-7-7-9 usernames="
                              "\"NT AUTHORITY\\LocalService\" usernames=LocalSystem ptype=4 path=" +
                              make(L"dir\\");
    std::wstring security = L"D:";
    for (const auto& [entry, missing] : accounts) {
        describe({{L"dir", security}});
        EXPECT_EQ(said(check), std::string("0 WSE-00004: dir does not grant ") + missing + '.');
        security += entry;
    }
    describe({{L"dir", security}});
    EXPECT_EQ(said(check), "1");
}

TEST_F(ChecksOnNode, KeysAreCheckedWithEveryKeyBelow)
{
    for (const wchar_t* const name : {L"a", L"a\\b", L"c"})
        world.registry().createKey(local, std::wstring(L"SOFTWARE\\Kestel\\") + name);
    world.registry().createKey(remote, L"SOFTWARE\\Kestel\\a");
    constexpr wchar_t good[] = L"D:P(A;CI;KA;;;BA)(A;CI;0x20039;;;WD)(A;CI;GA;;;svc)(A;CI;GA;;;svc2)";
    constexpr wchar_t bad[] = L"D:P(D;;KW;;;BA)(A;;KA;;;BA)(A;;KR;;;WD)";
    describe({}, {{L"", good}, {L"\\a", bad}, {L"\\a\\b", L"O:SY"}, {L"\\c", L"D:P(A;;KR;;;BA)"}});
    const std::string check = "CheckACLsOnReg usernames=svc ptype=9 path=", own = check + key;
    EXPECT_EQ(said(own), // each account that falls short, each key before those below
              "0 = a denies S-1-5-32-544 0x00020006 a does not grant S-1-1-0 0x00020039 a does not grant svc 0x000F003F"
              " a\\b has no access-control list c does not grant S-1-5-32-544 0x000F003F"
              " c does not grant S-1-1-0 0x00020039 c does not grant svc 0x000F003F 7");
    describe({}, {{L"", good}, {L"\\a", L"O:SYD:P"}, {L"\\c", L"O:SY"}});
    EXPECT_EQ(said(own), "0 = a cannot be read (5) c has no access-control list 2");
    describe({}, {{L"", good}, {L"\\c", bad}});
    EXPECT_EQ(said(own, failing("RegGetKeySecurity", ERROR_KEY_DELETED, 7)), "1"); // c is
    describe({}, {{L"", bad}});
    char user[] = "svc";
    char* users[] = {user};
    EXPECT_EQ(EXPORT(sswseCheckACLsOnReg)(nullptr, key, users, 1, 9, nullptr, nullptr), 0u); // nobody wants the others
    describe({}, {{L"", good}});
    for (const std::string node : {"", "\\\\DB2\\"})
        for (const std::string& path : {node + key, node + "machine\\SOFTWARE\\Kestel\\", node + key + "\\a"})
            EXPECT_EQ(said(check + path), "1") << path;
    for (const char* const path : {"CONFIG\\x", "PERFORMANCE_DATA\\x", "HKLM\\x", "MACHINE", "\\\\DB2",
                                   "\\\\DB2\\CLASSES_ROOT\\x", "\\\\DB2\\CURRENT_USER\\x"})
        EXPECT_EQ(said(std::string("CheckACLsOnReg usernames=nobody ptype=9 path=") + path),
                  "4 WSE-000012: Null or invalid Registry Path parameter.");
    for (const std::string hive : {"USERS", "CLASSES_ROOT", "CURRENT_USER"})
        EXPECT_EQ(said("CheckACLsOnReg usernames=svc ptype=9 path=" + hive + "\\none"),
                  "3 WSE-000010: Unable to open registry key none under " + hive + ". 2");
}

TEST_F(ChecksOnNode, UsersAreAllowedWhatTheirGroupsAre)
{
    const std::string check = "CheckACLsOnObject wtype=0 path=" + make(L"file") + " mask=";
    const std::wstring service = L"S-1-5-80-1-2-3-4-5";
    local.memberPiece = 1;
    const std::wstring everybody = L"S-1-5-21-7-7-7-1290"; // a group of CORP, with Operators in it
    local.accounts[4].memberOf = {everybody};
    addGroup(local, L"KES_OUTER", {addGroup(local, L"KES_NESTED", {everybody, service}).sid});
    name(L"nested", local.groups[local.groups.size() - 2].sid);
    name(L"outer", local.groups.back().sid);
    name(L"dbuser", dbuser);
    const struct
    {
        std::wstring list;
        const char* user;
        DWORD mask;
        const char* finding; // "" for none
    } rows[] = {
        {L"(A;;FA;;;svc)", "svc", GENERIC_ALL, ""},
        {L"(A;;FR;;;svc)", "svc", GENERIC_READ | GENERIC_EXECUTE, "0x00120089 of 0x001200A9"},
        {L"(A;;FA;;;BA)", "svc", FILE_READ_DATA, "0x00000000 of 0x00000001"},
        {L"", "svc", DELETE | FILE_READ_DATA, "0x00000000 of 0x00010001"},
        {L"(A;;FR;;;AU)(A;;FX;;;WD)", "svc", GENERIC_READ | GENERIC_EXECUTE, ""},
        {L"(D;;FW;;;svc)(A;;FA;;;svc)", "svc", GENERIC_ALL, "0x000D00E9 of 0x001F01FF"},
        {L"(D;;0x1;;;nested)(A;;FA;;;dbuser)", "CORP\\dbuser", FILE_ALL_ACCESS, "0x001F01FE of 0x001F01FF"},
        {L"(A;;FR;;;outer)", "CORP\\dbuser", GENERIC_READ, ""},
        // what only tokens know
        {L"(A;;FR;;;BU)(A;;FX;;;SU)", "S-1-5-80-1-2-3-4-5", GENERIC_READ | GENERIC_EXECUTE, ""},
        {L"(A;;0x1;;;S-1-5-80-0)(A;;0x2;;;nested)(A;;0x4;;;outer)", "S-1-5-80-1-2-3-4-5", 7, ""},
        {L"(A;;0x1;;;AU)(A;;0x2;;;BA)(A;;0x4;;;WD)", "LocalSystem", 7, ""},
        {L"(A;;0x1;;;AU)(A;;0x2;;;BA)(A;;0x4;;;S-1-5-80-0)", "NT AUTHORITY\\LocalService", 7,
         "0x00000001 of 0x00000007"},
        {L"(A;;0x1;;;NS)(A;;0x2;;;SU)", "NT AUTHORITY\\NetworkService", 3, ""},
    };
    for (const auto& row : rows) {
        describe({{L"file", L"O:BAG:SYD:" + row.list}});
        const std::string finding = std::string("0 = file allows ") + row.user + ' ' + row.finding + " 1";
        EXPECT_EQ(said(check + std::to_string(row.mask) + " usernames=\"" + row.user + '"'),
                  *row.finding ? finding : "1")
            << row.user << &row - rows;
    }
    describe({{L"file", L"O:BAG:SYD:"}});
    const std::string sid(svc.begin(), svc.end());
    EXPECT_EQ(said(check + "1 usernames=.\\svc usernames=CORP\\dbuser usernames=svc usernames=" + sid), // each once
              "0 = file allows .\\svc 0x00000000 of 0x00000001 file allows CORP\\dbuser 0x00000000 of 0x00000001 2");
    for (const char* const group : {"KES_OUTER", "S-1-5-32-544", "Everyone", "CORP\\Operators", "S-1-5-80-0"})
        EXPECT_EQ(said(check + "1 usernames=svc usernames=" + group),
                  "4 WSE-000063: Input arguments are invalid. Internal error : Not a user account.");
    for (const char* const mask : {"0", "0x01000001", "0x02000001"})
        EXPECT_EQ(said(check + mask + " usernames=svc"), "4 WSE-000012: Null or invalid mask parameter.");
    const std::string ofKey = std::string(" path=") + key;
    for (const std::string& nobody : {check + "1", "CheckACLOnObjectForUser wtype=2 ptype=10" + ofKey})
        EXPECT_EQ(said(nobody), "4 WSE-000012: Null or invalid usernames parameter.");
    expect({{"CheckACLsOnObject wtype=4 mask=0 path=x", "4 WSE-000064"},
            {"CheckACLsOnReg usernames=svc ptype=6" + ofKey, "4 WSE-000063"}});
}

TEST_F(ChecksOnNode, UsersAreAskedForBelowAsFarAsThereIsSomethingToRead)
{
    make({L"a", L"b\\", L"b\\c", L"d\\", L"d\\.VLFS", L"d\\e"});
    world.registry().createKey(local, L"SOFTWARE\\Kestel\\a");
    constexpr wchar_t good[] = L"O:SYG:SYD:P(A;OICI;FA;;;svc)(A;OICI;FA;;;BA)";
    constexpr wchar_t bad[] = L"O:SYG:SYD:P(A;OICI;FR;;;svc)(A;OICI;FA;;;BA)";
    const std::string lacks = "allows svc 0x00000001 of 0x00000003";
    const struct
    {
        Objects security;
        intercept::Fault fault;
        std::string said;
    } rows[] = {
        {{{L"", good}, {L"d\\.VLFS", bad}}, {}, "1"},
        {{{L"", bad}, {L"d", good}}, {}, "0 = " + lacks + " a " + lacks + " b " + lacks + " b\\c " + lacks + " 4"},
        {{{L"", good}, {L"a", unreadable}, {L"d\\e", bad}}, {}, "0 = a cannot be read (5) d\\e " + lacks + " 2"},
        {{{L"", good}, {L"b", bad}}, failing("FindFirstFileW", 5, 2), "0 = b cannot be read (5) b " + lacks + " 2"},
        {{{L"", good}, {L"b", unreadable}}, failing("FindFirstFileW", 5, 2), "0 = b cannot be read (5) 1"},
        {{{L"", good}, {L"b", bad}, {L"b\\c", bad}}, failing("GetNamedSecurityInfoW", 3, 3), "1"}, // gone
        {{{L"", unreadable}}, {}, "3 WSE-000065: Unable to iterate through files. 5"},
    };
    for (const auto& row : rows) {
        describe(row.security);
        EXPECT_EQ(said("CheckACLsOnObject wtype=1 inheritable=1 usernames=svc mask=3 path=" + narrowRoot, row.fault),
                  row.said)
            << "row " << &row - rows;
    }
    const std::string lacksKey = "allows svc 0x00020019 of 0x000F003F";
    const std::string ofKey = std::string("CheckACLsOnObject wtype=2 usernames=svc path=") + key + " mask=";
    describe({}, {{L"", L"O:SYG:SYD:P(A;CI;KR;;;svc)(A;CI;KA;;;BA)"}});
    EXPECT_EQ(said(ofKey + "0xF003F"), "0 = " + lacksKey + " 1");
    EXPECT_EQ(said(ofKey + "0x10000000 inheritable=1"), "0 = " + lacksKey + " a " + lacksKey + " 2");
    EXPECT_EQ(said(ofKey + "0x80000000 inheritable=1"), "1");
}
