#include "tests/support/library_copy.h"

#include <gtest/gtest.h>

namespace {

struct System
{
    DWORD major;
    DWORD minor;
    BYTE productType;
};

System played;
int reads;
bool fails;

BOOL WINAPI playVersion(OSVERSIONINFOA* info)
{
    ++reads;
    SetLastError(ERROR_GEN_FAILURE);
    if (fails || info->dwOSVersionInfoSize != 156)
        return FALSE;
    info->dwMajorVersion = played.major;
    info->dwMinorVersion = played.minor;
    reinterpret_cast<OSVERSIONINFOEXA*>(info)->wProductType = played.productType;
    return TRUE;
}

} // namespace

TEST(OsVersion, PredicatesOfEachRelease)
{
    struct
    {
        System system;
        DWORD vista, win7, win8, dc;
    } const cases[] = {
        {{5, 2, 2}, 0, 0, 0, 1}, {{6, 0, 1}, 1, 0, 0, 0},  {{6, 1, 3}, 1, 1, 0, 0}, {{6, 1, 2}, 1, 1, 0, 1},
        {{6, 2, 1}, 1, 1, 1, 0}, {{10, 0, 3}, 1, 1, 1, 0}, {{7, 0, 2}, 1, 1, 1, 1}, {{5, 9, 1}, 0, 0, 0, 0},
    };
    for (const auto& row : cases) {
        support::LibraryCopy library;
        library.redirect("GetVersionExA", &playVersion);
        const std::string name = std::to_string(row.system.major) + "." + std::to_string(row.system.minor);
        sswseErrRec rec = {};

        fails = true;
        EXPECT_EQ(EXPORT_OF(library, sswseIsOSWin8OrAbove)(&rec), 3u);
        EXPECT_EQ(std::string(rec.message).rfind("WSE-000045", 0), 0u) << rec.message;
        EXPECT_STREQ(rec.oserror, "31");

        fails = false;
        reads = 0;
        played = row.system;
        EXPECT_EQ(EXPORT_OF(library, sswseIsOSVistaOrAbove)(&rec), row.vista) << name;
        EXPECT_STREQ(rec.message, "");
        played = {}; // is read once
        EXPECT_EQ(EXPORT_OF(library, sswseIsOSWin7OrAbove)(&rec), row.win7) << name;
        EXPECT_EQ(EXPORT_OF(library, sswseIsOSWin8OrAbove)(nullptr), row.win8) << name;
        EXPECT_EQ(EXPORT_OF(library, sswseIsOSWinDC)(&rec), row.dc) << name;
        EXPECT_EQ(reads, 1) << name;
    }
}
