// The library on described nodes: this machine "NODE" and the remote "DB2", both members of the domain CORP. Each of
// the two has a user "svc" of its own. The library's calls of the platform go through the test, which can fail them.
#pragma once

#include "cli/invoke.h"
#include "cli/script.h"
#include "tests/support/cases.h"
#include "tests/support/intercept.h"
#include "tests/support/library_copy.h"
#include "whatif/whatif.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace support {

using Lines = std::vector<std::string>;
Lines planOf(const whatif::World& world);

// The call of that number fails, or every one.
inline intercept::Fault failing(const char* function, DWORD code, size_t call = 0)
{
    return {call, code, function};
}

// A call on a node in the words of keswsec.exe: what it answers, and what it changes there.
struct Asked
{
    std::string call;
    std::string answer; // as told() tells it; with the whole message where that has a ':'
    Lines changes = {};
    intercept::Fault fault = {};
};

// "3 WSE-000014 1332": status, number of the message, the system's error; "2 = svc 4" with what is given back.
std::string told(const cli::Outcome& outcome, bool wholeMessage = false);

// On the node that the library's calls go to, or on this machine.
cli::Outcome invoke(HMODULE library, const std::vector<std::string>& words, bool isOnNode = true);

std::string replaced(std::string text, const std::string& what, const std::string& with);

// The nodes, which the calls of a copy of the library go to.
class Nodes
{
public:
    explicit Nodes(const LibraryCopy& library);

    static whatif::Group& addGroup(whatif::Node& node, const wchar_t* name,
                                   const std::vector<std::wstring>& members = {});
    void record(const whatif::Node& node, const char* value, const char* text) const; // under the home's registry key
    Lines plan();                                                                     // since the last call

    whatif::World world{whatif::Base::described};
    whatif::Node& local = world.local();
    whatif::Node& remote = world.add(L"DB2");
    const std::wstring svc = local.sid + L"-1101"; // SIDs
    const std::wstring remoteSvc = remote.sid + L"-1101";
    const std::wstring dbuser = L"S-1-5-21-7-7-7-1201";
    const std::wstring operators = L"S-1-5-21-7-7-7-1202"; // a group of CORP, with dbuser in it

private:
    whatif::Redirection redirection_;
};

struct WithHome
{
    TemporaryHome library;
};

class NodeTest : public testing::Test, protected WithHome, protected Nodes
{
protected:
    NodeTest();

    void expect(const std::vector<Asked>& rows);
    void expectAnswers(const std::vector<Asked>& rows); // whatever they change
    // On this machine and on DB2, whose name then stands for NODE; what is done again changes nothing.
    void expectTwiceOnEachNode(const std::vector<Asked>& rows);

    cli::Outcome invoke(const std::string& call) const
    {
        return support::invoke(library.module(), cli::splitWords(call));
    }
    std::string answer(const std::string& call) const { return told(invoke(call)); }

    intercept::Interception interception;
};

// EXPORT(sswseCreateOSGroup)(rec, ...)
#define EXPORT(name) EXPORT_OF(library, name)

} // namespace support
