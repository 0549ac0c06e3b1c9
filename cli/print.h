// What a call did, for people and as JSON; and what became of the changes of a journal.
#pragma once

#include "cli/invoke.h"

#include "journal/undo.h"
#include "whatif/whatif.h"

namespace cli {

// Status and call on the first line, then "=" outputs, "!" the error record, "+" changes of the plan; those of the
// local node without its name. No line is longer than 120 columns where it can be broken.
std::string asText(const Call& call, const Outcome& outcome, const std::vector<whatif::Change>& changes,
                   const std::wstring& localNode);

// One object on one line, in ASCII: function, arguments, status, meaning, outputs, message, oserror, plan. The plan is
// a list of changes as journal/json.h has them; its end is written by `jsonEnd`, so that its items can be told one by
// one.
std::string asJson(const Call& call, const Outcome& outcome, const std::vector<whatif::Change>& changes);
std::string jsonBegin(const Call& call, const Outcome& outcome);
constexpr const char* jsonEnd = "]}\n";

journal::Json argumentsOf(const Call& call); // secrets hidden

// ---- changes that have been looked up ----------------------------------------------------------------------------

// "+" for a change that is there, "?" for one that is not, with what was expected and found.
std::string asText(const journal::Look& look, const std::wstring& localNode);

// The change with "outcome", and "expected", "found" or "reason" where there is something to tell. The outcome is
// "same", "different", "unknown" (it cannot be read now) or "unseen" (it cannot be read by its nature).
journal::Json jsonOf(const journal::Look& look);

// What an undo has done: "+", or "?" for what it has not.
std::string asText(const journal::Undone& undone, const std::wstring& localNode);

// The change from what was found to what was there before, with "outcome" (wordOf) and "reason".
journal::Json jsonOf(const journal::Undone& undone);

// "verified   12 as they were left, 1 changed since"; without what there is none of, but for the first.
std::string summary(const char* what, const std::vector<std::pair<size_t, const char*>>& counts);

} // namespace cli
