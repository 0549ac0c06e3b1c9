// Any exported function called with any arguments, on the checked build of the library: texts and buffers end at an
// inaccessible page, as do the blocks of its own heap, and what it leaves is checked after each call.
#pragma once

#include "cli/invoke.h"
#include "tests/support/home.h"
#include "tests/support/intercept.h"
#include "tests/support/trace_log.h"
#include "whatif/registry.h"
#include "whatif/whatif.h"

#include <set>

namespace hostile {

struct Call : cli::Call
{
    std::set<size_t> nulls; // parameters that get NULL whatever their value
};

struct Answer
{
    DWORD status = 0;
    std::string message;
    nlohmann::ordered_json outputs;
    std::vector<std::string> leaked; // of what guarded::watchFor names: found in released blocks
};

using Functions = std::vector<const cli::Function*>;
Functions callableFunctions(); // all but those that switch tracing or release memory
bool isText(const cli::Parameter& parameter);

// The library in a home of its own on a described node, "NODE", and a second node "DB2".
class Subject
{
public:
    Subject();
    ~Subject();
    Subject(const Subject&) = delete;
    Subject& operator=(const Subject&) = delete;

    // A call with which the function succeeds, or answers "no".
    Call ordinary(const cli::Function& function) const;
    // The nodes as they are said to be, then the call and the checks: a documented status, a record that is whole,
    // nothing kept, nothing changed on the nodes by a call that was refused. `what` tells it from others in a failure.
    Answer run(const Call& call, const std::string& what, const intercept::Fault& fault = {});
    Functions functionsThatCall(const std::set<std::string>& imports);
    void runAll(const Functions& functions, const std::string& what); // their ordinary calls

    void restore(); // key file and registry values
    void setValue(const wchar_t* name, const whatif::RegistryValue& value);
    void setCodePage(UINT codePage);      // that the library finds; 0: the machine's
    void traceTo(support::TraceLog* log); // NULL: no longer

    support::TemporaryHome home;
    whatif::World world{whatif::Base::described};
    whatif::Node local; // the nodes as each call finds them
    whatif::Node remote;
    intercept::Trail trail; // of the last call

private:
    void callLibrary(const Call& call, Answer& answer);

    support::ScratchDirectory files_;
    whatif::Redirection redirection_;
    intercept::Interception guard_;
    whatif::Imports stands_;
    bool tracing_ = false;
};

} // namespace hostile
