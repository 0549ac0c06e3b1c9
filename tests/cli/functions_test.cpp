#include "cli/functions.h"
#include "tests/support/scratch_directory.h"

#include <gtest/gtest.h>

#include <regex>

using namespace cli;

namespace {

std::string sourceText(const std::string& file)
{
    return support::contentsOf(support::projectFile("src/" + file));
}

std::vector<std::string> matches(const std::string& text, const char* pattern, int group)
{
    const std::regex expression(pattern);
    return {std::sregex_token_iterator(text.begin(), text.end(), expression, group), std::sregex_token_iterator()};
}

} // namespace

// "name(first, second, ..., " for each function: the prototypes of the header, and the rows.
TEST(Descriptors, AreThePublicHeader)
{
    const std::string text = sourceText("keswsec.h");
    std::vector<std::string> sections;
    for (const Area& area : areas())
        sections.push_back(area.name);
    EXPECT_EQ(sections, matches(text, "/\\* -+ (.*?) -+ \\*/", 1));
    const std::string header = std::regex_replace(text, std::regex("/\\*[^]*?\\*/"), "");
    const char* const prototype = "\\bWINAPI[V]?\\s+(\\w+)\\(([^;]*)\\);";
    const std::vector<std::string> names = matches(header, prototype, 1);
    const std::vector<std::string> parameters = matches(header, prototype, 2);
    std::vector<std::string> declared;
    for (size_t i = 0; i < names.size(); ++i) {
        std::string& line = declared.emplace_back(names[i] + "(");
        for (const std::string& name : matches(parameters[i], "(\\w+|\\.\\.\\.)\\s*(,|$)", 1))
            line += name + ", ";
    }
    std::vector<std::string> described;
    for (const Function& function : functions()) {
        std::string& line = described.emplace_back(std::string(function.name) + "(");
        line += takesRecord(function) ? "err, " : "";
        for (const Parameter& parameter : function.parameters)
            line += std::string(parameter.kind == Kind::inserts ? "..." : parameter.name) + ", ";
    }
    EXPECT_EQ(described, declared);
}

TEST(Descriptors, SayWhatAStatusMeans)
{
    // Whether the message of an earlier call is still there; whether it is a good answer.
    const std::tuple<const char*, DWORD, bool, const char*, bool> cases[] = {
        {"CreateOSGroup", 2, true, "success", true},
        {"CreateOSGroup", 1, false, "unknown status", false},
        {"CheckOSGroup", 1, false, "yes", true},
        {"CheckOSGroup", 0, false, "no", false},
        {"IsNameBuiltinAcc", 3, false, "no", false},
        {"IsNameBuiltinAcc", 3, true, "failure", false},
        {"TraceOn", 1, false, "success", true},
        {"TraceOn", 0, true, "failure", false},
        {"CreateKestelSVCUser", 9, true, "account exists", false},
        {"FillErrMsg", 0, true, "done", true},
    };
    for (const auto& [function, status, messageLeft, meaning, good] : cases) {
        const Verdict verdict = verdictOf(*findFunction(function), status, messageLeft);
        EXPECT_EQ(std::tuple(verdict.meaning, verdict.good), std::tuple(meaning, good)) << function << status;
    }
}
