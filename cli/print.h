// What a call did, for people and as JSON.
#pragma once

#include "cli/invoke.h"

#include "whatif/whatif.h"

namespace cli {

// Status and call on the first line, then "=" outputs, "!" the error record, "+" changes of the plan; those of the
// local node without its name. No line is longer than 120 columns where it can be broken.
std::string asText(const Call& call, const Outcome& outcome, const std::vector<whatif::Change>& changes,
                   const std::wstring& localNode);

// One object on one line, in ASCII.
std::string asJson(const Call& call, const Outcome& outcome, const std::vector<whatif::Change>& changes);

} // namespace cli
