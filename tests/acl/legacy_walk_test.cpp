// The legacy permission setting over trees: what is changed and what joins the fail list.
#include "tests/acl/ace_text.h"
#include "tests/acl/legacy_tree.h"

#include <algorithm>

namespace fs = std::filesystem;
using namespace acetext;
using legacy::LegacyTree;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

namespace {

std::string oem(const std::wstring& name)
{
    std::string text(name.size() + 1, '\0');
    WideCharToMultiByte(CP_OEMCP, WC_COMPOSITECHECK, name.c_str(), -1, text.data(), static_cast<int>(text.size()),
                        nullptr, nullptr);
    return text.c_str();
}

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
