#include "cli/session.h"

#include "cli/text.h"

#include <cstring>

namespace cli {

namespace {

using journal::Json;

constexpr const wchar_t* libraryName = L"keswsec19.dll";

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

// It changes nothing, and each wrong password counts against the account's lockout.
bool logsOn(const Call& call)
{
    return strcmp(call.function->name, "sswseCheckValidUser") == 0;
}

void warn(const std::string& text)
{
    write(STD_ERROR_HANDLE, "keswsec: " + text + "\n");
}

} // namespace

Session::Session(const Options& options, Tell tell, Progress::Show show)
    : options_(options),
      tell_(tell ? std::move(tell) : [](const std::string& text) { write(STD_OUTPUT_HANDLE, text); }),
      progress_(show ? std::move(show) : progressLine(options.quiet)), host_{loadLibrary(options.home),
                                                                             CloseServiceHandle, &trace_}
{
    if (options.whatIf || !options.nodes.empty())
        world_.emplace(options.whatIf ? whatif::Base::thisMachine : whatif::Base::described);
    for (const std::filesystem::path& node : options.nodes)
        world_->load(node);
    if (world_)
        redirection_.emplace(host_.library, *world_);
    const bool isJournaled = !options.journal.empty() || !options.verify.empty() || !options.undo.empty();
    if (isJournaled)
        machine_ = world_ ? journal::machineOf(journal::nodePlatform(), world_->local().name) : journal::thisMachine();
    else if (world_)
        machine_.name = world_->local().name;
    if (world_ && isJournaled) // the journal tells the changes
        world_->watch([](const whatif::Change&) {});
    if (!options.journal.empty() && options.undo.empty())
        journal_ = openJournal();
    if (options.trace)
        invoke(host_, parseCall({"TraceOn"}));
}

std::unique_ptr<journal::Writer> Session::openJournal()
{
    auto writer = std::make_unique<journal::Writer>(options_.journal, machine_, options_.force);
    if (writer->wasTorn())
        warnOfTorn(options_.journal);
    return writer;
}

void Session::warnOfTorn(const std::filesystem::path& file) const
{
    warn(utf8FromWide(file.wstring()) + ": a line that is not whole is ignored");
}

void Session::finish() const
{
    if (!options_.save.empty())
        world_->save(options_.save);
}

// ---- calls -------------------------------------------------------------------------------------------------------

Outcome Session::invokeHere(const Call& call)
{
    const PassingBy passing(host_.library, progress_);
    Host host = host_;
    host.closeService = redirection_ ? whatif::closeServiceHandle : CloseServiceHandle;
    host.openObject = redirection_ ? whatif::openObject : whatif::openMachineObject;
    host.closeObject = redirection_ ? whatif::closeObject : CloseHandle;
    trace_.begin(secretsOf(call));
    Outcome outcome = invoke(host, call);
    trace_.end();
    progress_.clear();
    return outcome;
}

bool Session::run(const Call& call)
{
    if (journal_)
        return runJournaled(call);
    const size_t planned = world_ ? world_->plan().size() : 0;
    const Outcome outcome = invokeHere(call);
    std::vector<whatif::Change> changes;
    if (world_)
        changes.assign(world_->plan().begin() + static_cast<std::ptrdiff_t>(planned), world_->plan().end());
    tell_(options_.json ? asJson(call, outcome, changes) : asText(call, outcome, changes, machine_.name));
    if (isInterrupted() && !options_.json)
        tell_(summary("stopped", {{progress_.counted(), "objects done"}}));
    return outcome.verdict.good;
}

// On a copy of where it is about to act, whose changes go into the journal.
Outcome Session::play(const Call& call)
{
    redirection_.reset();
    const std::unique_ptr<whatif::World> copy =
        world_ ? world_->copy() : std::make_unique<whatif::World>(whatif::Base::thisMachine);
    copy->watch([this](const whatif::Change& change) { journal_->add(journal::jsonOf(change)); });
    redirection_.emplace(host_.library, *copy);
    trace_.silent = true;
    Outcome outcome = invokeHere(call);
    trace_.silent = false;
    redirection_.reset();
    if (world_)
        redirection_.emplace(host_.library, *world_);
    if (!outcome.verdict.good && !copy->unreached().empty()) {
        journal_->abandon();
        throw UsageError(shortName(*call.function) + ": the journal does not reach " + utf8FromWide(copy->unreached()) +
                         ": the call is not made");
    }
    if (copy->isBroken) {
        journal_->abandon();
        throw UsageError(shortName(*call.function) +
                         ": there is no memory or no room for temporary files to play it: the call is not made");
    }
    return outcome;
}

bool Session::runJournaled(const Call& call)
{
    journal_->begin({{"call", ++calls_}, {"function", call.function->name}, {"arguments", argumentsOf(call)}},
                    "changes");
    const bool isPlayed = !logsOn(call);
    const Outcome played = isPlayed ? play(call) : Outcome();
    if (isInterrupted()) {
        journal_->abandon();
        return false;
    }
    const journal::Line line = journal_->end();
    const Outcome outcome = invokeHere(call);
    bool isThere = false;
    try {
        isThere = finishJournaled(call, line, isPlayed ? played : outcome, outcome);
    } catch (const std::runtime_error& error) {
        if (options_.json)
            tell_(jsonEnd);
        throw std::runtime_error(std::string(error.what()) + ": the call has been made");
    }
    isAllThere_ = isAllThere_ && (isThere || !outcome.verdict.good); // one that may fail may also have changed nothing
    return outcome.verdict.good && isThere;
}

bool Session::finishJournaled(const Call& call, const journal::Line& line, const Outcome& played,
                              const Outcome& outcome)
{
    const Json end = {{"done", calls_},
                      {"status", outcome.status},
                      {"meaning", outcome.verdict.meaning},
                      {"message", outcome.message},
                      {"oserror", outcome.osError},
                      {"played", played.verdict.meaning}};
    tell_(options_.json ? jsonBegin(call, outcome) : asText(call, outcome, {}, machine_.name));
    const char* separator = "";
    size_t made = 0;
    size_t missing = 0;
    progress_.begin();
    bool isThere = journal::finishCall(*journal_, line, end, machine_, [&](const journal::Look& look) {
        ++(look.finding == journal::Finding::different ? missing : made);
        progress_.count();
        if (options_.json)
            tell_(separator + journal::lineOf(jsonOf(look)));
        else if (!isInterrupted())
            tell_(asText(look, machine_.name));
        separator = ",";
    });
    progress_.clear();
    if (options_.json)
        tell_(jsonEnd);
    else if (isInterrupted())
        tell_(summary("stopped", {{made, "changes made"}, {missing, "not made"}}));
    if (outcome.verdict.good && !played.verdict.good) {
        warn(shortName(*call.function) + ": it has answered " + outcome.verdict.meaning + ", but " +
             played.verdict.meaning + " when it was played: the journal does not hold what it changed");
        isThere = false;
    } else if (!outcome.verdict.good && played.message != outcome.message) {
        warn(shortName(*call.function) +
             ": it has failed otherwise than when it was played: the journal may not hold all that it changed");
    }
    return isThere;
}

bool Session::runScript(const std::vector<ScriptLine>& script)
{
    for (const ScriptLine& line : script) {
        if (isInterrupted())
            break;
        if (line.call.function && !run(line.call) && !line.call.failureTolerated)
            return false;
        if (!line.comment.empty() && !options_.json)
            tell_(line.comment + "\n");
    }
    if (isInterrupted())
        warn("interrupted");
    return isAllThere_ && !isInterrupted();
}

// ---- journals ----------------------------------------------------------------------------------------------------

bool Session::verify()
{
    journal::Steps steps(options_.verify, machine_, options_.force, false);
    if (steps.torn())
        warnOfTorn(options_.verify);
    progress_.begin();
    const journal::Counts counts = journal::verify(steps, machine_, [&](const journal::Look& look) {
        progress_.count();
        const bool isShown = look.finding == journal::Finding::different || look.finding == journal::Finding::unknown;
        if (isShown || options_.json) {
            progress_.clear();
            tell_(options_.json ? journal::lineOf(jsonOf(look)) + "\n" : asText(look, machine_.name));
        }
        return !isInterrupted();
    });
    progress_.clear();
    tell_(options_.json ? journal::lineOf({{"verified", utf8FromWide(options_.verify.wstring())},
                                           {"same", counts.asLeft},
                                           {"different", counts.different},
                                           {"unknown", counts.unknown},
                                           {"unseen", counts.never}}) +
                              "\n"
                        : summary("verified", {{counts.asLeft, "as they were left"},
                                               {counts.different, "changed since"},
                                               {counts.unknown, "not to be read"},
                                               {counts.never, "that nobody can look up"}}));
    if (isInterrupted())
        warn("interrupted");
    return counts.different + counts.unknown == 0 && !isInterrupted();
}

bool Session::undo()
{
    journal::Steps steps(options_.undo, machine_, options_.force, true);
    if (steps.torn())
        warnOfTorn(options_.undo);
    if (!options_.journal.empty())
        journal_ = openJournal();
    progress_.begin();
    const std::string name = utf8FromWide(options_.undo.wstring());
    const auto tell = [&](const journal::Undone& undone) {
        progress_.count();
        if (options_.json || undone.fate != journal::Fate::already || !undone.reason.empty()) {
            progress_.clear();
            tell_(options_.json ? journal::lineOf(jsonOf(undone)) + "\n" : asText(undone, machine_.name));
        }
        return !isInterrupted();
    };
    const auto counts = journal::undo({steps, machine_, journal_.get(), name, tell});
    progress_.clear();
    const auto of = [&](journal::Fate fate) { return counts[static_cast<size_t>(fate)]; };
    using journal::Fate;
    if (options_.json)
        tell_(journal::lineOf({{"undone", name},
                               {"back", of(Fate::back)},
                               {"already", of(Fate::already)},
                               {"left", of(Fate::left)},
                               {"lost", of(Fate::lost)},
                               {"failed", of(Fate::failed)}}) +
              "\n");
    else
        tell_(summary("undone", {{of(Fate::back), "taken back"},
                                 {of(Fate::already), "so already"},
                                 {of(Fate::left), "left alone"},
                                 {of(Fate::lost), "that cannot be taken back"},
                                 {of(Fate::failed), "failed"}}));
    if (isInterrupted())
        warn("interrupted; it can be started again");
    return of(Fate::left) + of(Fate::lost) + of(Fate::failed) == 0 && !isInterrupted();
}

} // namespace cli
