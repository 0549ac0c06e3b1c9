// Every platform call and every allocation of every exported function fails in turn; docs/reliability.md says what came
// of it. With KESWSEC_WRITE_DOCS set in the environment its table is written anew.
#include "tests/faults/driver.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

using namespace faults;
using testing::IsEmpty;

struct Area
{
    const char* name;
    std::vector<Scenario> (*scenarios)();
};

void PrintTo(const Area& area, std::ostream* stream)
{
    *stream << area.name;
}

constexpr Area areas[] = {{"Frame", frameScenarios}, {"Accounts", accountScenarios}, {"Groups", groupScenarios},
                          {"Home", homeScenarios},   {"Services", serviceScenarios}, {"Access", accessScenarios}};

const Report& reportOf(const Area& area)
{
    static std::map<std::string, Report> reports;
    const auto known = reports.find(area.name);
    return known != reports.end() ? known->second : reports[area.name] = run(area.scenarios());
}

std::map<std::string, FunctionReport> allFunctions()
{
    std::map<std::string, FunctionReport> functions;
    for (const Area& area : areas)
        for (const auto& [name, report] : reportOf(area).functions)
            functions[name] = report;
    return functions;
}

class FaultRuns : public testing::TestWithParam<Area>
{
};

TEST_P(FaultRuns, LoseNothing)
{
    for (const auto& [wrong, runs] : reportOf(GetParam()).complaints)
        ADD_FAILURE() << wrong << "\n" << runs;
}

INSTANTIATE_TEST_SUITE_P(, FaultRuns, testing::ValuesIn(areas),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(FaultRunsTogether, ReachEveryExportRowAndException)
{
    const std::map<std::string, FunctionReport> functions = allFunctions();
    Stage stage;
    stage.set(nullptr);
    EXPECT_THAT(stage.interception().unmatched(), IsEmpty());

    std::set<const intercept::Row*> reached;
    std::set<size_t> used;
    for (const auto& [name, report] : functions) {
        reached.insert(report.reached.begin(), report.reached.end());
        used.insert(report.exceptions.begin(), report.exceptions.end());
    }
    for (const intercept::Row& row : intercept::rows())
        EXPECT_TRUE(reached.count(&row)) << row.name << " is not reached";
    for (size_t i = 0; i < exceptions().size(); ++i)
        EXPECT_TRUE(used.count(i)) << "nobody needs the exception: " << exceptions()[i].reason;

    std::istringstream words(support::contentsOf(KESWSEC_SOURCE_DIR "/src/resources/exports.def"));
    for (std::string word; words >> word;)
        if (word.rfind("sswse", 0) == 0 || word.rfind("set", 0) == 0) {
            EXPECT_TRUE(functions.count(word)) << word << " has no scenario";
        }
}

TEST(FaultRunsTogether, AreWhatTheDocumentSays)
{
    const std::string path = KESWSEC_SOURCE_DIR "/docs/reliability.md";
    const std::string begin = "<!-- written by the fault runs -->\n";
    std::string document = support::contentsOf(path);
    document.erase(std::remove(document.begin(), document.end(), '\r'), document.end());
    const size_t table = document.find(begin);
    ASSERT_NE(table, std::string::npos);
    const std::string now = document.substr(0, table + begin.size()) + tableOf(allFunctions());
    if (getenv("KESWSEC_WRITE_DOCS"))
        std::ofstream(path, std::ios::binary) << now;
    else
        EXPECT_TRUE(document == now) << "KESWSEC_WRITE_DOCS=1 ./test --gtest_filter='FaultRuns*' writes it anew";
}

} // namespace
