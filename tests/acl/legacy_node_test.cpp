// The legacy permission setting of trees of real files, on a node that holds their security.
#include "tests/acl/on_node.h"

using acl::OnNode;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Key;
using testing::Pair;
using testing::SizeIs;
using testing::UnorderedElementsAre;

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
        const wchar_t* user; // afterwards
        const wchar_t* administrator;
    } objects[] = {
        {L"", L"D:P(A;OICI;FR;;;BU)", users, administrators},
        {L"dir", L"D:(A;OICI;FR;;;BA)(A;OICI;FA;;;SY)", L"D:(A;OICI;0x1200a9;;;AU)(A;OICI;FR;;;BA)(A;OICI;FA;;;SY)",
         L"D:(A;OICI;FR;;;BA)(A;OICI;FA;;;SY)"},
        {L"dir\\empty", L"D:", users, administrators},
        {L"dir\\none", L"D:NO_ACCESS_CONTROL", users, administrators},
        {L"dir\\readers denied", L"D:(D;;0x20;;;AU)(A;;FA;;;BA)(A;;0x1;;;IU)",
         L"D:(A;OICI;0x120089;;;AU)(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)", administrators},
        // What denies all that there is for files leaves the generic right, which then means all of it again.
        {L"dir\\all denied", L"D:(D;;FA;;;BA)(D;;FA;;;AU)", administrators, administrators},
    };
    make(L"dir\\");
    for (const auto& object : objects)
        if (wcschr(object.name, L'\\'))
            make(object.name);
    for (const DWORD isAdmin : {0u, 1u, 2u})
        for (const bool second : {false, true}) {
            acl::Objects described;
            acl::Objects expected;
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
    for (const wchar_t* const name : {L"a", L"b\\", L"b\\in", L"b\\\x4E2D", L"c\\", L"c\\in", L"d"})
        make(name);
    EXPECT_EQ(applyLegacy(root + L"\\none", 0).status, 1u);
    EXPECT_EQ(applyLegacy(root + L"\\none\\in", 0).status, 3u);
    EXPECT_EQ(applyLegacy(L"\\\\nowhere\\C$", 0).status, 3u);
    EXPECT_THAT(written(), IsEmpty());

    constexpr wchar_t unreadable[] = L"O:SYD:P(A;OICI;FA;;;SY)";
    constexpr wchar_t unwritable[] = L"O:SYD:P(A;OICI;FR;;;BU)";
    describe({{L"", L"D:P(A;OICI;FR;;;BU)"}, {L"b\\\x4E2D", unreadable}, {L"c", unwritable}, {L"d", unwritable}});
    const std::string start(root.begin(), root.end());
    const legacy::Result result = applyLegacy(root, 1);
    EXPECT_EQ(result.status, 3u);
    EXPECT_THAT(result.failed, ElementsAre(start + "\\b\\?", start + "\\c", start + "\\d"));
    EXPECT_THAT(written(), UnorderedElementsAre(Key(L""), Key(L"a"), Key(L"b"), Key(L"b\\in"), Key(L"c\\in")));
    EXPECT_EQ(applyLegacy(root + L"\\d", 0).failed, std::vector<std::string>{start + "\\d"});
}

// Paths have no bound here. A link that leads back up shows the same objects again, as far as the platform resolves it;
// what it resolves no more has failed.
TEST_F(OnNode, LegacyTreesOfLongPathsAndWithALink)
{
    std::wstring deep = L"deep\\";
    for (int level = 0; level < 4; ++level, deep += std::wstring(200, L'n') + L'\\')
        make(deep);
    make(deep);
    make(deep + L"\x0416");
    EXPECT_EQ(applyLegacy(L"\\\\?\\" + root + L"\\deep", 0).status, 0u);
    const auto objects = written();
    EXPECT_THAT(objects, SizeIs(6));
    EXPECT_THAT(objects, Contains(Pair(deep + L"\x0416", sddl(users))));

    for (const wchar_t* const name : {L"loop\\", L"loop\\a", L"loop\\z"})
        make(name);
    makeLink(L"loop\\link");
    const legacy::Result result = applyLegacy(root + L"\\loop", 0);
    EXPECT_EQ(result.status, 3u);
    EXPECT_THAT(result.failed, ElementsAre(EndsWith("\\link\\link")));
    EXPECT_THAT(written(), SizeIs(4));
}
