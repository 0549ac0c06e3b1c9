// keswsec.exe's sessions with a journal, on a node that is described by a file from one session to the next.
#pragma once

#include "cli/session.h"
#include "tests/support/library_copy.h"
#include "tests/support/scratch_directory.h"

#include <gmock/gmock.h>

namespace support {

struct Told
{
    bool isGood = false;
    std::string output;
};

// With the options of a command line. `between` changes the node when it has been loaded.
using Between = std::function<void(whatif::World&)>;
Told run(const std::vector<std::string>& words, const Between& between = nullptr,
         const cli::Progress::Show& show = nullptr);

class JournalTest : public testing::Test
{
protected:
    JournalTest();

    // On the node `from`, saved as `to`; names of files in the scratch directory.
    Told play(const std::vector<std::string>& calls, const std::string& from, const std::string& to,
              const std::string& journal = "journal", const Between& between = nullptr,
              const cli::Progress::Show& show = nullptr);
    Told verify(const std::string& node, const std::string& journal = "journal");
    // With a journal of its own, `redo`.
    Told undo(const std::string& from, const std::string& to, const std::string& journal = "journal",
              const std::string& redo = "redo", const Between& between = nullptr);

    std::string path(const std::string& name) const { return (scratch.path() / name).string(); }
    std::string contents(const std::string& name) const { return contentsOf(scratch.path() / name); }
    void write(const std::string& name, const std::string& bytes) const;

    std::string described(whatif::World& world, const std::set<std::wstring>& objects) const;
    void expectSame(const std::string& one, const std::string& other) const;

    const ScratchDirectory scratch;
    const EnvironmentVariable homeKey{"KESTEL_HOME_KEY", "KEY_h1"};
    const EnvironmentVariable homeName{"KESTEL_HOME_NAME", "h1"};
};

} // namespace support
