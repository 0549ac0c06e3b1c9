// How each kind of change is looked up and written back: one row of one table.
#pragma once

#include "journal/platform.h"

#include "whatif/change.h"

namespace journal {

using whatif::Change;
using whatif::State;

struct Reading
{
    State state;
    std::wstring problem; // why the state is not known; else empty
    bool never = false;   // it cannot be known any more, by its nature
};

struct Kind
{
    whatif::ChangeKind kind;
    // What is there now of what the change is about.
    Reading (*read)(const Machine& machine, const Change& what);
    // Makes what was found into what is wanted: the problem, or nothing.
    std::wstring (*write)(const Machine& machine, const Change& what, const State& found, const State& wanted);
    // Why nobody can make what was found into what is wanted; empty when somebody can.
    std::wstring (*lost)(const Machine& machine, const Change& what, const State& wanted);
};
const Kind& kindOf(const Change& change);

// Throws std::logic_error for a change whose states nothing can be made into.
void check(const Change& change);

// Passwords are set and never read.
bool isPassword(const Change& change);

// Whether what was found is what is expected. Parts that were not expected do not count.
bool isSame(const State& expected, const State& found);

// What was found in a group or key beyond what is expected there: "value x", "members S-1-5-32-544"; empty for nothing.
std::wstring contentBeyond(const State& expected, const State& found);

// Whether what was found is a service or key that is on the way to what is wanted: a beginning of it.
bool isBegun(const State& found, const State& wanted);

// "KES_DBA" of "group KES_DBA".
std::wstring nameOf(const std::wstring& object);

// ---- the rows, each in the file of its area -----------------------------------------------------------------------

Reading readGroup(const Machine& machine, const Change& what);
Reading readMember(const Machine& machine, const Change& what);
Reading readUser(const Machine& machine, const Change& what);
Reading readRight(const Machine& machine, const Change& what);
Reading readService(const Machine& machine, const Change& what);
Reading readServiceSetting(const Machine& machine, const Change& what);
Reading readKey(const Machine& machine, const Change& what);
Reading readValue(const Machine& machine, const Change& what);
Reading readSecurity(const Machine& machine, const Change& what);

using Write = std::wstring(const Machine& machine, const Change& what, const State& found, const State& wanted);
Write writeGroup;
Write writeMember;
Write writeUser;
Write writeRight;
Write writeService;
Write writeServiceSetting;
Write writeKey;
Write writeValue;
Write writeSecurity;

std::wstring lostService(const Machine& machine, const Change& what, const State& wanted);

// The security of a service and a key, which they are looked up with as a whole.
Reading readServiceSecurity(const Machine& machine, const Change& what);
Write writeServiceSecurity;
Reading readKeySecurity(const Machine& machine, const Change& what);
Write writeKeySecurity;
Reading readKernelSecurity(const Machine& machine, const Change& what);
Write writeKernelSecurity;

} // namespace journal
