// The legacy permission setting of trees of real files, on a node that holds their security.
#include "tests/acl/on_node.h"

using namespace acl;
using namespace support;
using namespace testing;

namespace {

constexpr wchar_t users[] = L"D:(A;OICI;0x1200a9;;;AU)(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";
constexpr wchar_t administrators[] = L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";

} // namespace

TEST_F(OnNode, LegacyEntriesReplaceWhatATreeHadAndAreLimitedByIt)
{
    const struct
    {
        const wchar_t* name;
        const wchar_t* before;
        std::wstring user; // afterwards
        std::wstring administrator;
    } objects[] = {
        {L"", L"D:P(A;OICI;FR;;;BU)", users, administrators},
        {L"dir", L"D:(A;OICI;FR;;;BA)(A;OICI;FA;;;SY)", L"D:(A;OICI;0x1200a9;;;AU)(A;OICI;FR;;;BA)(A;OICI;FA;;;SY)",
         L"D:(A;OICI;FR;;;BA)(A;OICI;FA;;;SY)"},
        {L"dir\\empty", L"D:", users, administrators},
        {L"dir\\.hidden", L"D:NO_ACCESS_CONTROL", users, administrators},
        {L"dir\\..none", L"O:SY", std::wstring(L"O:SY") + users, std::wstring(L"O:SY") + administrators},
        // What denies all that there is for files leaves the generic right, which then means all of it again.
        {L"dir\\all denied", L"D:(D;;FA;;;BA)(D;;FA;;;AU)", administrators, administrators},
    };
    make(L"dir\\");
    for (const auto& object : objects)
        if (wcschr(object.name, L'\\'))
            make(object.name);
    for (const DWORD isAdmin : {0u, 1u, 2u})
        for (const bool second : {false, true}) {
            Objects described;
            Objects expected;
            for (const auto& object : objects) {
                const std::wstring after = isAdmin == 1 ? object.administrator : object.user;
                described[object.name] = object.before;
                if (after != object.before)
                    expected[object.name] = sddl(after);
            }
            describe(described);
            EXPECT_EQ(applyLegacy(root, isAdmin, second).status, 0u);
            EXPECT_EQ(written(), expected);
        }
}

TEST_F(OnNode, LegacyFailuresAreListedInTheirOrderAndStopNothing)
{
    make({L"a", L"b\\", L"b\\in", L"b\\\xE4\x4E2D", L"c\\", L"c\\in", L"d\xA9", L"eu\x0308"});
    EXPECT_EQ(applyLegacy(root + L"\\none", 0).status, 1u);
    EXPECT_EQ(applyLegacy(root + L"\\none\\in", 0).status, 3u);
    EXPECT_EQ(applyLegacy(L"\\\\nowhere\\C$", 0).status, 3u);
    EXPECT_THAT(written(), IsEmpty());

    describe({{L"", top},
              {L"b\\\xE4\x4E2D", unreadable},
              {L"c", unwritable},
              {L"d\xA9", unwritable},
              {L"eu\x0308", unreadable}});
    const legacy::Result result = applyLegacy(root, 1);
    EXPECT_EQ(result.status, 3u);
    ASSERT_EQ(GetOEMCP(), 437u); // in which they are named
    EXPECT_THAT(result.failed, ElementsAre(narrowRoot + "\\b\\\x84?", narrowRoot + "\\c", narrowRoot + "\\dc",
                                           narrowRoot + "\\e\x81"));
    EXPECT_THAT(written(), UnorderedElementsAre(Key(L""), Key(L"a"), Key(L"b"), Key(L"b\\in"), Key(L"c\\in")));
    EXPECT_EQ(applyLegacy(root + L"\\c", 0).failed, std::vector<std::string>{narrowRoot + "\\c"});
}

TEST_F(OnNode, LegacyTreesMayHavePathsOfAnyLength)
{
    std::wstring deep = L"deep\\";
    for (int level = 0; level < 4; ++level, deep += std::wstring(200, L'n') + L'\\')
        make(deep);
    make({deep, deep + L"\x0416"});
    EXPECT_EQ(applyLegacy(L"\\\\?\\" + root + L"\\deep", 0).status, 0u);
    const auto objects = written();
    EXPECT_THAT(objects, SizeIs(6));
    EXPECT_THAT(objects, Contains(Pair(deep + L"\x0416", sddl(users))));
    EXPECT_THAT(applyLegacy(root + L"\\deep", 0).failed, SizeIs(1)) << "without a prefix the platform has one";
}

// Where a directory cannot be listed to its end, it is in the list, once; an empty volume need not even have itself.
TEST_F(OnNode, LegacyFailuresOfThePlatformAreListedOnce)
{
    make({L"a", L"b\\", L"b\\in", L"z"});
    const struct
    {
        intercept::Fault fault;
        DWORD status;
        const char* failed; // below the root; "" has no name at all, NULL is none
        size_t written;
        const wchar_t* b = top;
    } rows[] = {
        {failing("GetFileAttributesW", ERROR_ACCESS_DENIED, 1), 3, nullptr, 0},
        {failing("GetFileAttributesW", ERROR_PATH_NOT_FOUND, 3), 3, "\\b", 3},
        {failing("GetFileSecurityW", ERROR_INSUFFICIENT_BUFFER, 4), 3, "\\a", 4},
        {failing("FindFirstFileW", ERROR_ACCESS_DENIED, 2), 3, "\\b", 4},
        {failing("FindFirstFileW", ERROR_ACCESS_DENIED, 2), 3, "\\b", 3, unwritable},
        {failing("FindFirstFileW", ERROR_FILE_NOT_FOUND, 2), 0, nullptr, 4},
        {failing("FindNextFileW", ERROR_NETNAME_DELETED, 4), 3, "\\b", 4},
        {failing("FindNextFileW", ERROR_NETNAME_DELETED, 4), 3, "\\b", 3, unwritable},
        {failing("WideCharToMultiByte", ERROR_NO_UNICODE_TRANSLATION), 3, "", 4, unwritable},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fault.function + std::to_string(row.fault.code));
        describe({{L"", top}, {L"b", row.b}});
        interception.start(row.fault);
        const legacy::Result result = applyLegacy(root, 0);
        EXPECT_THAT(interception.finish().balance, IsEmpty());
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.failed, std::vector<std::string>(row.failed ? 1 : 0,
                                                          row.failed && *row.failed ? narrowRoot + row.failed : ""));
        EXPECT_THAT(written(), SizeIs(row.written));
    }
}

TEST_F(OnNode, LegacyArgumentsAreNeededButForTheCount)
{
    const auto function = EXPORT(setPermissions2);
    char** list = nullptr;
    DWORD count = 5;
    describe({{L"", top}});
    EXPECT_EQ(function(nullptr, 1, &list, &count), 3u);
    EXPECT_EQ(std::exchange(count, 5), 0u);
    EXPECT_EQ(function(narrowRoot.c_str(), 1, nullptr, &count), 4u);
    EXPECT_EQ(count, 0u);
    EXPECT_THAT(written(), IsEmpty());
    EXPECT_EQ(function(narrowRoot.c_str(), 1, &list, nullptr), 0u);
    EXPECT_THAT(written(), SizeIs(1));
}

TEST_F(OnNode, LegacySystemsOfOldGetGenericRightsAsWell)
{
    static DWORD mask; // of the first entry, as it is asked for
    library.redirect(
        "SetFileSecurityW", +[](LPCWSTR, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR descriptor) -> BOOL {
            const auto dacl = static_cast<SECURITY_DESCRIPTOR*>(descriptor)->Dacl;
            mask = reinterpret_cast<ACCESS_ALLOWED_ACE*>(dacl + 1)->Mask;
            return TRUE;
        });
    describe({{L"", L"O:SY"}}); // no old entries
    for (const auto& [major, expected] : {std::pair{3u, 0x1200a9u}, {10u, 0x1200a9u}, {4u, 0xa01200a9u}}) {
        local.major = major;
        EXPECT_EQ(applyLegacy(root, 0).status, 0u);
        EXPECT_EQ(mask, expected) << major;
    }
}

// Every block in turn is refused: the work stops with 2 and nothing is handed out.
TEST_F(OnNode, LegacyWorkStopsWhenMemoryIsExhausted)
{
    static int left;
    library.redirect(
        "malloc", +[](size_t size) -> void* { return --left == 0 ? nullptr : malloc(size); });
    make({L"bad", L"sub\\", L"sub\\file"});
    int refused = 0;
    for (DWORD status = 2; status == 2; ++refused) {
        describe({{L"", top}, {L"bad", unwritable}});
        left = refused + 1;
        const legacy::Result result = applyLegacy(root, 0);
        status = result.status;
        EXPECT_EQ(status, left <= 0 ? 2u : 3u) << refused;
        EXPECT_EQ(result.failed.size(), left <= 0 ? 0u : 1u);
    }
    EXPECT_GT(refused, 10);
}
