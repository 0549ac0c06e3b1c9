#include "tests/faults/driver.h"

#include <ntsecapi.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace faults {

namespace {

using intercept::Fault;
using intercept::Says;
using intercept::Trail;

using Plan = std::vector<std::string>;

// What one run left.
struct Outcome
{
    DWORD status = 0;
    std::string message;
    std::string osError;
    std::vector<std::string> outputs;
    Plan plan;
    Trail trail;
};

// A call of the clean run, and how it is made to fail.
struct Failing
{
    const Trail::Call& call;
    DWORD code;
    std::string afterOther; // "before>one"
};

std::string underWay; // for the last words of a run that ends the program

LONG WINAPI lastWords(EXCEPTION_POINTERS* exception)
{
    fprintf(stderr, "%s: ended by exception %08lx at %p\n", underWay.c_str(), exception->ExceptionRecord->ExceptionCode,
            exception->ExceptionRecord->ExceptionAddress);
    fflush(stderr);
    TerminateProcess(GetCurrentProcess(), 3);
    return EXCEPTION_CONTINUE_SEARCH;
}

void __cdecl receiveTrace(void*, const char* format, ...)
{
    char line[1024] = "";
    va_list arguments;
    va_start(arguments, format);
    if (*format != '%' || format[1] == 's') // not the separator, which nobody can print
        vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    intercept::Interception::traced(line);
}

Outcome runOnce(Stage& stage, const Scenario& scenario, const Fault& fault, bool traced)
{
    Outcome outcome;
    stage.reset(scenario.cold);
    if (traced)
        EXPORT_OF(stage.library(), sswseTraceOn)(nullptr, receiveTrace, &outcome, 0);
    stage.interception().start(fault);
    outcome.status = scenario.call(stage);
    outcome.outputs = stage.takeOutputs();
    outcome.trail = stage.interception().finish();
    EXPORT_OF(stage.library(), sswseTraceOff)(nullptr);
    outcome.message = stage.rec()->message;
    outcome.osError = stage.rec()->oserror;
    outcome.plan = stage.plan();
    return outcome;
}

std::string errorOf(const Failing& failing)
{
    const bool isStatus = failing.call.row->says == Says::ntStatus;
    return std::to_string(isStatus ? LsaNtStatusToWinError(static_cast<NTSTATUS>(failing.code)) : failing.code);
}

bool isListed(const std::string& words, const std::string& word)
{
    return ('|' + words + '|').find('|' + word + '|') != std::string::npos;
}

bool isMeant(const Exception& exception, const char* function, const Failing* failing)
{
    if (exception.routine && !isListed(function + (failing ? failing->call.routines : ""), exception.routine))
        return false;
    if (!failing)
        return exception.functions && !*exception.functions;
    const bool isFunction = !exception.functions || isListed(exception.functions, failing->call.row->name) ||
                            isListed(exception.functions, failing->afterOther);
    return isFunction && (exception.code == 0 || exception.code == failing->code);
}

// ---- plans -------------------------------------------------------------------------------------------------------

// `words` is "|word|word", or nothing.
Plan without(Plan plan, const std::string& words)
{
    for (size_t word = 0, end = 0; word < words.size(); word = end) {
        end = std::min(words.size(), words.find('|', word + 1));
        const std::string text = words.substr(word + 1, end - word - 1);
        const auto has = [&](const std::string& line) { return line.find(text) != std::string::npos; };
        plan.erase(std::remove_if(plan.begin(), plan.end(), has), plan.end());
    }
    return plan;
}

// Whether `plan` is `whole` with some of its lines missing, none of them among the first ones.
bool isPart(const Plan& plan, const Plan& whole, size_t first)
{
    size_t next = 0;
    for (const std::string& line : whole)
        if (next < plan.size() && plan[next] == line)
            ++next;
        else if (next < first)
            return false;
    return next == plan.size();
}

bool isPlanAsExpected(const Plan& plan, const Plan& whole, size_t before, bool goesOn, const std::string& mode)
{
    const std::string kind = mode.substr(0, mode.find('|'));
    const std::string words = mode.substr(kind.size());
    const auto at = whole.begin() + static_cast<ptrdiff_t>(before);
    const Plan common(whole.begin(), at);
    if (kind == "some" || kind == "later")
        return (kind == "some" || before > 0) &&
               isPart(without(plan, words), without(whole, words), without(common, words).size());
    if (!goesOn)
        return without(plan, words) == without(common, words);
    Plan expected = whole;
    if (kind == "next" && plan.size() < whole.size()) // else there was nothing to do
        expected.erase(expected.begin() + static_cast<ptrdiff_t>(before));
    return without(plan, words) == without(expected, words);
}

// ---- a scenario --------------------------------------------------------------------------------------------------

class Runs
{
public:
    Runs(Stage& stage, const Scenario& scenario, Report& report)
        : stage_(stage), scenario_(scenario), report_(report), counts_(report.functions[scenario.function])
    {
    }

    void run()
    {
        ++counts_.scenarios;
        stage_.set(scenario_.prepare);
        underWay = nameOf("as it is");
        clean_ = runOnce(stage_, scenario_, {}, false);
        counts_.reached.insert(clean_.trail.reached.begin(), clean_.trail.reached.end());
        if (clean_.status != scenario_.status)
            return complain("as it is", "status " + std::to_string(clean_.status) + ": " + clean_.message);
        if (const std::string wrong = judge(clean_, nullptr); !wrong.empty())
            return complain("as it is", wrong);
        if (runTraced("traced", {}) && runTraced("traced without argument lines", {0, 0, nullptr, true}))
            for (size_t number = 1; number <= clean_.trail.calls.size(); ++number)
                failCall(number);
    }

private:
    // Tracing changes nothing, and neither does a trace line that cannot be had. Tells the routines of each call.
    bool runTraced(const char* what, const Fault& fault)
    {
        underWay = nameOf(what);
        Outcome traced = runOnce(stage_, scenario_, fault, true);
        complain(what, judge(traced, nullptr));
        const std::vector<Trail::Call>& calls = traced.trail.calls;
        const bool same = std::equal(calls.begin(), calls.end(), clean_.trail.calls.begin(), clean_.trail.calls.end(),
                                     [](const Trail::Call& a, const Trail::Call& b) { return a.row == b.row; }) &&
                          traced.status == clean_.status && traced.message == clean_.message &&
                          traced.plan == clean_.plan && traced.outputs == clean_.outputs;
        complain(what, same ? "" : "not as it is untraced");
        clean_.trail = std::move(traced.trail);
        return same;
    }

    void failCall(size_t number)
    {
        const Trail::Call& call = clean_.trail.calls[number - 1];
        const char* const before = number > 1 ? clean_.trail.calls[number - 2].row->name : "";
        ++counts_.calls;
        // What becomes of a message without a text is the business of one function.
        if (strcmp(call.row->name, "FormatMessageA") == 0 && strcmp(scenario_.function, "sswseFillErrMsg") != 0)
            return;
        for (const DWORD code : call.row->codes) {
            const std::string what = std::to_string(number) + ". " + call.row->name + " = " + std::to_string(code);
            underWay = nameOf(what);
            ++(call.row->says == Says::memoryNull ? counts_.allocations : counts_.faults);
            const Failing failing = {call, code, std::string(before) + '>' + call.row->name};
            const Outcome outcome = runOnce(stage_, scenario_, {number, code}, false);
            const std::vector<Trail::Call>& calls = outcome.trail.calls;
            const bool isReached = calls.size() >= number && calls[number - 1].row == call.row;
            complain(what, isReached ? judge(outcome, &failing) : "other calls than before", call.routines);
        }
    }

    // What is wrong, or nothing.
    std::string judge(const Outcome& outcome, const Failing* failing)
    {
        std::string words;
        for (const auto& [kind, count] : outcome.trail.balance)
            words += std::to_string(count) + ' ' + kind + " not released ";
        for (const std::string& offence : outcome.trail.offences)
            words += offence + ' ';
        if (!words.empty())
            return words;
        if (std::count(scenario_.failures.begin(), scenario_.failures.end(), outcome.status))
            return judgeFailure(outcome, failing);
        const bool same = outcome.status == clean_.status;
        return !failing || isExcused(same ? Exception::tolerated : Exception::answers, outcome, failing)
                   ? ""
                   : describe(outcome);
    }

    // An allocation need not be named by an error of the operating system.
    std::string judgeFailure(const Outcome& outcome, const Failing* failing)
    {
        if (outcome.message.empty() && !isExcused(Exception::silent, outcome, failing))
            return "no message: " + describe(outcome);
        if (!failing)
            return "";
        const bool isMemory = failing->call.row->says == Says::memoryNull;
        if (!outcome.message.empty() && !(outcome.osError.empty() && isMemory) && outcome.osError != recordBefore &&
            outcome.osError != errorOf(*failing) && !isExcused(Exception::otherError, outcome, failing))
            return "error " + outcome.osError + ": " + describe(outcome);
        for (size_t i = 0; i < outcome.outputs.size(); ++i) {
            const std::string& output = outcome.outputs[i];
            if (output != untouched && output != none && !output.empty() && output != clean_.outputs[i] &&
                !isExcused(Exception::otherOutputs, outcome, failing))
                return "outputs: " + describe(outcome);
        }
        return isPlanAsExpected(outcome.plan, clean_.plan, failing->call.planLength, false, "") ||
                       isExcused(Exception::goesOn, outcome, failing)
                   ? ""
                   : "plan: " + describe(outcome);
    }

    static std::string describe(const Outcome& outcome)
    {
        std::string words = "status " + std::to_string(outcome.status) + ", " + std::to_string(outcome.plan.size()) +
                            " changes, " + outcome.message.substr(0, outcome.message.find('\r'));
        for (const std::string& output : outcome.outputs)
            words += ", " + output;
        return words;
    }

    bool isExcused(Exception::Kind kind, const Outcome& outcome, const Failing* failing)
    {
        const auto excuses = [&](const Exception& each) {
            if (each.kind != kind || !isMeant(each, scenario_.function, failing) ||
                (kind == Exception::answers && each.status != outcome.status))
                return false;
            if (kind == Exception::tolerated && !each.outputsDiffer && outcome.outputs != clean_.outputs)
                return false;
            return kind < Exception::goesOn || isPlanAsExpected(outcome.plan, clean_.plan, failing->call.planLength,
                                                                kind != Exception::answers, each.plan);
        };
        const auto found = std::find_if(exceptions().begin(), exceptions().end(), excuses);
        if (found != exceptions().end())
            counts_.exceptions.insert(static_cast<size_t>(found - exceptions().begin()));
        return found != exceptions().end();
    }

    std::string nameOf(const std::string& what) const
    {
        return std::string(scenario_.function) + " (" + scenario_.name + ") " + what;
    }

    void complain(const std::string& what, const std::string& wrong, const std::string& routines = "")
    {
        if (!wrong.empty())
            report_.complaints[nameOf(routines) + ": " + wrong] += what + "; ";
    }

    Stage& stage_;
    const Scenario& scenario_;
    Report& report_;
    FunctionReport& counts_;
    Outcome clean_;
};

} // namespace

Report run(const std::vector<Scenario>& scenarios)
{
    const LPTOP_LEVEL_EXCEPTION_FILTER previous = SetUnhandledExceptionFilter(lastWords);
    Report report;
    Stage stage;
    for (const Scenario& scenario : scenarios)
        Runs(stage, scenario, report).run();
    SetUnhandledExceptionFilter(previous);
    return report;
}

} // namespace faults
