// Texts: of messages in a record, with all of the catalogue; formatted; converted; names in paths.
#include "frame/files.h"
#include "frame/format.h"
#include "frame/node.h"
#include "frame/text.h"
#include "home/key_file.h"
#include "services/dependency_list.h"
#include "services/service_key.h"
#include "tests/support/cases.h"
#include "tests/support/guarded_heap.h"
#include "tests/support/library_copy.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

std::string systemText(DWORD osError)
{
    char text[512] = "";
    FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, osError, 0x400, text,
                   sizeof text, nullptr);
    return *text ? text : " ";
}

} // namespace

TEST(Record, CarriesTheOsErrorBehindTheMessage)
{
    const support::LibraryCopy library;
    const auto fill = EXPORT_OF(library, sswseFillErrMsg);
    const std::string message = "WSE-000014: Lookup for Windows account name failed.\r\n";
    const std::tuple<DWORD, const char*, const char*> cases[] = {
        {ERROR_ACCESS_DENIED, "5", "5"},
        {0x80070005, "-2147024891", "2147942405"}, // signed in its own field only
        {0x2000FFFF, "536936447", "536936447"},    // the system has no text for it
    };
    for (const auto& [osError, number, unsignedNumber] : cases) {
        sswseErrRec rec = {"old", "old"};
        fill(&rec, SSWSE_ERROR_MESSAGE(14), osError, "routine", "LookupAccountNameW");
        EXPECT_EQ(rec.message, message + "\nO/S-Error: (OS " + unsignedNumber + ") " + systemText(osError));
        EXPECT_STREQ(rec.oserror, number);

        fill(&rec, SSWSE_ERROR_MESSAGE(14), 0, "routine", "LookupAccountNameW");
        EXPECT_EQ(rec.message, message);
        EXPECT_STREQ(rec.oserror, number) << "without an error of the system the field stays";
    }
    fill(nullptr, SSWSE_ERROR_MESSAGE(14), 5, "routine", "");
}

// The catalogue, as it is shipped.
TEST(Record, HasEveryMessageByteForByte)
{
    // Of every message with these inserts. A text that is changed on purpose changes it; the list is in the failure.
    constexpr uint64_t fingerprint = 8537893505061120821u;
    const support::LibraryCopy library;
    const auto fill = EXPORT_OF(library, sswseFillErrMsg);
    std::string all;
    size_t count = 0;
    for (const DWORD severity : {SSWSE_INFORMATIONAL_MESSAGE(0), SSWSE_ERROR_MESSAGE(0)})
        for (DWORD id = severity; id < severity + 80; ++id) {
            sswseErrRec rec = {};
            fill(&rec, id, 0, "routine", "api", "first", "C:\\second %1 %n", "th\xEFrd");
            EXPECT_STREQ(rec.oserror, "");
            if (std::string(rec.message) == " ") // there is none
                continue;
            all += std::to_string(id) + rec.message;
            ++count;
        }
    uint64_t hash = 14695981039346656037u; // FNV-1a
    for (const char character : all)
        hash = (hash ^ static_cast<unsigned char>(character)) * 1099511628211u;
    EXPECT_EQ(count, 68u);
    EXPECT_EQ(hash, fingerprint) << all;
}

TEST(Record, CutsWhatDoesNotFitAndStaysInside)
{
    const support::LibraryCopy library;
    const auto fill = EXPORT_OF(library, sswseFillErrMsg);
    for (const size_t length : {480, 497, 498, 499, 500, 2000}) { // with head, blanks and end: 511 at 497
        const std::string insert(length, 'x');
        for (const DWORD osError : {0, 5}) {
            const guarded::Buffer room(sizeof(sswseErrRec), '#');
            auto& rec = *reinterpret_cast<sswseErrRec*>(room.data());
            fill(&rec, SSWSE_INFORMATIONAL_MESSAGE(5), osError, "routine", "", insert.c_str(), "", "");
            std::string whole = ("WSE-00005: " + insert + "  .\r\n").substr(0, 511);
            if (osError)
                whole += "\nO/S-Error: (OS 5) " + systemText(5);
            EXPECT_EQ(rec.message, whole.substr(0, 511)) << length << " " << osError;
            EXPECT_EQ(rec.oserror[0], osError ? '5' : '#');
        }
    }
}

TEST(Format, NeverWritesBehindItsCapacity)
{
    // Of 8 bytes 5 are the capacity.
    const std::tuple<const char*, uint32_t, const char*> cases[] = {
        {"abc", 3, "abc\0####"}, {"abcde", 5, "abcde###"}, {"abcdef", sswseFormatOverflow, "abcde###"}};
    for (const auto& [text, result, left] : cases) {
        char buffer[9] = "########";
        EXPECT_EQ(sswseFormat(buffer, 5, "%s", text), result);
        EXPECT_EQ(memcmp(buffer, left, 8), 0) << text;
        char array[6] = "#####";
        sswseFormatText(array, "%s", text);
        EXPECT_EQ(std::string(array), std::string(text).substr(0, 5));
    }
}

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
        sswseErrRec rec = {};
        EXPECT_EQ(EXPORT_OF(library, sswseCheckUserExists)(&rec, "user"), 3u);
        EXPECT_EQ(flags, expected) << page;
        EXPECT_EQ(support::messageOf(rec).substr(0, 9), "WSE-00006");
    }
}

TEST(Text, BackslashIsNotTheSecondByteOfACharacter)
{
    whatif::Imports program(GetModuleHandleW(nullptr));
    BOOL(WINAPI* const isLead)(BYTE) = [](BYTE byte) -> BOOL { return byte == 0x95; };
    program.redirect("IsDBCSLeadByte", reinterpret_cast<void*>(isLead));
    EXPECT_STREQ(sswseFindBackslash("\x95\\\\x"), "\\x");
    EXPECT_STREQ(sswseFindBackslash("x\\\x95"), "\\\x95");
    EXPECT_EQ(sswseFindBackslash("\x95\\\x95"), nullptr);
    EXPECT_EQ(sswseCheckUserInGroup(nullptr, "\x95\\\\x", "Users", 0, nullptr), 3u); // no such user, but a name
    EXPECT_STREQ(sswseHomeKeyOfLine("KESTEL\\K\x95\\"), "K\x95\\");
    char key[64];
    EXPECT_EQ(sswseGetServiceKeyFromBinPath(nullptr, "C:\\\x95\\kestel", "any", key, sizeof key), 2u);
    EXPECT_STREQ(key, "\x95\\kestel.exe");
    sswseErrRec rec = {};
    owned::Heap<wchar_t> wide;
    EXPECT_EQ(sswseDependenciesToWide({&rec, __func__}, "\x95\0", wide), 3u); // half a character
}

TEST(Text, NameBesideTheLibraryIsCutToAPath)
{
    for (const size_t directory : {MAX_PATH - 1 - strlen("\\x.key"), MAX_PATH - 1 - strlen("\\x.ke")}) {
        char path[MAX_PATH] = "";
        memset(path, 'd', directory);
        sswseNameBeside(path, path + directory, "x.key");
        EXPECT_EQ(path, (std::string(directory, 'd') + "\\x.key").substr(0, MAX_PATH - 1));
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
