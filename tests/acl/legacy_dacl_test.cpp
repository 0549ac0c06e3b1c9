// What the legacy permission setting writes for one object, by what its old DACL says.
#include "tests/acl/ace_text.h"
#include "tests/acl/held_security.h"
#include "tests/acl/legacy_call.h"

#include <gtest/gtest.h>

using namespace acetext;

namespace {

constexpr DWORD users = 0x1200a9;
constexpr DWORD full = 0x101f01ff;

// The new entries; a mask of 0 is none.
std::string entries(DWORD authenticatedUsers, DWORD administrators, DWORD localSystem)
{
    const std::pair<DWORD, const char*> masks[] = {
        {authenticatedUsers, "AU"}, {administrators, "BA"}, {localSystem, "SY"}};
    std::string text;
    for (const auto& [mask, sid] : masks) {
        char entry[64];
        snprintf(entry, sizeof entry, "(A;OICI;0x%lx;;;%s)", mask, sid);
        text += mask ? entry : "";
    }
    return canonical(text);
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
    const legacy::ScratchFile file;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.before);
        HeldFiles held;
        held.files[file.wide()].aces = row.before;
        EXPECT_EQ(legacy::call(file.name()).status, 0u);
        EXPECT_EQ(held.result[file.wide()], entries(row.authenticatedUsers, row.administrators, row.localSystem));
    }
}

} // namespace

TEST(LegacyDacl, OneOldEntryLimitsTheNewOneOfItsAccount)
{
    expectRows({
        {"", users, full},
        {"(A;;0x1f01ff;;;S-1-5-21-1-2-3-1000)(D;;0x10000000;;;WD)", users, full}, // other accounts
        {"(A;;0x120089;;;BA)", users, 0x120089},
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

TEST(LegacyDacl, OldEntriesOfOneAccountMerge)
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
    });
}

TEST(LegacyDacl, EntryTypes)
{
    expectRows({
        {"(A;;0x1;;;BA)(OA;;0x2;;;BA)", users, 3},
        {"(OD;;0x1;;;AU)(A;;0x9;;;BA)(OD;;0x8;;;BA)", users & ~1u, 1},
        {"(OD;;0x10000000;;;AU)", 0, full},
        {"(T9;;0x3;;;BA)", users, 3}, // one of another type counts as allowed when it comes first,
        {"(T9;;0x3;;;BA)(D;;0x1;;;BA)(A;;0x8;;;BA)", users, 0xa},
        {"(A;;0x3;;;BA)(T9;;0x100;;;BA)(T10;;0x1;;;BA)", users, 3}, // and for nothing later
        {"(T10;;0x3;;;AU)(T17;;0x1;;;WD)", 1, full},
    });
}

// A SID that is none limits nothing; one that does not lie inside its entry makes the DACL unreadable.
TEST(LegacyDacl, EntriesThatAreNotWhatTheySay)
{
    expectRows({
        {"(#00001400ffffffff02010000000000050b000000)", users, full},          // revision 2
        {"(#0000140001000000000000000000000500000000)(A;;0x1;;;AU)", 1, full}, // revision 0
        {"(#00001000010000000100000000000005)", users, full},                  // no sub-authority
    });
    const legacy::ScratchFile file;
    const char* const unreadable[] = {
        "(#0000040001000000)",
        "(#0000080001000000)",
        "(#00000c0001000000010f0000)",
        "(#000010000100000001010000000000050b000000)", // one DWORD short
        "(#0000140001000000010200000000000520000000)", // two sub-authorities, room for one
        "(#000014000100000001ff00000000000520000000)", // 255
        "(#0000180001000000010100000000000520000000)", // an entry that ends behind the list
        "(A;;0x1;;;AU)(#0000ffff01000000010100000000000520000000)",
        "(#4200080001000000)", // of any type
    };
    for (const char* before : unreadable) {
        SCOPED_TRACE(before);
        HeldFiles held;
        held.files[file.wide()].aces = before;
        const legacy::Result result = legacy::call(file.name());
        EXPECT_EQ(result.status, 3u);
        EXPECT_EQ(result.failed, std::vector<std::string>{file.name()});
        EXPECT_TRUE(held.written.empty());
    }
}
