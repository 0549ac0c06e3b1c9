// Walking real directories, with the security held by the test.
#include "acl/tree_acl.h"
#include "tests/acl/ace_text.h"
#include "tests/acl/held_security.h"
#include "tests/support/cases.h"
#include "tests/support/scratch_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

namespace {

using namespace acetext;
namespace fs = std::filesystem;

// A directory and paths below it.
struct Tree : support::ScratchDirectory
{
    // A name that ends in a backslash is a directory.
    explicit Tree(const std::vector<std::wstring>& names)
    {
        for (const std::wstring& name : names)
            if (name.back() == L'\\')
                fs::create_directory(path() / name);
            else
                std::ofstream(path() / name).put('x');
    }
    std::wstring whole(const std::wstring& name) const
    {
        return name.empty() ? path().wstring() : (path() / name).wstring();
    }
    std::vector<std::wstring> relative(const std::vector<std::wstring>& paths) const
    {
        std::vector<std::wstring> names;
        for (const std::wstring& one : paths)
            names.push_back(one.substr(std::min(path().wstring().size() + 1, one.size())));
        return names;
    }
};

DWORD walk(sswseErrRec* rec, const std::wstring& path, bool failOnAccessDenied = true)
{
    std::vector<Ace> aces = acesOf(std::string("(A;OICI;0x10000000;;;BA)"));
    const std::vector<sswseAce*> pointers = pointersTo(aces);
    return sswseUpdateAclOnTree(rec, path.c_str(), pointers.data(), 1, true, failOnAccessDenied);
}

const char* const readFailed = failed("GetFileSecurityW");
const char* const writeFailed = failed("SetFileSecurityW");
constexpr DWORD denied = ERROR_ACCESS_DENIED;
constexpr DWORD other = ERROR_SHARING_VIOLATION;

} // namespace

// The listing is in alphabetical order.
TEST(TreeAcl, StopsAndGoesOnAsItMust)
{
    struct Row
    {
        const char* what;
        std::map<std::wstring, HeldSecurity> failing;
        DWORD status;
        const char* message;
        std::vector<std::wstring> written;
    };
    const std::vector<std::wstring> all = {L"", L"a", L"b", L"b\\c", L"b\\c\\d", L"b\\e", L"f"};
    const auto without = [&](std::initializer_list<const wchar_t*> names) {
        std::vector<std::wstring> left = all;
        for (const std::wstring name : names)
            left.erase(std::find(left.begin(), left.end(), name));
        return left;
    };
    const HeldSecurity unreadable = {HeldSecurity::list, "", denied};
    const HeldSecurity unwritable = {HeldSecurity::list, "", 0, denied};
    const HeldSecurity readError = {HeldSecurity::list, "", other};
    const HeldSecurity writeError = {HeldSecurity::list, "", 0, other};
    const Row rows[] = {
        {"nothing fails", {}, 2, "", all},
        {"the directory itself without access", {{L"", unreadable}}, 3, readFailed, {}},
        {"a file without access", {{L"a", unreadable}}, 2, readFailed, without({L"a"})},
        {"a directory without access is listed all the same", {{L"b", unwritable}}, 2, writeFailed, without({L"b"})},
        {"the last one skipped is reported",
         {{L"a", unreadable}, {L"b\\c\\d", unwritable}},
         2,
         writeFailed,
         without({L"a", L"b\\c\\d"})},
        {"a failing file ends its directory only", {{L"b\\c\\d", readError}}, 2, readFailed, without({L"b\\c\\d"})},
        {"a failing file ends the walk", {{L"a", writeError}}, 2, writeFailed, {L""}},
        {"a failing directory is the status", {{L"b\\c", readError}}, 3, readFailed, {L"", L"a", L"b"}},
        {"a failure after one skipped", {{L"a", unreadable}, {L"b", writeError}}, 3, writeFailed, {L""}},
    };
    const Tree tree({L"a", L"b\\", L"b\\c\\", L"b\\c\\d", L"b\\e", L"f"});
    for (const Row& row : rows) {
        HeldFiles held;
        for (const auto& [name, security] : row.failing)
            held.files[tree.whole(name)] = security;
        support::expectCases(
            {{row.what, [&](sswseErrRec* rec) { return walk(rec, tree.whole(L"")); }, row.status, row.message}});
        EXPECT_EQ(tree.relative(held.written), row.written) << row.what;
    }
}

TEST(TreeAcl, PassesReservedNamesOver)
{
    const Tree tree({L".vlfs\\", L".vlfs\\in", L".FileID", L"x\\", L"x\\.SECURITY\\", L"x\\.SECURITY\\in",
                     L"x\\.securit\u00efy", L"\u0416\u4e2d"});
    HeldFiles held;
    sswseErrRec rec;
    EXPECT_EQ(walk(&rec, tree.whole(L"")), 2u);
    EXPECT_STREQ(rec.message, "");
    EXPECT_EQ(tree.relative(held.written),
              (std::vector<std::wstring>{L"", L"x", L"x\\.securit\u00efy", L"\u0416\u4e2d"}));
    EXPECT_EQ(held.calls.size(), 3 * held.written.size()) << "two reads and one write an object";
}

TEST(TreeAcl, EndsWhereThePathDoesNotFit)
{
    const Tree tree({});
    const std::wstring start = L"\\\\?\\" + tree.whole(L"");
    std::vector<std::wstring> deep = {start};
    for (int level = 0; level < 3; ++level) {
        deep.push_back(deep.back() + L"\\" + std::wstring(120, L'n'));
        ASSERT_TRUE(CreateDirectoryW(deep.back().c_str(), nullptr));
    }
    HeldFiles held;
    support::expectCases({
        {"a deep tree", [&](sswseErrRec* rec) { return walk(rec, start); }, 2, failed("FindFirstFileW")},
        {"a long start", [&](sswseErrRec* rec) { return walk(rec, std::wstring(600, L'x')); }, 2,
         failed("FindFirstFileW")},
    });
    EXPECT_EQ(held.written, (std::vector<std::wstring>{deep[0], deep[1], deep[2], std::wstring(600, L'x')}))
        << "what is too long to be listed is set all the same";
    for (; deep.size() > 1; deep.pop_back())
        EXPECT_TRUE(RemoveDirectoryW(deep.back().c_str()));
}
