// The runs: what is made to fail in each, and what must hold afterwards.
#include "tests/faults/driver.h"
#include "cli/functions.h"
#include "tests/support/last_words.h"
#include "tests/support/node_test.h"
#include "tests/support/statuses.h"

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

using Calls = std::vector<Trail::Call>;

// What one run left.
struct Outcome
{
    DWORD status = 0;
    std::string message;
    std::string osError;
    std::vector<std::string> outputs;
    Plan plan;
    Trail trail;
    std::string leaked; // where the password is found
};

// ---- one run -----------------------------------------------------------------------------------------------------

// The first message of a run, which is all that a function without a record says.
std::string told;

// Its ends, so that no half of it is left either.
const std::vector<std::string> passwordEnds = {std::string(password, 8), password + sizeof password - 9};

bool tells(const std::string& text)
{
    return std::any_of(passwordEnds.begin(), passwordEnds.end(),
                       [&](const std::string& half) { return text.find(half) != std::string::npos; });
}

// These three trace it in their argument line; the services' functions trace "****".
bool isPasswordDue(const std::string& line)
{
    return line.rfind("Username = ", 0) == 0 || line.rfind("username = ", 0) == 0 || line.rfind("password = ", 0) == 0;
}

void __cdecl receiveTrace(void* outcome, const char* format, ...)
{
    char line[1024] = "";
    va_list arguments;
    va_start(arguments, format);
    if (*format != '%' || format[1] == 's') // not the separator, which nobody can print
        vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    intercept::Interception::traced(format, line);
    if (tells(line) && !isPasswordDue(line))
        static_cast<Outcome*>(outcome)->leaked += std::string("trace ") + line;
    if (told.empty() && (*line == '\n' || strstr(line, "alloc")))
        told = *line == '\n' ? line + 1 : line;
}

// The number in "... (OS 5) ...".
std::string errorIn(const std::string& message)
{
    constexpr char before[] = "(OS ";
    const size_t at = message.find(before);
    return at == std::string::npos ? "" : std::to_string(strtoul(message.c_str() + at + strlen(before), nullptr, 10));
}

Outcome runOnce(Stage& stage, const Scenario& scenario, const Fault& fault, bool isCold, bool isTraced, bool inWords)
{
    const bool hasRecord = cli::takesRecord(*cli::findFunction(scenario.function));
    Outcome outcome;
    stage.reset(isCold);
    told.clear();
    guarded::leakedSecrets(); // the caller's own, of the run before
    if (isTraced || !hasRecord)
        EXPORT_OF(stage.library(), sswseTraceOn)(nullptr, receiveTrace, &outcome, 0);
    stage.interception().start(fault, inWords);
    outcome.status = scenario.call(stage);
    outcome.outputs = stage.takeOutputs();
    if (!guarded::leakedSecrets().empty()) // before the argument lines are released
        outcome.leaked += "released memory ";
    outcome.trail = stage.interception().finish();
    EXPORT_OF(stage.library(), sswseTraceOff)(nullptr);
    outcome.message = hasRecord ? stage.rec()->message : told;
    outcome.osError = hasRecord ? stage.rec()->oserror : errorIn(told);
    outcome.plan = support::planOf(stage.world());
    if (tells(std::string(reinterpret_cast<const char*>(stage.rec()), sizeof(sswseErrRec))))
        outcome.leaked += "record ";
    if (std::any_of(outcome.plan.begin(), outcome.plan.end(), tells))
        outcome.leaked += "plan ";
    return outcome;
}

std::string describe(const Outcome& outcome)
{
    std::string words = "status " + std::to_string(outcome.status) + ", " + std::to_string(outcome.plan.size()) +
                        " changes, " + outcome.message.substr(0, outcome.message.find('\r'));
    for (const std::string& output : outcome.outputs)
        words += ", " + output;
    return words;
}

// KESWSEC_RUN: how the names of the runs begin that are shown with their calls and trace, and made alone.
const std::string shownRuns = getenv("KESWSEC_RUN") ? getenv("KESWSEC_RUN") : "";

bool beginAlike(const std::string& one, const std::string& other)
{
    const size_t length = std::min(one.size(), other.size());
    return one.compare(0, length, other, 0, length) == 0;
}

bool isShown()
{
    return !shownRuns.empty() && support::underWay.rfind(shownRuns, 0) == 0;
}

std::string nameOf(const Scenario& scenario)
{
    return std::string(scenario.function) + " (" + scenario.name + ") ";
}

void show(const Outcome& outcome)
{
    printf("%s: %s\n", support::underWay.c_str(), describe(outcome).c_str());
    for (const intercept::Line& line : outcome.trail.lines)
        printf("    %s%s\n", std::string(2 * line.depth, ' ').c_str(), line.text.c_str());
    for (const std::string& change : outcome.plan)
        printf("    + %s\n", change.c_str());
}

std::string whatIsLost(const Trail& trail)
{
    std::string words;
    for (const auto& [kind, count] : trail.balance)
        words += std::to_string(count) + ' ' + kind + " not released ";
    for (const std::string& offence : trail.offences)
        words += offence + ' ';
    return words;
}

// The places, counted from 1, of the calls that `known` does not have.
std::vector<size_t> newCalls(const Calls& calls, const Calls& known)
{
    std::vector<size_t> places;
    size_t next = 0;
    for (size_t i = 0; i < calls.size(); ++i)
        if (next < known.size() && known[next].row == calls[i].row)
            ++next;
        else
            places.push_back(i + 1);
    return places;
}

std::string errorOf(const Failing& failing)
{
    const bool isStatus = failing.call.row->says == Says::ntStatus;
    return std::to_string(isStatus ? LsaNtStatusToWinError(static_cast<NTSTATUS>(failing.code)) : failing.code);
}

bool isFailure(const cli::Function& function, DWORD status)
{
    if (!support::mayAnswer(function, status))
        return false;
    switch (function.result) {
    case cli::Result::switching:
        return status == SSWSE_NO;
    case cli::Result::legacy:
        return status != 0;
    default:
        return status == SSWSE_FAILURE || status == SSWSE_UNSUPPORTED_HOME_TYPE || status == SSWSE_HOME_NOT_FOUND;
    }
}

bool hasSecret(const cli::Function& function)
{
    const auto isSecret = [](const cli::Parameter& parameter) { return parameter.kind == cli::Kind::secret; };
    return std::any_of(function.parameters.begin(), function.parameters.end(), isSecret);
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
        guarded::watchFor(takesPassword_ ? passwordEnds : std::vector<std::string>());
        stage_.set(scenario_.prepare);
        if (!runAsItIs("as it is"))
            return;
        for (size_t number = 1; !scenario_.isForThePage && number <= clean_.trail.calls.size(); ++number)
            failCall(number);
        // The calls that only a library makes that has just been loaded.
        const Calls known = std::move(clean_.trail.calls);
        isCold_ = true;
        if (runAsItIs("just loaded") && !scenario_.isForThePage)
            for (const size_t number : newCalls(clean_.trail.calls, known))
                failCall(number);
    }

private:
    Outcome runOnce(const Fault& fault, bool traced = false, bool inWords = false)
    {
        Outcome outcome = faults::runOnce(stage_, scenario_, fault, isCold_, traced || takesPassword_ || isShown(),
                                          inWords || isShown());
        if (isShown())
            show(outcome);
        return outcome;
    }

    // Nothing fails. Tells what is called, and the routines that are under way then.
    bool runAsItIs(const std::string& what)
    {
        support::underWay = nameOf(what);
        clean_ = runOnce({});
        counts_.reached.insert(clean_.trail.reached.begin(), clean_.trail.reached.end());
        const bool isExpected = clean_.status == scenario_.status;
        complain(what, isExpected ? judge(clean_, nullptr) : "not as expected: " + describe(clean_));
        return isExpected && runTraced(what + ", traced", {}) &&
               runTraced(what + ", traced without argument lines", {0, 0, nullptr, true});
    }

    // Tracing changes nothing, a trace line that cannot be had does not, and neither does what fresh blocks hold.
    bool runTraced(const std::string& what, const Fault& fault)
    {
        support::underWay = nameOf(what);
        guarded::fillFreshWith(0x3C);
        const bool isOnPage = isCold_ && !fault.argumentLines;
        Outcome traced = runOnce(fault, true, isOnPage);
        guarded::fillFreshWith(guarded::usualFill);
        complain(what, judge(traced, nullptr));
        const Calls& calls = traced.trail.calls;
        const bool same = isSame(traced, clean_) && traced.message == clean_.message &&
                          (scenario_.isForThePage ||
                           std::equal(calls.begin(), calls.end(), clean_.trail.calls.begin(), clean_.trail.calls.end(),
                                      [](const Trail::Call& a, const Trail::Call& b) { return a.row == b.row; }));
        complain(what, same ? "" : "not as it is untraced");
        for (intercept::Line& line : traced.trail.lines)
            line.text = stage_.withoutPlaces(line.text, line.row != nullptr);
        if (isOnPage)
            counts_.scenes.push_back({scenario_.name, resultOf(traced), std::move(traced.trail.lines)});
        clean_.trail = std::move(traced.trail);
        return same;
    }

    // The status and what the outputs hold.
    std::string resultOf(const Outcome& outcome) const
    {
        std::string words = "status " + std::to_string(outcome.status);
        for (const std::string& output : outcome.outputs)
            words +=
                output == untouched || output == none ? "" : ", " + output.substr(0, output.find_last_not_of(' ') + 1);
        return stage_.withoutPlaces(words, false);
    }

    void failCall(size_t number)
    {
        const Calls& calls = clean_.trail.calls;
        const Trail::Call& call = calls[number - 1];
        const std::string before = number > 1 ? calls[number - 2].row->name : "";
        ++counts_.calls;
        for (const DWORD code : call.row->codes) {
            const std::string what = std::to_string(number) + ". " + call.row->name + " = " + std::to_string(code);
            support::underWay = nameOf(what);
            if (!shownRuns.empty() && !isShown())
                continue;
            ++(call.row->says == Says::memoryNull ? counts_.allocations : counts_.faults);
            const Failing failing = {call, code, before + '>' + call.row->name};
            // A version that has not been told is asked for again by the next routine: then it is not told either.
            const bool isVersion = strcmp(call.row->name, "GetVersionExA") == 0;
            const Fault fault = {isVersion ? 0 : number, code, isVersion ? call.row->name : nullptr};
            const Outcome outcome = runOnce(fault);
            const bool isReached =
                outcome.trail.calls.size() >= number && outcome.trail.calls[number - 1].row == call.row;
            complain(what, isReached ? judge(outcome, &failing) : "other calls than before", call.routines);
            noteMessage(outcome, failing);
            if (number == 1 || number == calls.size())
                failTextsToo(what, fault, outcome, failing);
        }
    }

    void noteMessage(const Outcome& outcome, const Failing& failing)
    {
        const Trail::Call& call = failing.call;
        const std::string message = outcome.message.substr(0, outcome.message.find_first_of("\r\n"));
        if (message.empty() || message == recordBefore || call.row->says == Says::memoryNull ||
            strstr(call.row->name, "WideChar"))
            return;
        const std::string routine = (call.routines.empty() ? '|' + std::string(scenario_.function) : call.routines);
        const std::string status = outcome.status == SSWSE_FAILURE ? "" : " (" + std::to_string(outcome.status) + ")";
        const std::string its = outcome.osError.empty() ? "no error" : "OS " + outcome.osError;
        const std::string osError = outcome.osError == errorOf(failing) ? "" : " (" + its + ")";
        report_.messages[stage_.withoutPlaces(message, false)].insert('`' + std::string(call.row->name) + "` in `" +
                                                                      routine.substr(routine.rfind('|') + 1) + '`' +
                                                                      status + osError);
    }

    // Without its texts a message is blank, and all else as it is with them.
    void failTextsToo(const std::string& what, Fault fault, const Outcome& outcome, const Failing& failing)
    {
        fault.texts = true;
        const Outcome blank = runOnce(fault);
        complain(what + " and no texts", judge(blank, &failing), failing.call.routines);
        if (!isSame(blank, outcome) || blank.message.empty() != outcome.message.empty())
            complain(what, "not the same without texts: " + describe(blank), failing.call.routines);
    }

    static bool isSame(const Outcome& one, const Outcome& other)
    {
        return one.status == other.status && one.osError == other.osError && one.plan == other.plan &&
               one.outputs == other.outputs;
    }

    // What is wrong, or nothing.
    std::string judge(const Outcome& outcome, const Failing* failing)
    {
        if (!outcome.leaked.empty())
            return "the password is in " + outcome.leaked;
        if (const std::string lost = whatIsLost(outcome.trail); !lost.empty())
            return lost;
        if (failing && isExcused(Exception::noFailure, outcome, failing))
            return "";
        if (isFailure(*cli::findFunction(scenario_.function), outcome.status))
            return judgeFailure(outcome, failing);
        return failing ? describe(outcome) : "";
    }

    // An allocation need not be named by an error of the operating system.
    std::string judgeFailure(const Outcome& outcome, const Failing* failing)
    {
        const bool saysNothing = outcome.message.empty() || outcome.message == recordBefore;
        if (saysNothing && !isExcused(Exception::saysNothing, outcome, failing))
            return "no message: " + describe(outcome);
        if (!failing)
            return "";
        const bool isMemory = failing->call.row->says == Says::memoryNull;
        if (!saysNothing && outcome.osError != errorOf(*failing) && !(isMemory && outcome.osError.empty()) &&
            !isExcused(Exception::otherError, outcome, failing))
            return "error " + outcome.osError + ": " + describe(outcome);
        const bool asExpected = areOutputsValid(outcome) &&
                                isPlanAsExpected(outcome.plan, clean_.plan, failing->call.planLength, false, "");
        if (asExpected || isExcused(Exception::goesOn, outcome, failing))
            return "";
        return "left: " + describe(outcome) + planDifference(outcome.plan, failing->call.planLength);
    }

    // The first line of the plan that is not as when nothing fails, up to the call at least.
    std::string planDifference(const Plan& plan, size_t due) const
    {
        const auto [is, was] = std::mismatch(plan.begin(), plan.end(), clean_.plan.begin(), clean_.plan.end());
        const auto place = static_cast<size_t>(is - plan.begin());
        const std::string line = is == plan.end() ? "no line" : *is;
        return place < due ? ", instead of " + *was + ": " + line : ", too much: " + line;
    }

    bool areOutputsValid(const Outcome& outcome) const
    {
        for (size_t i = 0; i < outcome.outputs.size(); ++i) {
            const std::string& output = outcome.outputs[i];
            if (output != untouched && output != none && !output.empty() && output != clean_.outputs[i])
                return false;
        }
        return true;
    }

    bool isExcused(Exception::Effect effect, const Outcome& outcome, const Failing* failing)
    {
        for (size_t i = 0; i < exceptions().size(); ++i) {
            const Exception& each = exceptions()[i];
            Words words = each.effect == effect ? wordsFor(each, scenario_.function, failing) : Words();
            if (words.empty() || (effect >= Exception::goesOn && !isLeft(each, outcome, *failing)))
                continue;
            counts_.exceptions[i].merge(words);
            return true;
        }
        return false;
    }

    // Whether status, outputs and plan are what the exception lets a run leave that goes on after the call.
    bool isLeft(const Exception& exception, const Outcome& outcome, const Failing& failing) const
    {
        const bool isDone = exception.effect == Exception::noFailure && outcome.status == clean_.status;
        if (exception.effect == Exception::noFailure && !isDone && outcome.status != exception.answer)
            return false;
        const bool goesOn = isDone || exception.effect == Exception::goesOn;
        if (!isPlanAsExpected(outcome.plan, clean_.plan, failing.call.planLength, goesOn, exception.plan))
            return false;
        switch (exception.outputs) {
        case Exception::own:
            return true;
        case Exception::listed:
            return std::count(outcome.outputs.begin(), outcome.outputs.end(), failing.call.object + '|') == 1;
        default:
            return isDone ? outcome.outputs == clean_.outputs : areOutputsValid(outcome);
        }
    }

    std::string nameOf(const std::string& what) const { return faults::nameOf(scenario_) + what; }

    void complain(const std::string& what, const std::string& wrong, const std::string& routines = "")
    {
        if (!wrong.empty())
            report_.complaints[nameOf(routines) + ": " + wrong] += what + "; ";
    }

    Stage& stage_;
    const Scenario& scenario_;
    Report& report_;
    FunctionReport& counts_;
    const bool takesPassword_ = hasSecret(*cli::findFunction(scenario_.function));
    bool isCold_ = false; // each run with a library that has just been loaded
    Outcome clean_;
};

} // namespace

Report run(const std::vector<Scenario>& scenarios)
{
    Report report;
    Stage stage;
    for (const Scenario& scenario : scenarios)
        if (beginAlike(nameOf(scenario), shownRuns))
            Runs(stage, scenario, report).run();
    guarded::watchFor({});
    support::underWay.clear();
    return report;
}

} // namespace faults
