#include "cli/functions.h"

#include "keswsec.h"

#include <iterator>

namespace cli {

namespace {

struct KindText
{
    Kind kind;
    const char* value;       // what stands behind "name=", empty when it is not given so
    const char* description; // for --list FUNCTION
};

constexpr KindText kindTexts[] = {
    {Kind::text, "TEXT", "text"},
    {Kind::secret, "TEXT", "text, never shown; - reads it without echo"},
    {Kind::writableText, "TEXT", "text that the function may change"},
    {Kind::wideText, "TEXT", "text"},
    {Kind::number, "N", "number, decimal or 0x"},
    {Kind::byte, "N", "number up to 255"},
    {Kind::names, "TEXT", "list of texts; repeat the name for each"},
    {Kind::inserts, "TEXT", "the message's inserts; repeat the name for each"},
    {Kind::strings, "TEXT", "list of texts; repeat the name for each"},
    {Kind::stringsCount, "", "their number, set by keswsec"},
    {Kind::aclInOut, "SDDL", "access-control list that the function changes, D:..."},
    {Kind::aceList, "SDDL", "list of entries, D:..."},
    {Kind::sid, "SID", "SID in its string form"},
    {Kind::object, "\"KIND NAME\"", "kernel object: event, mutex, semaphore or section NAME, process ID"},
    {Kind::token, "\"process ID\"", "token of a process; this process's unless given"},
    {Kind::numberInOut, "N", "number that the function may change; not asked for unless given"},
    {Kind::textOut, "", "result: text"},
    {Kind::size, "", "size of the buffer"},
    {Kind::length, "", "result: the length that is reported"},
    {Kind::wideOut, "", "result: text"},
    {Kind::widePartOut, "", "result: text"},
    {Kind::keyOut, "", "result: predefined registry key"},
    {Kind::numberOut, "", "result: number"},
    {Kind::sidOut, "", "result: SID"},
    {Kind::stringsOut, "", "result: list of texts"},
    {Kind::oemStrings, "", "result: list of texts"},
    {Kind::count, "", "result: number of texts"},
    {Kind::serviceOut, "", "result: open service, closed after the call"},
    {Kind::traceLine, "", "set by keswsec: writes to standard error"},
    {Kind::traceContext, "", "set by keswsec"},
    {Kind::hosted, "", "set by keswsec"},
};

static_assert(std::size(kindTexts) == static_cast<size_t>(Kind::hosted) + 1); // one for each

const KindText& textOf(Kind kind)
{
    const KindText* entry = std::begin(kindTexts);
    while (entry->kind != kind)
        ++entry;
    return *entry;
}

struct Status
{
    Result result;
    DWORD code;
    Verdict verdict;
};

const char* commonMeaning(DWORD status)
{
    switch (status) {
    case SSWSE_FAILURE:
        return "failure";
    case SSWSE_INVALID_ARGUMENT:
        return "invalid argument";
    case SSWSE_UNSUPPORTED_HOME_TYPE:
        return "unsupported home type";
    case SSWSE_HOME_NOT_FOUND:
        return "home not found";
    case SSWSE_ACCOUNT_EXISTS:
        return "account exists";
    default:
        return "unknown status";
    }
}

} // namespace

const Function* findFunction(std::string_view name)
{
    for (const Function& function : functions())
        if (name == function.name || name == shortName(function))
            return &function;
    return nullptr;
}

std::string shortName(const Function& function)
{
    const std::string name = function.name;
    return name.rfind("sswse", 0) == 0 ? name.substr(5) : name;
}

bool takesArgument(const Parameter& parameter)
{
    return *textOf(parameter.kind).value != '\0';
}

bool takesRecord(const Function& function)
{
    return function.result != Result::memory && function.result != Result::legacy;
}

bool isRepeated(const Parameter& parameter)
{
    return parameter.kind == Kind::names || parameter.kind == Kind::strings || parameter.kind == Kind::inserts;
}

Verdict verdictOf(const Function& function, DWORD status, bool messageLeft)
{
    if (function.result == Result::nothing)
        return {"done", true};
    if (function.result == Result::silentNo && status == SSWSE_FAILURE && !messageLeft)
        return {"no", false};
    static const Status special[] = {
        {Result::status, SSWSE_SUCCESS, {"success", true}},
        {Result::predicate, SSWSE_YES, {"yes", true}},
        {Result::predicate, SSWSE_NO, {"no", false}},
        {Result::silentNo, SSWSE_YES, {"yes", true}},
        {Result::switching, SSWSE_YES, {"success", true}},
        {Result::switching, SSWSE_NO, {"failure", false}},
        {Result::legacy, 0, {"success", true}},
        {Result::legacy, 1, {"no such object", false}},
        {Result::legacy, 2, {"out of memory", false}},
        {Result::legacy, 3, {"incomplete", false}},
    };
    for (const Status& row : special)
        if (row.result == function.result && row.code == status)
            return row.verdict;
    return {commonMeaning(status), false};
}

const DWORD* findNumber(const NumberNames& names, const std::string& name)
{
    for (const auto& [word, number] : names.names)
        if (_stricmp(name.c_str(), word) == 0 ||
            _stricmp(name.c_str(), (names.prefix + std::string(word)).c_str()) == 0)
            return &number;
    return nullptr;
}

std::string listOf(const NumberNames& names)
{
    std::string list;
    for (const auto& entry : names.names)
        list += (list.empty() ? "" : ", ") + std::string(entry.first);
    return list;
}

std::string usageOf(const Function& function)
{
    std::string line = shortName(function);
    for (const Parameter& parameter : function.parameters) {
        const std::string argument = std::string(parameter.name) + "=" + textOf(parameter.kind).value;
        if (parameter.kind == Kind::textOut)
            line += " [" + std::string(parameter.name) + ".size=N]";
        else if (takesArgument(parameter))
            line +=
                (parameter.required ? " " + argument : " [" + argument + "]") + (isRepeated(parameter) ? "..." : "");
    }
    if (function.result == Result::memory)
        line += " (called by keswsec for what functions return)";
    return line;
}

std::string overview()
{
    std::string lines;
    for (const Area& area : areas()) {
        lines += (lines.empty() ? "" : "\n") + std::string(area.name) + "\n";
        for (const Function& function : area.functions)
            lines += "    " + usageOf(function) + "\n        " + function.summary + "\n";
    }
    return lines;
}

std::string descriptionOf(const Function& function)
{
    std::string lines = usageOf(function) + "\n" + function.summary + "\n";
    for (const Parameter& parameter : function.parameters) {
        const std::string name = parameter.name;
        lines += "  " + name + std::string(name.size() < 18 ? 18 - name.size() : 1, ' ');
        lines += textOf(parameter.kind).description;
        if (parameter.names)
            lines += ", or " + listOf(*parameter.names);
        if (parameter.kind == Kind::number && !parameter.required)
            lines += "; " + std::to_string(parameter.preset) + " unless given";
        if (parameter.kind == Kind::textOut)
            lines += "; " + name + ".size=N sets the size of its buffer, " + std::to_string(defaultBufferSize) +
                     " unless given";
        lines += "\n";
    }
    return lines;
}

} // namespace cli
