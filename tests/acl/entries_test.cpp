// Single entries: adding one to an ACL, the test of a mask, and the names of registry objects.
#include "frame/owned.h"
#include "frame/trace.h"
#include "tests/acl/ace_text.h"
#include "tests/support/cases.h"
#include "tests/support/guarded_heap.h"
#include "tests/support/trace_log.h"

#include <gtest/gtest.h>

#include <accctrl.h>

namespace {

using namespace acetext;

const SID everyone = {SID_REVISION, 1, SECURITY_WORLD_SID_AUTHORITY, {SECURITY_WORLD_RID}};

void* sidOf(const SID& sid)
{
    return const_cast<SID*>(&sid);
}

} // namespace

TEST(ExplicitEntry, IsMergedAsThePlatformDoes)
{
    struct
    {
        const char* before; // NULL: no ACL
        DWORD rights;
        int mode;
        DWORD inheritance;
        const char* after;
    } const rows[] = {
        {nullptr, 0x1200a9, GRANT_ACCESS, 0, "(A;;0x1200a9;;;WD)"},
        {"(A;;0x1;;;BU)", 0x2, GRANT_ACCESS, SUB_CONTAINERS_AND_OBJECTS_INHERIT, "(A;OICI;0x2;;;WD)(A;;0x1;;;BU)"},
        {"(A;;0x1;;;WD)(A;;0x1;;;BU)", 0x2, SET_ACCESS, 0, "(A;;0x2;;;WD)(A;;0x1;;;BU)"},
        {"(A;;0x1;;;BU)", 0x2, DENY_ACCESS, 0, "(D;;0x2;;;WD)(A;;0x1;;;BU)"},
    };
    for (const auto& row : rows) {
        PACL acl = nullptr;
        if (row.before) {
            const std::vector<BYTE> bytes = aclOf(row.before);
            acl = static_cast<PACL>(LocalAlloc(LMEM_FIXED, bytes.size()));
            std::copy(bytes.begin(), bytes.end(), reinterpret_cast<BYTE*>(acl));
        }
        sswseErrRec rec;
        ASSERT_EQ(sswseAddAceToACL(&rec, sidOf(everyone), TRUSTEE_IS_WELL_KNOWN_GROUP, row.rights, row.mode,
                                   row.inheritance, &acl),
                  2u)
            << rec.message;
        const owned::Local<ACL> owner(acl);
        EXPECT_EQ(acetext::textOf(acesOf(acl)), canonical(row.after));
    }
}

TEST(ExplicitEntry, OfNoValidSidLeavesTheListAlone)
{
    SID broken = everyone;
    broken.Revision = 9;
    for (void* const trustee : {static_cast<void*>(nullptr), sidOf(broken)}) {
        const std::vector<BYTE> bytes = aclOf("(A;;0x1;;;BU)");
        const auto acl = reinterpret_cast<PACL>(const_cast<BYTE*>(bytes.data()));
        PACL merged = acl;
        sswseErrRec rec;
        EXPECT_EQ(sswseAddAceToACL(&rec, trustee, TRUSTEE_IS_USER, 2, GRANT_ACCESS, 0, &merged), 3u);
        EXPECT_STREQ(rec.oserror, "1337");
        EXPECT_EQ(merged, acl);
    }
}

TEST(ExplicitEntry, IsTracedNoFurtherThanItsSid)
{
    const SID full = {SID_REVISION, 1, {{1, 2, 3, 4, 5, 6}}, {0x41424344}}; // no byte of 0
    const guarded::Buffer sid(&full, GetLengthSid(sidOf(full)));
    support::TraceLog log;
    sswseErrRec rec;
    sswseTraceOn(&rec, support::TraceLog::receive, &log, 1);
    PACL acl = nullptr;
    EXPECT_EQ(sswseAddAceToACL(&rec, sid.data(), 1, 2, 3, 4, &acl), 2u);
    sswseTraceOff(&rec);
    const std::vector<std::string> lines = log.take();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[1], "pszTrustee = \x1\x1\x1\x2\x3\x4\x5\x6"
                        "DCBA\nTrusteeType = 1\ndwAccessRights = 2\nAccessMode = 3\n"
                        "dwInheritance = 4");
    LocalFree(acl);
}

TEST(AccessMask, TheFirstEntryOfTheSidDecides)
{
    struct
    {
        const char* entries;
        DWORD mask;
        DWORD answer;
    } const rows[] = {
        {"", 0, 0},
        {"(A;;0x1200a9;;;WD)(A;;0x1f01ff;;;WD)", 0x1f01ff, 0},
        {"(A;;0x1200a9;;;WD)(A;;0x1f01ff;;;WD)", 0x120089, 1},
        {"(A;;0x1;;;BU)(A;;0x2;;;WD)", 0x1, 0},
        {"(A;;0x1;;;BU)(A;;0x2;;;WD)", 0x2, 1},
        {"(A;;0x1;;;WD)", 0, 1},
        {"(#00001000ff0000000101000000000001)(#00000800ff000000)(A;;0x1;;;WD)", 0x2, 0},
    };
    for (const auto& row : rows) {
        std::vector<Ace> aces = acesOf(std::string(row.entries));
        std::vector<AceListNode> nodes;
        for (Ace& ace : aces)
            nodes.push_back({ace.data(), ace.data() + 8, nullptr});
        for (size_t i = 0; i + 1 < nodes.size(); ++i)
            nodes[i].next = &nodes[i + 1];
        sswseErrRec rec = {"earlier", "1"};
        EXPECT_EQ(sswseCheckAccessMask(&rec, nullptr, nodes.data(), sidOf(everyone), row.mask), row.answer)
            << row.entries;
        EXPECT_STREQ(rec.message, "earlier");
    }
}

TEST(PredefinedKey, IsSplitFromItsName)
{
    const std::wstring longest(259, L'n');
    const std::wstring longestNode = L"\\\\" + std::wstring(257, L'n');
    HKEY const none = nullptr;
    struct
    {
        std::wstring path;
        DWORD status;
        HKEY root = nullptr;
        std::wstring subkey = L"untouched", node = L"untouched";
    } const rows[] = {
        {L"machine\\software\\x", 2, HKEY_LOCAL_MACHINE, L"software\\x"},
        {L"Config\\", 2, HKEY_CURRENT_CONFIG, L""},
        {L"CLASSES_ROOT\\a", 2, HKEY_CLASSES_ROOT, L"a"},
        {L"Current_User\\a", 2, HKEY_CURRENT_USER, L"a"},
        {L"PERFORMANCE_DATA\\a", 2, HKEY_PERFORMANCE_DATA, L"a"},
        {L"\\\\host\\USERS\\S-1-5-18", 2, HKEY_USERS, L"S-1-5-18", L"\\\\host"},
        {L"\\\\\\MACHINE\\a", 2, HKEY_LOCAL_MACHINE, L"a", L"\\\\"},
        {L"HKLM\\Software", 2, none, L"Software"},
        {L"MACHINE1\\a", 2, none, L"a"},
        {L"MACHIN\\a", 2, none, L"a"},
        {L"\\a", 2, none, L"a"},
        {L"", 4},
        {L"MACHINE", 4},
        {L"\\\\host", 4},
        {L"\\\\host\\MACHINE", 4, none, L"untouched", L"\\\\host"},
        {longest + L"\\a", 2, none, L"a"},
        {longest + L"n\\a", 4},
        {longestNode + L"\\MACHINE\\a", 2, HKEY_LOCAL_MACHINE, L"a", longestNode},
        {longestNode + L"n\\MACHINE\\a", 4},
    };
    for (const auto& row : rows) {
        HKEY root = nullptr;
        wchar_t subkeyBefore[] = L"untouched";
        wchar_t* subkey = subkeyBefore;
        wchar_t node[260] = L"untouched";
        sswseErrRec rec;
        EXPECT_EQ(sswseGetPredefKey(&rec, row.path.c_str(), &root, &subkey, node), row.status) << rec.message;
        EXPECT_EQ(support::messageOf(rec),
                  row.status == 2 ? "" : "WSE-000012: Null or invalid Registry Path parameter.");
        EXPECT_EQ(root, row.root);
        EXPECT_EQ(subkey, row.subkey);
        EXPECT_EQ(node, row.node);
    }
}
