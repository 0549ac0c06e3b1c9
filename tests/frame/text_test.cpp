#include "frame/node.h"
#include "frame/text.h"
#include "tests/support/library_copy.h"

#include <gtest/gtest.h>

#include <set>

namespace {

std::multiset<void*> freed;

void __cdecl keepFreed(void* block)
{
    freed.insert(block);
}

void __cdecl releaseNothing(void*) {}

} // namespace

TEST(Memory, ArrayOfStringsIsReleasedOnceEach)
{
    support::LibraryCopy library;
    library.redirect("free", &keepFreed);
    char text[2][8];
    char* array[] = {text[0], nullptr, text[1], text[1] + 1};
    struct
    {
        char** array;
        size_t count;
        std::multiset<void*> expected;
    } const cases[] = {
        {nullptr, 3, {}},
        {array, 0, {array}},
        {array, 3, {text[0], text[1], array}},
    };
    for (const auto& row : cases) {
        freed.clear();
        EXPORT_OF(library, sswseFreeArrayofStrings)(row.array, row.count);
        freed.erase(nullptr);
        EXPECT_EQ(freed, row.expected) << row.count;
    }
    library.redirect("free", &releaseNothing);
}

TEST(Text, ConvertsWithItsTerminator)
{
    struct
    {
        const char* multibyte;
        const wchar_t* wide;
        size_t length;
    } const cases[] = {{nullptr, nullptr, 0}, {"", L"", 1}, {"C:\\x \x80\xE4", L"C:\\x \x20AC\xE4", 8}};
    ASSERT_EQ(GetACP(), 1252u);
    for (const auto& row : cases) {
        wchar_t* wide = nullptr;
        char* multibyte = nullptr;
        size_t length = 99;
        EXPECT_EQ(sswseMbToWide(row.multibyte, &wide, &length), 2u);
        EXPECT_STREQ(wide, row.wide);
        EXPECT_EQ(length, row.length);
        length = 99;
        EXPECT_EQ(sswseWideToMb(row.wide, &multibyte, &length), 2u);
        EXPECT_STREQ(multibyte, row.multibyte);
        EXPECT_EQ(length, row.length);
        free(wide);
        free(multibyte);
    }
}

// Characters without an exact form become "?" and not one that looks alike; a composed form is exact.
TEST(Text, NoBestFitInTheAnsiCodePage)
{
    struct
    {
        const wchar_t* wide;
        const char* multibyte;
    } const cases[] = {{L"\xFF21\x0100\x221E", "???"}, {L"a\x0308", "\xE4"}, {L"\x4E2D-", "?-"}};
    for (const auto& row : cases) {
        owned::Heap<char> multibyte;
        size_t length = 0;
        sswseErrRec rec = {};
        EXPECT_EQ(sswseToMultibyte({&rec, "test"}, row.wide, multibyte, &length), 2u);
        EXPECT_STREQ(multibyte.get(), row.multibyte);
        EXPECT_EQ(length, strlen(row.multibyte) + 1);
    }
}

TEST(Text, NodeNameOfAnObjectPath)
{
    struct
    {
        const wchar_t* path;
        DWORD status;
        const wchar_t* node; // "-" where it is not touched
    } const cases[] = {
        {L"C:\\dir", 0, L"-"},    {L"\\one\\two", 0, L"-"},
        {L"", 0, L"-"},           {L"\\\\host\\share\\dir", 2, L"host"},
        {L"\\\\\\share", 2, L""}, {L"\\\\host\\", 2, L"host"},
        {L"\\\\host", 4, L"-"},   {L"\\\\", 4, L"-"},
    };
    support::shippedLibrary();
    for (const auto& row : cases) {
        wchar_t node[64] = L"-";
        sswseErrRec rec = {"old", "old"};
        EXPECT_EQ(sswseNodeName(&rec, row.path, node), row.status);
        EXPECT_STREQ(node, row.node);
        EXPECT_STREQ(rec.message, row.status == 4 ? "WSE-000012: Null or invalid Path parameter.\r\n" : "");
        EXPECT_STREQ(rec.oserror, "");
    }
}
