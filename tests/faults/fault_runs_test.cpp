// Every platform call and every allocation of every exported function fails in turn; docs/reliability.md says what came
// of it, and docs/platform-calls.md what each function asks of the platform.
#include "tests/faults/driver.h"
#include "tests/support/scratch_directory.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <regex>
#include <sstream>

namespace {

using namespace faults;
using testing::IsEmpty;

// ---- docs/reliability.md --------------------------------------------------------------------------------------------

const char* effectOf(const Exception& exception)
{
    if (exception.effect == Exception::noFailure && exception.answer != Exception::asWhenNothingFails)
        return "is an answer";
    constexpr const char* effects[] = {"says nothing", "another error", "fails and goes on", "counts as done"};
    return effects[exception.effect];
}

constexpr char total[] = "all";

std::string listOf(const std::map<size_t, Words>& exceptionsUsed)
{
    std::string text;
    for (const auto& [place, words] : exceptionsUsed)
        text += (text.empty() ? "" : ", ") + std::to_string(place + 1);
    return text;
}

// " (1, 0xC0000034)", or nothing.
std::string textOf(const std::vector<DWORD>& codes)
{
    std::string all;
    for (const DWORD code : codes) {
        char text[16];
        snprintf(text, sizeof text, code & 0x80000000 ? "0x%08lX" : "%lu", code);
        all += (all.empty() ? " (" : ", ") + std::string(text);
    }
    return all.empty() ? "" : all + ')';
}

// "a, b" as `a`, `b`.
std::string quoted(const char* names, const char* none)
{
    if (!names || !*names)
        return none;
    std::string text = "`";
    for (; *names; ++names)
        text += *names == ','   ? "`,"
                : *names == ' ' ? " `"
                : *names == '|' ? "` in it `"
                : *names == '>' ? "` then `"
                                : std::string(1, *names);
    return text + '`';
}

std::string tableOf(const std::map<std::string, FunctionReport>& functions)
{
    std::ostringstream text;
    FunctionReport all;
    text << "| function | scenarios | platform functions | calls | faults | allocations failed | exceptions |\n"
            "|---|---|---|---|---|---|---|\n";
    const auto row = [&text](const std::string& name, const FunctionReport& report) {
        text << "| " << name << " | " << report.scenarios << " | " << report.reached.size() << " | " << report.calls
             << " | " << report.faults << " | " << report.allocations << " | " << report.exceptions.size()
             << (report.exceptions.empty() || name == total ? "" : ": " + listOf(report.exceptions)) << " |\n";
    };
    for (const auto& [name, report] : functions) {
        row('`' + name + '`', report);
        all.scenarios += report.scenarios;
        all.reached.insert(report.reached.begin(), report.reached.end());
        all.calls += report.calls;
        all.faults += report.faults;
        all.allocations += report.allocations;
        all.exceptions.insert(report.exceptions.begin(), report.exceptions.end());
    }
    row(total, all);
    text << "\n| | in | what fails | effect | why |\n|---|---|---|---|---|\n";
    for (size_t i = 0; i < exceptions().size(); ++i) {
        const Exception& each = exceptions()[i];
        text << "| " << i + 1 << " | " << quoted(each.routines, "any") << " | "
             << quoted(each.functions, each.functions ? "nothing" : "anything") << textOf(each.codes) << " | "
             << effectOf(each) << " | " << each.reason << " |\n";
    }
    return text.str();
}

// ---- docs/platform-calls.md: what each function asks of the platform, in order --------------------------------------

// In a table a bar ends the cell.
std::string cell(std::string text)
{
    for (size_t at = text.find('|'); at != std::string::npos; at = text.find('|', at + 2))
        text.insert(at, 1, '\\');
    return text;
}

// What is asked for -> of which platform function -> by which functions.
void writeSummary(std::ostream& page, const std::map<std::string, FunctionReport>& functions)
{
    std::map<std::pair<std::string, std::string>, std::string> by;
    for (const auto& [function, report] : functions)
        for (const Scene& scene : report.scenes) {
            std::string name = function; // of whom the scenario calls: another function first, perhaps
            for (const intercept::Line& line : scene.lines) {
                if (line.depth == 0 && !line.row)
                    name = line.text.substr(0, line.text.find(':'));
                if (line.asked.empty())
                    continue;
                std::string& names = by[{line.row->name, line.asked}];
                if (names.find('`' + name + '`') == std::string::npos)
                    names += (names.empty() ? "`" : ", `") + name + '`';
            }
        }
    page << "| platform function | asked for | by |\n|---|---|---|\n";
    for (const auto& [call, names] : by)
        page << "| `" << call.first << "` | `" << cell(call.second) << "` | " << names << " |\n";
}

std::string platformCallsOf(const Report& report)
{
    std::ostringstream page;
    page << "## Rights, values and names\n\n";
    writeSummary(page, report.functions);
    page << "\n## What a failed call says\n\nWith the status, where it is not 3, and the error, where it is not that "
            "of the call.\n\n| message | call |\n|---|---|\n";
    for (const auto& [message, calls] : report.messages) {
        page << "| " << cell(message) << " |";
        for (const std::string& call : calls)
            page << (call == *calls.begin() ? " " : ", ") << call;
        page << " |\n";
    }
    for (const auto& [name, counts] : report.functions) {
        page << "\n## `" << name << "`\n";
        for (const Scene& scene : counts.scenes) {
            page << '\n' << scene.name << (scene.result.empty() ? "" : ": ") << scene.result << ":\n\n";
            for (const intercept::Line& line : scene.lines)
                page << std::string(4 + 2 * line.depth, ' ') << line.text << '\n';
        }
    }
    return page.str();
}

// ---- the tests ------------------------------------------------------------------------------------------------------

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
