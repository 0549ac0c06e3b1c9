// The entries of one object: how new ones merge, one per account, what of the old ones stays behind them, what is
// written; adding one to an ACL, the test of a mask, and the names of registry objects.
#include "acl/file_acl.h"
#include "acl/object_dacl.h"
#include "frame/owned.h"
#include "tests/acl/held_object.h"
#include "tests/support/guarded_heap.h"
#include "tests/support/node_test.h"

#include <accctrl.h>
#include <algorithm>
#include <cstring>

namespace {

using namespace acetext;
using namespace support;

const SID everyone = {SID_REVISION, 1, SECURITY_WORLD_SID_AUTHORITY, {SECURITY_WORLD_RID}};

void* sidOf(const SID& sid)
{
    return const_cast<SID*>(&sid);
}

Call updating(Aces& aces, bool keep = true)
{
    return [&aces, keep](sswseErrRec* rec) {
        const std::vector<sswseAce*> pointers = pointersTo(aces);
        return sswseUpdateAclOnFile(rec, L"x", {pointers.data(), static_cast<DWORD>(pointers.size()), keep}, true);
    };
}

struct Composed
{
    const char* what;
    std::string newAces;
    std::string existing;
    std::string after;
    bool keep = true;
    WORD control = SE_DACL_PRESENT;
};

void expectComposed(const std::vector<Composed>& rows)
{
    for (const Composed& row : rows) {
        SCOPED_TRACE(row.what);
        Aces newAces = acesOf(row.newAces);
        const Aces newBefore = newAces;
        HeldObject held(row.existing, row.control);
        expectCases({{row.what, updating(newAces, row.keep), 2}});
        EXPECT_EQ(held.result, acesOf(row.after));
        const bool isLater = std::any_of(held.result.begin(), held.result.end(), [](const Ace& ace) {
            const std::string_view later = "\4\5\6\7\x8\xB\xC"; // compound entries, those with GUIDs in them
            return later.find(static_cast<char>(ace[0])) != later.npos;
        });
        EXPECT_EQ(held.revision, isLater ? ACL_REVISION_DS : ACL_REVISION);
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
    const std::string twice = "(A;;0x2;;;BU)(A;;0x4;;;BU)(D;;0x2;;;BU)";
    expectComposed({
        {"absent", added, "", added, true, 0},
        {"NULL", added, "NULL", added},
        {"not to be kept", added, "(A;;0x2;;;BU)", added, false},
        {"explicit and inherited ones of a new account go", "(A;OICI;0x1;;;AU)",
         "(D;;0x2;;;AU)(A;ID;0x4;;;BU)(A;OICIID;0x8;;;AU)(OA;;0x10;;;AU)(D;;0x20;;;SY)",
         "(A;OICI;0x1;;;AU)(A;ID;0x4;;;BU)(D;;0x20;;;SY)"},
        {"merged away but named all the same", "(A;;0x1;;;AU)(D;;0x0;;;AU)", "(A;;0x2;;;AU)(A;;0x4;;;BU)",
         "(A;;0x0;;;AU)(A;;0x4;;;BU)"},
        {"kept ones are not merged", added, twice, added + twice},
        {"unknown types", added, "(T9;;0x2;;;BU)(T17;;0x4;;;SY)(T9;;0x2;;;AU)",
         added + "(T9;;0x2;;;BU)(T17;;0x4;;;SY)"},
        {"SIDs that do not count", added, "(A;;0x2;;;BU)" + odd + "(A;ID;0x4;;;AU)(A;;0x8;;;SY)",
         added + "(A;;0x2;;;BU)" + odd + "(A;;0x8;;;SY)"},
        {"new ones without a SID that counts", odd + odd, odd, odd + odd + odd},
    });
    for (const std::string kept :
         {"(OA;;0x1;;;BU)", "(OD;;0x1;;;BU)", "(T4;;0x1;;;BU)", "(T8;;0x1;;;BU)", "(T11;;0x1;;;BU)", "(T12;;0x1;;;BU)"})
        expectComposed({{kept.c_str(), added, kept, added + kept}});
}

// By either way to set permissions.
TEST(Composing, RefusesADescriptorThatDoesNotHoldItsDacl)
{
    constexpr size_t daclOffset = 16, daclSize = 22, entryCount = 24; // where they lie
    constexpr size_t whole = 20 + 8 + 24 + 20;                        // bytes of the descriptor
    const struct
    {
        const char* what;
        size_t place;
        size_t value; // of 16 bits, there
        size_t cut = 0;
        const char* message = API_FAILED("GetAclInformation");
    } rows[] = {
        {"as it should be", daclSize, whole - 20, 0, ""},
        {"a DACL longer than the descriptor", daclSize, whole - 19},
        {"a DACL without room for its entries", daclSize, whole - 21},
        {"one entry too many", entryCount, 3},
        {"an entry without a size", whole - 18, 0},
        {"a DACL far off", daclOffset + 2, 0x7FFF},
        {"no room for the header", daclSize, whole - 20, whole - 24},
        {"not a descriptor", 0, 0, whole - 1, API_FAILED("x")},
    };
    for (const auto& row : rows) {
        HeldObject held("(A;;0x1;;;BU)(A;;0x2;;;AU)");
        memcpy(&held.descriptor.at(row.place), &row.value, sizeof(WORD));
        held.descriptor.resize(whole - row.cut);
        Aces aces = acesOf("(A;;0x1;;;BU)");
        const bool isWhole = !*row.message;
        expectCases({{row.what, updating(aces), isWhole ? 2u : 3u, row.message}});
        EXPECT_EQ(legacy::call("x").status, isWhole ? 0u : 3u) << row.what;
        EXPECT_EQ(held.writes, isWhole ? 2u : 0u);
    }
}

TEST(Composing, WritesNoneWhenNoneIsGivenAndNoMoreThanADaclHolds)
{
    HeldObject held("(A;;0x1;;;BU)");
    Aces none, tooMany(5000, acesOf("(A;;0x1;;;BU)")[0]);
    const auto set = [](Aces& aces) {
        return [&](sswseErrRec* rec) {
            return sswseSetFileSecurity(rec, pointersTo(aces).data(), static_cast<DWORD>(aces.size()), L"x", false,
                                        false, true);
        };
    };
    expectCases({{"nobody", updating(none), 3}, {"too many", set(tooMany), 3, API_FAILED("InitializeAcl")}});
    EXPECT_EQ(held.writes, 0u);
    expectCases({{"none", set(none), 2}});
    EXPECT_EQ(held.writes, 1u);
    EXPECT_EQ(held.result, Aces());
}

// Of two accounts by the spellings of their SIDs. What denies stays, as do entries with GUIDs in them.
TEST(Revoking, TakesTheAllowEntriesOfTheAccountsAndNothingElse)
{
    constexpr WORD isProtected = SE_DACL_PRESENT | SE_DACL_PROTECTED, inherits = isProtected | SE_DACL_AUTO_INHERITED;
    const std::string others = "(D;;0x1;;;AU)(OA;;0x2;;;AU)(T11;;0x4;;;AU)(A;ID;0x8;;;BU)(#05000400)";
    const struct
    {
        const char* what;
        std::string before;
        const char* after; // NULL: it is not written
        WORD control = SE_DACL_PRESENT, controlAfter = SE_DACL_PRESENT;
    } rows[] = {
        {"own and inherited ones", "(A;;0x1;;;AU)" + others + "(A;OICIIOID;0x2;;;WD)(T9;;0x4;;;AU)", others.c_str()},
        {"all that there is", "(A;;0x1;;;WD)", ""},
        {"a protected list", "(A;;0x1;;;WD)", "", isProtected, isProtected},
        {"an inheriting list", "(A;;0x1;;;WD)", "", inherits, inherits | SE_DACL_AUTO_INHERIT_REQ},
        {"nothing to take", others, nullptr},
        {"an empty list", "", nullptr},
        {"no list", "(A;;0x1;;;WD)", nullptr, 0},
        {"a NULL list", "NULL", nullptr},
    };
    char authenticated[] = "s-1-5-11", everyone1[] = "S-1-1-0";
    char* accounts[] = {authenticated, everyone1};
    for (const auto& row : rows) {
        HeldObject held(row.before, row.control);
        expectCases({{row.what, calling(sswseRevokeACLOnObjectForUser, 0u, "x", &accounts[0], 2, BYTE{1}), 2}});
        EXPECT_EQ(held.writes, row.after ? 1u : 0u) << row.what;
        EXPECT_EQ(held.result, acesOf(row.after ? row.after : "")) << row.what;
        EXPECT_EQ(held.control, row.after ? row.controlAfter : 0) << row.what;
    }
}

TEST(ExplicitEntry, IsMadeAsItIsAskedForAndTracedNoFurtherThanItsSid)
{
    const SID full = {SID_REVISION, 1, {{1, 2, 3, 4, 5, 6}}, {0x41424344}}; // no byte of 0
    const guarded::Buffer sid(&full, GetLengthSid(sidOf(full)));
    PACL acl = nullptr;
    EXPECT_EQ(argumentLine(calling(sswseAddAceToACL, sid.data(), 1, 2u, DENY_ACCESS, 4u, &acl)),
              "pszTrustee = \x1\x1\x1\x2\x3\x4\x5\x6"
              "DCBA\nTrusteeType = 1\ndwAccessRights = 2\nAccessMode = 3\n"
              "dwInheritance = 4");
    const Aces aces = acesOf(owned::Local<ACL>(acl).get());
    ASSERT_EQ(aces.size(), 1u);
    EXPECT_EQ(std::tuple(aces[0][0], aces[0][1], aces[0][4]), std::tuple(ACCESS_DENIED_ACE_TYPE, 4, 2));
}

TEST(AccessMask, TheFirstEntryOfTheSidDecides)
{
    const std::tuple<const char*, DWORD, DWORD> rows[] = {
        {"", 0, 0},
        {"(A;;0x1200a9;;;WD)(A;;0x1f01ff;;;WD)", 0x1f01ff, 0},
        {"(A;;0x1200a9;;;WD)(A;;0x1f01ff;;;WD)", 0x120089, 1},
        {"(A;;0x1;;;BU)(A;;0x2;;;WD)", 0x1, 0},
        {"(A;;0x1;;;BU)(A;;0x2;;;WD)", 0x2, 1},
        {"(A;;0x1;;;WD)", 0, 1},
        {"(#00001000ff0000000101000000000001)(#00000800ff000000)(A;;0x1;;;WD)", 0x2, 0},
    };
    for (const auto& [entries, mask, answer] : rows) {
        Aces aces = acesOf(entries);
        std::vector<AceListNode> nodes;
        for (Ace& ace : aces)
            nodes.push_back({ace.data(), ace.data() + 8, nullptr});
        for (size_t i = 0; i + 1 < nodes.size(); ++i)
            nodes[i].next = &nodes[i + 1];
        sswseErrRec rec = {"earlier", "1"};
        EXPECT_EQ(sswseCheckAccessMask(&rec, nullptr, nodes.data(), sidOf(everyone), mask), answer) << entries;
        EXPECT_STREQ(rec.message, "earlier");
    }
    sswseErrRec endless;
    memset(&endless, 'x', sizeof endless);
    argumentLine([&](sswseErrRec*) { return sswseCheckAccessMask(&endless, nullptr, nullptr, sidOf(everyone), 1); });
    EXPECT_EQ(endless.message, std::string(sizeof endless.message - 1, 'x'));
}

TEST_F(NodeTest, PredefinedKeysAreSplitFromTheirNames)
{
    const std::string longest(259, 'n'), longestNode = "\\\\" + std::string(257, 'n');
    const std::string refused = "4 WSE-000012: Null or invalid Registry Path parameter.";
    const std::pair<std::string, std::string> rows[] = {
        // the predefined key, if there is one of that name, what is behind it, the node
        {"machine\\software\\x", "2 = HKEY_LOCAL_MACHINE software\\x"},
        {"Config\\", "2 = HKEY_CURRENT_CONFIG "},
        {"CLASSES_ROOT\\a", "2 = HKEY_CLASSES_ROOT a"},
        {"Current_User\\a", "2 = HKEY_CURRENT_USER a"},
        {"PERFORMANCE_DATA\\a", "2 = HKEY_PERFORMANCE_DATA a"},
        {"\\\\host\\USERS\\S-1-5-18", "2 = HKEY_USERS S-1-5-18 \\\\host"},
        {"\\\\\\MACHINE\\a", "2 = HKEY_LOCAL_MACHINE a \\\\"},
        {"HKLM\\Software", "2 = Software"},
        {"MACHIN\\a", "2 = a"},
        {"\\a", "2 = a"},
        {"\"\"", refused},
        {"MACHINE", refused},
        {"\\\\host\\MACHINE", refused + " = \\\\host"},
        {longest + "\\a", "2 = a"},
        {longest + "n\\a", refused},
        {longestNode + "\\MACHINE\\a", "2 = HKEY_LOCAL_MACHINE a " + longestNode},
        {longestNode + "n\\MACHINE\\a", refused},
    };
    for (const auto& [path, answered] : rows)
        expect({{"GetPredefKey path=" + path, answered}});
}
