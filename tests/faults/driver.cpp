// The runs: what is made to fail in each, and what must hold afterwards.
#include "tests/faults/driver.h"
#include "cli/functions.h"
#include "tests/support/guarded_heap.h"

#include <ntsecapi.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace faults {

namespace {

using intercept::Fault;
using intercept::Says;
using intercept::Trail;
using support::Answer;

using Json = nlohmann::ordered_json;
using Calls = std::vector<Trail::Call>;

// Whether the output is as good as untouched.
bool isEmpty(const Json& output)
{
    return output == 0 || output == "" || output == Json::array();
}

// The status and what the outputs hold.
std::string resultOf(const Answer& answer)
{
    std::string words = "status " + std::to_string(answer.status);
    for (const auto& [name, output] : answer.outputs.items()) {
        if (isEmpty(output))
            continue;
        std::string text = output.is_string() ? output.get<std::string>() : output.is_array() ? "" : output.dump();
        if (output.is_array())
            for (const std::string each : output)
                text += each + '|';
        words += ", " + name + '=' + text;
    }
    return words;
}

std::string describe(const Answer& answer)
{
    return resultOf(answer) + ", " + std::to_string(answer.plan.size()) + " changes, " +
           answer.message.substr(0, answer.message.find('\r'));
}

// KESWSEC_RUN: how the names of the runs begin that are shown with their calls and trace, and made alone.
const std::string shownRuns = getenv("KESWSEC_RUN") ? getenv("KESWSEC_RUN") : "";

bool beginAlike(const std::string& one, const std::string& other)
{
    const size_t length = std::min(one.size(), other.size());
    return one.compare(0, length, other, 0, length) == 0;
}

void show(const std::string& name, const Answer& answer)
{
    printf("%s: %s\n", name.c_str(), describe(answer).c_str());
    for (const intercept::Line& line : answer.trail.lines)
        printf("    %s%s\n", std::string(2 * line.depth, ' ').c_str(), line.text.c_str());
    for (const std::string& change : answer.plan)
        printf("    + %s\n", change.c_str());
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
    switch (function.result) {
    case cli::Result::switching:
        return status == SSWSE_NO;
    case cli::Result::legacy:
        return status != 0;
    default:
        return status == SSWSE_FAILURE || status == SSWSE_UNSUPPORTED_HOME_TYPE || status == SSWSE_HOME_NOT_FOUND;
    }
}

// ---- a scenario --------------------------------------------------------------------------------------------------

class Runs
{
public:
    Runs(Subject& subject, const Scenario& scenario, Report& report)
        : subject_(subject), scenario_(scenario), report_(report), call_(subject.call(scenario.call)),
          counts_(report.functions[scenario.about ? scenario.about : call_.function->name])
    {
    }

    void run()
    {
        if (!beginAlike(nameOf(""), shownRuns))
            return;
        ++counts_.scenarios;
        subject_.set(scenario_.prepare);
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
    Answer runOnce(const std::string& what, const Fault& fault, bool traced = false, bool inWords = false)
    {
        const bool isShown = !shownRuns.empty() && nameOf(what).rfind(shownRuns, 0) == 0;
        subject_.restore(isCold_);
        subject_.setTracing(traced || isShown || !secretsOf(call_).empty() || !cli::takesRecord(*call_.function));
        Answer answer = subject_.run(call_, '(' + std::string(scenario_.name) + ") " + what, fault, inWords || isShown);
        if (isShown)
            show(nameOf(what), answer);
        return answer;
    }

    // Nothing fails. Tells what is called, and the routines that are under way then.
    bool runAsItIs(const std::string& what)
    {
        clean_ = runOnce(what, scenario_.fault);
        counts_.reached.insert(clean_.trail.reached.begin(), clean_.trail.reached.end());
        const bool isExpected = clean_.status == scenario_.status;
        complain(what, isExpected ? judge(clean_, nullptr) : "not as expected: " + describe(clean_));
        intercept::Fault withoutLines = scenario_.fault;
        withoutLines.argumentLines = true;
        return isExpected && runTraced(what + ", traced", scenario_.fault) &&
               runTraced(what + ", traced without argument lines", withoutLines);
    }

    // Tracing changes nothing, a trace line that cannot be had does not, and neither does what fresh blocks hold.
    bool runTraced(const std::string& what, const Fault& fault)
    {
        guarded::freshFill = 0x3C;
        const bool isOnPage = isCold_ && !fault.argumentLines;
        Answer traced = runOnce(what, fault, true, isOnPage);
        guarded::freshFill = guarded::usualFill;
        complain(what, judge(traced, nullptr));
        const Calls& calls = traced.trail.calls;
        const bool same = isSame(traced, clean_) && traced.message == clean_.message &&
                          (scenario_.isForThePage ||
                           std::equal(calls.begin(), calls.end(), clean_.trail.calls.begin(), clean_.trail.calls.end(),
                                      [](const Trail::Call& a, const Trail::Call& b) { return a.row == b.row; }));
        complain(what, same ? "" : "not as it is untraced");
        for (intercept::Line& line : traced.trail.lines)
            line.text = subject_.withoutPlaces(line.text, line.row != nullptr);
        const bool hasResult = !scenario_.about && call_.function->result != cli::Result::nothing;
        if (isOnPage)
            counts_.scenes.push_back({scenario_.name, hasResult ? subject_.withoutPlaces(resultOf(traced), false) : "",
                                      std::move(traced.trail.lines)});
        clean_.trail = std::move(traced.trail);
        return same;
    }

    void failCall(size_t number)
    {
        const Calls& calls = clean_.trail.calls;
        const Trail::Call& call = calls[number - 1];
        const std::string before = number > 1 ? calls[number - 2].row->name : "";
        ++counts_.calls;
        for (const DWORD code : call.row->codes) {
            const std::string what = std::to_string(number) + ". " + call.row->name + " = " + std::to_string(code);
            if (nameOf(what).rfind(shownRuns, 0) != 0)
                continue;
            ++(call.row->says == Says::memoryNull ? counts_.allocations : counts_.faults);
            const Failing failing = {call, code, before + '>' + call.row->name};
            // A version that has not been told is asked for again by the next routine: then it is not told either.
            const bool isVersion = strcmp(call.row->name, "GetVersionExA") == 0;
            const Fault fault = {isVersion ? 0 : number, code, isVersion ? call.row->name : nullptr};
            const Answer outcome = runOnce(what, fault);
            const bool isReached =
                outcome.trail.calls.size() >= number && outcome.trail.calls[number - 1].row == call.row;
            complain(what, isReached ? judge(outcome, &failing) : "other calls than before", call.routines);
            noteMessage(outcome, failing);
            if (number == 1 || number == calls.size())
                failTextsToo(what, fault, outcome, failing);
        }
    }

    void noteMessage(const Answer& outcome, const Failing& failing)
    {
        const Trail::Call& call = failing.call;
        const std::string message = outcome.message.substr(0, outcome.message.find_first_of("\r\n"));
        if (message.empty() || call.row->says == Says::memoryNull || strstr(call.row->name, "WideChar"))
            return;
        const std::string routine = call.routines.empty() ? std::string(1, '|') + call_.function->name : call.routines;
        const std::string status = outcome.status == SSWSE_FAILURE ? "" : " (" + std::to_string(outcome.status) + ")";
        const std::string its = outcome.osError.empty() ? "no error" : "OS " + outcome.osError;
        const std::string osError = outcome.osError == errorOf(failing) ? "" : " (" + its + ")";
        report_.messages[subject_.withoutPlaces(message, false)].insert('`' + std::string(call.row->name) + "` in `" +
                                                                        routine.substr(routine.rfind('|') + 1) + '`' +
                                                                        status + osError);
    }

    // Without its texts a message is blank, and all else as it is with them.
    void failTextsToo(const std::string& what, Fault fault, const Answer& outcome, const Failing& failing)
    {
        fault.texts = true;
        const Answer blank = runOnce(what + " and no texts", fault);
        complain(what + " and no texts", judge(blank, &failing), failing.call.routines);
        if (!isSame(blank, outcome) || blank.message.empty() != outcome.message.empty())
            complain(what, "not the same without texts: " + describe(blank), failing.call.routines);
    }

    static bool isSame(const Answer& one, const Answer& other)
    {
        return one.status == other.status && one.osError == other.osError && one.plan == other.plan &&
               one.outputs == other.outputs;
    }

    // What is wrong, or nothing.
    std::string judge(const Answer& outcome, const Failing* failing)
    {
        if (failing && isExcused(Exception::noFailure, outcome, failing))
            return "";
        if (isFailure(*call_.function, outcome.status))
            return judgeFailure(outcome, failing);
        return failing ? describe(outcome) : "";
    }

    // An allocation need not be named by an error of the operating system.
    std::string judgeFailure(const Answer& outcome, const Failing* failing)
    {
        const bool saysNothing = outcome.message.empty();
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

    bool areOutputsValid(const Answer& outcome) const
    {
        for (const auto& [name, output] : outcome.outputs.items())
            if (!isEmpty(output) && (!clean_.outputs.contains(name) || output != clean_.outputs[name]))
                return false;
        return true;
    }

    bool isExcused(Exception::Effect effect, const Answer& outcome, const Failing* failing)
    {
        for (size_t i = 0; i < exceptions().size(); ++i) {
            const Exception& each = exceptions()[i];
            Words words = each.effect == effect ? wordsFor(each, call_.function->name, failing) : Words();
            if (words.empty() || (effect >= Exception::goesOn && !isLeft(each, outcome, *failing)))
                continue;
            counts_.exceptions[i].merge(words);
            return true;
        }
        return false;
    }

    // Whether status, outputs and plan are what the exception lets a run leave that goes on after the call.
    bool isLeft(const Exception& exception, const Answer& outcome, const Failing& failing) const
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
            return std::count(outcome.outputs.begin(), outcome.outputs.end(), Json{failing.call.object}) == 1;
        default:
            return isDone ? outcome.outputs == clean_.outputs : areOutputsValid(outcome);
        }
    }

    std::string nameOf(const std::string& what) const
    {
        return std::string(call_.function->name) + " (" + scenario_.name + ") " + what;
    }

    void complain(const std::string& what, const std::string& wrong, const std::string& routines = "")
    {
        EXPECT_EQ(wrong, "") << nameOf(what) << routines;
    }

    Subject& subject_;
    const Scenario& scenario_;
    Report& report_;
    const support::SubjectCall call_;
    FunctionReport& counts_;
    bool isCold_ = false; // each run with a library that has just been loaded
    Answer clean_;
};

} // namespace

Report runAll()
{
    Report report;
    Subject subject;
    for (const Scenario& scenario : scenarios())
        Runs(subject, scenario, report).run();
    return report;
}

} // namespace faults
