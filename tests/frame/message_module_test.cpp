// Where the texts come from. The build makes small message modules: their one message, number 12, begins with their
// language code.
#include "frame/message_module.h"
#include "tests/support/library_copy.h"

#include <gtest/gtest.h>

#include <fstream>

namespace fs = std::filesystem;

namespace {

LANGID language;

LANGID WINAPI userLanguage()
{
    return language;
}

HMODULE WINAPI noModule(const char*)
{
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

std::string messageFrom(const support::LibraryCopy& library, DWORD osError = 0)
{
    sswseErrRec rec = {};
    EXPORT_OF(library, sswseFillErrMsg)(&rec, SSWSE_ERROR_MESSAGE(12), osError, "routine", "", "insert");
    return rec.message;
}

void putModule(const support::LibraryCopy& library, const std::string& code)
{
    const std::string file = "KESWSECMSG" + code + ".DLL";
    fs::copy_file(support::programDirectory() / "message-modules" / file, library.directory() / file);
}

constexpr char ownText[] = "WSE-000012: Null or invalid insert parameter.\r\n";

} // namespace

TEST(MessageModule, LanguageCodes)
{
    const struct
    {
        WORD first, last; // ids, or primary languages with each of four sublanguages
        const char* code;
    } cases[] = {
        {0x0804, 0x0804, "ZHS"},
        {0x1004, 0x1004, "ZHS"},
        {0x0404, 0x0404, "ZHT"},
        {0x0C04, 0x0C04, "ZHT"},
        {0x1404, 0x1404, "ZHT"},
        {0x1804, 0x1804, "ZHS"},
        {0x0416, 0x0416, "PTB"},
        {0x0816, 0x0816, "PT"},
        {1, 1, "AR"},
        {2, 2, "US"},
        {4, 4, "ZHS"},
        {5, 5, "CS"},
        {6, 6, "DK"},
        {7, 7, "D"},
        {8, 8, "EL"},
        {9, 9, "US"},
        {10, 10, "E"},
        {11, 11, "SF"},
        {12, 12, "F"},
        {13, 13, "IW"},
        {14, 14, "HU"},
        {15, 15, "US"},
        {16, 16, "I"},
        {17, 17, "JA"},
        {18, 18, "KO"},
        {19, 19, "NL"},
        {20, 20, "N"},
        {21, 21, "PL"},
        {22, 22, "PT"},
        {23, 23, "US"},
        {24, 24, "RO"},
        {25, 25, "RU"},
        {26, 26, "US"},
        {27, 27, "SK"},
        {28, 28, "US"},
        {29, 29, "S"},
        {30, 30, "TH"},
        {31, 31, "TR"},
        {32, 0x3FF, "US"},
        {0, 0, "US"},
        {0x0411, 0x0411, "JA"},
        {0xFC0C, 0xFC0C, "F"},
    };
    for (const auto& row : cases)
        for (int id = row.first; id <= row.last; ++id)
            EXPECT_STREQ(sswseLanguageCodeOf(static_cast<LANGID>(id)), row.code) << std::hex << id;
}

TEST(MessageModule, IsLookedForBesideTheLibrary)
{
    const struct
    {
        LANGID user;
        std::vector<const char*> modules;
        const char* text; // as much of it as matters
    } cases[] = {
        {0x0411, {"JA", "US"}, "JA insert"}, {0x0411, {"US"}, "US insert"},       {0x0411, {}, ownText},
        {0x0407, {"JA", "US"}, "US insert"}, {0x0409, {"JA", "US"}, "US insert"}, {0x0409, {"JA"}, ownText},
    };
    for (const auto& row : cases) {
        support::LibraryCopy library;
        language = row.user;
        library.redirect("GetUserDefaultLangID", &userLanguage);
        for (const char* code : row.modules)
            putModule(library, code);
        EXPECT_EQ(messageFrom(library).rfind(row.text, 0), 0u) << messageFrom(library);
        language = 0x0409; // looked for once
        EXPECT_EQ(messageFrom(library).rfind(row.text, 0), 0u) << messageFrom(library);
    }
}

TEST(MessageModule, OneThatCannotBeLoadedGivesTheOwnTexts)
{
    support::LibraryCopy library;
    language = 0x0411;
    library.redirect("GetUserDefaultLangID", &userLanguage);
    putModule(library, "US");
    std::ofstream(library.directory() / "KESWSECMSGJA.DLL") << "not a module";
    EXPECT_EQ(messageFrom(library), ownText);
}

TEST(MessageModule, WithoutTheOwnModuleABlankAndAnotherTry)
{
    support::LibraryCopy library;
    const auto byName = library.redirect("GetModuleHandleA", &noModule);
    EXPECT_EQ(messageFrom(library), " ");
    EXPECT_EQ(messageFrom(library, 5).rfind(" \nO/S-Error: (OS 5) ", 0), 0u);
    library.redirect("GetModuleHandleA", byName);
    EXPECT_EQ(messageFrom(library), ownText);
}
