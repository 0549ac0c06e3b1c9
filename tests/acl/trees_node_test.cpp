// Trees of real files, secured for users on a node that holds their security.
#include "tests/acl/on_node.h"

using namespace acl;
using namespace support;
using namespace testing;

namespace {

constexpr char readFailed[] = API_FAILED("GetFileSecurityW");
constexpr char writeFailed[] = API_FAILED("SetFileSecurityW");
constexpr char listFailed[] = API_FAILED("FindFirstFileW");

class TreesOnNode : public OnNode
{
protected:
    TreesOnNode() { describe({{L"", top}}); }

    void secure(DWORD status, const char* message = "", const char* osError = "")
    {
        sswseErrRec rec = {};
        EXPECT_EQ(adding(1, root, {"svc"}, 1, true)(&rec), status);
        EXPECT_EQ(messageOf(rec), message);
        EXPECT_STREQ(rec.oserror, osError);
    }

    const std::wstring topAfter = sddl(L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;svc)(A;OICI;FR;;;BU)");
    const std::wstring directory = sddl(L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;svc)(A;OICIID;FR;;;BU)");
    const std::wstring file = sddl(L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;svc)(A;ID;FR;;;BU)");
};

} // namespace

// Per object two reads and one write; per child its attributes, per directory a listing. Nothing more, and no more
// memory.
TEST_F(TreesOnNode, OfManyEntriesTakeThePlatformCallsThatTheyMustAndTheMemoryOfOne)
{
    static long blocks;
    static long most;
    library.redirect(
        "malloc", +[](size_t size) { return most = std::max(most, ++blocks), malloc(size); });
    library.redirect(
        "calloc", +[](size_t n, size_t size) { return most = std::max(most, ++blocks), calloc(n, size); });
    library.redirect(
        "free", +[](void* block) { blocks -= block != nullptr, free(block); });
    make({L"dir\\", L"dir\\.fileid\\", L"dir\\.fileid\\in"});
    Objects expected = {{L"", topAfter}, {L"dir", directory}};
    constexpr long files = 20, directories = 2, objects = files + directories;
    for (int i = 0; i < files; ++i) {
        const std::wstring below = L"dir\\" + std::to_wstring(i);
        make(below);
        expected[below] = file;
    }
    expectCases({{"alone", adding(1, root, {"svc"}, 1), 2}});
    EXPECT_THAT(written(), SizeIs(1));
    const long ofOne = most;
    describe({{L"", top}});
    interception.start({});
    secure(2);
    std::map<std::string, long> calls;
    for (const intercept::Trail::Call& call : interception.finish().calls)
        ++calls[call.row->name];
    EXPECT_EQ(written(), expected);
    EXPECT_EQ(most, ofOne);
    EXPECT_EQ(calls["GetFileSecurityW"], 2 * objects);
    EXPECT_EQ(calls["SetFileSecurityW"], objects);
    EXPECT_EQ(calls["GetFileAttributesW"], objects - 1);
    EXPECT_EQ(calls["FindFirstFileW"], directories);
    EXPECT_EQ(calls["FindNextFileW"], objects + 2 * directories); // the reserved name; "..", the end
    EXPECT_EQ(calls["LookupAccountNameW"], 2) << "once for the whole tree";
    secure(2);
    EXPECT_THAT(written(), IsEmpty()) << "all is as it shall be";
}

TEST_F(TreesOnNode, AreSecuredFortyLevelsDownWhateverTheNames)
{
    std::wstring deep;
    for (int level = 1; level <= 40; ++level)
        make(deep += L"a\\");
    const std::wstring other = L"\x0416\x4e2d"; // not in the code page
    make({deep + L"file", other, other + L"2\\", other + L"2\\\xD83D\xDE00", L"...x", L".securit\xEFy", L".vlfs2\\"});
    make({L".VLFS", L".fileID\\", L".fileID\\x", other + L"2\\.sEcUrItY\\", other + L"2\\.sEcUrItY\\x"}); // reserved
    secure(2);
    const auto objects = written();
    EXPECT_THAT(objects, SizeIs(1 + 40 + 7));
    EXPECT_THAT(objects, Contains(Pair(deep + L"file", file)));
    EXPECT_THAT(objects, Contains(Pair(other + L"2\\\xD83D\xDE00", file)));
    expectCases({{"also when it is named itself", adding(0, root + L"\\.VLFS", {"svc"}, 6), 2}});
    EXPECT_THAT(written(), IsEmpty());
}

// A directory whose search pattern takes more than 259 characters is not listed. A child whose path does is taken for a
// directory that cannot be read.
TEST_F(TreesOnNode, AreLeftAloneWherePathsAreTooLong)
{
    const std::wstring base = std::wstring(257 - root.size() - 2 - 99, L'l') + L'\\';
    const std::wstring listed = base + std::wstring(99, L'm') + L'\\';
    const std::wstring unlisted = base + std::wstring(100, L'n');
    make({base, listed, listed + L"f", unlisted + L'\\', unlisted + L"\\f"});
    secure(2, listFailed, "206");
    const auto objects = written();
    EXPECT_THAT(objects, SizeIs(1 + 4));
    EXPECT_THAT(objects, Contains(Pair(listed + L"f", file)));
    EXPECT_THAT(objects, Contains(Pair(unlisted, directory)));
    make({listed + L"ff"});
    secure(3, readFailed, "3");
}

// Without access an object is skipped, but not the first. Other failures end the directory that a file lies in, or the
// walk when they are a directory's, as does an object that cannot be reached behind one that was skipped.
TEST_F(TreesOnNode, AreSecuredAroundObjectsOutOfReach)
{
    const std::wstring all[] = {L"", L"a", L"b", L"b\\c", L"b\\c\\d", L"b\\e", L"f"}; // in the order of the walk
    make({L"a", L"b\\", L"b\\c\\", L"b\\c\\d", L"b\\e", L"f"});
    constexpr DWORD other = ERROR_SHARING_VIOLATION;
    constexpr auto reading = [](size_t object) { return failing("GetFileSecurityW", other, 2 * object - 1); };
    constexpr auto writing = [](size_t object) { return failing("SetFileSecurityW", other, object); };
    const struct
    {
        const char* what;
        Objects outOfReach;
        intercept::Fault fault;
        DWORD status;
        const char* message;
        const char* secured; // "x" for each object that is
    } rows[] = {
        {"a file without access", {{L"a", unreadable}}, {}, 2, readFailed, "x xxxxx"},
        {"directories are listed all the same",
         {{L"b", unwritable}, {L"b\\c", unwritable}},
         {},
         2,
         writeFailed,
         "xx  xxx"},
        {"the last one is reported", {{L"b\\c\\d", unwritable}, {L"f", unreadable}}, {}, 2, readFailed, "xxxx x "},
        {"unreadable itself", {{L"", unreadable}}, {}, 3, readFailed, "       "},
        {"unwritable itself", {{L"", unwritable}}, {}, 3, writeFailed, "       "},
        {"a failing file ends its directory only", {}, reading(5), 2, readFailed, "xxxx xx"},
        {"a failing file ends the walk", {}, writing(2), 2, writeFailed, "x      "},
        {"a failing directory is the status", {}, reading(4), 3, readFailed, "xxx    "},
        {"a failure after one skipped", {{L"a", unreadable}}, writing(2), 3, writeFailed, "x      "},
        {"an unknown kind", {}, failing("GetFileAttributesW", other, 1), 2, "", "xxxxxxx"}, // is a directory
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Objects described = row.outOfReach;
        described.emplace(L"", top);
        describe(described);
        interception.start(row.fault);
        secure(row.status, row.message, !*row.message ? "" : row.fault.function ? "32" : "5");
        EXPECT_THAT(interception.finish().balance, IsEmpty());
        std::string secured;
        const Objects objects = written();
        for (const std::wstring& name : all)
            secured += objects.count(name) ? 'x' : ' ';
        EXPECT_EQ(secured, row.secured);
    }
}
