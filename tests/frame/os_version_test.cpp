#include "tests/support/library_copy.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

OSVERSIONINFOEXA played;
int reads;

BOOL WINAPI playVersion(OSVERSIONINFOA* info)
{
    ++reads;
    SetLastError(ERROR_GEN_FAILURE);
    if (!played.dwMajorVersion || info->dwOSVersionInfoSize != 156)
        return FALSE;
    info->dwMajorVersion = played.dwMajorVersion;
    info->dwMinorVersion = played.dwMinorVersion;
    reinterpret_cast<OSVERSIONINFOEXA*>(info)->wProductType = played.wProductType;
    return TRUE;
}

} // namespace

TEST(OsVersion, PredicatesOfEachRelease)
{
    const std::tuple<DWORD, DWORD, BYTE, DWORD, DWORD, DWORD, DWORD> cases[] = {
        {5, 2, 2, 0, 0, 0, 1}, {6, 0, 1, 1, 0, 0, 0},  {6, 1, 3, 1, 1, 0, 0}, {6, 1, 2, 1, 1, 0, 1},
        {6, 2, 1, 1, 1, 1, 0}, {10, 0, 3, 1, 1, 1, 0}, {7, 0, 2, 1, 1, 1, 1}, {5, 9, 1, 0, 0, 0, 0},
    };
    for (const auto& [major, minor, product, vista, win7, win8, dc] : cases) {
        SCOPED_TRACE(major);
        support::LibraryCopy library;
        library.redirect("GetVersionExA", &playVersion);
        const auto isDC = EXPORT_OF(library, sswseIsOSWinDC);
        played = {};
        EXPECT_EQ(isDC(nullptr), 3u);
        reads = 0;
        played = {0, major, minor, 0, 0, "", 0, 0, 0, product, 0};
        EXPECT_EQ(isDC(nullptr), dc);
        played = {}; // is read once
        EXPECT_EQ(EXPORT_OF(library, sswseIsOSVistaOrAbove)(nullptr), vista);
        EXPECT_EQ(EXPORT_OF(library, sswseIsOSWin7OrAbove)(nullptr), win7);
        EXPECT_EQ(EXPORT_OF(library, sswseIsOSWin8OrAbove)(nullptr), win8);
        EXPECT_EQ(reads, 1);
    }
}
