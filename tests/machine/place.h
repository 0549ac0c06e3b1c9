// A place where the calls of docs/platform.md are made: this machine, or a node that is described like it. Both must
// answer the same.
//
// A call is a function's name and its arguments, as keswsec.exe takes words. In words {u} is an account, service, key
// or directory of the test's own, {sid:u} its SID, {ssid:s} the SID of a service, {MACHINE} the computer, {dir} a
// directory with sub\leaf in it. Where an answer has one of those it says so.
#pragma once

#include "journal/platform.h"
#include "tests/support/this_machine.h"
#include "tests/whatif/replaced.h"

namespace machine {

struct Words
{
    std::vector<std::wstring> given;            // those without a name
    std::map<std::wstring, std::wstring> named; // "account=..."

    const wchar_t* operator[](size_t i) const { return i < given.size() ? given[i].c_str() : L""; }
    const wchar_t* find(const wchar_t* name) const // NULL when it is not there
    {
        const auto found = named.find(name);
        return found == named.end() ? nullptr : found->second.c_str();
    }
    DWORD number(const wchar_t* name, DWORD otherwise) const
    {
        return find(name) ? wcstoul(find(name), nullptr, 0) : otherwise;
    }
};

class Place
{
public:
    // NULL: this machine; with a library that calls the node already.
    explicit Place(whatif::World* node, HMODULE redirected = nullptr);
    ~Place(); // nothing is left of what the calls have made
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    std::string answer(const std::string& call); // UTF-8

    // For the functions behind the calls.

    // The platform's function or what stands in for it on the node; ON(NetLocalGroupAdd).
    template <class Function>
    Function* at(Function& function, const char* name) const
    {
        Function* const replacement = node_ ? replaced::at(function, name) : nullptr;
        return replacement ? replacement : &function;
    }
    std::wstring sidOf(const std::wstring& name) const;                         // or that of nobody
    std::filesystem::path directory() const { return scratch_.path() / "top"; } // {dir}

    std::map<std::wstring, SC_HANDLE> services; // by the names that calls give to handles
    SC_HANDLE manager = nullptr;
    LSA_HANDLE policy = nullptr;

private:
    std::string filledIn(std::string text);
    std::string plain(std::string text) const;

    whatif::World* const node_;
    std::optional<support::TemporaryHome> home_;
    const HMODULE library_;
    const support::ScratchDirectory scratch_;
    std::optional<whatif::Redirection> redirection_;
    journal::Machine machine_;
    std::vector<std::pair<std::string, std::string>> names_; // what a text of this run is called
};

#define ON(name) place.at(name, #name)

// The node of the described world; what it answers to calls that the page does not ask.
class AtNode : public support::NodeTest
{
protected:
    void expect(const std::vector<std::pair<std::string, std::string>>& answers)
    {
        for (const auto& [call, answer] : answers)
            EXPECT_EQ(place.answer(call), answer) << call;
    }

    Place place{&world, library.module()};
};

// The functions that calls name; others are the library's.
using Verb = std::wstring (*)(Place& place, const Words& words);
extern const std::map<std::string, Verb> verbs;

} // namespace machine
