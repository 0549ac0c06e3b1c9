// docs/platform-calls.md: what each function asks of the platform, in order.
#include "tests/faults/driver.h"

#include <sstream>

namespace faults {

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
            page << '\n' << scene.name << ": " << scene.result << ":\n\n";
            for (const intercept::Line& line : scene.lines)
                page << std::string(4 + 2 * line.depth, ' ') << line.text << '\n';
        }
    }
    return page.str();
}

} // namespace faults
