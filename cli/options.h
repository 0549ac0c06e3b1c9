// The options of keswsec.exe.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace cli {

struct Options
{
    std::string help; // to be shown, and nothing else done, unless empty
    std::filesystem::path home;
    std::vector<std::filesystem::path> nodes;
    std::filesystem::path save;
    std::filesystem::path script;
    std::filesystem::path journal;
    std::filesystem::path verify;
    std::filesystem::path undo;
    bool whatIf = false;
    bool force = false;
    bool quiet = false;
    bool trace = false;
    bool json = false;
    bool list = false;
    std::vector<std::string> words; // FUNCTION and its arguments
};

// `words`: the command line behind the program's name, UTF-8. Throws UsageError.
Options parseOptions(const std::vector<std::string>& words);

} // namespace cli
