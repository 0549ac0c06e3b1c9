// One object: how new entries merge, one per account, what of its old ones stays behind them, and what is written.
#include "acl/file_acl.h"
#include "acl/object_dacl.h"
#include "tests/acl/ace_text.h"
#include "tests/acl/held_security.h"
#include "tests/acl/legacy_call.h"
#include "tests/support/cases.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace acetext;

DWORD update(sswseErrRec* rec, const std::wstring& path, std::vector<Ace>& aces, bool keep = true)
{
    const std::vector<sswseAce*> pointers = pointersTo(aces);
    return sswseUpdateAclOnFile(rec, path.c_str(), pointers.data(), static_cast<DWORD>(pointers.size()), keep, true);
}

struct Composed
{
    const char* what;
    std::string newAces;
    std::string existing;
    std::string after;
    bool keep = true;
    HeldSecurity::Form form = HeldSecurity::list;
};

void expectComposed(const std::vector<Composed>& rows)
{
    for (const Composed& row : rows) {
        SCOPED_TRACE(row.what);
        std::vector<Ace> newAces = acesOf(row.newAces);
        const std::vector<Ace> newBefore = newAces;
        HeldFiles held;
        held.files[L"x"] = {row.form, row.existing};
        sswseErrRec rec;
        EXPECT_EQ(update(&rec, L"x", newAces, row.keep), 2u);
        EXPECT_STREQ(rec.message, "");
        EXPECT_EQ(held.result[L"x"], canonical(row.after));
        const bool hasGuids = row.after.find("(O") != std::string::npos || row.after.find("(#05") != std::string::npos;
        EXPECT_EQ(held.revision, hasGuids ? ACL_REVISION_DS : ACL_REVISION);
        EXPECT_EQ(held.calls.size(), row.keep ? 3u : 1u) << "what is not kept is not read";
        EXPECT_EQ(newAces, newBefore) << "the caller's entries";
    }
}

} // namespace

TEST(Composing, MergesTheNewEntriesOfAnAccount)
{
    expectComposed({
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
    });
}

TEST(Composing, KeepsTheEntriesOfOtherAccounts)
{
    // An entry with room for half a SID, one whose SID says revision 2, a header alone, a SID of 15 parts in 24 bytes.
    const std::string odd = "(#00000c000100000001020000)(#000014000100000002010000000000050b000000)(#05000400)"
                            "(#0000180001000000010f0000000000050b00000000000000)";
    const std::string added = "(A;;0x1;;;AU)";
    expectComposed({
        {"absent", added, "", added, true, HeldSecurity::absent},
        {"NULL", added, "", added, true, HeldSecurity::null},
        {"empty", added, "", added},
        {"not to be kept", added, "(A;;0x2;;;BU)", added, false},
        {"explicit and inherited ones of a new account go", "(A;OICI;0x1;;;AU)",
         "(D;;0x2;;;AU)(A;ID;0x4;;;BU)(A;OICIID;0x8;;;AU)(OA;;0x10;;;AU)(D;;0x20;;;SY)",
         "(A;OICI;0x1;;;AU)(A;ID;0x4;;;BU)(D;;0x20;;;SY)"},
        {"merged away but named all the same", "(A;;0x1;;;AU)(D;;0x0;;;AU)", "(A;;0x2;;;AU)(A;;0x4;;;BU)",
         "(A;;0x0;;;AU)(A;;0x4;;;BU)"},
        {"kept ones are not merged", added, "(A;;0x2;;;BU)(A;;0x4;;;BU)(D;;0x2;;;BU)",
         added + "(A;;0x2;;;BU)(A;;0x4;;;BU)(D;;0x2;;;BU)"},
        {"unknown types", added, "(T9;;0x2;;;BU)(T17;;0x4;;;SY)(T9;;0x2;;;AU)",
         added + "(T9;;0x2;;;BU)(T17;;0x4;;;SY)"},
        {"entries with GUIDs", added, "(OA;;0x1;;;BU)(OD;;0x2;;;BU)(T8;;0x2;;;BU)",
         added + "(OA;;0x1;;;BU)(OD;;0x2;;;BU)(T8;;0x2;;;BU)"},
        {"SIDs that do not count", added, "(A;;0x2;;;BU)" + odd + "(A;ID;0x4;;;AU)(A;;0x8;;;SY)",
         added + "(A;;0x2;;;BU)" + odd + "(A;;0x8;;;SY)"},
        {"new ones without a SID that counts", odd + odd, odd, odd + odd + odd},
    });
}

// By either way to set permissions.
TEST(Composing, RefusesADescriptorThatDoesNotHoldItsDacl)
{
    const legacy::ScratchFile file;
    const std::vector<BYTE> whole = descriptorOf({HeldSecurity::list, "(A;;0x1;;;BU)(A;;0x2;;;AU)"});
    constexpr size_t daclOffset = 16, daclSize = 22, entryCount = 24; // where they lie
    const size_t lastSize = whole.size() - 18;                        // of an entry of 20 bytes
    const size_t size = whole.size() - 20;
    struct
    {
        const char* what;
        size_t place;
        size_t value; // of 16 bits, there
        size_t cut = 0;
        DWORD status = 3;
        std::string api = "GetAclInformation";
    } const rows[] = {
        {"as it should be", daclSize, size, 0, 2},
        {"a DACL longer than the descriptor", daclSize, size + 64},
        {"a DACL without room for its entries", daclSize, size - 1},
        {"one entry too many", entryCount, 3},
        {"far too many entries", entryCount, 0xFFFF},
        {"an entry longer than the DACL", lastSize, 0x40},
        {"an entry without a size", lastSize, 0},
        {"a DACL at the end", daclOffset, whole.size()},
        {"a DACL far off", daclOffset + 2, 0x7FFF},
        {"cut off", daclSize, size, 1},
        {"no room for the header", daclSize, size, size - 4},
        {"not a descriptor", 0, 0, whole.size() - 1, 3, file.name()},
    };
    for (const auto& row : rows) {
        std::vector<BYTE> descriptor = whole;
        memcpy(&descriptor[row.place], &row.value, sizeof(WORD));
        descriptor.resize(whole.size() - row.cut);
        HeldFiles held;
        held.files[file.wide()].descriptor = descriptor;
        std::vector<Ace> aces = acesOf(std::string("(A;;0x1;;;BU)"));
        support::expectCases({{row.what, [&](sswseErrRec* rec) { return update(rec, file.wide(), aces); }, row.status,
                               row.status == 2 ? "" : failed(row.api)}});
        EXPECT_EQ(legacy::call(file.name()).status, row.status == 2 ? 0u : 3u) << row.what;
        EXPECT_EQ(held.written.size(), row.status == 2 ? 2u : 0u);
    }
}

TEST(Composing, WritesExactlyWhatItIsGiven)
{
    HeldFiles held;
    const sswseAce* const none[1] = {};
    std::vector<Ace> huge(5000, acesOf(std::string("(A;;0x1;;;BU)"))[0]);
    const std::vector<sswseAce*> tooMany = pointersTo(huge);
    support::expectCases({
        {"nobody", [](sswseErrRec* rec) { return sswseUpdateAclOnFile(rec, L"x", nullptr, 0, true, true); }, 3},
        {"none", [&](sswseErrRec* rec) { return sswseSetFileSecurity(rec, none, 0, L"x", false, false, true); }, 2},
        {"more than a DACL holds",
         [&](sswseErrRec* rec) { return sswseSetFileSecurity(rec, tooMany.data(), 5000, L"y", false, false, true); }, 3,
         failed("InitializeAcl")},
    });
    EXPECT_EQ(held.written, std::vector<std::wstring>{L"x"});
    EXPECT_EQ(held.result[L"x"], "");
}
