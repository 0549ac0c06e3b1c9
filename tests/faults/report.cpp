// What the runs came to, in two pages.
#include "tests/faults/driver.h"

#include <cstdio>
#include <sstream>

namespace faults {

namespace {

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

} // namespace

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

namespace {

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

} // namespace

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

} // namespace faults
