// Checks of objects on a node: by their lists alone, and by what users may really do.
#include "tests/acl/on_node.h"
#include "whatif/model/registry.h"

using namespace acl;
using namespace support;
using namespace testing;

namespace {

class ChecksOnNode : public OnNode
{
protected:
    using Users = std::vector<const char*>;

    // Runs a check with the users as the functions take them; what it leaves is looked at, released and told: "1", or
    // "0" and the findings below C: or the key, "3" and the message with the error.
    template <class Run>
    std::string run(const Users& users, bool listed, Run check)
    {
        std::vector<char*> names;
        for (const char* const user : users)
            names.push_back(const_cast<char*>(user));
        char** findings = reinterpret_cast<char**>(1);
        int count = 99;
        sswseErrRec rec;
        memset(&rec, 'x', sizeof rec);
        interception.start(fault);
        const DWORD status = check(&rec, names.data(), static_cast<int>(names.size()), listed ? &findings : nullptr,
                                   listed ? &count : nullptr);
        EXPECT_THAT(interception.finish().balance, IsEmpty());
        EXPECT_EQ(plan(), Lines());
        EXPECT_TRUE(!listed || (findings == nullptr) == (count == 0));
        std::string said = std::to_string(status);
        const std::string message = messageOf(rec);
        if (status != 0)
            said += message.empty() ? "" : ' ' + message + rec.oserror;
        else if (!listed)
            said += ' ' + message.substr(11, message.size() - 12);
        for (int i = 0; listed && i < count; ++i)
            said += (i ? "| " : " ") + std::string(findings[i]);
        EXPECT_TRUE(status != 0 || !listed || message == "WSE-00004: " + std::string(findings[0]) + '.');
        EXPORT(sswseFreeArrayofStrings)(listed ? findings : nullptr, static_cast<size_t>(count));
        for (const std::string& place : {narrowRoot, std::string("MACHINE\\SOFTWARE\\Kestel")})
            for (size_t at = said.find(place); at != std::string::npos; at = said.find(place))
                said.erase(at, place.size() + 1);
        return said;
    }

    std::string grants(const Access& access)
    {
        return run({}, false, [&](sswseErrRec* rec, char**, int, char***, int*) { return checking(access)(rec); });
    }

    std::string keysGrant(const std::wstring& path, const Users& users, int ptype, bool listed = true)
    {
        const std::string name(path.begin(), path.end());
        return run(users, listed, [&](sswseErrRec* rec, char** names, int number, char*** findings, int* count) {
            return EXPORT(sswseCheckACLsOnReg)(rec, name.c_str(), names, number, ptype, findings, count);
        });
    }

    std::string allows(unsigned wtype, const std::wstring& path, const Users& users, DWORD mask, bool tree = false,
                       bool listed = true)
    {
        const std::string name(path.begin(), path.end());
        return run(users, listed, [&](sswseErrRec* rec, char** names, int number, char*** findings, int* count) {
            return EXPORT(sswseCheckACLsOnObject)(rec, wtype, name.c_str(), names, number, mask, tree, findings, count);
        });
    }

    // Of the key and those below it ("\\a"), on both nodes.
    void describeKeys(const Objects& security)
    {
        describe({});
        for (whatif::Node* const node : {&local, &remote})
            for (const auto& [name, text] : security)
                node->security[L"registry HKLM\\SOFTWARE\\Kestel" + name] = sddl(text);
    }

    intercept::Fault fault; // of the next checks
};

} // namespace

TEST_F(ChecksOnNode, TheFirstEntryThatHasABitDecidesAboutIt)
{
    const std::wstring file = make(L"file");
    const struct
    {
        const char* what;
        const wchar_t* security;
        const char* said;
    } rows[] = {
        {"exactly", L"D:(A;;0x1200a9;;;svc)", "1"},
        {"in pieces, one inherited", L"D:(A;;FR;;;svc)(A;;FA;;;WD)(A;ID;FX;;;svc)", "1"},
        {"generic", L"D:(A;;GRGX;;;svc)", "1"},
        {"too little", L"D:(A;;FR;;;svc)", "0 file does not grant svc 0x001200A9"},
        {"nothing", L"D:", "0 file does not grant svc 0x001200A9"},
        {"only for what is below", L"D:(A;OICIIO;FA;;;svc)", "0 file does not grant svc 0x001200A9"},
        {"to groups it is in", L"D:(A;;FA;;;WD)(A;;FA;;;BU)", "0 file does not grant svc 0x001200A9"},
        {"denied behind", L"D:(A;;FA;;;svc)(D;;FA;;;svc)", "1"},
        {"denied before", L"D:(D;;0x1000a0;;;svc)(A;;FA;;;svc)", "0 file denies svc 0x001000A0"},
        {"denied between", L"D:(A;;FR;;;svc)(D;;FA;;;svc)(A;;FA;;;svc)", "0 file denies svc 0x00000020"},
        {"denied, and missing", L"D:(D;;0x20;;;svc)(A;;FR;;;svc)", "0 file denies svc 0x00000020"},
        {"denied, and others missing", L"D:(D;;0x20;;;svc)(A;;0x1;;;svc)", "0 file does not grant svc 0x001200A9"},
        {"denied by inheritance", L"D:(D;ID;GA;;;svc)(A;;FA;;;svc)", "0 file denies svc 0x001200A9"},
        {"denied other bits", L"D:(D;;SD;;;svc)(A;;FA;;;svc)", "1"},
        {"denied to what is below", L"D:(D;OICIIO;FA;;;svc)(A;;FA;;;svc)", "1"},
        {"denied to a group", L"D:(D;;FA;;;WD)(A;;FA;;;svc)", "1"},
        {"no list", L"O:SY", "0 file has no access-control list"},
    };
    for (const auto& row : rows) {
        describe({{L"file", row.security}});
        EXPECT_EQ(grants({0, file, {"svc"}, 10}), row.said) << row.what;
    }
}

// Principals, then users; the first one that falls short is told, by the name that the caller knows.
TEST_F(ChecksOnNode, AccountsAreAskedForInTheOrderOfAdding)
{
    const std::wstring directory = make(L"dir\\");
    const std::pair<const wchar_t*, const char*> accounts[] = {
        {L"(A;;FA;;;BA)", "S-1-5-32-544 0x001F01FF"},
        {L"(A;;FA;;;SY)", "S-1-5-18 0x001F01FF"},
        {L"(A;;FA;;;mesh)", "KES_MESH_LISTENERS 0x001F01FF"},
        {L"(A;;FRFX;;;AU)", "S-1-5-11 0x001200A9"},
        {L"(A;;FA;;;svc)", ".\\svc 0x001F01FF"},
        {L"(A;;FA;;;S-1-5-21-7-7-7-9)", "s-1-5-21-7-7-7-9 0x001F01FF"}, // gone
        {L"(A;;FA;;;LS)", "NT AUTHORITY\\LocalService 0x001F01FF"},
    };
    Access access = {1, directory, {".\\svc", "s-1-5-21-7-7-7-9", "NT AUTHORITY\\LocalService", "LocalSystem"}, 4};
    access.inheritable = false; // the list lets nobody list the directory
    std::wstring security = L"D:";
    for (const auto& [entry, missing] : accounts) {
        describe({{L"dir", security}});
        EXPECT_EQ(grants(access), std::string("0 dir does not grant ") + missing);
        security += entry;
    }
    describe({{L"dir", security}});
    EXPECT_EQ(grants(access), "1");
}

TEST_F(ChecksOnNode, KeysAreCheckedWithEveryKeyBelow)
{
    for (const wchar_t* const name : {L"a", L"a\\b", L"c"})
        world.registry().createKey(local, std::wstring(L"SOFTWARE\\Kestel\\") + name);
    world.registry().createKey(remote, L"SOFTWARE\\Kestel\\a");
    constexpr wchar_t good[] = L"D:P(A;CI;KA;;;BA)(A;CI;0x20039;;;WD)(A;CI;GA;;;svc)(A;CI;GA;;;svc2)";
    constexpr wchar_t bad[] = L"D:P(D;;KW;;;BA)(A;;KA;;;BA)(A;;KR;;;WD)";
    describeKeys({{L"", good}, {L"\\a", bad}, {L"\\a\\b", L"O:SY"}, {L"\\c", L"D:P(A;;KR;;;BA)"}});
    EXPECT_EQ(keysGrant(key, {"svc"}, 9), // each account that falls short, each key before those below
              "0 a denies S-1-5-32-544 0x00020006| a does not grant S-1-1-0 0x00020039| a does not grant svc 0x000F003F"
              "| a\\b has no access-control list| c does not grant S-1-5-32-544 0x000F003F"
              "| c does not grant S-1-1-0 0x00020039| c does not grant svc 0x000F003F");
    describeKeys({{L"", good}, {L"\\a", L"O:SYD:P"}, {L"\\c", L"O:SY"}});
    EXPECT_EQ(keysGrant(key, {"svc"}, 9), "0 a cannot be read (5)| c has no access-control list");
    describeKeys({{L"", good}, {L"\\c", bad}});
    fault = failing("RegGetKeySecurity", ERROR_KEY_DELETED, 7); // of c
    EXPECT_EQ(keysGrant(key, {"svc"}, 9), "1");
    fault = {};
    describeKeys({{L"", bad}});
    EXPECT_EQ(keysGrant(key, {"svc"}, 9, false), "0 denies S-1-5-32-544 0x00020006"); // nobody wants the others
    describeKeys({{L"", good}});
    for (const std::wstring& node : {std::wstring(), std::wstring(L"\\\\DB2\\")})
        for (const std::wstring& path : {node + key, node + L"machine\\SOFTWARE\\Kestel\\", node + key + L"\\a"})
            EXPECT_EQ(keysGrant(path, {"svc"}, 9), "1") << PrintToString(path);
    for (const wchar_t* const path : {L"CONFIG\\x", L"PERFORMANCE_DATA\\x", L"HKLM\\x", L"MACHINE", L"\\\\DB2",
                                      L"\\\\DB2\\CLASSES_ROOT\\x", L"\\\\DB2\\CURRENT_USER\\x"})
        EXPECT_EQ(keysGrant(path, {"nobody"}, 9), "4 WSE-000012: Null or invalid Registry Path parameter.");
}

TEST_F(ChecksOnNode, UsersAreAllowedWhatTheirGroupsAre)
{
    const std::wstring file = make(L"file");
    const std::wstring service = L"S-1-5-80-1-2-3-4-5";
    local.memberPiece = 1;
    addGroup(local, L"KES_OUTER", {addGroup(local, L"KES_NESTED", {operators, service}).sid});
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
        const std::string finding = std::string("0 file allows ") + row.user + ' ' + row.finding;
        EXPECT_EQ(allows(0, file, {row.user}, row.mask), *row.finding ? finding : "1") << row.user << &row - rows;
    }
    describe({{L"file", L"O:BAG:SYD:"}});
    const std::string sid(svc.begin(), svc.end());
    const Users named = {".\\svc", "CORP\\dbuser", "svc", sid.c_str()}; // each account once
    EXPECT_EQ(allows(0, file, named, 1), "0 file allows .\\svc 0x00000000 of 0x00000001"
                                         "| file allows CORP\\dbuser 0x00000000 of 0x00000001");
    EXPECT_EQ(allows(0, file, named, 1, false, false), "0 file allows .\\svc 0x00000000 of 0x00000001");
    for (const char* const group : {"KES_OUTER", "S-1-5-32-544", "Everyone", "CORP\\Operators", "S-1-5-80-0"})
        EXPECT_EQ(allows(0, file, {"svc", group}, 1),
                  "4 WSE-000063: Input arguments are invalid. Internal error : Not a user account.");
    for (const DWORD mask : {0ul, 0x01000001ul, 0x02000001ul})
        EXPECT_EQ(allows(0, file, {"svc"}, mask), "4 WSE-000012: Null or invalid mask parameter.");
    EXPECT_EQ(allows(0, file, {}, 1), "4 WSE-000012: Null or invalid usernames parameter.");
    EXPECT_EQ(grants({2, key, {}, 10}), "4 WSE-000012: Null or invalid usernames parameter.");
    EXPECT_EQ(allows(4, file, {}, 0), "4 WSE-000064: Internal error : Unsupported permission type.");
    EXPECT_EQ(keysGrant(key, {"svc"}, 6).substr(0, 12), "4 WSE-000063");
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
        {{{L"", bad}, {L"d", good}}, {}, "0 " + lacks + "| a " + lacks + "| b " + lacks + "| b\\c " + lacks},
        {{{L"", good}, {L"a", unreadable}, {L"d\\e", bad}}, {}, "0 a cannot be read (5)| d\\e " + lacks},
        {{{L"", good}, {L"b", bad}}, failing("FindFirstFileW", 5, 2), "0 b cannot be read (5)| b " + lacks},
        {{{L"", good}, {L"b", unreadable}}, failing("FindFirstFileW", 5, 2), "0 b cannot be read (5)"},
        {{{L"", good}, {L"b", bad}, {L"b\\c", bad}}, failing("GetNamedSecurityInfoW", 3, 3), "1"}, // gone
        {{{L"", unreadable}}, {}, "3 WSE-000065: Unable to iterate through files.5"},
    };
    for (const auto& row : rows) {
        describe(row.security);
        fault = row.fault;
        EXPECT_EQ(allows(1, root, {"svc"}, 3, true), row.said) << "row " << &row - rows;
    }
    fault = {};
    const std::string lacksKey = "allows svc 0x00020019 of 0x000F003F";
    describeKeys({{L"", L"O:SYG:SYD:P(A;CI;KR;;;svc)(A;CI;KA;;;BA)"}});
    EXPECT_EQ(allows(2, key, {"svc"}, KEY_ALL_ACCESS), "0 " + lacksKey);
    EXPECT_EQ(allows(2, key, {"svc"}, GENERIC_ALL, true), "0 " + lacksKey + "| a " + lacksKey);
    EXPECT_EQ(allows(2, key, {"svc"}, GENERIC_READ, true), "1");
}
