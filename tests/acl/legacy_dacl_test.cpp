// What the legacy permission setting writes for one object, by what its old DACL says; and how much stack it takes.
#include "frame/owned.h"
#include "tests/acl/held_object.h"

#include <gtest/gtest.h>

using namespace acetext;

namespace {

constexpr DWORD users = 0x1200a9;
constexpr DWORD full = 0x101f01ff;

// The new entries; a mask of 0 is none.
Aces entries(DWORD authenticatedUsers, DWORD administrators, DWORD localSystem)
{
    std::string text;
    for (const auto& [mask, sid] : {std::pair{authenticatedUsers, "AU"}, {administrators, "BA"}, {localSystem, "SY"}}) {
        char entry[64];
        snprintf(entry, sizeof entry, "(A;OICI;0x%lx;;;%s)", mask, sid);
        text += mask ? entry : "";
    }
    return acesOf(text);
}

struct Row
{
    const char* before;
    DWORD authenticatedUsers;
    DWORD administrators;
    DWORD localSystem = full;
};

void expectRows(const std::vector<Row>& rows)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.before);
        const HeldObject held(row.before);
        EXPECT_EQ(legacy::call("x").status, 0u);
        EXPECT_EQ(held.result, entries(row.authenticatedUsers, row.administrators, row.localSystem));
    }
}

} // namespace

TEST(LegacyDacl, LimitsTheNewEntryByTheOldOneOfItsAccount)
{
    expectRows({
        {"", users, full},
        {"(A;;0x1f01ff;;;S-1-5-21-1-2-3-1000)(D;;0x10000000;;;WD)", users, full}, // other accounts
        {"(A;ID;0x120089;;;BA)(A;OICIIO;0x3;;;AU)", 1, 0x120089}, // inherited ones and ones for children alike
        {"(A;;0x2;;;AU)", 0, full},                               // nothing in common is no entry
        {"(A;;0x10000000;;;BA)", users, 0x10000000},
        {"(A;;0x0;;;BA)(A;;0x0;;;SY)", users, 0, 0},
        {"(D;;0x1;;;AU)", users & ~1u, full},
        {"(D;;0x1f01ff;;;BA)", users, 0x10000000},
        {"(D;;0x10000000;;;AU)", 0, full}, // exactly the generic right: all
        {"(D;;0x0;;;AU)", 0, full},
        {"(D;;0x10000001;;;BA)", users, 0x1f01fe},
        {"(D;;0x10000000;;;AU)(D;;0x0;;;BA)(A;;0x0;;;SY)", 0, 0, 0}, // an empty DACL
    });
}

TEST(LegacyDacl, MergesTheOldEntriesOfAnAccount)
{
    expectRows({
        // allow after allow
        {"(A;;0x1;;;BA)(A;;0x10000;;;BA)", users, 0x10001},
        // deny after deny: everything denied stays so; the generic right is everything in the first entry only
        {"(D;;0x1;;;AU)(D;;0x8;;;AU)", users & ~9u, full},
        {"(D;;0x10000000;;;AU)(D;;0x1;;;AU)", 0, full},
        {"(D;;0x0;;;AU)(D;;0x1;;;AU)", 0, full},
        {"(D;;0x1;;;AU)(D;;0x10000000;;;AU)", users & ~1u, full},
        // deny after allow
        {"(A;;0x1f01ff;;;BA)(D;;0x1;;;BA)", users, 0x1f01fe},
        {"(A;;0x1f01ff;;;BA)(D;;0x10000000;;;BA)", users, 0},
        {"(A;;0x1f01ff;;;BA)(D;;0x10000001;;;BA)", users, 0x1f01fe},
        {"(A;;0x1f01ff;;;BA)(D;;0x0;;;BA)", users, 0x1f01ff},
        // allow after deny: from then on it is an allow entry
        {"(D;;0x1;;;BA)(A;;0x1f01ff;;;BA)", users, 0x1f01fe},
        {"(D;;0x1;;;BA)(A;;0x1;;;BA)", users, 0},
        {"(D;;0x10000000;;;BA)(A;;0x1f01ff;;;BA)", users, 0},
        {"(D;;0x0;;;BA)(A;;0x1f01ff;;;BA)(A;;0x3;;;BA)", users, 3}, // allowed again
        {"(A;;0x1;;;BA)(D;;0x1;;;BA)(A;;0x5;;;BA)", users, 5},
        // each account for itself
        {"(D;;0x1;;;AU)(A;;0x3;;;BA)(D;;0x8;;;AU)(D;;0x1;;;BA)(A;;0x1;;;SY)", users & ~9u, 2, 1},
        // entries with GUIDs, and those of another type, which count as allowed when they come first, and for nothing
        // later
        {"(A;;0x1;;;BA)(OA;;0x2;;;BA)", users, 3},
        {"(OD;;0x1;;;AU)(A;;0x9;;;BA)(OD;;0x8;;;BA)", users & ~1u, 1},
        {"(OD;;0x10000000;;;AU)", 0, full},
        {"(T9;;0x3;;;BA)(D;;0x1;;;BA)(A;;0x8;;;BA)", users, 0xa},
        {"(A;;0x3;;;BA)(T9;;0x100;;;BA)(T10;;0x1;;;BA)", users, 3},
        {"(T10;;0x3;;;AU)(T17;;0x1;;;WD)", 1, full},
    });
}

// A SID that is none limits nothing; one that does not lie inside its entry makes the DACL unreadable.
TEST(LegacyDacl, LimitsNothingOrIsUnreadableWhereEntriesAreNotWhatTheySay)
{
    expectRows({
        {"(#00001400ffffffff02010000000000050b000000)", users, full},          // revision 2
        {"(#0000140001000000000000000000000500000000)(A;;0x1;;;AU)", 1, full}, // revision 0
        {"(#00001000010000000100000000000005)", users, full},                  // no sub-authority
    });
    const char* const unreadable[] = {
        "(#00000c0001000000010f0000)",                 // no room for a SID
        "(#0000140001000000010200000000000520000000)", // two sub-authorities, room for one
        "(#0000180001000000010100000000000520000000)", // an entry that ends behind the list
        "(#4200080001000000)",                         // of any type
    };
    for (const char* before : unreadable) {
        SCOPED_TRACE(before);
        const HeldObject held(before);
        const legacy::Result result = legacy::call("x");
        EXPECT_EQ(result.status, 3u);
        EXPECT_EQ(result.failed, std::vector<std::string>{"x"});
        EXPECT_EQ(held.writes, 0u);
    }
}

// A link that leads back up: the same directory below itself until the platform takes no longer path.
TEST(LegacyStack, IsLittleForAnEndlessTree)
{
    static int open;
    HeldObject held("");
    held.attributes = FILE_ATTRIBUTE_DIRECTORY;
    const auto findFirst = [](LPCWSTR pattern, WIN32_FIND_DATAW* found) -> HANDLE {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        wcscpy(found->cFileName, L"l");
        return wcslen(pattern) > 32767 ? INVALID_HANDLE_VALUE : (++open, &open);
    };
    const auto findNext = [](HANDLE, WIN32_FIND_DATAW*) -> BOOL { return SetLastError(ERROR_NO_MORE_FILES), FALSE; };
    const auto findClose = [](HANDLE) -> BOOL { return --open >= 0; };
    held.imports.redirect("FindFirstFileW", reinterpret_cast<void*>(+findFirst));
    held.imports.redirect("FindNextFileW", reinterpret_cast<void*>(+findNext));
    held.imports.redirect("FindClose", reinterpret_cast<void*>(+findClose));
    static legacy::Result result;
    const auto run = [](void*) -> DWORD { return (result = legacy::call("\\\\?\\C:\\root")).status; };
    const owned::Handle thread(
        CreateThread(nullptr, 64 * 1024, +run, nullptr, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
    ASSERT_EQ(WaitForSingleObject(thread.get(), INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(result.status, 3u);
    ASSERT_EQ(result.failed.size(), 1u);
    EXPECT_GT(result.failed[0].size(), 32760u);
    EXPECT_EQ(open, 0);
}
