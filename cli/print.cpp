#include "cli/print.h"

#include "cli/text.h"

#include <cstring>
#include <sstream>

namespace cli {

namespace {

using nlohmann::ordered_json;

constexpr size_t width = 120;
constexpr size_t indent = 11; // the column of status and meaning

// Where a line that is too long is broken: behind a blank, or between two entries of an access-control list.
size_t breakOf(const std::string& text, size_t room)
{
    for (size_t at = room; at > room / 2; --at)
        if (text[at - 1] == ' ' || (text[at - 1] == ')' && text[at] == '('))
            return at;
    return text.size();
}

// `head` stands before the text; what does not fit on the line goes on below, under the text.
std::string wrapped(const std::string& head, std::string text)
{
    const size_t room = width - head.size();
    std::string lines = head;
    while (text.size() > room) {
        const size_t end = breakOf(text, room);
        if (end == text.size())
            break;
        lines += text.substr(0, text.find_last_not_of(' ', end - 1) + 1) + "\n" + std::string(head.size(), ' ');
        text.erase(0, end);
    }
    return lines + text + "\n";
}

std::string detail(char mark, const std::string& text)
{
    return wrapped(std::string(indent, ' ') + mark + " ", text);
}

std::string givenName(const Parameter& parameter)
{
    return parameter.name + std::string(parameter.kind == Kind::textOut ? ".size" : "");
}

std::string commandOf(const Call& call)
{
    std::string line = shortName(*call.function);
    for (size_t i = 0; i < call.values.size(); ++i)
        for (const std::string& value : call.values[i].shown)
            line += " " + givenName(call.function->parameters[i]) + "=" + quoted(value);
    return line;
}

std::string statusOf(const Call& call, const Outcome& outcome)
{
    const bool hasStatus = call.function->result != Result::nothing;
    std::string column = (hasStatus ? std::to_string(outcome.status) + " " : "") + outcome.verdict.meaning + " ";
    column.resize(std::max(column.size(), indent), ' ');
    return column;
}

std::string textOf(const ordered_json& value)
{
    if (value.is_string())
        return value.get<std::string>();
    std::string text;
    if (!value.is_array())
        return value.dump();
    if (value.empty())
        return "none";
    for (const ordered_json& item : value)
        text += (text.empty() ? "" : ", ") + item.get<std::string>();
    return text;
}

std::string outputText(const ordered_json& outputs)
{
    std::string line;
    for (const auto& [name, value] : outputs.items())
        line += (line.empty() ? "" : ", ") + name + " " + textOf(value);
    return line;
}

// The lines of the message one behind the other, the number behind the first.
std::string recordText(const Outcome& outcome)
{
    std::istringstream message(outcome.message);
    std::string text;
    std::string line;
    while (std::getline(message, line)) {
        line.erase(line.find_last_not_of(" \r") + 1);
        if (line.empty())
            continue;
        const bool numbered = text.empty() && !outcome.osError.empty();
        text += (text.empty() ? "" : " ") + line + (numbered ? " [oserror " + outcome.osError + "]" : "");
    }
    return text.empty() ? text : detail('!', text);
}

// The node stands before what is not the local one's. Before and after begin lines of their own when they are long.
std::string changeText(char mark, const whatif::Change& change, const std::wstring& text, const std::wstring& localNode)
{
    const std::string line = utf8FromWide(change.node == localNode ? text : change.node + L": " + text);
    const size_t arrow = line.find(" -> ");
    if (line.size() + indent + 2 <= width || arrow == std::string::npos)
        return detail(mark, line);
    return detail(mark, line.substr(0, arrow)) + detail(' ', line.substr(arrow + 1));
}

std::string changeText(const whatif::Change& change, const std::wstring& localNode)
{
    return changeText('+', change, whatif::textOf(change).substr(change.node.size() + 2), localNode);
}

std::string remarkText(const whatif::Change& change, const std::wstring& remark, const std::wstring& localNode)
{
    return changeText('?', change, change.object + L": " + actionOf(change) + L": " + remark, localNode);
}

const char* wordOf(journal::Finding finding)
{
    constexpr const char* words[] = {"same", "different", "unknown", "unseen"};
    return words[static_cast<size_t>(finding)];
}

} // namespace

journal::Json argumentsOf(const Call& call)
{
    ordered_json arguments = ordered_json::object();
    for (size_t i = 0; i < call.values.size(); ++i) {
        const Value& value = call.values[i];
        const Parameter& parameter = call.function->parameters[i];
        if (!value.given)
            continue;
        if (value.texts.empty())
            arguments[givenName(parameter)] = value.number;
        else if (isRepeated(parameter))
            arguments[parameter.name] = value.shown;
        else
            arguments[parameter.name] = value.shown.front();
    }
    return arguments;
}

std::string asText(const Call& call, const Outcome& outcome, const std::vector<whatif::Change>& changes,
                   const std::wstring& localNode)
{
    const std::string status = statusOf(call, outcome);
    const std::string command = commandOf(call);
    const std::string outputs = outputText(outcome.outputs);
    const bool onOneLine = !outputs.empty() && status.size() + command.size() + 4 + outputs.size() <= width;
    std::string text = wrapped(status, command + (onOneLine ? "  = " + outputs : ""));
    if (!onOneLine && !outputs.empty())
        text += detail('=', outputs);
    text += recordText(outcome);
    for (const whatif::Change& change : changes)
        text += changeText(change, localNode);
    return text;
}

std::string jsonBegin(const Call& call, const Outcome& outcome)
{
    const ordered_json object = {
        {"function", call.function->name},
        {"arguments", argumentsOf(call)},
        {"status", call.function->result == Result::nothing ? ordered_json() : ordered_json(outcome.status)},
        {"meaning", outcome.verdict.meaning},
        {"outputs", outcome.outputs},
        {"message", outcome.message},
        {"oserror", outcome.osError},
        {"plan", ordered_json::array()}};
    const std::string line = journal::lineOf(object);
    return line.substr(0, line.size() - strlen("]}"));
}

std::string asJson(const Call& call, const Outcome& outcome, const std::vector<whatif::Change>& changes)
{
    std::string line = jsonBegin(call, outcome);
    for (const whatif::Change& change : changes)
        line += (&change == changes.data() ? "" : ",") + journal::lineOf(journal::jsonOf(change));
    return line + jsonEnd;
}

std::string asText(const journal::Look& look, const std::wstring& localNode)
{
    switch (look.finding) {
    case journal::Finding::different:
        return remarkText(look.change, journal::differenceOf(look.expected, look.found), localNode);
    case journal::Finding::unknown:
        return remarkText(look.change, L"cannot be looked up: " + look.problem, localNode);
    default:
        return changeText(look.change, localNode);
    }
}

journal::Json jsonOf(const journal::Look& look)
{
    journal::Json json = journal::jsonOf(look.change);
    json["outcome"] = wordOf(look.finding);
    if (look.finding == journal::Finding::different) {
        json["expected"] = journal::jsonOf(look.expected);
        json["found"] = journal::jsonOf(look.found);
    } else if (look.finding != journal::Finding::asLeft) {
        json["reason"] = utf8FromWide(look.problem);
    }
    return json;
}

std::string asText(const journal::Undone& undone, const std::wstring& localNode)
{
    constexpr const wchar_t* what[] = {L"", L"is so already", L"left alone", L"cannot be taken back", L"failed"};
    if (undone.fate == journal::Fate::back)
        return changeText(undone.change, localNode);
    const std::wstring remark = what[static_cast<size_t>(undone.fate)];
    return remarkText(undone.change, remark + L": " + undone.reason, localNode);
}

journal::Json jsonOf(const journal::Undone& undone)
{
    journal::Json json = journal::jsonOf(undone.change);
    json["outcome"] = journal::wordOf(undone.fate);
    if (!undone.reason.empty())
        json["reason"] = utf8FromWide(undone.reason);
    return json;
}

std::string summary(const char* what, const std::vector<std::pair<size_t, const char*>>& counts)
{
    std::string line = what;
    line.resize(indent, ' ');
    for (const auto& [count, words] : counts)
        if (count || &words == &counts.front().second)
            line += (&words == &counts.front().second ? "" : ", ") + std::to_string(count) + " " + words;
    return line + "\n";
}

} // namespace cli
