// One run of keswsec.exe: the library, where it acts, and the journal of what it does there.
#pragma once

#include "cli/invoke.h"
#include "cli/options.h"
#include "cli/print.h"
#include "cli/progress.h"
#include "cli/script.h"
#include "cli/trace.h"

#include "whatif/whatif.h"

#include <optional>

namespace cli {

enum ExitStatus
{
    exitGood = 0,
    exitBad = 1,
    exitUsage = 2
};

// What it tells goes to standard output, or to `tell`; how far it is, to a console, or to `show`. Scripts, verification
// and undo answer whether all is good.
class Session
{
public:
    using Tell = std::function<void(const std::string& text)>;

    explicit Session(const Options& options, Tell tell = nullptr, Progress::Show show = nullptr);

    bool runScript(const std::vector<ScriptLine>& script);
    bool verify();
    bool undo();
    void finish() const; // writes the node back

    whatif::World* world() { return world_ ? &*world_ : nullptr; }

private:
    bool run(const Call& call);
    bool runJournaled(const Call& call);
    Outcome play(const Call& call);
    Outcome invokeHere(const Call& call);
    bool finishJournaled(const Call& call, const journal::Line& line, const Outcome& played, const Outcome& outcome);
    std::unique_ptr<journal::Writer> openJournal();
    void warnOfTorn(const std::filesystem::path& file) const;

    const Options options_;
    const Tell tell_;
    Progress progress_;
    Trace trace_;
    Host host_;
    std::optional<whatif::World> world_;
    std::optional<whatif::Redirection> redirection_;
    journal::Machine machine_;
    std::unique_ptr<journal::Writer> journal_;
    size_t calls_ = 0;
    bool isAllThere_ = true;
};

} // namespace cli
