#include "frame/node.h"
#include "frame/text.h"
#include "tests/support/cases.h"
#include "tests/support/library_copy.h"

#include <gtest/gtest.h>

#include <tuple>

// Characters without an exact form become "?" and not one that looks alike; a composed form is exact.
TEST(Text, ConvertsBothWaysWithItsTerminator)
{
    const struct
    {
        const wchar_t* wide;
        const char* multibyte;
        size_t length;
        bool andBack = true;
    } cases[] = {
        {nullptr, nullptr, 0},
        {L"", "", 1},
        {L"C:\\x \x20AC\xE4", "C:\\x \x80\xE4", 8},
        {L"\xFF21\x0100\x221E", "???", 4, false},
        {L"a\x0308", "\xE4", 2, false},
        {L"\x4E2D-", "?-", 3, false},
    };
    ASSERT_EQ(GetACP(), 1252u);
    for (const auto& row : cases) {
        owned::Heap<char> multibyte;
        owned::Heap<wchar_t> back;
        size_t length = 99;
        EXPECT_EQ(sswseWideToMb(row.wide, multibyte, &length), 2u);
        EXPECT_STREQ(multibyte.get(), row.multibyte);
        EXPECT_EQ(length, row.length);
        EXPECT_EQ(sswseMbToWide(row.multibyte, back, &length), 2u);
        EXPECT_EQ(length, row.length);
        if (row.andBack) {
            EXPECT_STREQ(back.get(), row.wide);
        }
    }
}

TEST(Text, OfACodePageThatAllowsNoFlagIsConvertedWithoutAny)
{
    static UINT codePage;
    static DWORD flags;
    support::LibraryCopy library;
    library.redirect(
        "GetACP", +[]() WINAPI { return codePage; });
    library.redirect(
        "MultiByteToWideChar", +[](UINT, DWORD given, LPCCH, int, LPWSTR, int) WINAPI {
            flags = given;
            return 0;
        });
    for (const auto& [page, expected] : {std::pair(1252u, DWORD{MB_PRECOMPOSED}), {CP_UTF8, 0u}, {54936u, 0u}}) {
        codePage = page;
        EXPECT_EQ(EXPORT_OF(library, sswseCheckUserExists)(nullptr, "user"), 3u);
        EXPECT_EQ(flags, expected) << page;
    }
}

TEST(Text, NodeNameOfAnObjectPath)
{
    const std::tuple<const wchar_t*, DWORD, const wchar_t*> cases[] = {
        // "-" where it is not touched
        {L"C:\\dir", 0, L"-"},    {L"\\one\\two", 0, L"-"},
        {L"", 0, L"-"},           {L"\\\\host\\share\\dir", 2, L"host"},
        {L"\\\\\\share", 2, L""}, {L"\\\\host\\", 2, L"host"},
        {L"\\\\host", 4, L"-"},   {L"\\\\", 4, L"-"},
    };
    for (const auto& [path, status, expected] : cases) {
        wchar_t node[64] = L"-";
        sswseErrRec rec = {"old", "old"};
        EXPECT_EQ(sswseNodeName(&rec, path, node), status);
        EXPECT_STREQ(node, expected);
        EXPECT_EQ(support::messageOf(rec), status == 4 ? "WSE-000012: Null or invalid Path parameter." : "");
    }
}
