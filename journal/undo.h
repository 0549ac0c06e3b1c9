// Taking a journal back, last change first.
#pragma once

#include "journal/look.h"

#include <array>

namespace journal {

enum class Fate
{
    back,    // is what it was before
    already, // was so, or has gone with what it was on
    left,    // somebody has changed it since
    lost,    // cannot be taken back
    failed   // could not be read or written
};
const char* wordOf(Fate fate); // "back", "already", "left", "lost", "failed"
constexpr size_t fateCount = 5;

struct Undone
{
    Change change; // from what was found to what was there before
    Fate fate = Fate::back;
    std::wstring reason;
};

struct Undo
{
    Steps& steps;
    const Machine& machine;
    Writer* writer;                                 // of a journal of its own; NULL for none
    std::string name;                               // of the journal that is taken back, for that one
    std::function<bool(const Undone& undone)> tell; // false: it is enough
};

// Returns how often each fate was met. What has been told is done, whatever happens then.
std::array<size_t, fateCount> undo(const Undo& undo);

} // namespace journal
