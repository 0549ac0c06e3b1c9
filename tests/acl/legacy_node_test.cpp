// The legacy permission setting of trees of real files, on a node that holds their security.
#include "frame/owned.h"
#include "tests/acl/held_security.h"
#include "tests/acl/on_node.h"
#include "tests/support/trace_log.h"

using acl::OnNode;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Key;
using testing::Pair;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace {

constexpr wchar_t users[] = L"D:(A;OICI;0x1200a9;;;AU)(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";
constexpr wchar_t administrators[] = L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";
constexpr wchar_t top[] = L"D:P(A;OICI;FR;;;BU)";
constexpr wchar_t unreadable[] = L"O:SYD:P(A;OICI;FA;;;SY)";
constexpr wchar_t unwritable[] = L"O:SYD:P(A;OICI;FR;;;BU)";

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

    describe({{L"", top}, {L"b\\\x4E2D", unreadable}, {L"c", unwritable}, {L"d", unwritable}});
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

// Where a directory cannot be listed to its end, it is in the list, once; an empty volume need not even have itself.
TEST_F(OnNode, LegacyFailuresOfThePlatformAmongTheOthers)
{
    for (const wchar_t* const name : {L"a", L"b\\", L"b\\in", L"z"})
        make(name);
    const struct
    {
        intercept::Fault fault;
        DWORD status;
        std::vector<std::string> failed; // below the root
        size_t written;
        const wchar_t* b = top;
    } rows[] = {
        {support::failing("GetFileAttributesW", ERROR_FILE_NOT_FOUND, 1), 1, {}, 0},
        {support::failing("GetFileAttributesW", ERROR_ACCESS_DENIED, 1), 3, {}, 0},
        {support::failing("GetFileAttributesW", ERROR_PATH_NOT_FOUND, 3), 3, {"\\b"}, 3},
        {support::failing("GetFileSecurityW", ERROR_INSUFFICIENT_BUFFER, 4), 3, {"\\a"}, 4},
        {support::failing("GetFileSecurityW", ERROR_ACCESS_DENIED, 5), 3, {"\\b"}, 4},
        {support::failing("SetFileSecurityW", ERROR_WRITE_PROTECT, 3), 3, {"\\b"}, 4},
        {support::failing("FindFirstFileW", ERROR_ACCESS_DENIED, 2), 3, {"\\b"}, 4},
        {support::failing("FindFirstFileW", ERROR_ACCESS_DENIED, 2), 3, {"\\b"}, 3, unwritable},
        {support::failing("FindFirstFileW", ERROR_FILE_NOT_FOUND, 2), 0, {}, 4},
        {support::failing("FindNextFileW", ERROR_NETNAME_DELETED, 4), 3, {"\\b"}, 4},
        {support::failing("FindNextFileW", ERROR_NETNAME_DELETED, 4), 3, {"\\b"}, 3, unwritable},
        {support::failing("WideCharToMultiByte", ERROR_NO_UNICODE_TRANSLATION), 3, {""}, 4, unwritable},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fault.function + std::to_string(row.fault.code));
        describe({{L"", top}, {L"b", row.b}});
        interception.start(row.fault);
        const legacy::Result result = applyLegacy(root, 0);
        EXPECT_THAT(interception.finish().balance, IsEmpty());
        EXPECT_EQ(result.status, row.status);
        std::vector<std::string> failed;
        for (const std::string& name : row.failed)
            failed.push_back(name.empty() ? "" : std::string(root.begin(), root.end()) + name);
        EXPECT_EQ(result.failed, failed);
        EXPECT_THAT(written(), SizeIs(row.written));
    }
}

TEST_F(OnNode, LegacyFailuresAreNamedInTheOemCodePage)
{
    ASSERT_EQ(GetOEMCP(), 437u);
    acl::Objects described = {{L"", top}};
    for (const wchar_t* const name : {L"\xE4\x4E2D", L"u\x0308", L"\xA9"}) {
        make(name);
        described[name] = unwritable;
    }
    describe(described);
    EXPECT_THAT(applyLegacy(root, 0).failed,
                UnorderedElementsAre(EndsWith("\\\x84?"), EndsWith("\\\x81"), EndsWith("\\c")));
}

TEST_F(OnNode, LegacyArguments)
{
    const auto function = EXPORT(setPermissions2);
    const std::string start(root.begin(), root.end());
    describe({{L"", top}});
    char** list = nullptr;
    DWORD count = 5;
    EXPECT_EQ(function(nullptr, 1, &list, &count), 3u);
    EXPECT_EQ(count, 0u);
    count = 5;
    EXPECT_EQ(function(start.c_str(), 1, nullptr, &count), 4u);
    EXPECT_EQ(count, 0u);
    EXPECT_THAT(written(), IsEmpty());
    EXPECT_EQ(function(start.c_str(), 1, &list, nullptr), 0u);
    EXPECT_THAT(written(), SizeIs(1));
}

TEST_F(OnNode, LegacySystemsDecideLittle)
{
    static OSVERSIONINFOW played;
    static BOOL answers;
    library.redirect(
        "GetVersionExW", +[](OSVERSIONINFOW* info) {
            info->dwMajorVersion = played.dwMajorVersion;
            info->dwPlatformId = played.dwPlatformId;
            return answers;
        });
    static DWORD mask; // of the first entry, as it is asked for
    library.redirect(
        "SetFileSecurityW", +[](LPCWSTR, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR descriptor) -> BOOL {
            const auto dacl = static_cast<SECURITY_DESCRIPTOR*>(descriptor)->Dacl;
            mask = reinterpret_cast<ACCESS_ALLOWED_ACE*>(dacl + 1)->Mask;
            return TRUE;
        });
    const struct
    {
        DWORD major, platform;
        BOOL answers;
        DWORD mask;
    } rows[] = {
        {4, VER_PLATFORM_WIN32_WINDOWS, TRUE, 0}, // says that all is done
        {0, 0, FALSE, 0x1200a9},
        {10, VER_PLATFORM_WIN32_NT, TRUE, 0x1200a9},
        {4, VER_PLATFORM_WIN32_NT, TRUE, 0xa01200a9},
    };
    describe({{L"", L"O:SY"}}); // no old entries
    for (const auto& row : rows) {
        mask = 0;
        played.dwMajorVersion = row.major;
        played.dwPlatformId = row.platform;
        answers = row.answers;
        EXPECT_EQ(applyLegacy(root, 0).status, 0u);
        EXPECT_EQ(mask, row.mask) << row.major;
    }
}

// Every block in turn is refused: the work stops with 2 and nothing is handed out.
TEST_F(OnNode, LegacyStatusOfExhaustedMemory)
{
    static int left;
    library.redirect(
        "malloc", +[](size_t size) -> void* { return --left == 0 ? nullptr : malloc(size); });
    for (const wchar_t* const name : {L"bad", L"sub\\", L"sub\\file"})
        make(name);
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

// A link that leads back up: the same directory below itself until the platform takes no longer path.
TEST(LegacyStack, IsLittleForAnEndlessTree)
{
    static int open;
    support::LibraryCopy library;
    library.redirect(
        "GetFileAttributesW", +[](LPCWSTR) -> DWORD { return FILE_ATTRIBUTE_DIRECTORY; });
    library.redirect(
        "FindFirstFileW", +[](LPCWSTR pattern, WIN32_FIND_DATAW* found) -> HANDLE {
            SetLastError(ERROR_FILENAME_EXCED_RANGE);
            wcscpy(found->cFileName, L"l");
            return wcslen(pattern) > 32767 ? INVALID_HANDLE_VALUE : (++open, &open);
        });
    library.redirect(
        "FindNextFileW", +[](HANDLE, WIN32_FIND_DATAW*) -> BOOL { return SetLastError(ERROR_NO_MORE_FILES), FALSE; });
    library.redirect(
        "FindClose", +[](HANDLE) -> BOOL { return --open >= 0; });
    library.redirect(
        "GetFileSecurityW",
        +[](LPCWSTR, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR buffer, DWORD size, DWORD* needed) -> BOOL {
            *needed = sizeof(SECURITY_DESCRIPTOR_RELATIVE);
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            const SECURITY_DESCRIPTOR_RELATIVE noDacl = {SECURITY_DESCRIPTOR_REVISION, 0, SE_SELF_RELATIVE, 0, 0, 0, 0};
            return size >= sizeof noDacl && memcpy(buffer, &noDacl, sizeof noDacl);
        });
    library.redirect(
        "SetFileSecurityW", +[](LPCWSTR, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR) -> BOOL { return TRUE; });

    static legacy::Result result;
    static legacy::Function* function;
    function = EXPORT_OF(library, setPermissions);
    const owned::Handle thread(CreateThread(
        nullptr, 64 * 1024,
        +[](void*) -> DWORD { return (result = legacy::call("\\\\?\\C:\\root", 0, function)).status; }, nullptr,
        STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
    ASSERT_EQ(WaitForSingleObject(thread.get(), INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(result.status, 3u);
    ASSERT_EQ(result.failed.size(), 1u);
    EXPECT_GT(result.failed[0].size(), 32760u);
    EXPECT_EQ(open, 0);
}

TEST_F(OnNode, LegacyTracesEachStep)
{
    support::TraceLog log;
    EXPORT(sswseTraceOn)(nullptr, &support::TraceLog::receive, &log, 0);
    make(L"bad");
    const std::string name(root.begin(), root.end());
    const std::string message = std::string("\n") + acetext::failed("GetFileSecurityW");
    const auto entered = [](const std::string& routine) { return "Entering... " + routine + "()\n"; };
    const auto left = [](const std::string& routine) { return "Exiting... " + routine + "()"; };
    for (const bool second : {false, true}) { // for users, for administrators
        const std::string suffix = second ? "2" : "";
        const std::string update = second ? "updateAdminAcl2" : "updateUserAcl";
        const std::string list = "createFinalFailList" + suffix;
        describe({{L"", top}});
        interception.start(support::failing("GetFileSecurityW", ERROR_ACCESS_DENIED, 4));
        EXPECT_EQ(applyLegacy(root, second, second).status, 3u);
        interception.finish();
        std::vector<std::string> expected = {entered("setPermissions" + suffix),
                                             "wFilename = " + name + ", isAdmin=" + (second ? "1" : "0"),
                                             entered(update),
                                             "fname = " + name,
                                             entered("isOnNTFSVolume"),
                                             left("isOnNTFSVolume")};
        for (const std::string ace :
             {"createAuthenticatedUsersAce", "createLocalAdministratorsAce", "createLocalSystemAce"})
            if (!second || ace != "createAuthenticatedUsersAce")
                expected.insert(expected.end(), {entered(ace), left(ace), ace + " returned non-null pAce"});
        expected.insert(expected.end(),
                        {"calling updateAclOnDirectory", entered("updateAclOnDirectory"), entered("updateAclOnFile"),
                         "filename = " + name, left("updateAclOnFile"), entered("updateAclOnFile"),
                         "filename = " + name + "\\bad", "5 -GLE GetFileSecurityW-2", message, left("updateAclOnFile"),
                         left("updateAclOnDirectory"), entered(list), left(list), left(update),
                         left("setPermissions" + suffix)});
        std::vector<std::string> lines;
        for (std::string& line : log.take())
            if (line != "<separator>")
                lines.push_back(line.rfind(message, 0) == 0 ? message : line);
        EXPECT_EQ(lines, expected);
    }
    // Names in messages that are not those of the platform's functions.
    const char* const odd[][3] = {{"GetFileAttributesW", "GetFileAttributes", "calling"},
                                  {"SetFileSecurityW", "setFileSecurity", "5 -GLE setFileSecurity"}};
    for (const auto& [function, insert, line] : odd) {
        interception.start(support::failing(function, ERROR_ACCESS_DENIED, 1));
        EXPECT_EQ(applyLegacy(root, 0).status, 3u);
        interception.finish();
        const std::vector<std::string> lines = log.take();
        EXPECT_THAT(lines, Contains(StartsWith(std::string("\n") + acetext::failed(insert))));
        EXPECT_EQ(std::count(lines.begin(), lines.end(), line), *line == '5');
    }
}
