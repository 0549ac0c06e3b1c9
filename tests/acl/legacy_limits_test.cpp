// The legacy permission setting where memory or stack end, and what it traces.
#include "frame/owned.h"
#include "tests/acl/legacy_tree.h"
#include "tests/support/trace_log.h"

#include <algorithm>

using acetext::failed;
using legacy::LegacyTree;
using support::TraceLog;
using testing::Contains;
using testing::StartsWith;

// Every block in turn is refused: the work stops with 2, nothing is handed out and nothing is lost.
TEST_F(LegacyTree, ExhaustedMemoryAnywhereIsStatus2)
{
    static int left;
    static long blocks;
    library.redirect(
        "malloc", +[](size_t size) -> void* {
            constexpr size_t argumentLine = 512; // of a traced call, kept for good
            if (size == argumentLine)
                return malloc(size);
            if (--left == 0)
                return nullptr;
            ++blocks;
            return malloc(size);
        });
    library.redirect(
        "free", +[](void* block) {
            blocks -= block != nullptr;
            free(block);
        });
    TraceLog log;
    EXPORT_OF(library, sswseTraceOn)(nullptr, &TraceLog::receive, &log, 0);
    const std::wstring bad = make(L"dir\\bad");
    make(L"dir\\sub\\file");
    failures.calls[{"SetFileSecurityW", bad}] = ERROR_ACCESS_DENIED;
    const auto function = EXPORT_OF(library, setPermissions);
    const auto release = EXPORT_OF(library, sswseFreeArrayofStrings);
    int refused = 0;
    for (DWORD status = 2; status == 2; ++refused) {
        left = refused + 1;
        blocks = 0;
        char** list = nullptr;
        DWORD count = 1;
        status = function(root.string().c_str(), 0, &list, &count);
        EXPECT_EQ(status == 2, left <= 0);
        EXPECT_EQ(list == nullptr, status == 2);
        EXPECT_EQ(count, status == 2 ? 0u : 1u);
        release(list, count);
        EXPECT_EQ(blocks, 0) << "after refusing block " << refused + 1;
    }
    const std::vector<std::string> lines = log.take();
    for (const char* line :
         {"updateAclOnFile() failed to allocate memory", "updateAclOnFile failed in mem. alloc.",
          "updateAclOnDirectory() failed to allocate memory", "updateAclOnDirectory failed in mem. alloc.",
          "createFinalFailList() failed to allocate memory"})
        EXPECT_THAT(lines, Contains(line));
    const std::string bytes = std::to_string(2 * (root.string().size() + 1));
    EXPECT_THAT(lines, Contains("malloc() failed to allocate " + bytes + " bytes"));
    EXPECT_THAT(lines, Contains(StartsWith("malloc() failed; size ")));
}

// A link that leads back up: the same directory below itself until the platform takes no longer path.
TEST_F(LegacyTree, EndlessTreeNeedsLittleStack)
{
    static int open;
    library.redirect(
        "GetFileAttributesW", +[](LPCWSTR) -> DWORD { return FILE_ATTRIBUTE_DIRECTORY; });
    library.redirect(
        "FindFirstFileW", +[](LPCWSTR pattern, WIN32_FIND_DATAW* found) -> HANDLE {
            constexpr size_t longest = 32767;
            if (wcslen(pattern) > longest) {
                SetLastError(ERROR_FILENAME_EXCED_RANGE);
                return INVALID_HANDLE_VALUE;
            }
            ++open;
            wcscpy(found->cFileName, L"l");
            return &open;
        });
    library.redirect(
        "FindNextFileW", +[](HANDLE, WIN32_FIND_DATAW*) -> BOOL {
            SetLastError(ERROR_NO_MORE_FILES);
            return FALSE;
        });
    library.redirect(
        "FindClose", +[](HANDLE) -> BOOL { return --open >= 0; });
    library.redirect(
        "GetFileSecurityW",
        +[](LPCWSTR, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR buffer, DWORD size, DWORD* needed) -> BOOL {
            const SECURITY_DESCRIPTOR_RELATIVE noDacl = {SECURITY_DESCRIPTOR_REVISION, 0, SE_SELF_RELATIVE, 0, 0, 0, 0};
            *needed = sizeof noDacl;
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return size >= sizeof noDacl && memcpy(buffer, &noDacl, sizeof noDacl);
        });
    library.redirect(
        "SetFileSecurityW", +[](LPCWSTR, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR) -> BOOL { return TRUE; });

    static legacy::Result result;
    static legacy::Function* function;
    function = EXPORT_OF(library, setPermissions);
    constexpr SIZE_T stack = 64 * 1024;
    const owned::Handle thread(CreateThread(
        nullptr, stack, +[](void*) -> DWORD { return (result = legacy::call("\\\\?\\C:\\root", 0, function)).status; },
        nullptr, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr));
    ASSERT_EQ(WaitForSingleObject(thread.get(), INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(result.status, 3u);
    ASSERT_EQ(result.failed.size(), 1u);
    EXPECT_GT(result.failed[0].size(), 32760u);
    EXPECT_EQ(open, 0);
}

TEST_F(LegacyTree, TracesEachStep)
{
    TraceLog log;
    const std::wstring bad = make(L"bad");
    failures.calls[{"second GetFileSecurityW", bad}] = ERROR_ACCESS_DENIED;
    EXPORT_OF(library, sswseTraceOn)(nullptr, &TraceLog::receive, &log, 0);
    const std::string name = root.string();
    const std::string message =
        "\nWSE-000053: Windows application programming interface (API) GetFileSecurityW failed.";
    const auto entered = [](const std::string& routine) { return "Entering... " + routine + "()\n"; };
    const auto left = [](const std::string& routine) { return "Exiting... " + routine + "()"; };
    const struct
    {
        legacy::Function* function;
        DWORD isAdmin;
        const char* entry;
        const char* update;
        const char* list;
    } cases[] = {
        {EXPORT_OF(library, setPermissions), 0, "setPermissions", "updateUserAcl", "createFinalFailList"},
        {EXPORT_OF(library, setPermissions2), 1, "setPermissions2", "updateAdminAcl2", "createFinalFailList2"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(legacy::call(name, row.isAdmin, row.function).status, 3u);
        std::vector<std::string> expected = {
            entered(row.entry),        "wFilename = " + name + ", isAdmin=" + std::to_string(row.isAdmin),
            entered(row.update),       "fname = " + name,
            entered("isOnNTFSVolume"), left("isOnNTFSVolume")};
        for (const std::string ace :
             {"createAuthenticatedUsersAce", "createLocalAdministratorsAce", "createLocalSystemAce"})
            if (!row.isAdmin || ace != "createAuthenticatedUsersAce")
                expected.insert(expected.end(), {entered(ace), left(ace), ace + " returned non-null pAce"});
        expected.insert(expected.end(),
                        {"calling updateAclOnDirectory", entered("updateAclOnDirectory"), entered("updateAclOnFile"),
                         "filename = " + name, left("updateAclOnFile"), entered("updateAclOnFile"),
                         "filename = " + name + "\\bad", "5 -GLE GetFileSecurityW-2", message, left("updateAclOnFile"),
                         left("updateAclOnDirectory"), entered(row.list), left(row.list), left(row.update),
                         left(row.entry)});
        std::vector<std::string> lines;
        for (std::string& line : log.take())
            if (line != "<separator>")
                lines.push_back(line.rfind(message, 0) == 0 ? message : line);
        EXPECT_EQ(lines, expected);
    }
}

TEST_F(LegacyTree, TracesFailuresWithTheirCalls)
{
    TraceLog log;
    const std::wstring file = make(L"file");
    EXPORT_OF(library, sswseTraceOn)(nullptr, &TraceLog::receive, &log, 0);
    const struct
    {
        const char* function;
        const char* aces;
        const char* line;
        const char* insert;
    } cases[] = {
        {"GetFileAttributesW", "", "", "GetFileAttributes"},
        {"GetFileSecurityW", "", "5 -GLE GetFileSecurityW-1", "GetFileSecurityW"},
        {"second GetFileSecurityW", "", "5 -GLE GetFileSecurityW-2", "GetFileSecurityW"},
        {"", "(A;;0x1;;;AU)(#0000080001000000)", "1336 -GLE GetAce-1", "GetAce"},
        {"SetFileSecurityW", "", "5 -GLE setFileSecurity", "setFileSecurity"},
    };
    for (const auto& row : cases) {
        failures.calls = {{{row.function, file}, ERROR_ACCESS_DENIED}};
        held.files[file].aces = row.aces;
        EXPECT_EQ(call(file).status, 3u);
        const std::vector<std::string> lines = log.take();
        EXPECT_TRUE(!*row.line || std::count(lines.begin(), lines.end(), row.line) == 1) << row.line;
        EXPECT_THAT(lines, Contains(StartsWith(std::string("\n") + failed(row.insert)))) << row.line;
    }
}
