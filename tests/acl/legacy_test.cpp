// The legacy permission setting: what it writes for one object, by what its old DACL says, for trees of real files, on
// a node that holds their security, and how much stack it takes.
#include "frame/owned.h"
#include "tests/acl/on_node.h"

using namespace acetext;
using namespace acl;
using namespace support;
using namespace testing;

namespace {

constexpr DWORD reading = 0x1200a9;
constexpr DWORD full = 0x101f01ff;
constexpr wchar_t forUsers[] = L"D:(A;OICI;0x1200a9;;;AU)(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";
constexpr wchar_t readers[] = L"(A;OICI;0x1200a9;;;AU)";

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

} // namespace

TEST(LegacyDacl, LimitsTheNewEntriesByTheOldOnesOfTheirAccounts)
{
    const struct
    {
        const char* before;
        DWORD authenticatedUsers;
        DWORD administrators;
        DWORD localSystem = full;
    } rows[] = {
        {"", reading, full},
        {"(A;;0x1f01ff;;;S-1-5-21-1-2-3-1000)(D;;0x10000000;;;WD)", reading, full}, // other accounts
        {"(A;ID;0x120089;;;BA)(A;OICIIO;0x3;;;AU)", 1, 0x120089}, // inherited ones and ones for children alike
        {"(A;;0x2;;;AU)", 0, full},                               // nothing in common is no entry
        {"(A;;0x10000000;;;BA)", reading, 0x10000000},
        {"(A;;0x0;;;BA)(A;;0x0;;;SY)", reading, 0, 0},
        {"(D;;0x1;;;AU)", reading & ~1u, full},
        {"(D;;0x1f01ff;;;BA)", reading, 0x10000000},
        {"(D;;0x10000000;;;AU)", 0, full}, // exactly the generic right: all
        {"(D;;0x0;;;AU)", 0, full},
        {"(D;;0x10000001;;;BA)", reading, 0x1f01fe},
        {"(D;;0x10000000;;;AU)(D;;0x0;;;BA)(A;;0x0;;;SY)", 0, 0, 0}, // an empty DACL
        // allow after allow
        {"(A;;0x1;;;BA)(A;;0x10000;;;BA)", reading, 0x10001},
        // deny after deny: everything denied stays so; the generic right is everything in the first entry only
        {"(D;;0x1;;;AU)(D;;0x8;;;AU)", reading & ~9u, full},
        {"(D;;0x10000000;;;AU)(D;;0x1;;;AU)", 0, full},
        {"(D;;0x0;;;AU)(D;;0x1;;;AU)", 0, full},
        {"(D;;0x1;;;AU)(D;;0x10000000;;;AU)", reading & ~1u, full},
        // deny after allow
        {"(A;;0x1f01ff;;;BA)(D;;0x1;;;BA)", reading, 0x1f01fe},
        {"(A;;0x1f01ff;;;BA)(D;;0x10000000;;;BA)", reading, 0},
        {"(A;;0x1f01ff;;;BA)(D;;0x10000001;;;BA)", reading, 0x1f01fe},
        {"(A;;0x1f01ff;;;BA)(D;;0x0;;;BA)", reading, 0x1f01ff},
        // allow after deny: from then on it is an allow entry
        {"(D;;0x1;;;BA)(A;;0x1f01ff;;;BA)", reading, 0x1f01fe},
        {"(D;;0x1;;;BA)(A;;0x1;;;BA)", reading, 0},
        {"(D;;0x10000000;;;BA)(A;;0x1f01ff;;;BA)", reading, 0},
        {"(D;;0x0;;;BA)(A;;0x1f01ff;;;BA)(A;;0x3;;;BA)", reading, 3}, // allowed again
        {"(A;;0x1;;;BA)(D;;0x1;;;BA)(A;;0x5;;;BA)", reading, 5},
        // each account for itself
        {"(D;;0x1;;;AU)(A;;0x3;;;BA)(D;;0x8;;;AU)(D;;0x1;;;BA)(A;;0x1;;;SY)", reading & ~9u, 2, 1},
        // entries with GUIDs, and those of another type, which count as allowed when they come first, and for nothing
        // later
        {"(A;;0x1;;;BA)(OA;;0x2;;;BA)", reading, 3},
        {"(OD;;0x1;;;AU)(A;;0x9;;;BA)(OD;;0x8;;;BA)", reading & ~1u, 1},
        {"(OD;;0x10000000;;;AU)", 0, full},
        {"(T9;;0x3;;;BA)(D;;0x1;;;BA)(A;;0x8;;;BA)", reading, 0xa},
        {"(A;;0x3;;;BA)(T9;;0x100;;;BA)(T10;;0x1;;;BA)", reading, 3},
        {"(T10;;0x3;;;AU)(T17;;0x1;;;WD)", 1, full},
        // a SID that is none limits nothing: revision 2, revision 0, without a sub-authority
        {"(#00001400ffffffff02010000000000050b000000)", reading, full},
        {"(#0000140001000000000000000000000500000000)(A;;0x1;;;AU)", 1, full},
        {"(#00001000010000000100000000000005)", reading, full},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.before);
        const HeldObject held(row.before);
        EXPECT_EQ(legacy::call("x").status, 0u);
        EXPECT_EQ(held.result, entries(row.authenticatedUsers, row.administrators, row.localSystem));
    }
}

TEST(LegacyDacl, IsUnreadableWhereASidDoesNotLieInsideItsEntry)
{
    const char* const unreadableOnes[] = {
        "(#00000c0001000000010f0000)",                 // no room for a SID
        "(#0000140001000000010200000000000520000000)", // two sub-authorities, room for one
        "(#0000180001000000010100000000000520000000)", // an entry that ends behind the list
        "(#4200080001000000)",                         // of any type
    };
    for (const char* before : unreadableOnes) {
        const HeldObject held(before);
        EXPECT_THAT(legacy::call("x").failed, ElementsAre("x")) << before;
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
    EXPECT_THAT(result.failed, ElementsAre(SizeIs(Gt(32760u))));
    EXPECT_EQ(held.writes, (result.failed[0].size() - strlen("\\\\?\\C:\\root")) / strlen("\\l") + 1); // itself too
    EXPECT_EQ(open, 0);
}

TEST_F(OnNode, LegacyEntriesReplaceWhatATreeHadAndAreLimitedByIt)
{
    const struct
    {
        const wchar_t* name;
        const wchar_t* before;
        std::wstring after; // with isAdmin, what is for readers is not
    } objects[] = {
        {L"", top, forUsers},
        {L"dir", L"D:(A;OICI;FR;;;BA)(A;OICI;FA;;;SY)", L"D:(A;OICI;0x1200a9;;;AU)(A;OICI;FR;;;BA)(A;OICI;FA;;;SY)"},
        {L"dir\\empty", L"D:", forUsers},
        {L"dir\\.hidden", L"D:NO_ACCESS_CONTROL", forUsers},
        {L"dir\\..none", L"O:SY", std::wstring(L"O:SY") + forUsers},
        // What denies all that there is for files leaves the generic right, which then means all of it again.
        {L"dir\\all denied", L"D:(D;;FA;;;BA)(D;;FA;;;AU)", L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)"},
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
                std::wstring after = object.after;
                if (const size_t at = after.find(readers); isAdmin == 1 && at < after.size())
                    after.erase(at, wcslen(readers));
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
    EXPECT_THAT(applyLegacy(root + L"\\c", 0).failed, ElementsAre(narrowRoot + "\\c"));
}

// Where a directory cannot be written and not be listed to its end either, it is in the list once. A name that cannot
// be converted is a name all the same.
TEST_F(OnNode, LegacyFailuresOfThePlatformAreListedOnce)
{
    make({L"a", L"b\\", L"b\\in", L"z"});
    const struct
    {
        intercept::Fault fault;
        Lines failed;
        size_t written;
        const char* traced = "";
        const wchar_t* b = unwritable;
    } rows[] = {
        {failing("GetFileSecurityW", 5, 4), {narrowRoot + "\\a"}, 4, "5 -GLE GetFileSecurityW-2", top},
        {failing("FindFirstFileW", ERROR_ACCESS_DENIED, 2), {narrowRoot + "\\b"}, 3},
        {failing("FindNextFileW", ERROR_NETNAME_DELETED, 4), {narrowRoot + "\\b"}, 3},
        {failing("WideCharToMultiByte", ERROR_NO_UNICODE_TRANSLATION), {""}, 4},
    };
    TraceLog log;
    EXPORT(sswseTraceOn)(nullptr, &TraceLog::receive, &log, 0);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fault.function);
        describe({{L"", top}, {L"b", row.b}});
        interception.start(row.fault);
        EXPECT_EQ(applyLegacy(root, 0).failed, row.failed);
        EXPECT_THAT(interception.finish().balance, IsEmpty());
        EXPECT_THAT(written(), SizeIs(row.written));
        EXPECT_THAT(log.take(), Contains(StartsWith(row.traced)));
    }
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
