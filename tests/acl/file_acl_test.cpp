// One object: what is read of its DACL, what is written, and what a failure of either means.
#include "acl/file_acl.h"
#include "acl/object_dacl.h"
#include "tests/acl/ace_text.h"
#include "tests/acl/held_security.h"
#include "tests/support/cases.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace acetext;

DWORD update(sswseErrRec* rec, const wchar_t* path, bool keep = true, bool failOnAccessDenied = true)
{
    std::vector<Ace> aces = acesOf(std::string("(A;OICI;0x10000000;;;BA)(A;OICI;0x1200a9;;;AU)"));
    const std::vector<sswseAce*> pointers = pointersTo(aces);
    return sswseUpdateAclOnFile(rec, path, pointers.data(), static_cast<DWORD>(pointers.size()), keep,
                                failOnAccessDenied);
}

const std::string newOnes = "(A;OICI;0x10000000;;;BA)(A;OICI;0x1200a9;;;AU)";

// A self-relative descriptor that ends `room` bytes behind the beginning of its DACL.
std::vector<BYTE> descriptorWith(const std::vector<BYTE>& acl, size_t room)
{
    SECURITY_DESCRIPTOR_RELATIVE header = {};
    header.Revision = SECURITY_DESCRIPTOR_REVISION;
    header.Control = SE_SELF_RELATIVE | SE_DACL_PRESENT;
    header.Dacl = sizeof header;
    std::vector<BYTE> descriptor(sizeof header + room);
    memcpy(descriptor.data(), &header, sizeof header);
    memcpy(descriptor.data() + sizeof header, acl.data(), room);
    return descriptor;
}

} // namespace

TEST(FileAcl, MergesBeforeTheExistingDacl)
{
    struct
    {
        const char* what;
        HeldSecurity before;
        std::string kept;
        BYTE revision = ACL_REVISION;
    } const rows[] = {
        {"absent", {HeldSecurity::absent, ""}, ""},
        {"NULL", {HeldSecurity::null, ""}, ""},
        {"empty", {HeldSecurity::list, ""}, ""},
        {"inherited, denied, unknown",
         {HeldSecurity::list, "(A;ID;0x1;;;BU)(A;OICIID;0x1f01ff;;;BA)(D;;0x2;;;SY)(T17;;0x1;;;WD)"},
         "(A;ID;0x1;;;BU)(D;;0x2;;;SY)(T17;;0x1;;;WD)"},
        {"entries with GUIDs",
         {HeldSecurity::list, "(OA;;0x1;;;BU)(OD;;0x2;;;BU)(T8;;0x2;;;BU)"},
         "(OA;;0x1;;;BU)(OD;;0x2;;;BU)(T8;;0x2;;;BU)",
         ACL_REVISION_DS},
        {"SID beyond the entry",
         {HeldSecurity::list, "(A;;0x1;;;BU)(#0000100001000000010f000000000005)"},
         "(A;;0x1;;;BU)(#0000100001000000010f000000000005)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        HeldFiles held;
        held.files[L"x"] = row.before;
        sswseErrRec rec;
        EXPECT_EQ(update(&rec, L"x"), 2u) << rec.message;
        EXPECT_EQ(held.result[L"x"], canonical(newOnes + row.kept));
        EXPECT_EQ(held.revision, row.revision);
        EXPECT_EQ(update(&rec, L"x", false), 2u);
        EXPECT_EQ(held.result[L"x"], canonical(newOnes));
        EXPECT_EQ(held.calls, (std::vector<std::string>{"GetFileSecurityW", "GetFileSecurityW", "SetFileSecurityW",
                                                        "SetFileSecurityW"}));
    }
}

TEST(FileAcl, SkipsOrFailsWithoutAccess)
{
    struct
    {
        DWORD readError, writeError;
        DWORD failing, skipping; // statuses
        const char* message;
    } const rows[] = {
        {ERROR_ACCESS_DENIED, 0, 3, 2, failed("GetFileSecurityW")},
        {ERROR_FILE_NOT_FOUND, 0, 3, 3, failed("GetFileSecurityW")},
        {0, ERROR_ACCESS_DENIED, 3, 2, failed("SetFileSecurityW")},
        {0, ERROR_WRITE_PROTECT, 3, 3, failed("SetFileSecurityW")},
    };
    for (const auto& row : rows) {
        HeldFiles held;
        held.files[L"x"] = {HeldSecurity::list, "", row.readError, row.writeError};
        support::expectCases({
            {"failing", [](sswseErrRec* rec) { return update(rec, L"x"); }, row.failing, row.message},
            {"skipping", [](sswseErrRec* rec) { return update(rec, L"x", true, false); }, row.skipping, row.message},
        });
        EXPECT_TRUE(held.written.empty());
    }
}

TEST(FileAcl, RefusesADescriptorThatDoesNotHoldItsDacl)
{
    std::vector<BYTE> acl = aclOf("(A;;0x1;;;BU)(A;;0x2;;;SY)");
    const size_t whole = acl.size();
    std::vector<BYTE> longAce = acl;
    longAce[whole - 18] = 0x40; // the size of the last entry, which has 20 bytes
    std::vector<BYTE> emptyAce = acl;
    emptyAce[whole - 18] = 0;
    std::vector<BYTE> tooMany = acl;
    tooMany[4] = 9;
    struct
    {
        const char* what;
        std::vector<BYTE> descriptor;
        const char* api;
    } const rows[] = {
        {"no room for the header", descriptorWith(acl, 4), "GetAclInformation"},
        {"cut off", descriptorWith(acl, whole - 1), "GetAclInformation"},
        {"an entry longer than the DACL", descriptorWith(longAce, whole), "GetAclInformation"},
        {"an entry without a size", descriptorWith(emptyAce, whole), "GetAclInformation"},
        {"more entries than there are", descriptorWith(tooMany, whole), "GetAclInformation"},
        {"not a descriptor", std::vector<BYTE>(1), "some path"},
    };
    for (const auto& row : rows) {
        HeldFiles held;
        held.files[L"some path"] = {HeldSecurity::list, "", 0, 0, row.descriptor};
        support::expectCases(
            {{row.what, [](sswseErrRec* rec) { return update(rec, L"some path"); }, 3, failed(row.api)}});
        EXPECT_TRUE(held.written.empty());
    }
}

TEST(FileAcl, WritesExactlyWhatItIsGiven)
{
    HeldFiles held;
    const sswseAce* const none[1] = {};
    std::vector<Ace> huge(5000, acesOf(std::string("(A;;0x1;;;BU)"))[0]);
    const std::vector<sswseAce*> tooMany = pointersTo(huge);
    support::expectCases({
        {"nobody", [](sswseErrRec* rec) { return sswseUpdateAclOnFile(rec, L"x", nullptr, 0, true, true); }, 3},
        {"NULL", [](sswseErrRec* rec) { return sswseSetFileSecurity(rec, nullptr, 0, L"x", false, false, true); }, 4,
         "WSE-000012: Null or invalid pAceNew parameter."},
        {"none", [&](sswseErrRec* rec) { return sswseSetFileSecurity(rec, none, 0, L"x", false, false, true); }, 2},
        {"more than a DACL holds",
         [&](sswseErrRec* rec) { return sswseSetFileSecurity(rec, tooMany.data(), 5000, L"y", false, false, true); }, 3,
         failed("InitializeAcl")},
    });
    EXPECT_EQ(held.written, std::vector<std::wstring>{L"x"});
    EXPECT_EQ(held.result[L"x"], "");
}
