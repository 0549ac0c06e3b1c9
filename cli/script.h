// A script: one call a line.
#pragma once

#include "cli/arguments.h"

#include <filesystem>

namespace cli {

// Words are separated by blanks. Within "..." blanks belong to the word and "" is a quote; # begins a comment where a
// word would begin. Throws UsageError for a quote that is not closed.
std::vector<std::string> splitWords(const std::string& line);

struct ScriptLine
{
    std::string comment; // a comment on a line of its own, with its #
    Call call;           // without a function when the line is a comment
};

// The whole script is read before any of it is run. A call after a leading - may fail. Throws UsageError with the line.
std::vector<ScriptLine> readScript(const std::filesystem::path& file);

} // namespace cli
