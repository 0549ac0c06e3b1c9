// What a journal comes to: the changes of each object's attribute together, and what became of the objects that they
// were made on.
#pragma once

#include "journal/file.h"
#include "journal/kinds.h"

#include <functional>
#include <map>
#include <memory>

namespace journal {

// The SIDs that accounts were to get when their creation was played, and those that they got.
using Sids = std::map<std::wstring, std::wstring>;

// A place of a change in a file: 0 for none.
struct Spot
{
    std::uint64_t change = 0;     // offset of the change
    std::uint64_t difference = 0; // and of what was found after the call, where that was something else
    std::uint64_t call = 0;       // of its line
};

struct Step
{
    Spot last;
    Spot first;                // goes back to what was there before this one
    Spot removed;              // of something made in place of something else: its removal
    std::uint64_t taken = 0;   // parts of what was made that have later changes of their own: a bit for each part
    std::uint32_t ordinal = 0; // of the last change in its call
    bool isFinal = false;      // nothing later has made or removed the object as a whole
    bool isMadeHere = false;   // the object was made by the journal, and goes with what is on it
    bool isUnfinished = false; // nobody has looked at what the last change did
    bool isBroken = false;     // somebody else has changed it between two calls; it goes back to what that was
};

class Steps
{
public:
    // Reads the whole journal, and throws FileError where it is none. `machine` tells the SIDs of accounts that were
    // made by a call which came to no end.
    Steps(const std::filesystem::path& file, const Machine& machine, bool force, bool lastFirst);
    // The changes of one line, whose call has just been made.
    Steps(const std::filesystem::path& file, const Line& line, const Machine& machine);
    ~Steps();

    bool next(Step& step); // in the order of their last changes, or the other way round

    Change change(const Spot& spot);
    // What the change left: what it was to leave, or what was found in its place.
    Reading left(const Spot& spot);

    size_t torn() const; // lines that are not whole
    size_t size() const; // changes
    const Sids& sidsOf(std::uint64_t call) const;

private:
    struct Work;
    std::unique_ptr<Work> work_;
};

} // namespace journal
