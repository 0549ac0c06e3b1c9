// How new entries merge, one per account, and what of the existing ones stays behind them.
#include "acl/final_ace_list.h"
#include "tests/acl/ace_text.h"
#include "tests/support/cases.h"
#include "tests/support/guarded_heap.h"

#include <gtest/gtest.h>

#include <deque>

namespace {

using namespace acetext;

std::string textOf(const sswseAceArray& array)
{
    std::vector<Ace> aces;
    for (DWORD i = 0; i < array.count; ++i) {
        const auto* const bytes = reinterpret_cast<const BYTE*>(array.entries[i]);
        aces.emplace_back(bytes, bytes + array.entries[i]->Header.AceSize);
    }
    return acetext::textOf(aces);
}

struct Composed
{
    const char* what;
    std::string newAces;
    std::string existing;
    std::string expected;
    bool keep = true;
};

void expectComposed(const Composed& row)
{
    SCOPED_TRACE(row.what);
    std::vector<Ace> newAces = acesOf(row.newAces);
    const std::vector<Ace> newBefore = newAces;
    const std::vector<sswseAce*> pointers = pointersTo(newAces);
    sswseErrRec rec;
    sswseAceList existing;
    std::deque<guarded::Buffer> oldAces; // a byte too far stops the program
    for (const Ace& ace : acesOf(row.existing)) {
        const guarded::Buffer& buffer = oldAces.emplace_back(ace.data(), ace.size());
        ASSERT_EQ(sswseAddAceToFinalList(&rec, existing, reinterpret_cast<sswseAce*>(buffer.data())), 2u);
    }
    sswseAceArray finalAces;
    ASSERT_EQ(sswseCreateFinalAceList(&rec, existing, pointers.data(), static_cast<DWORD>(pointers.size()), row.keep,
                                      &finalAces),
              2u);
    EXPECT_STREQ(rec.message, "");
    EXPECT_EQ(textOf(finalAces), canonical(row.expected));
    EXPECT_EQ(newAces, newBefore) << "the caller's entries";
}

} // namespace

TEST(FinalAceList, MergesTheNewEntriesOfAnAccount)
{
    const Composed rows[] = {
        {"allow, allow", "(A;;0x1200a9;;;AU)(A;;0x100116;;;AU)", "", "(A;;0x1201bf;;;AU)"},
        {"allow, object allow", "(A;OI;0x1;;;AU)(OA;CI;0x2;;;AU)", "", "(A;OI;0x3;;;AU)"},
        {"object allow, allow", "(OA;;0x1;;;AU)(A;;0x2;;;AU)", "", "(OA;;0x3;;;AU)"},
        {"allow, empty allow", "(A;;0x7;;;AU)(A;;0x0;;;AU)", "", "(A;;0x7;;;AU)"},
        {"deny, allow", "(D;CI;0x40000000;;;AU)(A;OI;0x10000000;;;AU)", "", "(A;OI;0x10000000;;;AU)"},
        {"deny, allow of the same bits", "(D;;0x7;;;AU)(A;;0x5;;;AU)", "", "(A;;0x0;;;AU)"},
        {"object deny, allow", "(OD;;0x1;;;AU)(A;;0x3;;;AU)", "", "(A;;0x2;;;AU)"},
        {"empty deny, allow", "(D;;0x0;;;AU)(A;;0x1f01ff;;;AU)", "", "(A;;0x0;;;AU)"},
        {"allow, deny", "(A;OI;0x1f01ff;;;AU)(D;CI;0x10000;;;AU)", "", "(A;OI;0x1e01ff;;;AU)"},
        {"allow, object deny", "(A;;0x3;;;AU)(OD;;0x1;;;AU)", "", "(A;;0x2;;;AU)"},
        {"allow, empty deny", "(A;;0x1f01ff;;;AU)(D;;0x0;;;AU)", "", "(A;;0x0;;;AU)"},
        {"deny, deny", "(D;;0x1;;;AU)(OD;;0x6;;;AU)", "", "(D;;0x7;;;AU)"},
        {"deny, empty deny", "(D;;0x1;;;AU)(D;;0x0;;;AU)", "", "(D;;0x0;;;AU)"},
        {"other type, allow", "(T9;;0x1;;;AU)(A;;0x2;;;AU)", "", "(T9;;0x3;;;AU)"},
        {"other type, deny", "(T9;;0x1;;;AU)(D;;0x2;;;AU)", "", "(T9;;0x3;;;AU)"},
        {"allow, other type", "(A;;0x1;;;AU)(T9;;0x2;;;AU)", "", "(A;;0x1;;;AU)"},
        {"deny, allow, deny, allow", "(D;;0x1;;;AU)(A;;0x7;;;AU)(D;;0x4;;;AU)(A;;0x8;;;AU)", "", "(A;;0xa;;;AU)"},
        {"accounts in the order of first mention", "(A;;0x1;;;BU)(D;;0x1;;;AU)(A;;0x2;;;SY)(A;;0x3;;;AU)", "",
         "(A;;0x1;;;BU)(A;;0x2;;;AU)(A;;0x2;;;SY)"},
    };
    for (const Composed& row : rows)
        expectComposed(row);
}

TEST(FinalAceList, KeepsTheEntriesOfOtherAccounts)
{
    // An entry with room for half a SID, one whose SID says revision 2, a header alone, a SID of 15 parts in 24 bytes.
    const std::string odd = "(#00000c000100000001020000)(#000014000100000002010000000000050b000000)(#05000400)"
                            "(#0000180001000000010f0000000000050b00000000000000)";
    const std::string withOdd = "(A;;0x2;;;BU)" + odd + "(A;ID;0x4;;;AU)(A;;0x8;;;SY)";
    const std::string oddKept = "(A;;0x1;;;AU)(A;;0x2;;;BU)" + odd + "(A;;0x8;;;SY)";
    const Composed rows[] = {
        {"nothing there", "(A;;0x1;;;AU)", "", "(A;;0x1;;;AU)"},
        {"not to be kept", "(A;;0x1;;;AU)", "(A;;0x2;;;BU)", "(A;;0x1;;;AU)", false},
        {"explicit and inherited ones of a new account go", "(A;OICI;0x1;;;AU)",
         "(D;;0x2;;;AU)(A;ID;0x4;;;BU)(A;OICIID;0x8;;;AU)(OA;;0x10;;;AU)(D;;0x20;;;SY)",
         "(A;OICI;0x1;;;AU)(A;ID;0x4;;;BU)(D;;0x20;;;SY)"},
        {"merged away but named all the same", "(A;;0x1;;;AU)(D;;0x0;;;AU)", "(A;;0x2;;;AU)(A;;0x4;;;BU)",
         "(A;;0x0;;;AU)(A;;0x4;;;BU)"},
        {"kept ones are not merged", "(A;;0x1;;;AU)", "(A;;0x2;;;BU)(A;;0x4;;;BU)(D;;0x2;;;BU)",
         "(A;;0x1;;;AU)(A;;0x2;;;BU)(A;;0x4;;;BU)(D;;0x2;;;BU)"},
        {"unknown types", "(A;;0x1;;;AU)", "(T9;;0x2;;;BU)(T17;;0x4;;;SY)(T9;;0x2;;;AU)",
         "(A;;0x1;;;AU)(T9;;0x2;;;BU)(T17;;0x4;;;SY)"},
        {"SIDs that do not count", "(A;;0x1;;;AU)", withOdd, oddKept},
        {"new ones without a SID that counts", odd + odd, odd, odd + odd + odd},
    };
    for (const Composed& row : rows)
        expectComposed(row);
}
