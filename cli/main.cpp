// keswsec.exe: calls the library's exported functions, on this machine or on a what-if node.
#include "cli/options.h"
#include "cli/session.h"
#include "cli/text.h"

namespace {

using namespace cli;

int list(const Options& options)
{
    std::string text = overview();
    if (!options.words.empty()) {
        const Function* function = findFunction(options.words.front());
        if (!function)
            throw UsageError("no function " + options.words.front());
        text = descriptionOf(*function);
    }
    write(STD_OUTPUT_HANDLE, text);
    return exitGood;
}

int run(const std::vector<std::string>& words)
{
    const Options options = parseOptions(words);
    if (!options.help.empty()) {
        write(STD_OUTPUT_HANDLE, options.help);
        return exitGood;
    }
    if (options.list)
        return list(options);
    std::vector<ScriptLine> script;
    if (!options.words.empty())
        script.push_back({{}, parseCall(options.words)});
    else if (!options.script.empty())
        script = readScript(options.script);

    watchInterrupt();
    Session session(options);
    const bool isGood = !options.verify.empty() ? session.verify()
                        : !options.undo.empty() ? session.undo()
                                                : session.runScript(script);
    session.finish();
    return isGood ? exitGood : exitBad;
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    std::vector<std::string> words;
    for (int i = 1; i < count; ++i)
        words.push_back(utf8FromWide(arguments[i]));
    try {
        return run(words);
    } catch (const std::exception& error) {
        write(STD_ERROR_HANDLE, std::string("keswsec: ") + error.what() + "\n");
        return exitUsage;
    }
}
