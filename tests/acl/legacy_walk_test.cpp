// The legacy permission setting over trees: what is changed, what joins the fail list, what is traced.
#include "frame/owned.h"
#include "tests/acl/ace_text.h"
#include "tests/acl/held_security.h"
#include "tests/acl/legacy_call.h"
#include "tests/support/library_copy.h"
#include "tests/support/trace_log.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <map>

namespace fs = std::filesystem;
using namespace acetext;
using support::TraceLog;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAreArray;

namespace {

// Calls of platform functions that fail, by function and path ("FindFirstFileW" by directory), and the paths of those
// that did, in order.
struct Failing
{
    std::map<std::pair<std::string, std::wstring>, DWORD> calls;
    std::vector<std::wstring> order;
    std::map<HANDLE, std::wstring> searches;

    bool now(const char* function, const std::wstring& path)
    {
        const auto row = calls.find({function, path});
        if (row == calls.end())
            return false;
        if (row->second != ERROR_FILE_NOT_FOUND && (order.empty() || order.back() != path))
            order.push_back(path);
        SetLastError(row->second);
        return true;
    }
};

Failing* failing;
decltype(GetFileSecurityW)* heldRead;
decltype(SetFileSecurityW)* heldWrite;

DWORD WINAPI attributesOf(LPCWSTR path)
{
    return failing->now("GetFileAttributesW", path) ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(path);
}

HANDLE WINAPI findFirst(LPCWSTR pattern, WIN32_FIND_DATAW* found)
{
    const std::wstring directory(pattern, wcslen(pattern) - 2);
    if (failing->now("FindFirstFileW", directory))
        return INVALID_HANDLE_VALUE;
    const HANDLE search = FindFirstFileW(pattern, found);
    failing->searches[search] = directory;
    return search;
}

BOOL WINAPI findNext(HANDLE search, WIN32_FIND_DATAW* found)
{
    return !failing->now("FindNextFileW", failing->searches[search]) && FindNextFileW(search, found);
}

BOOL WINAPI readSecurity(LPCWSTR path, SECURITY_INFORMATION part, PSECURITY_DESCRIPTOR buffer, DWORD size,
                         DWORD* needed)
{
    return !failing->now(size ? "second GetFileSecurityW" : "GetFileSecurityW", path) &&
           heldRead(path, part, buffer, size, needed);
}

BOOL WINAPI writeSecurity(LPCWSTR path, SECURITY_INFORMATION part, PSECURITY_DESCRIPTOR descriptor)
{
    return !failing->now("SetFileSecurityW", path) && heldWrite(path, part, descriptor);
}

std::string oem(const std::wstring& name)
{
    std::string text(name.size() + 1, '\0');
    WideCharToMultiByte(CP_OEMCP, WC_COMPOSITECHECK, name.c_str(), -1, text.data(), static_cast<int>(text.size()),
                        nullptr, nullptr);
    return text.c_str();
}

// A copy of the library whose file security is held and some of whose platform functions fail.
class LegacyTree : public testing::Test
{
protected:
    LegacyTree()
    {
        failing = &failures;
        heldRead = &GetFileSecurityW;
        heldWrite = &SetFileSecurityW;
        library.redirect("GetFileSecurityW", &readSecurity);
        library.redirect("SetFileSecurityW", &writeSecurity);
        library.redirect("GetFileAttributesW", &attributesOf);
        library.redirect("FindFirstFileW", &findFirst);
        library.redirect("FindNextFileW", &findNext);
    }

    std::wstring make(const std::wstring& relative)
    {
        const fs::path path = root / relative;
        fs::create_directories(relative.back() == L'\\' ? path : path.parent_path());
        if (relative.back() != L'\\')
            std::ofstream(path) << "x";
        return (relative.back() == L'\\' ? path.parent_path() : path).wstring();
    }

    legacy::Result call(const fs::path& path, DWORD isAdmin = 0) const
    {
        return legacy::call(path.string(), isAdmin, EXPORT_OF(library, setPermissions));
    }

    support::LibraryCopy library;
    HeldFiles held;
    Failing failures;
    const support::ScratchDirectory scratch;
    const fs::path root = scratch.path() / "root";
};

} // namespace

TEST_F(LegacyTree, EveryObjectOnce)
{
    std::vector<std::wstring> all = {root.wstring()};
    for (const wchar_t* path : {L"empty\\", L"file", L"dir\\", L"dir\\.hidden", L"dir\\..a", L"dir\\sub\\",
                                L"dir\\sub\\\x4E2D\xE4", L"dir\\sub\\deep\\", L"dir\\sub\\deep\\x"})
        all.push_back(make(path));
    EXPECT_EQ(call(root).status, 0u);
    EXPECT_THAT(held.written, UnorderedElementsAreArray(all));
    EXPECT_EQ(held.written.front(), root.wstring());
    EXPECT_LT(std::find(held.written.begin(), held.written.end(), root / "dir"),
              std::find(held.written.begin(), held.written.end(), root / "dir" / "sub"))
        << "a directory before its children";
}

TEST_F(LegacyTree, FailuresAreCollectedInOrderAndStopNothing)
{
    const struct
    {
        const wchar_t* path; // a directory has something below it
        std::vector<std::pair<const char*, DWORD>> calls;
        bool isWritten;
        bool isEntered;
    } objects[] = {
        {L"unread", {{"GetFileSecurityW", ERROR_ACCESS_DENIED}}, false, false},
        {L"unread \x4E2D\xE4", {{"second GetFileSecurityW", ERROR_INSUFFICIENT_BUFFER}}, false, false},
        {L"unread, entered\\", {{"GetFileSecurityW", ERROR_ACCESS_DENIED}}, false, true},
        {L"unwritten\\", {{"SetFileSecurityW", ERROR_ACCESS_DENIED}}, false, true},
        {L"vanished\\", {{"GetFileAttributesW", ERROR_PATH_NOT_FOUND}}, false, false},
        {L"unlisted\\", {{"FindFirstFileW", ERROR_ACCESS_DENIED}}, true, false},
        {L"listed once\\", {{"FindNextFileW", ERROR_NETNAME_DELETED}}, true, false}, // the first entry is "."
        {L"twice\\",
         {{"SetFileSecurityW", ERROR_ACCESS_DENIED}, {"FindFirstFileW", ERROR_ACCESS_DENIED}},
         false,
         false},
        {L"good", {}, true, false},
        {L"volume root\\", {{"FindFirstFileW", ERROR_FILE_NOT_FOUND}}, true, false}, // empty, no failure
    };
    std::vector<std::wstring> written = {root.wstring()};
    for (const auto& object : objects) {
        const std::wstring path = make(object.path);
        const bool isDirectory = fs::is_directory(path);
        const std::wstring below = isDirectory ? make(object.path + std::wstring(L"below")) : L"";
        for (const auto& [function, error] : object.calls)
            failures.calls[{function, path}] = error;
        if (object.isWritten)
            written.push_back(path);
        if (object.isEntered)
            written.push_back(below);
    }

    const legacy::Result result = call(root);
    EXPECT_EQ(result.status, 3u);
    EXPECT_THAT(held.written, UnorderedElementsAreArray(written));
    std::vector<std::string> failed;
    for (const std::wstring& path : failures.order)
        failed.push_back(oem(path));
    EXPECT_EQ(result.failed, failed);
    EXPECT_EQ(failed.size(), 8u);
}

TEST_F(LegacyTree, NamesInTheFailListAreOem)
{
    static const wchar_t* unconvertible = nullptr;
    library.redirect(
        "WideCharToMultiByte",
        +[](UINT codePage, DWORD flags, LPCWCH wide, int wideLength, LPSTR text, int size, LPCCH character,
            LPBOOL used) -> int {
            if (codePage == CP_OEMCP && wcsstr(wide, unconvertible))
                return 0;
            return WideCharToMultiByte(codePage, flags, wide, wideLength, text, size, character, used);
        });
    unconvertible = L"not";
    ASSERT_EQ(GetOEMCP(), 437u);
    for (const auto& [name, expected] : {std::pair(L"\xE4\x4E2D", "\x84?"), std::pair(L"u\x0308", "\x81"),
                                         std::pair(L"\xA9", "c"), std::pair(L"cannot be converted", "")}) {
        const std::wstring path = make(name);
        failures.calls.clear();
        failures.calls[{"SetFileSecurityW", path}] = ERROR_ACCESS_DENIED;
        const std::string base = *expected ? root.string() + "\\" : "";
        EXPECT_THAT(call(root).failed, ElementsAre(base + expected));
    }
}

TEST_F(LegacyTree, StartThatCannotBeUsed)
{
    const std::wstring file = make(L"file");
    EXPECT_EQ(call(root / "missing").status, 1u);
    for (const auto& [error, status] : {std::pair(ERROR_FILE_NOT_FOUND, 1u), std::pair(ERROR_PATH_NOT_FOUND, 3u),
                                        std::pair(ERROR_ACCESS_DENIED, 3u)}) {
        failures.calls[{"GetFileAttributesW", file}] = static_cast<DWORD>(error);
        const legacy::Result result = call(file);
        EXPECT_EQ(result.status, status);
        EXPECT_FALSE(result.hasList);
    }
    failures.calls.clear();

    const auto function = EXPORT_OF(library, setPermissions2);
    char** list = nullptr;
    DWORD count = 5;
    EXPECT_EQ(function(nullptr, 1, &list, &count), 3u);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(function(root.string().c_str(), 1, nullptr, &count), 4u);
    EXPECT_THAT(held.written, IsEmpty());
    EXPECT_EQ(function(root.string().c_str(), 1, &list, nullptr), 0u);

    library.redirect(
        "MultiByteToWideChar", +[](UINT, DWORD, LPCCH, int, LPWSTR, int) { return 0; });
    EXPECT_EQ(call(file).status, 3u);
}

TEST_F(LegacyTree, SystemsDecideLittle)
{
    const std::wstring file = make(L"file");
    static OSVERSIONINFOW played;
    static BOOL answers;
    library.redirect(
        "GetVersionExW", +[](OSVERSIONINFOW* info) {
            info->dwMajorVersion = played.dwMajorVersion;
            info->dwPlatformId = played.dwPlatformId;
            return answers;
        });
    const std::string rest = "(A;OICI;0x101f01ff;;;BA)(A;OICI;0x101f01ff;;;SY)";
    held.files[file].form = HeldSecurity::null;
    const struct
    {
        DWORD major, platform;
        BOOL answers;
        std::string written;
    } cases[] = {
        {4, VER_PLATFORM_WIN32_WINDOWS, TRUE, ""}, // says that all is done
        {0, 0, FALSE, canonical("(A;OICI;0x1200a9;;;AU)" + rest)},
        {10, VER_PLATFORM_WIN32_NT, TRUE, canonical("(A;OICI;0x1200a9;;;AU)" + rest)},
        {4, VER_PLATFORM_WIN32_NT, TRUE, canonical("(A;OICI;0xa01200a9;;;AU)" + rest)},
    };
    for (const auto& row : cases) {
        held.result.clear();
        played.dwMajorVersion = row.major;
        played.dwPlatformId = row.platform;
        answers = row.answers;
        EXPECT_EQ(call(file).status, 0u);
        EXPECT_EQ(held.result[file], row.written) << row.major;
    }
}

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
