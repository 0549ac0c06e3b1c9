// Looking up what changes have left.
#pragma once

#include "journal/steps.h"

namespace journal {

enum class Finding
{
    asLeft,
    different, // expected and found differ
    unknown,   // the problem says why
    never      // passwords, and what only the process itself can look up
};

struct Look
{
    Change change;
    Finding finding = Finding::asLeft;
    State expected;
    State found;
    std::wstring problem;
};

// What is there now of what the step's last change was about.
Look lookUp(Steps& steps, const Step& step, const Machine& machine);

// "expected automatic, found disabled"; of parts only those that differ.
std::wstring differenceOf(const State& expected, const State& found);

// ---- around a call -------------------------------------------------------------------------------------------------

using Tell = std::function<void(const Look& look)>;

// The line of a call that has been made: looks up its changes, tells each of them, and writes the line of its end,
// which `outcome` begins. False when something was not there.
bool finishCall(Writer& writer, const Line& line, Json outcome, const Machine& machine, const Tell& tell);

// ---- the whole journal ---------------------------------------------------------------------------------------------

struct Counts
{
    size_t asLeft = 0;
    size_t different = 0;
    size_t unknown = 0;
    size_t never = 0;
};

// Each object's attribute once, by its last change. Goes on as long as `tell` does not say that it is enough.
Counts verify(Steps& steps, const Machine& machine, const std::function<bool(const Look& look)>& tell);

} // namespace journal
