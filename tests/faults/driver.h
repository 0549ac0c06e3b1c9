// Fault runs: each scenario once as it is, to count the platform calls that can fail, then once for each of them and
// each documented way to fail, allocations included. After each run status, record, outputs, plan and what is still
// held are looked at.
#pragma once

#include "tests/faults/stage.h"

#include <map>
#include <set>

namespace faults {

struct Scenario
{
    const char* function; // the exported one
    DWORD (*call)(Stage&);
    const char* name;
    DWORD status; // of the run in which nothing is made to fail
    std::vector<DWORD> failures = {SSWSE_FAILURE};
    void (*prepare)(Stage&) = nullptr;
    bool cold = false; // each run with a library that has been loaded for it
};

// CALL(sswseCheckOSGroup, "KES_DBA", nullptr): the first two members of a scenario. The stage is `s`.
#define CALL(name, ...) #name, [](Stage & s) -> DWORD { return EXPORT_OF(s.library(), name)(s.rec(), ##__VA_ARGS__); }

// The arguments for a text: buffer, size, length.
#define BUFFER(size) s.text(size), size, s.value<size_t>()

std::vector<Scenario> frameScenarios();
std::vector<Scenario> accountScenarios();
std::vector<Scenario> groupScenarios();
std::vector<Scenario> homeScenarios();
std::vector<Scenario> serviceScenarios();
std::vector<Scenario> accessScenarios();

// What is not as it is otherwise when a platform call fails: otherwise the status is one of the scenario's failures,
// there is a message, the operating system's error in it is the one of the call, outputs are as they were or valid, and
// what was changed is what came before the call.
struct Exception
{
    enum Kind
    {
        silent,       // no message
        otherError,   // an error that is not the call's
        otherOutputs, // outputs that are those of neither run
        goesOn,       // a failure, but what comes behind it is done all the same
        tolerated,    // the status of the run in which nothing fails
        answers       // `status`, which is no failure
    };
    Kind kind;
    const char* routine; // that is under way, of the library's own, or several, "outer|inner"; NULL: any
    const char*
        functions; // that fail, "one|other"; "before>one": called next after `before`; NULL: any of the routine;
                   // "": none, the scenario itself is meant
    DWORD code;    // 0: any
    const char* reason;
    DWORD status = 0;
    // The plan, where it is not the whole one although the failure is tolerated, or not what came before the call
    // although it is not: "next": without the change that the call was to lead to; "some": some changes from there on
    // are missing; "later": the same, and the call is not before the first change. Then, "|word|word": apart from
    // changes with these words.
    const char* plan = "";
    bool outputsDiffer = false;
};

const std::vector<Exception>& exceptions();

struct FunctionReport
{
    size_t scenarios = 0;
    std::set<const intercept::Row*> reached;
    size_t calls = 0; // that can fail
    size_t faults = 0;
    size_t allocations = 0;
    std::set<size_t> exceptions; // by their place in the table
};

struct Report
{
    std::map<std::string, FunctionReport> functions;
    std::map<std::string, std::string> complaints; // what went wrong where -> in which runs
};

Report run(const std::vector<Scenario>& scenarios);

// The part of docs/reliability.md that is written by the runs.
std::string tableOf(const std::map<std::string, FunctionReport>& functions);

} // namespace faults
