// keswsec.exe: calls the library's exported functions, on this machine or on a what-if node.
#include "cli/invoke.h"
#include "cli/options.h"
#include "cli/print.h"
#include "cli/script.h"
#include "cli/text.h"
#include "cli/trace.h"

#include "whatif/whatif.h"

#include <optional>

namespace {

using namespace cli;

constexpr const wchar_t* libraryName = L"keswsec19.dll";

enum ExitStatus
{
    exitGood = 0,
    exitBad = 1,
    exitUsage = 2
};

HMODULE loadLibrary(const std::filesystem::path& home)
{
    std::filesystem::path folder;
    if (home.empty()) {
        std::wstring program(32768, L'\0');
        program.resize(GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
        folder = std::filesystem::path(program).parent_path();
    } else {
        folder = std::filesystem::absolute(home) / L"bin";
    }
    const std::filesystem::path file = folder / libraryName;
    HMODULE library = LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!library)
        throw UsageError("cannot load " + utf8FromWide(file.wstring()) + ", error " + std::to_string(GetLastError()));
    return library;
}

// The loaded library, on this machine or redirected to a world.
class Session
{
public:
    explicit Session(const Options& options) : options_(options), host_{loadLibrary(options.home), nullptr, &trace_}
    {
        if (options.whatIf || !options.nodes.empty())
            world_.emplace(options.whatIf ? whatif::Base::thisMachine : whatif::Base::described);
        for (const std::filesystem::path& node : options.nodes)
            world_->load(node);
        if (world_)
            redirection_.emplace(host_.library, *world_);
        host_.closeService = world_ ? whatif::closeServiceHandle : CloseServiceHandle;
        host_.openObject = world_ ? whatif::openObject : whatif::openMachineObject;
        host_.closeObject = world_ ? whatif::closeObject : CloseHandle;
        if (options.trace)
            invoke(host_, parseCall({"TraceOn"}));
    }

    bool run(const Call& call)
    {
        const size_t planned = world_ ? world_->plan().size() : 0;
        trace_.begin(secretsOf(call));
        const Outcome outcome = invoke(host_, call);
        trace_.end();
        std::vector<whatif::Change> changes;
        if (world_)
            changes.assign(world_->plan().begin() + static_cast<std::ptrdiff_t>(planned), world_->plan().end());
        write(STD_OUTPUT_HANDLE, options_.json ? asJson(call, outcome, changes)
                                               : asText(call, outcome, changes, world_ ? world_->local().name : L""));
        return outcome.verdict.good;
    }

    bool runScript(const std::vector<ScriptLine>& script)
    {
        for (const ScriptLine& line : script) {
            if (line.call.function && !run(line.call) && !line.call.failureTolerated)
                return false;
            if (!line.comment.empty() && !options_.json)
                write(STD_OUTPUT_HANDLE, line.comment + "\n");
        }
        return true;
    }

    void finish() const
    {
        if (!options_.save.empty())
            world_->save(options_.save);
    }

private:
    const Options& options_;
    Trace trace_;
    Host host_;
    std::optional<whatif::World> world_;
    std::optional<whatif::Redirection> redirection_;
};

int list(const Options& options)
{
    std::string text;
    for (const Function& function : functions())
        if (options.words.empty())
            text += usageOf(function) + "\n";
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
    if (options.script.empty())
        script.push_back({{}, parseCall(options.words)});
    else
        script = readScript(options.script);

    Session session(options);
    const bool good = session.runScript(script);
    session.finish();
    return good ? exitGood : exitBad;
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
