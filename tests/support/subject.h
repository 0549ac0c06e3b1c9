// Any exported function called with any arguments: the library's checked build in a home of its own on what-if nodes.
// What it is given and what it fills end at an inaccessible page, as do the blocks of its own heap, and what it leaves
// is looked at after each call.
#pragma once

#include "cli/invoke.h"
#include "tests/support/intercept.h"
#include "tests/support/library_copy.h"
#include "tests/support/node_test.h"
#include "whatif/model/registry.h"

#include <deque>
#include <functional>
#include <optional>

namespace support {

struct SubjectCall : cli::Call
{
    std::set<size_t> nulls; // parameters that get NULL whatever their value
};

struct Answer
{
    DWORD status = 0;
    std::string message; // of the record; without one the first that is traced
    std::string osError;
    nlohmann::ordered_json outputs; // what has been stored
    intercept::Trail trail;
    Lines plan;
};

using Functions = std::vector<const cli::Function*>;
Functions callableFunctions(); // all but those that switch tracing or release memory

// That it may answer, a digit for each: "0134"; empty for a function that answers nothing.
std::string statusesOf(const cli::Function& function);

inline bool mayAnswer(const cli::Function& function, DWORD status)
{
    const std::string statuses = statusesOf(function);
    return statuses.empty() || (status < 10 && statuses.find(static_cast<char>('0' + status)) != std::string::npos);
}

// Of the home in the registry.
inline constexpr std::pair<const wchar_t*, const wchar_t*> usualValues[] = {{L"KESTEL_HOME_NAME", L"h1"},
                                                                            {L"KESTEL_HOME_TYPE", L"1"},
                                                                            {L"KESTEL_SVCUSER", L"svc"},
                                                                            {L"KESTEL_SVCUSER_TYPE", L" "},
                                                                            {L"KESTEL_SVCUSER_PWDREQ", L"1"}};

// One at a time. The nodes are "NODE" and "DB2", whose share D$ is the home, E$ the current directory; that one has
// "file" and "sub\file".
class Subject
{
public:
    using Prepare = std::function<void(Subject&)>;

    explicit Subject(const Prepare& prepare = {});
    ~Subject();
    Subject(const Subject&) = delete;
    Subject& operator=(const Subject&) = delete;

    void set(const Prepare& prepare); // the usual machine, changed so, and a library that has just been loaded
    // The registry as it was set. Cold: the library has neither asked the version nor found messages.
    void restore(bool isCold);

    // As keswsec.exe takes it. What is not given is as the function succeeds with it, or answers "no"; "-name" is NULL,
    // HOME and FILES are the directories, **** is the password.
    SubjectCall call(const std::string& line) const;
    // The nodes as they are said to be, then the call and the checks: a documented status, a record that is whole,
    // texts that end, nothing kept or released twice, no password where it is not due, nothing changed on the nodes by
    // a call that was refused. `what` tells it from others in a failure.
    Answer run(const SubjectCall& call, const std::string& what, const intercept::Fault& fault = {},
               bool inWords = false);

    // The directories as HOME and FILES, in a platform call the password as ****.
    std::string withoutPlaces(std::string text, bool isCall) const;

    // ---- for what prepares it, and the calls behind it
    void restoreHome(); // key file and registry values
    void setValue(const wchar_t* name, const whatif::RegistryValue& value);
    void setText(const wchar_t* name, const wchar_t* text) { setValue(name, whatif::registryText(text)); }
    void setEnvironment(const char* name, const char* value) { environment_.emplace_back(name, value); }
    void setTracing(bool on); // to the log, which is empty then
    void makeDomainController() { local.productType = remote.productType = VER_NT_DOMAIN_CONTROLLER; }
    void makeGroup() // of the home's service SIDs
    {
        for (whatif::Node* const node : {&local, &remote})
            Nodes::addGroup(*node, L"KES_h1_SVCSIDS");
    }
    void makeSource(); // of the application log, "Kestel"
    void putOnVlfs() { isOnVlfs = true; }
    std::wstring files() const { return files_.path().wstring(); }
    whatif::World& world() { return *world_; }
    std::vector<std::string> unmatched() const { return guard_->unmatched(); }

    static inline UINT codePage; // that the library finds; 0: the machine's
    static inline bool isOnVlfs; // every file is a mount point of the cluster file system
    TemporaryHome home{"SOFTWARE\\KESTEL\\KEY_h1\r\n", "checked"};
    whatif::Node local; // the nodes as each call finds them
    whatif::Node remote;
    TraceLog log;

private:
    void furnish();
    void redirect();
    void unredirect();
    void reload();
    std::string callLibrary(const SubjectCall& call, Answer& answer); // where the password has been found

    CurrentDirectory files_;
    std::optional<whatif::World> world_;
    std::optional<whatif::Redirection> redirection_;
    std::optional<whatif::Imports> above_; // of the world
    std::optional<intercept::Interception> guard_;
    Prepare prepare_;
    std::deque<EnvironmentVariable> environment_;
};

} // namespace support
