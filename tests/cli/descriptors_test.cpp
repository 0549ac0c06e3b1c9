#include "cli/descriptors.h"
#include "tests/support/scratch_directory.h"

#include <gmock/gmock.h>

#include <regex>

using namespace cli;

namespace {

std::string sourceText(const std::string& file)
{
    return support::contentsOf(KESWSEC_SOURCE_DIR "/src/" + file);
}

std::vector<std::string> matches(const std::string& text, const char* pattern, int group)
{
    const std::regex expression(pattern);
    return {std::sregex_token_iterator(text.begin(), text.end(), expression, group), std::sregex_token_iterator()};
}

// "name(first, second, ...)" for each prototype of the header.
std::vector<std::string> declared()
{
    const std::string header = std::regex_replace(sourceText("keswsec.h"), std::regex("/\\*[^]*?\\*/"), "");
    const char* prototype = "\\bWINAPI[V]?\\s+(\\w+)\\(([^;]*)\\);";
    const std::vector<std::string> names = matches(header, prototype, 1);
    const std::vector<std::string> parameters = matches(header, prototype, 2);
    std::vector<std::string> result;
    for (size_t i = 0; i < names.size(); ++i) {
        std::string line = names[i] + "(";
        for (const std::string& name : matches(parameters[i], "(\\w+|\\.\\.\\.)\\s*(,|$)", 1))
            line += name + ", ";
        result.push_back(line);
    }
    return result;
}

std::vector<std::string> described()
{
    std::vector<std::string> result;
    for (const Function& function : functions()) {
        std::string line = std::string(function.name) + "(" + (takesRecord(function) ? "err, " : "");
        for (const Parameter& parameter : function.parameters)
            line += std::string(parameter.kind == Kind::inserts ? "..." : parameter.name) + ", ";
        result.push_back(line);
    }
    return result;
}

} // namespace

TEST(Descriptors, AreThePublicHeader)
{
    EXPECT_THAT(described(), testing::ElementsAreArray(declared()));
}

TEST(Descriptors, CoverEveryExport)
{
    for (const std::string& name : matches(sourceText("resources/exports.def"), "\\n\\s+(\\w+)", 1))
        EXPECT_TRUE(findFunction(name)) << name;
}

TEST(Descriptors, SayWhatAStatusMeans)
{
    const struct
    {
        const char* function;
        DWORD status;
        bool messageLeft;
        const char* meaning;
        bool good;
    } cases[] = {
        {"CreateOSGroup", 2, true, "success", true},
        {"CreateOSGroup", 1, false, "unknown status", false},
        {"CheckOSGroup", 1, false, "yes", true},
        {"CheckOSGroup", 0, false, "no", false},
        {"CheckOSGroup", 2, false, "unknown status", false},
        {"IsNameBuiltinAcc", 3, false, "no", false},
        {"IsNameBuiltinAcc", 3, true, "failure", false},
        {"TraceOn", 1, false, "success", true},
        {"TraceOn", 0, true, "failure", false},
        {"CreateKestelSVCUser", 9, true, "account exists", false},
        {"FillErrMsg", 0, true, "done", true},
    };
    for (const auto& row : cases) {
        const Verdict verdict = verdictOf(*findFunction(row.function), row.status, row.messageLeft);
        EXPECT_EQ(verdict.meaning, row.meaning) << row.function << row.status;
        EXPECT_EQ(verdict.good, row.good) << row.function << row.status;
    }
}
