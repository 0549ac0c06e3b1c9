#include "frame/node.h"
#include "frame/text.h"
#include "tests/support/library_copy.h"

#include <gtest/gtest.h>

#include <set>
#include <tuple>

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
    const std::tuple<char**, size_t, std::multiset<void*>> cases[] = {
        {nullptr, 3, {}}, {array, 0, {array}}, {array, 3, {text[0], text[1], array}}};
    for (const auto& [strings, count, expected] : cases) {
        freed.clear();
        EXPORT_OF(library, sswseFreeArrayofStrings)(strings, count);
        freed.erase(nullptr);
        EXPECT_EQ(freed, expected) << count;
    }
    library.redirect("free", &releaseNothing);
}

TEST(Text, ConvertsWithItsTerminator)
{
    const std::tuple<const char*, const wchar_t*, size_t> cases[] = {
        {nullptr, nullptr, 0}, {"", L"", 1}, {"C:\\x \x80\xE4", L"C:\\x \x20AC\xE4", 8}};
    ASSERT_EQ(GetACP(), 1252u);
    for (const auto& [multibyte, wide, expected] : cases) {
        owned::Heap<wchar_t> converted;
        owned::Heap<char> back;
        size_t length = 99;
        EXPECT_EQ(sswseMbToWide(multibyte, converted, &length), 2u);
        EXPECT_STREQ(converted.get(), wide);
        EXPECT_EQ(length, expected);
        length = 99;
        EXPECT_EQ(sswseWideToMb(wide, back, &length), 2u);
        EXPECT_STREQ(back.get(), multibyte);
        EXPECT_EQ(length, expected);
    }
}

// Characters without an exact form become "?" and not one that looks alike; a composed form is exact.
TEST(Text, NoBestFitInTheAnsiCodePage)
{
    const std::pair<const wchar_t*, const char*> cases[] = {
        {L"\xFF21\x0100\x221E", "???"}, {L"a\x0308", "\xE4"}, {L"\x4E2D-", "?-"}};
    for (const auto& [wide, expected] : cases) {
        owned::Heap<char> multibyte;
        size_t length = 0;
        sswseErrRec rec = {};
        EXPECT_EQ(sswseToMultibyte({&rec, "test"}, wide, multibyte, &length), 2u);
        EXPECT_STREQ(multibyte.get(), expected);
        EXPECT_EQ(length, strlen(expected) + 1);
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
    support::shippedLibrary();
    for (const auto& [path, status, expected] : cases) {
        wchar_t node[64] = L"-";
        sswseErrRec rec = {"old", "old"};
        EXPECT_EQ(sswseNodeName(&rec, path, node), status);
        EXPECT_STREQ(node, expected);
        EXPECT_STREQ(rec.message, status == 4 ? "WSE-000012: Null or invalid Path parameter.\r\n" : "");
        EXPECT_STREQ(rec.oserror, "");
    }
}
