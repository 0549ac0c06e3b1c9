// Checks of objects on a node: by their lists alone, and by what users may really do.
#include "tests/acl/on_node.h"
#include "whatif/model/registry.h"

using namespace acl;
using namespace support;
using namespace testing;

namespace {

constexpr wchar_t key[] = L"MACHINE\\SOFTWARE\\Kestel";

struct Found
{
    DWORD status;
    std::string message = ""; // of the record, without "WSE-00004: " and the final dot of a finding
    std::string osError = "";
    Lines findings = {};
    bool operator==(const Found& other) const
    {
        return std::tie(status, message, osError, findings) ==
               std::tie(other.status, other.message, other.osError, other.findings);
    }
};

std::ostream& operator<<(std::ostream& out, const Found& found)
{
    return out << found.status << ' ' << found.message << ' ' << found.osError << ' ' << PrintToString(found.findings);
}

Found yes()
{
    return {1, ""};
}

class ChecksOnNode : public OnNode
{
protected:
    using Users = std::vector<const char*>;

    // Runs a check with the users as the functions take them; what it leaves is looked at, released and told.
    template <class Run>
    Found run(const Users& users, bool listed, Run check)
    {
        std::vector<char*> names;
        for (const char* const user : users)
            names.push_back(const_cast<char*>(user));
        char** findings = reinterpret_cast<char**>(1);
        int count = 99;
        sswseErrRec rec;
        memset(&rec, 'x', sizeof rec);
        interception.start(fault);
        Found found = {check(&rec, names.data(), static_cast<int>(names.size()), listed ? &findings : nullptr,
                             listed ? &count : nullptr)};
        EXPECT_THAT(interception.finish().balance, IsEmpty());
        EXPECT_EQ(plan(), Lines());
        found.message = messageOf(rec);
        found.osError = rec.oserror;
        if (found.status == 0)
            found.message = found.message.substr(11, found.message.size() - 12);
        for (int i = 0; listed && i < count; ++i)
            found.findings.push_back(findings[i]);
        EXPECT_TRUE(!listed || (findings == nullptr) == (count == 0));
        EXPORT(sswseFreeArrayofStrings)(listed ? findings : nullptr, static_cast<size_t>(count));
        return found;
    }

    Found grants(unsigned wtype, const std::wstring& path, const Users& users, int ptype, bool tree = false)
    {
        const std::string name(path.begin(), path.end());
        return run(users, false, [&](sswseErrRec* rec, char** names, int number, char***, int*) {
            return EXPORT(sswseCheckACLOnObjectForUser)(rec, wtype, name.c_str(), names, number, ptype, tree);
        });
    }

    Found keysGrant(const std::wstring& path, const Users& users, int ptype, bool listed = true)
    {
        const std::string name(path.begin(), path.end());
        return run(users, listed, [&](sswseErrRec* rec, char** names, int number, char*** findings, int* count) {
            return EXPORT(sswseCheckACLsOnReg)(rec, name.c_str(), names, number, ptype, findings, count);
        });
    }

    Found allows(unsigned wtype, const std::wstring& path, const Users& users, DWORD mask, bool tree = false,
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
    const std::string svcText{svc.begin(), svc.end()};

    std::string at(const std::string& name) const { return narrowRoot + "\\" + name; }
};

} // namespace

TEST_F(ChecksOnNode, TheFirstEntryThatHasABitDecidesAboutIt)
{
    const std::wstring file = make(L"file");
    const struct
    {
        const char* what;
        const wchar_t* security;
        const char* finding; // "" for none
    } rows[] = {
        {"exactly", L"D:(A;;0x1200a9;;;svc)", ""},
        {"in pieces, one inherited", L"D:(A;;FR;;;svc)(A;;FA;;;WD)(A;ID;FX;;;svc)", ""},
        {"generic", L"D:(A;;GRGX;;;svc)", ""},
        {"too little", L"D:(A;;FR;;;svc)", "does not grant svc 0x001200A9"},
        {"nothing", L"D:", "does not grant svc 0x001200A9"},
        {"only for what is below", L"D:(A;OICIIO;FA;;;svc)", "does not grant svc 0x001200A9"},
        {"to groups it is in", L"D:(A;;FA;;;WD)(A;;FA;;;BU)", "does not grant svc 0x001200A9"},
        {"denied behind", L"D:(A;;FA;;;svc)(D;;FA;;;svc)", ""},
        {"denied before", L"D:(D;;0x1000a0;;;svc)(A;;FA;;;svc)", "denies svc 0x001000A0"},
        {"denied between", L"D:(A;;FR;;;svc)(D;;FA;;;svc)(A;;FA;;;svc)", "denies svc 0x00000020"},
        {"denied, and missing", L"D:(D;;0x20;;;svc)(A;;FR;;;svc)", "denies svc 0x00000020"},
        {"denied, and others missing", L"D:(D;;0x20;;;svc)(A;;0x1;;;svc)", "does not grant svc 0x001200A9"},
        {"denied by inheritance", L"D:(D;ID;GA;;;svc)(A;;FA;;;svc)", "denies svc 0x001200A9"},
        {"denied other bits", L"D:(D;;SD;;;svc)(A;;FA;;;svc)", ""},
        {"denied to what is below", L"D:(D;OICIIO;FA;;;svc)(A;;FA;;;svc)", ""},
        {"denied to a group", L"D:(D;;FA;;;WD)(A;;FA;;;svc)", ""},
        {"no list", L"O:SY", "has no access-control list"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        describe({{L"file", row.security}});
        const bool falls = *row.finding;
        EXPECT_EQ(grants(0, file, {"svc"}, 10), (falls ? Found{0, at("file ") + row.finding} : yes()));
    }
}

TEST_F(ChecksOnNode, WhatHasBeenAddedIsFound)
{
    const std::wstring directory = make(L"dir\\");
    const std::wstring file = make(L"dir\\file");
    const std::pair<unsigned, int> pairs[] = {{0, 6}, {0, 10}, {1, 0}, {1, 1}, {1, 2}, {1, 3}, {1, 4},
                                              {1, 5}, {1, 6},  {2, 8}, {2, 9}, {3, 7}, {1, 10}};
    for (const auto& [wtype, ptype] : pairs) {
        SCOPED_TRACE(std::to_string(wtype) + ", " + std::to_string(ptype));
        const std::wstring path = wtype == 0 ? file : wtype == 2 ? key : directory;
        const std::string first = ptype == 10  ? "svc 0x001200A9"
                                  : wtype == 2 ? "S-1-1-0 0x00020039"
                                               : "S-1-5-32-544 0x001F01FF";
        describe({{L"dir", L"D:(A;OICI;FR;;;BA)"}, {L"dir\\file", L"D:"}});
        const Users users = {"svc", "Backup Operators"};
        EXPECT_EQ(grants(wtype, path, users, ptype),
                  (Found{0, std::string(path.begin(), path.end()) + " does not grant " + first}));
        const bool tree = wtype == 1;
        expectCases({{"add", adding(wtype, path, users, ptype, tree), 2}});
        plan();
        EXPECT_EQ(grants(wtype, path, users, ptype, tree), yes());
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
    std::wstring security = L"D:";
    for (const auto& [entry, missing] : accounts) {
        SCOPED_TRACE(missing);
        describe({{L"dir", security}});
        EXPECT_EQ(grants(1, directory, {".\\svc", "s-1-5-21-7-7-7-9", "NT AUTHORITY\\LocalService", "LocalSystem"}, 4),
                  (Found{0, at("dir does not grant ") + missing}));
        security += entry;
    }
    describe({{L"dir", security}});
    EXPECT_EQ(grants(1, directory, {".\\svc", "s-1-5-21-7-7-7-9", "NT AUTHORITY\\LocalService", "LocalSystem"}, 4),
              yes());
}

TEST_F(ChecksOnNode, TreesAreCheckedUntilOneObjectFallsShortOrCannotBeRead)
{
    make({L"a", L"b\\", L"b\\.fileid", L"b\\c\\", L"b\\c\\d", L"e"});
    constexpr wchar_t good[] = L"D:P(A;OICI;FRFX;;;svc)(A;OICI;FA;;;BA)";
    constexpr wchar_t bad[] = L"D:P(A;OICI;FR;;;svc)(A;OICI;FA;;;BA)";
    const auto reading = [](size_t object, DWORD code) { return failing("GetFileSecurityW", code, 2 * object - 1); };
    const struct
    {
        const char* what;
        Objects security; // besides that of the top
        intercept::Fault fault;
        Found found;
    } rows[] = {
        {"good", {{L"b\\.fileid", bad}}, {}, yes()},
        {"the first one", {{L"b\\c\\d", bad}, {L"e", bad}}, {}, {0, at("b\\c\\d does not grant svc 0x001200A9")}},
        {"a directory", {{L"b\\c", bad}, {L"b\\c\\d", good}}, {}, {0, at("b\\c does not grant svc 0x001200A9")}},
        {"unreadable", {{L"a", unreadable}}, {}, {3, API_FAILED("GetFileSecurityW"), "5"}},
        {"unlisted",
         {},
         failing("FindFirstFileW", ERROR_ACCESS_DENIED, 2),
         {3, "WSE-000065: Unable to iterate through files.", "5"}},
        {"half listed",
         {},
         failing("FindNextFileW", ERROR_ACCESS_DENIED, 3),
         {3, "WSE-000065: Unable to iterate through files.", "5"}},
        {"gone meanwhile", {{L"a", bad}}, reading(2, ERROR_FILE_NOT_FOUND), yes()},
        {"gone with all below", {{L"b\\c\\d", bad}}, reading(3, ERROR_PATH_NOT_FOUND), yes()},
        {"gone itself", {}, reading(1, ERROR_FILE_NOT_FOUND), {3, API_FAILED("GetFileSecurityW"), "2"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Objects described = row.security;
        described.emplace(L"", good);
        describe(described);
        fault = row.fault;
        EXPECT_EQ(grants(1, root, {"svc"}, 10, true), row.found);
    }
    describe({{L"", good}});
    fault = reading(2, ERROR_PATH_NOT_FOUND); // perhaps the whole path is too long
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(root);
    EXPECT_EQ(grants(1, L".", {"svc"}, 10, true), (Found{3, API_FAILED("GetFileSecurityW"), "3"}));
    std::filesystem::current_path(before);
    fault = {};
    describe({{L"", bad}, {L"a", good}});
    EXPECT_EQ(grants(0, root + L"\\a", {"svc"}, 10, true), yes()) << "a file has nothing below it";
    EXPECT_EQ(grants(0, root + L"\\b\\.fileid", {"svc"}, 10), yes()) << "is left alone when adding";
}

// ---- registry keys -------------------------------------------------------------------------------------------------

TEST_F(ChecksOnNode, KeysAreCheckedWithEveryKeyBelow)
{
    for (const wchar_t* const name : {L"a", L"a\\b", L"c"})
        world.registry().createKey(local, std::wstring(L"SOFTWARE\\Kestel\\") + name);
    world.registry().createKey(remote, L"SOFTWARE\\Kestel\\a");
    constexpr wchar_t good[] = L"D:P(A;CI;KA;;;BA)(A;CI;0x20039;;;WD)(A;CI;GA;;;svc)(A;CI;GA;;;svc2)";
    constexpr wchar_t bad[] = L"D:P(D;;KW;;;BA)(A;;KA;;;BA)(A;;KR;;;WD)";
    constexpr wchar_t closed[] = L"O:SYD:P(A;;KA;;;SY)";
    const std::string everyone = " does not grant S-1-1-0 0x00020039", noSvc = " does not grant svc 0x000F003F";
    const std::string top = "MACHINE\\SOFTWARE\\Kestel", a = top + "\\a", denied = " denies S-1-5-32-544 0x00020006";
    const auto found = [](const Lines& lines) { return Found{0, lines.front(), "", lines}; };
    const struct
    {
        const char* what;
        Objects security;
        intercept::Fault fault;
        Found found;
    } rows[] = {
        {"inherited", {{L"", good}}, {}, yes()},
        {"each account that falls short, each key before those below",
         {{L"", good}, {L"\\a", bad}, {L"\\a\\b", L"O:SY"}, {L"\\c", L"D:P(A;;KR;;;BA)"}},
         {},
         found({a + denied, a + everyone, a + noSvc, a + "\\b has no access-control list",
                top + "\\c does not grant S-1-5-32-544 0x000F003F", top + "\\c" + everyone, top + "\\c" + noSvc})},
        {"not opened", {{L"", good}, {L"\\a", closed}}, {}, found({a + " cannot be read (5)"})},
        {"not opened itself",
         {{L"", closed}},
         {},
         {3, "WSE-000010: Unable to open registry key SOFTWARE\\Kestel under MACHINE.", "5"}},
        {"gone before it is opened", {{L"", good}, {L"\\a", bad}}, failing("RegOpenKeyExW", 2, 2), yes()},
        {"gone before it is read", {{L"", good}, {L"\\c", bad}}, failing("RegGetKeySecurity", 1018, 7), yes()},
        {"not read", {{L"", good}}, failing("RegGetKeySecurity", 5, 3), found({a + " cannot be read (5)"})},
        {"not listed", {{L"", good}}, failing("RegEnumKeyExW", 5, 2), found({a + " cannot be read (5)"})},
        {"gone before it is listed", {{L"", good}}, failing("RegEnumKeyExW", 1018, 2), yes()},
        {"not read itself",
         {{L"", good}},
         failing("RegGetKeySecurity", 1018, 1),
         {3, "WSE-000066: Unable to get security information for object.", "1018"}},
        {"not listed itself", {{L"", bad}}, failing("RegEnumKeyExW", 5, 1), {3, API_FAILED("RegEnumKeyExW"), "5"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        describeKeys(row.security);
        fault = row.fault;
        EXPECT_EQ(keysGrant(key, {"svc"}, 9), row.found);
    }
    fault = {};
    describeKeys({{L"", bad}});
    EXPECT_EQ(keysGrant(key, {"svc"}, 9, false), (Found{0, top + denied})) << "nobody wants the others";
    describeKeys({{L"", good}});
    for (const std::wstring& node : {std::wstring(), std::wstring(L"\\\\DB2\\")})
        for (const std::wstring& path : {node + key, node + L"machine\\SOFTWARE\\Kestel\\", node + key + L"\\a"})
            EXPECT_EQ(keysGrant(path, {"svc"}, 9), yes()) << PrintToString(path);
    EXPECT_EQ(grants(2, key, {"svc"}, 9, true), yes());
    for (const wchar_t* const path : {L"CONFIG\\x", L"PERFORMANCE_DATA\\x", L"HKLM\\x", L"MACHINE", L"\\\\DB2",
                                      L"\\\\DB2\\CLASSES_ROOT\\x", L"\\\\DB2\\CURRENT_USER\\x"})
        EXPECT_EQ(keysGrant(path, {"nobody"}, 9), (Found{4, "WSE-000012: Null or invalid Registry Path parameter."}));
    EXPECT_EQ(keysGrant(L"\\\\nowhere\\MACHINE\\x", {}, 8).message,
              "WSE-000044: Unable to open registry on remote node.");
}

// ---- what users may really do --------------------------------------------------------------------------------------

TEST_F(ChecksOnNode, UsersAreAllowedWhatTheirGroupsAndTheOwnerAre)
{
    const std::wstring file = make(L"file");
    const std::wstring service = L"S-1-5-80-1-2-3-4-5";
    local.memberPiece = 1;
    addGroup(local, L"KES_OUTER", {addGroup(local, L"KES_NESTED", {operators, service}).sid});
    name(L"nested", local.groups[local.groups.size() - 2].sid);
    name(L"outer", local.groups.back().sid);
    name(L"dbuser", dbuser);
    name(L"service", service);
    const std::wstring owner = L"O:" + svc;
    const struct
    {
        std::wstring security;
        const char* user;
        DWORD mask;
        const char* finding; // "" for none
    } rows[] = {
        {L"O:BAG:SYD:(A;;FA;;;svc)", "svc", GENERIC_ALL, ""},
        {L"O:BAG:SYD:(A;;FR;;;svc)", "svc", GENERIC_READ | GENERIC_EXECUTE, "0x00120089 of 0x001200A9"},
        {L"O:BAG:SYD:(A;;FA;;;BA)", "svc", FILE_READ_DATA, "0x00000000 of 0x00000001"},
        {L"O:BAG:SYD:", "svc", DELETE | FILE_READ_DATA, "0x00000000 of 0x00010001"},
        {L"O:BAG:SYD:(A;;FR;;;AU)(A;;FX;;;WD)", "svc", GENERIC_READ | GENERIC_EXECUTE, ""},
        {L"O:BAG:SYD:(D;;FW;;;svc)(A;;FA;;;svc)", "svc", GENERIC_ALL, "0x000D00E9 of 0x001F01FF"},
        {L"O:BAG:SYD:(A;;FA;;;svc)(D;;FW;;;svc)", "svc", GENERIC_ALL, ""},
        {L"O:BAG:SYD:(D;;0x1;;;nested)(A;;FA;;;dbuser)", "CORP\\dbuser", FILE_ALL_ACCESS, "0x001F01FE of 0x001F01FF"},
        {L"O:BAG:SYD:(A;;FR;;;outer)", "CORP\\dbuser", GENERIC_READ, ""},
        {L"O:BAG:SYD:(A;OICIIO;FR;;;svc)", "svc", GENERIC_READ, "0x00000000 of 0x00120089"},
        {owner + L"G:SYD:(A;;RC;;;BA)", "svc", READ_CONTROL | WRITE_DAC, ""},
        {owner + L"G:SYD:(A;;RC;;;S-1-3-4)(A;;RC;;;BA)", "svc", READ_CONTROL | WRITE_DAC, "0x00020000 of 0x00060000"},
        // what only tokens know
        {L"O:BAG:SYD:(A;;FR;;;BU)(A;;FX;;;SU)", "S-1-5-80-1-2-3-4-5", GENERIC_READ | GENERIC_EXECUTE, ""},
        {L"O:BAG:SYD:(A;;0x1;;;S-1-5-80-0)(A;;0x2;;;nested)(A;;0x4;;;outer)", "S-1-5-80-1-2-3-4-5", 7, ""},
        {L"O:BAG:SYD:(A;;0x1;;;AU)(A;;0x2;;;BA)(A;;0x4;;;WD)", "LocalSystem", 7, ""},
        {L"O:BAG:SYD:(A;;0x1;;;AU)(A;;0x2;;;BA)(A;;0x4;;;S-1-5-80-0)", "NT AUTHORITY\\LocalService", 7,
         "0x00000001 of 0x00000007"},
        {L"O:BAG:SYD:(A;;0x1;;;NS)(A;;0x2;;;SU)", "NT AUTHORITY\\NetworkService", 3, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.user) + PrintToString(row.security));
        describe({{L"file", row.security}});
        const std::string line = at("file allows ") + row.user + ' ' + row.finding;
        EXPECT_EQ(allows(0, file, {row.user}, row.mask), (*row.finding ? Found{0, line, "", {line}} : yes()));
    }
    describe({{L"file", L"O:BAG:SYD:"}});
    const std::string both[] = {at("file allows .\\svc 0x00000000 of 0x00000001"),
                                at("file allows CORP\\dbuser 0x00000000 of 0x00000001")};
    const Users named = {".\\svc", "CORP\\dbuser", "svc", svcText.c_str()};
    EXPECT_EQ(allows(0, file, named, 1), (Found{0, both[0], "", {both[0], both[1]}})) << "each account once";
    EXPECT_EQ(allows(0, file, named, 1, false, false), (Found{0, both[0]}));
    for (const char* const group : {"KES_OUTER", "S-1-5-32-544", "Everyone", "CORP\\Operators", "S-1-5-80-0"})
        EXPECT_EQ(allows(0, file, {"svc", group}, 1),
                  (Found{4, "WSE-000063: Input arguments are invalid. Internal error : Not a user account."}));
}

TEST_F(ChecksOnNode, UsersAreAskedForBelowAsFarAsThereIsSomethingToRead)
{
    make({L"a", L"b\\", L"b\\c", L"d\\", L"d\\.VLFS", L"d\\e"});
    world.registry().createKey(local, L"SOFTWARE\\Kestel\\a");
    constexpr wchar_t good[] = L"O:SYG:SYD:P(A;OICI;FA;;;svc)(A;OICI;FA;;;BA)";
    constexpr wchar_t bad[] = L"O:SYG:SYD:P(A;OICI;FR;;;svc)(A;OICI;FA;;;BA)";
    const std::string lacks = " allows svc 0x00000001 of 0x00000003";
    const struct
    {
        const char* what;
        Objects security;
        intercept::Fault fault;
        Lines findings; // below the top; one alone with '!': the message of a failure
        const char* osError = "";
    } rows[] = {
        {"all", {{L"", good}, {L"d\\.VLFS", bad}}, {}, {}},
        {"some", {{L"", bad}, {L"d", good}}, {}, {lacks, "\\a" + lacks, "\\b" + lacks, "\\b\\c" + lacks}},
        {"unreadable",
         {{L"", good}, {L"a", unreadable}, {L"d\\e", bad}},
         {},
         {"\\a cannot be read (5)", "\\d\\e" + lacks}},
        {"unlisted and short",
         {{L"", good}, {L"b", bad}},
         failing("FindFirstFileW", 5, 2),
         {"\\b cannot be read (5)", "\\b" + lacks}},
        {"neither listed nor read",
         {{L"", good}, {L"b", unreadable}},
         failing("FindFirstFileW", 5, 2),
         {"\\b cannot be read (5)"}},
        {"not to be judged", {{L"", good}}, failing("AuthzAccessCheck", 87, 2), {"\\a cannot be read (87)"}},
        {"gone", {{L"", good}, {L"b", bad}, {L"b\\c", bad}}, failing("GetNamedSecurityInfoW", 3, 3), {}},
        {"unreadable itself", {{L"", unreadable}}, {}, {"!WSE-000065: Unable to iterate through files."}, "5"},
        {"unlisted itself",
         {{L"", bad}},
         failing("FindFirstFileW", 5, 1),
         {"!WSE-000065: Unable to iterate through files."},
         "5"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        describe(row.security);
        fault = row.fault;
        Found expected = yes();
        if (!row.findings.empty() && row.findings[0][0] == '!')
            expected = {3, row.findings[0].substr(1), row.osError};
        else if (!row.findings.empty())
            expected = {0, ""};
        for (const std::string& line : row.findings)
            if (expected.status == 0)
                expected.findings.push_back(narrowRoot + line);
        if (expected.status == 0)
            expected.message = expected.findings.front();
        EXPECT_EQ(allows(1, root, {"svc"}, 3, true), expected);
    }
    fault = {};
    const std::string top = "MACHINE\\SOFTWARE\\Kestel", lacksKey = " allows svc 0x00020019 of 0x000F003F";
    describeKeys({{L"", L"O:SYG:SYD:P(A;CI;KR;;;svc)(A;CI;KA;;;BA)"}});
    EXPECT_EQ(allows(2, key, {"svc"}, KEY_ALL_ACCESS), (Found{0, top + lacksKey, "", {top + lacksKey}}));
    EXPECT_EQ(allows(2, key, {"svc"}, GENERIC_ALL, true),
              (Found{0, top + lacksKey, "", {top + lacksKey, top + "\\a" + lacksKey}}));
    EXPECT_EQ(allows(2, key, {"svc"}, GENERIC_READ, true), yes());
    EXPECT_EQ(allows(2, L"CONFIG\\x", {"svc"}, 1, true).message,
              "WSE-000012: Null or invalid Registry Path parameter.");
}

TEST_F(ChecksOnNode, ArgumentsAreRefusedInTheirOrder)
{
    char svcName[] = "svc";
    char* one[] = {svcName};
    char* none[] = {nullptr};
    char** list = nullptr;
    int count = 0;
    const auto grantsTo = EXPORT(sswseCheckACLOnObjectForUser);
    const auto keysGrantTo = EXPORT(sswseCheckACLsOnReg);
    const auto allowsTo = EXPORT(sswseCheckACLsOnObject);
    constexpr BYTE no = 0;
    expectRefused("usernames", {calling(grantsTo, 2u, "x", nullptr, 0, 10, no),
                                calling(allowsTo, 1u, "x", nullptr, 0, 1ul, no, nullptr, nullptr)});
    for (const DWORD mask : {0ul, 0x01000001ul, 0x02000001ul})
        expectRefused("mask", {calling(allowsTo, 1u, "x", one, 1, mask, no, &list, nullptr)});
    constexpr char mismatch[] = "WSE-000063: Input arguments are invalid. Internal error : Windows object type and ";
    expectCases({{"object and permission type", calling(grantsTo, 1u, "x", one, 1, 9, no), 4, mismatch},
                 {"permission type of keys", calling(keysGrantTo, "x", one, 1, 6, &list, &count), 4, mismatch},
                 {"object type", calling(allowsTo, 4u, nullptr, none, 1, 0ul, no, &list, nullptr), 4,
                  "WSE-000064: Internal error : Unsupported permission type."}});
}
