// Any exported function called with any arguments, on the checked build of the library: texts and buffers end at an
// inaccessible page, as do the blocks of its own heap, and what it leaves is checked after each call.
#pragma once

#include "cli/invoke.h"
#include "tests/support/home.h"
#include "tests/support/intercept.h"
#include "tests/support/trace_log.h"
#include "whatif/model/registry.h"
#include "whatif/whatif.h"

#include <optional>
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
};

using Functions = std::vector<const cli::Function*>;
Functions callableFunctions(); // all but those that switch tracing or release memory
bool isText(const cli::Parameter& parameter);

template <class Thing>
Thing& named(std::vector<Thing>& things, const std::wstring& name)
{
    return *std::find_if(things.begin(), things.end(), [&](const Thing& each) { return each.name == name; });
}

// Of the home in the registry.
inline constexpr std::pair<const wchar_t*, const wchar_t*> usualValues[] = {{L"KESTEL_HOME_NAME", L"h1"},
                                                                            {L"KESTEL_HOME_TYPE", L"1"},
                                                                            {L"KESTEL_SVCUSER", L"svc"},
                                                                            {L"KESTEL_SVCUSER_TYPE", L" "},
                                                                            {L"KESTEL_SVCUSER_PWDREQ", L"1"}};

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
    // texts that end, nothing kept or released twice, nothing changed on the nodes by a call that was refused. `what`
    // tells it from others in a failure.
    Answer run(const Call& call, const std::string& what);
    Functions readers(const std::set<std::string>& imports, size_t least); // what comes to one of them; all are reached
    void runAll(const Functions& functions, const std::string& what);      // their ordinary calls

    void restore(); // key file and registry values
    void setValue(const wchar_t* name, const whatif::RegistryValue& value);
    void setCodePage(UINT codePage); // that the library finds; 0: the machine's
    void setTracing(bool on);        // to the log, which is empty then

    support::TemporaryHome home;
    whatif::World world{whatif::Base::described};
    whatif::Node local;  // the nodes as each call finds them, from the file of the fault runs
    whatif::Node remote; // the same
    support::TraceLog log;
    intercept::Trail trail; // of the last call

private:
    void callLibrary(const Call& call, Answer& answer);

    support::CurrentDirectory files_;
    whatif::Redirection redirection_;
    whatif::Imports beneath_; // what the world has no replacement for
    std::optional<intercept::Interception> guard_;
};

} // namespace hostile
