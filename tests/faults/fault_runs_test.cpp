// Every platform call and every allocation of every exported function fails in turn; docs/reliability.md says what came
// of it. With KESWSEC_WRITE_DOCS set in the environment its table is written anew.
#include "tests/faults/driver.h"
#include "tests/support/document.h"
#include "tests/support/scratch_directory.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <sstream>

namespace {

using namespace faults;
using testing::IsEmpty;

const Report& report()
{
    static const Report all = runAll();
    return all;
}

TEST(FaultRuns, LoseNothing)
{
    EXPECT_FALSE(report().functions.empty()); // the runs say themselves what is wrong
}

TEST(FaultRuns, ReachEveryExportRowAndException)
{
    const std::map<std::string, FunctionReport>& functions = report().functions;
    EXPECT_THAT(Subject().unmatched(), IsEmpty());

    std::set<const intercept::Row*> reached;
    std::map<size_t, Words> used;
    for (const auto& [name, counts] : functions) {
        reached.insert(counts.reached.begin(), counts.reached.end());
        for (const auto& [place, words] : counts.exceptions)
            used[place].insert(words.begin(), words.end());
    }
    for (const intercept::Row& row : intercept::rows())
        EXPECT_TRUE(reached.count(&row)) << row.name << " is not reached";
    for (size_t i = 0; i < exceptions().size(); ++i)
        for (const std::string& word : wordsOf(exceptions()[i]))
            EXPECT_TRUE(used[i].count(word)) << "no run needs " << word << " of: " << exceptions()[i].reason;

    std::istringstream words(support::contentsOf(support::projectFile("src/resources/exports.def")));
    for (std::string word; words >> word;)
        if (word.rfind("sswse", 0) == 0 || word.rfind("set", 0) == 0) {
            EXPECT_TRUE(functions.count(word)) << word << " has no scenario";
        }
}

bool hasInOrder(const std::string& line, const std::vector<std::string>& pieces)
{
    size_t at = 0;
    for (const std::string& piece : pieces)
        if ((at = line.find(piece, at)) == std::string::npos)
            return false;
        else
            at += piece.size();
    return true;
}

TEST(FaultRuns, ShowEveryArgumentLineOfTheSources)
{
    std::set<std::string> shown;
    for (const auto& [name, counts] : report().functions)
        for (const Scene& scene : counts.scenes)
            for (const intercept::Line& line : scene.lines)
                shown.insert(line.text);
    const std::regex text(R"(sswseArgs\(\s*((?:"(?:[^"\\]|\\.)*"\s*)+))");
    const std::regex between(R"("\s*|%[.0-9]*[a-zA-Z]+)");
    size_t found = 0;
    for (const auto& file : std::filesystem::recursive_directory_iterator(support::projectFile("src"))) {
        const std::string source = file.path().extension() == ".cpp" ? support::contentsOf(file.path()) : "";
        for (std::sregex_iterator each(source.begin(), source.end(), text), end; each != end; ++each, ++found) {
            const std::string line = (*each)[1];
            const std::vector<std::string> labels(std::sregex_token_iterator(line.begin(), line.end(), between, -1),
                                                  {});
            const auto isOf = [&labels](const std::string& other) { return hasInOrder(other, labels); };
            EXPECT_TRUE(std::any_of(shown.begin(), shown.end(), isOf)) << file.path() << " traces " << line;
        }
    }
    EXPECT_GT(found, 80u);
}

TEST(FaultRuns, AreWhatTheDocumentsSay)
{
    support::expectDocument("reliability.md", tableOf(report().functions));
    support::expectDocument("platform-calls.md", platformCallsOf(report()));
}

} // namespace
