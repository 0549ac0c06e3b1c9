// Trees of real files on a node that holds their security: access added, revoked, copied and checked, whatever is out
// of reach; keys, whose entries are inherited; the group of the service SIDs.
#include "tests/acl/on_node.h"

using namespace acl;
using namespace support;
using namespace testing;

namespace {

// Behind a status.
const std::string readFailed = " " API_FAILED("GetFileSecurityW");
const std::string writeFailed = " " API_FAILED("SetFileSecurityW");
const std::string listFailed = " WSE-000065: Unable to iterate through files.";

class Trees : public OnNode
{
protected:
    void describeKeys(const std::wstring& above, const std::wstring& own, const wchar_t* name = L"")
    {
        describe({}, {{name, own}});
        local.security[L"registry HKLM\\SOFTWARE"] = sddl(above);
    }

    const std::string addTo = "AddACLOnObjectForUser wtype=1 ptype=1 usernames=svc inheritable=1 path=";
    const std::string revokeFrom = "RevokeACLOnObjectForUser wtype=1 inheritable=1 usernames=S-1-5-32-545 path=";
    const std::string copyFrom = "CopyPermissionsFromParentToChildren path=";
    const std::string checkOf = "CheckACLOnObjectForUser wtype=1 ptype=10 usernames=svc inheritable=1 path=";
    const std::string add = addTo + narrowRoot, revoke = revokeFrom + narrowRoot, check = checkOf + narrowRoot;
};

} // namespace

TEST_F(Trees, OfManyObjectsTakeTheMemoryOfFewAndNoWriteTheSecondTime)
{
    static long blocks;
    static long most;
    library.redirect(
        "malloc", +[](size_t size) { return most = std::max(most, ++blocks), malloc(size); });
    library.redirect(
        "calloc", +[](size_t n, size_t size) { return most = std::max(most, ++blocks), calloc(n, size); });
    library.redirect(
        "free", +[](void* block) { blocks -= block != nullptr, free(block); });
    make({L"dir\\", L"dir\\.fileid\\", L"dir\\.fileid\\in", L"empty\\"});
    constexpr size_t files = 20;
    for (size_t i = 0; i < files; ++i)
        make(L"dir\\" + std::to_wstring(i));
    const std::wstring added = L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;svc)";
    const struct
    {
        std::string ofFew, ofAll;
        std::wstring dir, file; // afterwards
        size_t objects;
    } rows[] = {
        {add + "\\empty", add, added + L"(A;;0x1;;;BO)(A;OICIID;FR;;;BU)", added + L"(A;ID;FR;;;BU)", files + 3},
        {revoke + "\\empty", revoke, L"D:AI(A;;0x1;;;BO)(A;OICIID;FA;;;BA)", L"D:AI(A;ID;FA;;;BA)", files + 3},
        {copyFrom + narrowRoot + "\\empty", copyFrom + narrowRoot, L"D:AI(A;OICI;FA;;;BA)(A;OICI;FR;;;BU)",
         L"D:AI(A;OICI;FA;;;BA)(A;OICI;FR;;;BU)", files + 2},
    };
    for (const auto& row : rows) {
        describe({{L"", L"D:PAI(A;OICI;FA;;;BA)(A;OICI;FR;;;BU)"},
                  {L"dir", L"D:AI(A;;0x1;;;BO)(A;OICIID;FA;;;BA)(A;OICIID;FR;;;BU)"}});
        expectAnswers({{row.ofFew, "2"}});
        const long ofFew = std::exchange(most, 0);
        written();
        local.security.erase(L"file " + root + L"\\empty");
        expectAnswers({{row.ofAll, "2"}});
        EXPECT_LE(most, ofFew + 3);
        const Objects after = written();
        EXPECT_THAT(after, SizeIs(row.objects));
        EXPECT_THAT(after, Contains(Pair(L"dir", sddl(row.dir))));
        EXPECT_THAT(after, Contains(Pair(L"dir\\1", sddl(row.file))));
        expect({{row.ofAll, "2"}});
    }
}

TEST_F(Trees, AreSecuredFortyLevelsDownWhateverTheNames)
{
    std::wstring deep;
    for (int level = 1; level <= 40; ++level)
        make(deep += L"a\\");
    const std::wstring other = L"\x0416\x4e2d"; // not in the code page
    make({deep + L"file", other, other + L"2\\", other + L"2\\\xD83D\xDE00", L"...x", L".securit\xEFy", L".vlfs2\\"});
    make({L".VLFS", L".fileID\\", L".fileID\\x", other + L"2\\.sEcUrItY\\", other + L"2\\.sEcUrItY\\x"}); // reserved
    describe({{L"", top}});
    expectAnswers({{add, "2"}});
    const auto objects = written();
    EXPECT_THAT(objects, SizeIs(1 + 40 + 7));
    EXPECT_EQ(objects.count(deep + L"file") + objects.count(other + L"2\\\xD83D\xDE00"), 2u);
    expect({{"AddACLOnObjectForUser wtype=0 ptype=6 usernames=svc path=" + narrowRoot + "\\.VLFS", "2"},
            {"CheckACLOnObjectForUser wtype=0 ptype=6 usernames=svc path=" + narrowRoot + "\\.VLFS", "1"}});
    const std::string revokeAt = "RevokeACLOnObjectForUser usernames=S-1-5-32-545 inheritable=1 path=" + narrowRoot;
    expectAnswers({{revokeAt + "\\.VLFS wtype=0", "2"}, {revokeAt + "\\.fileID wtype=1", "2"}});
    EXPECT_THAT(written(), ElementsAre(Key(L".fileID\\x")));
    expectAnswers({{revokeAt + " wtype=3", "2"}}); // of groups only: nothing below
    EXPECT_THAT(written(), SizeIs(1));
}

TEST_F(Trees, OfOthersAreEnteredWhereTheyAreNamed)
{
    make({L"link\\", L"link\\in"});
    static DWORD linkTag;
    library.redirect(
        "FindNextFileW", +[](HANDLE search, LPWIN32_FIND_DATAW entry) -> BOOL {
            const BOOL found = FindNextFileW(search, entry);
            if (found && wcscmp(entry->cFileName, L"link") == 0) {
                entry->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
                entry->dwReserved0 = linkTag;
            }
            return found;
        });
    for (const auto& [tag, changed] :
         {std::pair(DWORD{IO_REPARSE_TAG_MOUNT_POINT}, "xx "), {IO_REPARSE_TAG_SYMLINK, "xx "}, {0x80000013, "xxx"}}) {
        linkTag = tag;
        describe({{L"", top}});
        expectAnswers({{revoke, "2"}});
        EXPECT_EQ(marked({L"", L"link", L"link\\in"}), changed) << tag;
        describe({{L"", top}});
        expectAnswers({{revoke + "\\link", "2"}});
        EXPECT_EQ(marked({L"", L"link", L"link\\in"}), " xx");
    }
}

// A directory whose search pattern takes more than 259 characters is not listed. A child whose path does cannot be
// read, and has not gone.
TEST_F(Trees, AreLeftAloneWherePathsAreTooLong)
{
    const std::wstring base = std::wstring(257 - root.size() - 2 - 99, L'l') + L'\\';
    const std::wstring listed = base + std::wstring(99, L'm') + L'\\';
    const std::wstring unlisted = base + std::wstring(100, L'n');
    make({base, listed, listed + L"f", unlisted + L'\\', unlisted + L"\\f"});
    describe({{L"", top}});
    expectAnswers({{add, "2 " API_FAILED("FindFirstFileW") " 206"}});
    EXPECT_EQ(marked({listed + L"f", unlisted, unlisted + L"\\f"}), "xx ");
    describe({{L"", top}});
    expectAnswers({{revoke, "3" + listFailed + " 206"}});
    EXPECT_EQ(marked({listed + L"f", unlisted, unlisted + L"\\f"}), "xx ");
    make(listed + L"ff");
    describe({{L"", top}});
    expectAnswers({{add, "3" + readFailed + " 3"}, {revoke, "3" + readFailed + " 3"}});
}

// When access is added, an object without access is skipped, but not the first; other failures end the directory that a
// file lies in, or the walk when they are a directory's, as does an object that cannot be reached behind one that was
// skipped. Revoking goes on and tells the first failure. A check ends with it, as with the first object that falls
// short.
TEST_F(Trees, AreWalkedAroundObjectsOutOfReach)
{
    make({L"a", L"b\\", L"b\\.fileid", L"b\\c\\", L"b\\c\\d", L"b\\e", L"f"});
    constexpr wchar_t good[] = L"D:P(A;OICI;FRFX;;;svc)(A;OICI;FA;;;BA)(A;OICI;FR;;;BU)";
    constexpr wchar_t bad[] = L"D:P(A;OICI;FR;;;svc)(A;OICI;FA;;;BA)";
    constexpr DWORD other = ERROR_SHARING_VIOLATION, gone = ERROR_FILE_NOT_FOUND, noPath = ERROR_PATH_NOT_FOUND;
    const auto reading = [](size_t object, DWORD code) { return failing("GetFileSecurityW", code, 2 * object - 1); };
    const auto writing = [](size_t object, DWORD code) { return failing("SetFileSecurityW", code, object); };
    const auto listing = [](size_t directory, DWORD code) { return failing("FindFirstFileW", code, directory); };
    const auto lacking = [&](const char* name) {
        return "0 WSE-00004: " + narrowRoot + name + " does not grant svc 0x001200A9.";
    };
    const struct
    {
        const char* what;
        const std::string& call;
        Objects outOfReach;
        intercept::Fault fault;
        std::string answer;
        const char* changed; // "x" for each object that is, in the order of the walk
    } rows[] = {
        {"a file without access", add, {{L"a", unreadable}}, {}, "2" + readFailed + " 5", "x xxxxx"},
        {"still listed", add, {{L"b", unwritable}, {L"b\\c", unwritable}}, {}, "2" + writeFailed + " 5", "xx  xxx"},
        {"the last one", add, {{L"b\\c\\d", unwritable}, {L"f", unreadable}}, {}, "2" + readFailed + " 5", "xxxx x "},
        {"unreadable itself", add, {{L"", unreadable}}, {}, "3" + readFailed + " 5", "       "},
        {"unwritable itself", add, {{L"", unwritable}}, {}, "3" + writeFailed + " 5", "       "},
        {"a failing file ends its directory only", add, {}, reading(5, other), "2" + readFailed + " 32", "xxxx xx"},
        {"a failing file ends the walk", add, {}, writing(2, other), "2" + writeFailed + " 32", "x      "},
        {"a failing directory is the status", add, {}, reading(4, other), "3" + readFailed + " 32", "xxx    "},
        {"after one skipped", add, {{L"a", unreadable}}, writing(2, other), "3" + writeFailed + " 32", "x      "},
        {"an unknown kind", add, {}, failing("GetFileAttributesW", other, 1), "2", "xxxxxxx"}, // is a directory

        {"the first one", revoke, {{L"a", unwritable}, {L"f", unreadable}}, {}, "3" + writeFailed + " 5", "x xxxx "},
        {"the start", revoke, {{L"", unwritable}}, {}, "3" + writeFailed + " 5", "       "},
        {"the start is not there", revoke, {}, reading(1, gone), "3" + readFailed + " 2", "       "},
        {"a file has gone", revoke, {}, reading(2, gone), "2", "x xxxxx"},
        {"it went while it was read", revoke, {}, writing(2, noPath), "2", "x xxxxx"},
        {"a directory has gone", revoke, {}, reading(3, noPath), "2", "xx    x"},
        {"not listed", revoke, {}, listing(2, ERROR_ACCESS_DENIED), "3" + listFailed + " 5", "xxx   x"},
        {"not found by its listing", revoke, {}, listing(3, noPath), "3" + listFailed + " 3", "xxxx xx"},
        {"empty", revoke, {}, listing(3, gone), "2", "xxxx xx"},

        {"all", check, {{L"b\\.fileid", bad}}, {}, "1", ""},
        {"the first one", check, {{L"b\\c\\d", bad}, {L"f", bad}}, {}, lacking("\\b\\c\\d"), ""},
        {"a directory", check, {{L"b\\c", bad}, {L"b\\c\\d", good}}, {}, lacking("\\b\\c"), ""},
        {"gone meanwhile", check, {{L"a", bad}}, reading(2, gone), "1", ""},
        {"gone with all below", check, {{L"b\\c\\d", bad}}, reading(3, noPath), "1", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Objects described = row.outOfReach;
        described.emplace(L"", &row.call == &check ? good : top);
        describe(described);
        expectAnswers({{row.call, row.answer, {}, row.fault}});
        const std::string changed = marked({L"", L"a", L"b", L"b\\c", L"b\\c\\d", L"b\\e", L"f"});
        EXPECT_EQ(changed, *row.changed ? row.changed : "       ");
    }
    describe({{L"", good}}); // perhaps the whole path is too long
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(root);
    expect({{checkOf + ".", "3" + readFailed + " 3", {}, reading(2, noPath)}});
    std::filesystem::current_path(before);
    describe({{L"", bad}, {L"a", good}}); // a file has nothing below it
    expect({{"CheckACLOnObjectForUser wtype=0 ptype=10 usernames=svc inheritable=1 path=" + narrowRoot + "\\a", "1"}});
    expectAnswers({{copyFrom + "\\\\?\\" + narrowRoot, "2", {}, reading(2, noPath)}}); // no path is too long for it
}

TEST_F(Trees, CopiesAreExact)
{
    const std::string copy = copyFrom + make(L"dir\\");
    make({L"dir\\file", L"dir\\open", L"dir\\same"});
    constexpr wchar_t odd[] = L"D:AI(D;;0x1;;;BG)(A;NP;0x2;;;BO)(A;ID;0x3;;;BU)(A;OICIIO;GA;;;CO)(A;;FA;;;BA)";
    describe({{L"dir", odd}, {L"dir\\file", L"D:P(A;;FA;;;SY)"}, {L"dir\\open", L"O:SY"}, {L"dir\\same", odd}});
    expectAnswers({{copy + '\\', "2"}});
    EXPECT_THAT(written(), ElementsAre(Pair(L"dir\\file", sddl(L"D:P" + std::wstring(odd + 4))),
                                       Pair(L"dir\\open", sddl(L"O:SYD:" + std::wstring(odd + 4)))));
    describe({{L"dir", L"D:NO_ACCESS_CONTROL"}, {L"dir\\file", unreadable}});
    expect({{copy, "3 WSE-000066 1350"},
            {copy + "\\file", "4 WSE-000063: Input arguments are invalid. Internal error : Not a directory."},
            {copy + "\\none", "3" + readFailed + " 2"}});
}

TEST_F(Trees, OfKeysKeepWhatTheyInherit)
{
    constexpr wchar_t ofSvc[] = L"D:P(A;CI;KR;;;svc)";
    describeKeys(ofSvc, L"D:AI(D;;KR;;;svc)(A;;KA;;;BU)(A;;KA;;;svc)(A;CIID;KR;;;svc)");
    const std::string revokeOn = "RevokeACLOnObjectForUser wtype=2 path=MACHINE\\SOFTWARE\\Kestel ";
    const Asked twice = {revokeOn + "usernames=BUILTIN\\Users usernames=.\\svc",
                         "2 WSE-00004: MACHINE\\SOFTWARE\\Kestel still inherits .\\svc."};
    expectAnswers({twice});
    EXPECT_THAT(written(), ElementsAre(Pair(_, sddl(L"D:AI(D;;KR;;;svc)(A;CIID;KR;;;svc)"))));
    expect({twice, {revokeOn + "usernames=S-1-5-19", "2"}});
    describeKeys(ofSvc, L"D:PAI(A;;KA;;;svc)(A;;KR;;;BU)");
    expectAnswers({{revokeOn + "usernames=svc usernames=S-1-5-32-545", "2"}});
    EXPECT_THAT(written(), ElementsAre(Pair(_, sddl(L"D:PAI"))));
    char nobody[] = "nobody";
    char* users[] = {nobody, nullptr};
    expectRefused("usernames", {calling(EXPORT(sswseRevokeACLOnObjectForUser), 1u, "x", users, 2, BYTE{0})});
    expect({{"RevokeACLOnObjectForUser wtype=4 path=x", "4 WSE-000064"}});
}

TEST_F(Trees, OfKeysGetTheGroupOfTheServiceSidsOnce)
{
    const std::string addOn = "AddFullPermForSVCSIDSGroup inheritable=1 wtype=",
                      toKey = addOn + "2 path=MACHINE\\SOFTWARE\\Kestel\\KEY_keswsec_test";
    record(local, "KESTEL_HOME_NAME", "h1");
    expect({{addOn + "1 path=x", "3 WSE-000014 1332"}, {addOn + "3 path=x", "4 WSE-000064"}}); // no group, groups only
    const std::wstring group = L";;;" + addGroup(local, L"KES_h1_SVCSIDS").sid + L')';
    const std::wstring admins = L"(A;;KA;;;BA)"; // who read the home's name
    const struct
    {
        std::wstring before, after; // "" for none
    } keys[] = {
        {L"D:PAI(A;;KR;;;BU)(A;ID;KR" + group + admins, L"D:PAI(A;OICI;KA" + group + L"(A;;KR;;;BU)" + admins},
        {L"D:(A;;KR;;;BU)(A;OICI;KR" + group + admins, L"D:AI(A;OICI;KA" + group + L"(A;;KR;;;BU)" + admins},
        {L"D:P(D;;0x1" + group + L"(A;OICI;KA" + group + admins, L"D:PAI(A;OICI;KA" + group + admins},
        {L"D:P(A;;KR;;;BU)(A;OICI;KA" + group + admins, L""},
        {L"D:P(A;;KA" + group + L"(A;CIIO;GA" + group + admins, L""},
        {L"D:P(A;;KA" + group + L"(A;CINPIO;GA" + group + admins, L"D:PAI(A;OICI;KA" + group + admins},
        {L"D:NO_ACCESS_CONTROL", L""},
    };
    for (const auto& row : keys) {
        describeKeys(L"D:P(A;;KA;;;SY)", row.before, L"\\KEY_keswsec_test");
        expectAnswers({{toKey, "2"}});
        const Objects objects = written();
        EXPECT_EQ(objects.empty() ? L"" : objects.begin()->second, row.after.empty() ? L"" : sddl(row.after));
        expect({{toKey, "2"}});
    }
}
