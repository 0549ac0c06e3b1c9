// Every platform call and every allocation of every exported function fails in turn; docs/reliability.md says what came
// of it. With KESWSEC_WRITE_DOCS set in the environment its table is written anew.
#include "tests/faults/driver.h"
#include "tests/support/scratch_directory.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

using namespace faults;
using testing::IsEmpty;

const Report& report()
{
    static const Report all = [] {
        std::vector<Scenario> scenarios;
        for (const auto area : {frameScenarios, accountScenarios, homeScenarios, serviceScenarios, accessScenarios})
            for (const Scenario& scenario : area())
                scenarios.push_back(scenario);
        return run(scenarios);
    }();
    return all;
}

TEST(FaultRuns, LoseNothing)
{
    for (const auto& [wrong, runs] : report().complaints)
        ADD_FAILURE() << wrong << "\n" << runs;
}

TEST(FaultRuns, ReachEveryExportRowAndException)
{
    const std::map<std::string, FunctionReport>& functions = report().functions;
    Stage stage;
    stage.set(nullptr);
    EXPECT_THAT(stage.interception().unmatched(), IsEmpty());

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

using Lines = std::vector<std::string>;

Lines linesOf(const std::string& text)
{
    std::istringstream stream(text);
    Lines lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

// Under which headings, and the lines there: "- " as they were, "+ " as they are.
std::string firstDifference(const Lines& before, const Lines& after)
{
    const auto [was, is] = std::mismatch(before.begin(), before.end(), after.begin(), after.end());
    if (was == before.end() && is == after.end())
        return "";
    std::string headings;
    for (auto line = before.begin(); line != was; ++line)
        if (line->rfind("##", 0) == 0)
            headings = *line;
        else if (line->find_first_not_of(" |") == 0 && line->back() == ':')
            headings = headings.substr(0, headings.find(": ")) + ": " + *line;
    std::string difference = "line " + std::to_string(was - before.begin() + 1) + ", " + headings;
    for (auto line = was; line != before.end() && line < was + 3; ++line)
        difference += "\n- " + *line;
    for (auto line = is; line != after.end() && line < is + 3; ++line)
        difference += "\n+ " + *line;
    return difference;
}

// A document whose last part is written by the runs.
void expectDocument(const std::string& name, const std::string& written)
{
    const std::string path = support::projectFile("docs/" + name);
    const std::string begin = "<!-- written by the fault runs -->\n";
    std::string document = support::contentsOf(path);
    document.erase(std::remove(document.begin(), document.end(), '\r'), document.end());
    const size_t at = document.find(begin);
    ASSERT_NE(at, std::string::npos);
    const std::string now = document.substr(0, at + begin.size()) + written;
    if (getenv("KESWSEC_WRITE_DOCS"))
        std::ofstream(path, std::ios::binary) << now;
    else if (const std::string difference = firstDifference(linesOf(document), linesOf(now)); !difference.empty())
        ADD_FAILURE() << path << ", " << difference << "\nKESWSEC_WRITE_DOCS=1 writes it anew";
}

TEST(FaultRuns, AreWhatTheDocumentsSay)
{
    expectDocument("reliability.md", tableOf(report().functions));
    expectDocument("platform-calls.md", platformCallsOf(report()));
}

} // namespace
