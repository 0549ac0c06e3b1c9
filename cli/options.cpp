#include "cli/options.h"

#include "cli/arguments.h"
#include "cli/text.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace cli {

namespace {

constexpr const char* synopsis =
    "Usage: keswsec [--home DIR] [--what-if | --node FILE...] [--save FILE] [--journal FILE] [--trace] [--json]\n"
    "               FUNCTION [name=value "
    "...]\n"
    "       keswsec [...] --script FILE\n"
    "       keswsec [...] --verify JOURNAL\n"
    "       keswsec [...] --undo JOURNAL\n"
    "       keswsec --list [FUNCTION]\n\n"
    "Calls an exported function of keswsec19.dll, with or without \"sswse\" before its name.\n"
    "Arguments are named as in keswsec.h; numbers are decimal or 0x; a list repeats its name; name.size=N sets the\n"
    "size of an output buffer; password=- reads the password without echo.\n";

constexpr const char* legend =
    "Shown are status and call, then lines with = for outputs, ! for the error record, + for changes, ? for\n"
    "what is not as it should be.\n"
    "Exit status: 0 success or yes, 1 failure or no, or something is not as it should be, 2 wrong usage.";

class HelpFormat : public CLI::Formatter
{
public:
    std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override { return synopsis; }
};

std::filesystem::path pathOf(const std::string& utf8)
{
    return wideFromUtf8(utf8);
}

// The name of a function has neither a dot nor a separator.
bool looksLikeFile(const std::string& word)
{
    return word.substr(0, word.find('=')).find_first_of("./\\") != std::string::npos;
}

bool isSameFile(const std::filesystem::path& a, const std::filesystem::path& b)
{
    std::error_code ignored;
    return std::filesystem::equivalent(a, b, ignored);
}

// An empty name, as of a variable that is not set, is not none.
std::string isNamed(const std::string& file)
{
    return file.empty() ? "a file's name is empty" : "";
}

// Of those that exclude each other.
void checkOne(std::initializer_list<std::pair<const char*, bool>> given)
{
    std::string first;
    for (const auto& [name, is] : given) {
        if (is && !first.empty())
            throw UsageError(first + " and " + name + " exclude each other");
        if (is)
            first = name;
    }
}

void check(const Options& options, const std::string& scriptGiven)
{
    const bool isOfJournal = !options.verify.empty() || !options.undo.empty();
    checkOne(
        {{"--verify", !options.verify.empty()}, {"--undo", !options.undo.empty()}, {"--script", !scriptGiven.empty()}});
    checkOne({{"--what-if", options.whatIf}, {"--node", !options.nodes.empty()}});
    checkOne({{"--what-if", options.whatIf},
              {"--journal", !options.journal.empty()},
              {"--verify", !options.verify.empty()}});
    if (isOfJournal && !options.words.empty())
        throw UsageError("--verify and --undo take no function beside them");
    if (!options.undo.empty() && !options.journal.empty() && isSameFile(options.undo, options.journal))
        throw UsageError("the journal of an undo is another one");
    if (!options.words.empty() && options.words.front().rfind('-', 0) == 0)
        throw UsageError("no option " + options.words.front() + "; keswsec --help shows them");
    if (!options.save.empty() && !options.whatIf && options.nodes.empty())
        throw UsageError("--save needs a node: --what-if or --node");
    if (!options.list && !isOfJournal && options.words.empty() == scriptGiven.empty())
        throw UsageError(scriptGiven.empty() ? "no function is given; keswsec --help shows the usage"
                                             : "--script takes no function beside it");
    if (options.list && options.words.size() > 1)
        throw UsageError("--list takes one function at most");
}

} // namespace

Options parseOptions(const std::vector<std::string>& words)
{
    Options options;
    std::string home;
    std::string save;
    std::string script;
    std::string journal;
    std::string verify;
    std::string undo;
    std::vector<std::string> nodes;

    CLI::App app("", "keswsec");
    app.formatter(std::make_shared<HelpFormat>());
    app.footer(legend);
    app.prefix_command()->allow_windows_style_options(false);
    app.add_option("--home", home, "use DIR\\bin\\keswsec19.dll, not the one beside keswsec.exe")->type_name("DIR");
    app.add_flag("--what-if", options.whatIf, "read this machine, but keep every change in memory and show it");
    app.add_option("--node", nodes, "act on a described node; further ones are reached by their node name")
        ->type_name("FILE")
        ->allow_extra_args(false);
    app.add_option("--save", save, "write the node as it is afterwards, as a description")
        ->type_name("FILE")
        ->check(isNamed);
    app.add_option("--script", script, "one call a line, # for comments; stops at a failure unless - begins the line")
        ->type_name("FILE")
        ->check(isNamed);
    app.add_option("--journal", journal, "append to FILE what each call is about to change, and what it did")
        ->type_name("FILE")
        ->check(isNamed);
    app.add_option("--verify", verify, "whether what a journal changed is still as it was left")
        ->type_name("JOURNAL")
        ->check(isNamed);
    app.add_option("--undo", undo, "take a journal back; with --what-if only show it")
        ->type_name("JOURNAL")
        ->check(isNamed);
    app.add_flag("--force", options.force, "take a journal of another machine");
    app.add_flag("--quiet", options.quiet, "no progress on standard error");
    app.add_flag("--trace", options.trace, "the library's trace, on standard error");
    app.add_flag("--json", options.json, "one JSON object for each call, or change of a journal");
    app.add_flag("--list", options.list, "the functions and their arguments");
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::CallForHelp&) {
        options.help = app.help();
        return options;
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }

    options.words = app.remaining();
    while (!nodes.empty() && !options.words.empty() && looksLikeFile(options.words.front())) {
        nodes.push_back(options.words.front());
        options.words.erase(options.words.begin());
    }
    options.home = pathOf(home);
    options.save = pathOf(save);
    options.script = pathOf(script);
    options.journal = pathOf(journal);
    options.verify = pathOf(verify);
    options.undo = pathOf(undo);
    std::transform(nodes.begin(), nodes.end(), std::back_inserter(options.nodes), pathOf);
    check(options, script);
    return options;
}

} // namespace cli
