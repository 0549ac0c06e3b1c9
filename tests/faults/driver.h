// Fault runs: each scenario once as it is, to count the platform calls that can fail, then once for each of them and
// each documented way to fail, allocations included. After each run status, record, outputs, plan and what is still
// held are looked at.
//
//     scenarios    the calls, by area
//     driver       the runs, and what must hold after each
//     exceptions   what need not, and why
//     the tests    docs/reliability.md, docs/platform-calls.md
#pragma once

#include "tests/support/subject.h"

namespace faults {

using support::Subject;

struct Scenario
{
    const char* call; // a line for Subject::call
    const char* name;
    DWORD status; // of the run in which nothing is made to fail
    Subject::Prepare prepare = {};
    bool isForThePage = false;   // made as it is only: nothing more is made to fail
    intercept::Fault fault = {}; // but this
    const char* about = nullptr; // the function that it counts for, when that is one that releases what the call gives
};

const std::vector<Scenario>& scenarios();

// What is not as it is otherwise when a platform call fails: otherwise the status is a failure that the function may
// answer, there is a message, the operating system's error in it is the one of the call, outputs are as they were or
// valid, and what was changed is what came before the call.
struct Exception
{
    enum Effect
    {
        saysNothing, // no message
        otherError,  // an error that is not the call's
        goesOn,      // a failure, but what comes behind it is done all the same
        noFailure    // the status of the run in which nothing fails, or `answer`
    };
    enum Outputs
    {
        usual, // as they were, emptied, or those of the run in which nothing fails
        own,   // those of neither run
        listed // the first one names the object that the call was about
    };
    Effect effect;
    const char* routines;     // that are under way, of the library's own: "one, other"; "outer|inner"; NULL: any
    const char* functions;    // that fail: "one, other"; "before>one": called next after `before`; NULL: any of the
                              // routines; "": none, the scenario itself is meant
    std::vector<DWORD> codes; // none: any
    const char* reason;
    DWORD answer = asWhenNothingFails;
    // The plan, where it is not the whole one although there is no failure, or not what came before the call although
    // there is one: "next": without the change that the call was to lead to; "some": some changes from there on are
    // missing; "later": the same, and the call is not before the first change. Then, "|word|word*": apart from changes
    // with the one, and from what comes behind the other.
    const char* plan = "";
    Outputs outputs = usual;

    static constexpr DWORD asWhenNothingFails = MAXDWORD;
};

const std::vector<Exception>& exceptions();

// A call of the clean run, and how it is made to fail.
struct Failing
{
    const intercept::Trail::Call& call;
    DWORD code;
    std::string afterOther; // "before>one"
};

// The exception's routines, functions and codes, one by one.
using Words = std::set<std::string>;
Words wordsOf(const Exception& exception);
// Those of them that are for this failure, none when the exception is not; `failing` is NULL where nothing is made to
// fail.
Words wordsFor(const Exception& exception, const char* function, const Failing* failing);

// `mode` as in Exception::plan; `before`: how many changes were made before the call.
using Plan = std::vector<std::string>;
bool isPlanAsExpected(const Plan& plan, const Plan& whole, size_t before, bool goesOn, const std::string& mode);

// A scenario as the first call of a library that has just been loaded.
struct Scene
{
    const char* name;
    std::string result; // empty for a function without one
    std::vector<intercept::Line> lines;
};

struct FunctionReport
{
    size_t scenarios = 0;
    std::set<const intercept::Row*> reached;
    size_t calls = 0; // that can fail
    size_t faults = 0;
    size_t allocations = 0;
    std::vector<Scene> scenes;
    std::map<size_t, Words> exceptions; // by their place in the table, and what of them was needed
};

struct Report
{
    std::map<std::string, FunctionReport> functions;
    // First line -> the calls after whose failure it was left, each with the routine that made it. Without memory and
    // the conversion of texts, whose messages every routine has.
    std::map<std::string, std::set<std::string>> messages;
};

Report runAll();

} // namespace faults
