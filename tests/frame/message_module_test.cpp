// Where the texts come from. The build makes small message modules: their two messages, numbers 10 and 12, begin with
// their language code.
#include "frame/message_module.h"
#include "tests/support/library_copy.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <tuple>

namespace fs = std::filesystem;

namespace {

LANGID language;

std::string messageFrom(const support::LibraryCopy& library)
{
    sswseErrRec rec = {};
    EXPORT_OF(library, sswseFillErrMsg)(&rec, SSWSE_ERROR_MESSAGE(12), 0, "routine", "", "insert");
    return rec.message;
}

void putModule(const support::LibraryCopy& library, const std::string& code)
{
    const std::string file = "KESWSECMSG" + code + ".DLL";
    if (code == "SK")
        std::ofstream(library.directory() / file) << "not a module";
    else
        fs::copy_file(support::programDirectory() / "message-modules" / file, library.directory() / file);
}

constexpr char ownText[] = "WSE-000012: Null or invalid insert parameter.\r\n";

} // namespace

TEST(MessageModule, LanguageCodes)
{
    // By primary language, and what some ids have instead.
    const char* const primary[32] = {"US", "AR", "US", "US", "ZHS", "CS", "DK", "D",  "EL", "US", "E",
                                     "SF", "F",  "IW", "HU", "US",  "I",  "JA", "KO", "NL", "N",  "PL",
                                     "PT", "US", "RO", "RU", "US",  "SK", "US", "S",  "TH", "TR"};
    std::map<int, std::string> special = {{0x0404, "ZHT"}, {0x0C04, "ZHT"}, {0x1404, "ZHT"}, {0x0416, "PTB"}};
    for (int id = 0; id <= 0xFFFF; ++id) {
        const char* const usual = (id & 0x3FF) < 32 ? primary[id & 0x3FF] : "US";
        ASSERT_EQ(sswseLanguageCodeOf(static_cast<LANGID>(id)), special.count(id) ? special[id] : usual)
            << std::hex << id;
    }
}

TEST(MessageModule, IsLookedForBesideTheLibrary)
{
    // The user's language, the modules that are there, and as much of the text as matters.
    const std::tuple<LANGID, std::vector<const char*>, const char*> cases[] = {
        {0x0411, {"JA", "US"}, "JA insert"}, {0x0411, {"US"}, "US insert"},       {0x0411, {}, ownText},
        {0x041B, {"SK", "US"}, ownText}, // not a module
        {0x0407, {"JA", "US"}, "US insert"}, {0x0409, {"JA", "US"}, "US insert"}, {0x0409, {"JA"}, ownText},
    };
    for (const auto& [user, modules, text] : cases) {
        support::LibraryCopy library;
        language = user;
        library.redirect(
            "GetUserDefaultLangID", +[]() WINAPI { return language; });
        for (const char* code : modules)
            putModule(library, code);
        EXPECT_EQ(messageFrom(library).rfind(text, 0), 0u) << messageFrom(library);
        language = 0x0409; // looked for once
        EXPECT_EQ(messageFrom(library).rfind(text, 0), 0u) << messageFrom(library);
    }
}
