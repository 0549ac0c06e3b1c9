// Trees of real files, secured for users on a node that holds their security.
#include "tests/acl/held_security.h"
#include "tests/acl/on_node.h"
#include "tests/support/cases.h"

#include <malloc.h>
#include <set>

using acl::OnNode;
using testing::Contains;
using testing::IsEmpty;
using testing::Key;
using testing::Not;
using testing::Pair;
using testing::SizeIs;

namespace {

constexpr wchar_t top[] = L"D:P(A;OICI;FR;;;BU)";
constexpr wchar_t unreadable[] = L"O:SYD:P(A;OICI;FA;;;SY)";
constexpr wchar_t unwritable[] = L"O:SYD:P(A;OICI;FR;;;BU)";

const char* const readFailed = acetext::failed("GetFileSecurityW");
const char* const writeFailed = acetext::failed("SetFileSecurityW");
const char* const listFailed = acetext::failed("FindFirstFileW");

std::wstring repeated(wchar_t character, size_t times)
{
    return std::wstring(times, character);
}

class TreesOnNode : public OnNode
{
protected:
    TreesOnNode() { describe({{L"", top}}); }

    void secure(DWORD status, const std::wstring& below = L"", const char* message = "", const char* osError = "")
    {
        EXPECT_EQ(add(1, root + below, {"svc"}, 1, 1), status);
        EXPECT_EQ(support::messageOf(rec), message);
        EXPECT_STREQ(rec.oserror, osError);
    }

    const std::wstring topAfter = sddl(L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;svc)(A;OICI;FR;;;BU)");
    const std::wstring directory = sddl(L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;svc)(A;OICIID;FR;;;BU)");
    const std::wstring file = sddl(L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;svc)(A;ID;FR;;;BU)");
};

} // namespace

TEST_F(TreesOnNode, OfThousandsOfEntriesTakeTheMemoryOfOne)
{
    static size_t live;
    static size_t peak;
    static const auto take = [](void* block) {
        live += block ? _msize(block) : 0;
        peak = std::max(peak, live);
        return block;
    };
    library.redirect(
        "malloc", +[](size_t size) { return take(malloc(size)); });
    library.redirect(
        "calloc", +[](size_t n, size_t size) { return take(calloc(n, size)); });
    library.redirect(
        "free", +[](void* block) {
            live -= block ? _msize(block) : 0;
            free(block);
        });
    acl::Objects expected = {{L"", topAfter}};
    for (wchar_t name = L'a'; name <= L'y'; ++name) {
        make({name, L'\\'});
        expected[{name}] = directory;
        for (int i = 0; i < 100; ++i) {
            const std::wstring below = std::wstring{name, L'\\'} + std::to_wstring(i);
            make(below);
            expected[below] = file;
        }
    }
    EXPECT_EQ(add(1, root, {"svc"}, 1, false), 2u);
    EXPECT_THAT(written(), SizeIs(1));
    const size_t ofOne = peak;
    describe({{L"", top}});
    secure(2);
    EXPECT_EQ(written(), expected);
    EXPECT_LE(peak, ofOne + 100) << "for the longer names";
    EXPECT_EQ(live, 0u);
    secure(2);
    EXPECT_THAT(written(), IsEmpty()) << "all is as it shall be";
}

TEST_F(TreesOnNode, OfFortyLevelsAndAnyNames)
{
    std::wstring deep;
    for (int level = 1; level <= 40; ++level)
        make(deep += L"a\\");
    const std::wstring other = L"\x0416\x4e2d"; // not in the code page
    for (const std::wstring& name : {deep + L"file", other, other + L"2\\", other + L"2\\\xD83D\xDE00",
                                     std::wstring(L"...x"), std::wstring(L".securit\xEFy"), std::wstring(L".vlfs2\\")})
        make(name);
    for (const std::wstring& reserved :
         {std::wstring(L".VLFS"), std::wstring(L".fileID\\"), std::wstring(L".fileID\\x"), other + L"2\\.sEcUrItY\\",
          other + L"2\\.sEcUrItY\\x"})
        make(reserved);
    secure(2);
    const auto objects = written();
    EXPECT_THAT(objects, SizeIs(1 + 40 + 7));
    EXPECT_THAT(objects, Contains(Pair(deep + L"file", file)));
    EXPECT_THAT(objects, Contains(Pair(other + L"2\\\xD83D\xDE00", file)));
    EXPECT_EQ(add(0, root + L"\\.VLFS", {"svc"}, 6, 1), 2u) << "also when it is named itself";
    EXPECT_THAT(written(), IsEmpty());
}

// A directory whose search pattern takes more than 259 characters is not listed. What lies in others has room.
TEST_F(TreesOnNode, OfLongPaths)
{
    const std::wstring base = repeated(L'l', 257 - root.size() - 2 - 99) + L'\\';
    const std::wstring listed = base + repeated(L'm', 99) + L'\\';
    const std::wstring unlisted = base + repeated(L'n', 100) + L'\\';
    for (const std::wstring& name : {base, listed, listed + repeated(L'f', 250), listed + repeated(L'd', 250) + L'\\',
                                     listed + repeated(L'd', 250) + L"\\file", unlisted, unlisted + L"file"})
        make(name);
    secure(2, L"", listFailed, "206");
    const auto objects = written();
    EXPECT_THAT(objects, SizeIs(1 + 5));
    EXPECT_THAT(objects, Contains(Pair(listed + repeated(L'f', 250), file)));
    EXPECT_THAT(objects, Contains(Pair(unlisted.substr(0, unlisted.size() - 1), directory)));
    EXPECT_THAT(objects, Not(Contains(Key(unlisted + L"file"))));
}

// The same objects again and again: until the path is too long for its buffer; or, with a short name, until the
// platform resolves no further: what cannot be asked for its attributes is taken for a directory, and cannot be read as
// such.
TEST_F(TreesOnNode, ThatALinkLeadsBackUpIn)
{
    for (const wchar_t* const name : {L"long\\", L"long\\b", L"long\\z", L"short\\", L"short\\b", L"short\\z"})
        make(name);
    makeLink(L"long\\link-back-up");
    makeLink(L"short\\s");
    secure(2, L"\\long", listFailed, "206");
    EXPECT_THAT(written(), SizeIs(4)) << "the link itself, and what lies beside it, once";
    secure(3, L"\\short", readFailed, "1921");
    EXPECT_THAT(written(), SizeIs(3)) << "the walk ends there";
}

// Without access an object is skipped, but not the first. Other failures end the directory that a file lies in, or the
// walk when they are a directory's, as does an object that cannot be reached behind one that was skipped.
TEST_F(TreesOnNode, WithObjectsOutOfReach)
{
    for (const wchar_t* const name : {L"a", L"b\\", L"b\\c\\", L"b\\c\\d", L"b\\e", L"f"})
        make(name);
    constexpr DWORD other = ERROR_SHARING_VIOLATION;
    constexpr auto reading = [](size_t object) { // in the order of the walk, which is alphabetical
        return support::failing("GetFileSecurityW", other, 2 * object - 1);
    };
    constexpr auto writing = [](size_t object) { return support::failing("SetFileSecurityW", other, object); };
    const std::vector<std::wstring> all = {L"", L"a", L"b", L"b\\c", L"b\\c\\d", L"b\\e", L"f"};
    const struct
    {
        const char* what;
        acl::Objects outOfReach;
        intercept::Fault fault;
        DWORD status;
        const char* message;
        std::set<std::wstring> left; // as they were
    } rows[] = {
        {"a file without access", {{L"a", unreadable}}, {}, 2, readFailed, {L"a"}},
        {"directories without access are listed all the same",
         {{L"b", unwritable}, {L"b\\c", unwritable}},
         {},
         2,
         writeFailed,
         {L"b", L"b\\c"}},
        {"the last one skipped is reported",
         {{L"b\\c\\d", unwritable}, {L"f", unreadable}},
         {},
         2,
         readFailed,
         {L"b\\c\\d", L"f"}},
        {"unreadable itself", {{L"", unreadable}}, {}, 3, readFailed, {all.begin(), all.end()}},
        {"unwritable itself", {{L"", unwritable}}, {}, 3, writeFailed, {all.begin(), all.end()}},
        {"a failing file ends its directory only", {}, reading(5), 2, readFailed, {L"b\\c\\d"}},
        {"a failing file ends the walk", {}, writing(2), 2, writeFailed, {all.begin() + 1, all.end()}},
        {"a failing directory is the status", {}, reading(4), 3, readFailed, {all.begin() + 3, all.end()}},
        {"a failure after one skipped", {{L"a", unreadable}}, writing(2), 3, writeFailed, {all.begin() + 1, all.end()}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        acl::Objects described = row.outOfReach;
        described.emplace(L"", top);
        describe(described);
        interception.start(row.fault);
        secure(row.status, L"", row.message, row.fault.function ? "32" : "5");
        EXPECT_THAT(interception.finish().balance, IsEmpty());
        std::set<std::wstring> expected(all.begin(), all.end());
        for (const std::wstring& name : row.left)
            expected.erase(name);
        std::set<std::wstring> names;
        for (const auto& [name, security] : written())
            names.insert(name);
        EXPECT_EQ(names, expected);
    }
}

// Per object its path as text, two reads, the entries taken over, one write; per child its attributes, per directory a
// listing. Nothing more.
TEST_F(TreesOnNode, TakeThePlatformCallsThatTheyMust)
{
    for (const wchar_t* const name :
         {L"a", L"b\\", L"b\\c", L"b\\d\\", L"b\\d\\e", L"b\\d\\.fileid\\", L"b\\d\\.fileid\\in"})
        make(name);
    std::map<std::string, long> calls; // of the whole tree less those of the directory alone
    for (const bool wholeTree : {false, true}) {
        describe({{L"", top}});
        interception.start({});
        EXPECT_EQ(add(1, root, {"svc"}, 1, wholeTree), 2u);
        const intercept::Trail trail = interception.finish();
        EXPECT_THAT(trail.balance, IsEmpty());
        for (const intercept::Trail::Call& call : trail.calls)
            calls[call.row->name] += wholeTree ? 1 : -1;
    }
    calls.erase("IsValidSid"); // asks no one
    constexpr long children = 5;
    constexpr long directories = 3;
    const std::map<std::string, long> expected = {
        {"WideCharToMultiByte", 2 * children}, // the length, the text
        {"GetFileSecurityW", 2 * children},    // likewise
        {"GetSecurityDescriptorDacl", children},
        {"GetAclInformation", children},
        {"GetAce", 1 * children}, // one old entry, three new ones
        {"InitializeAcl", children},
        {"AddAce", 4 * children},
        {"InitializeSecurityDescriptor", children},
        {"SetSecurityDescriptorDacl", children},
        {"SetFileSecurityW", children},
        {"GetFileAttributesW", children},
        {"FindFirstFileW", directories},
        {"FindNextFileW", children + 1 + 2 * directories}, // the reserved name; "..", the end
    };
    for (const auto& [name, count] : calls)
        EXPECT_EQ(count, expected.count(name) ? expected.at(name) : 0) << name;
    EXPECT_EQ(calls["SetFileSecurityW"], children);
}
