// Many threads in one library: on one node, while tracing is switched and the first messages are looked up.
#include "cli/invoke.h"
#include "cli/script.h"
#include "tests/support/home.h"
#include "tests/support/trace_log.h"
#include "whatif/registry.h"
#include "whatif/whatif.h"

#include <gmock/gmock.h>

#include <atomic>
#include <deque>
#include <regex>
#include <set>
#include <thread>

using support::TraceLog;
using testing::EndsWith;
using testing::StartsWith;

namespace {

constexpr int threadCount = 8;
constexpr int rounds = 25;

std::string tagOf(int thread)
{
    return "thread" + std::to_string(thread) + "x";
}

// One thread's lines are whole, its own, and in the order of its calls; `complete`: from the first to the last. Returns
// the number of calls from outside.
size_t expectOrderly(const std::vector<std::string>& lines, bool complete)
{
    std::vector<std::string> open; // what is to come for them
    std::set<int> owners;
    size_t calls = 0;
    bool separatorNext = false;
    for (const std::string& line : lines) {
        for (int thread = 0; thread < threadCount; ++thread)
            if (line.find(tagOf(thread)) != std::string::npos)
                owners.insert(thread);
        EXPECT_TRUE((line == "<separator>") == separatorNext || (&line == &lines.front() && !complete)) << line;
        separatorNext = line.rfind("Exiting... ", 0) == 0;
        if (line.rfind("Entering... ", 0) == 0) {
            EXPECT_THAT(line, EndsWith("()\n"));
            calls += open.empty();
            open.push_back("Exiting" + line.substr(8, line.size() - 9));
        } else if (separatorNext && !open.empty()) {
            EXPECT_EQ(line, open.back());
            open.pop_back();
        } else {
            EXPECT_FALSE(separatorNext && complete) << line;
        }
    }
    EXPECT_TRUE(!complete || (open.empty() && !separatorNext));
    EXPECT_LE(owners.size(), 1u);
    return calls;
}

// What each thread calls, "@" being a name of its own. A failure first: it looks for the messages.
struct Row
{
    const char* call;
    DWORD status;
    const char* says; // message or output
};
constexpr Row rows[] = {
    {"SetKestelHomeType khometype=1 khomekey=@", 6,
     "WSE-000010: Unable to open registry key Software\\Kestel\\@ under HKLM."},
    {"CheckUserInGroup username=Guest groupname=g@", 3, "WSE-000014: "},
    {"CreateOSGroup groupdesc=@ groupname=g@", 2, ""},
    {"AddUserToGroup username=Guest groupname=g@", 2, ""},
    {"CheckUserInGroup username=Guest groupname=g@", 1, ""},
    {"GetServiceSidName svcname=@", 2, "NT SERVICE\\@"},
    {"CreateService servicename=@ binpath=@\\norow.exe", 2, ""},
    {"DeleteService servicename=@", 2, ""},
    {"DeleteOSGroup groupname=g@", 2, ""},
};

class Threads : public testing::Test
{
protected:
    Threads()
    {
        for (const auto& [name, text] : {std::pair(L"KESTEL_HOME_NAME", L"h1"), {L"KESTEL_HOME_TYPE", L"2"}})
            world.registry().setValue(world.local(), L"SOFTWARE\\Kestel\\KEY_keswsec_test", name,
                                      whatif::registryText(text));
        std::filesystem::current_path(files.path()); // a line on its way while tracing ends may go to the trace file
    }
    ~Threads() override { std::filesystem::current_path(support::programDirectory()); }

    void work(const std::string& tag)
    {
        for (int round = 0; round < rounds; ++round)
            for (const Row& row : rows) {
                const std::regex place("@");
                const std::string name = tag + std::to_string(round);
                const auto words = cli::splitWords(std::regex_replace(row.call, place, name));
                const cli::Outcome outcome = cli::invoke(host, cli::parseCall(words));
                ++calls;
                EXPECT_EQ(outcome.status, row.status) << outcome.message;
                EXPECT_THAT(outcome.message + outcome.outputs.value("out", ""),
                            StartsWith(std::regex_replace(row.says, place, name)));
            }
    }

    void runThreads()
    {
        std::vector<std::thread> threads;
        std::atomic<int> waiting = 0;
        for (int id = 0; id < threadCount; ++id)
            threads.emplace_back([&, id] {
                for (++waiting; waiting < threadCount;)
                    std::this_thread::yield();
                work(tagOf(id));
            });
        for (std::thread& thread : threads)
            thread.join();
    }

    support::TemporaryHome home{"SOFTWARE\\KESTEL\\KEY_keswsec_test\r\n", "checked"};
    whatif::World world{whatif::Base::described};
    whatif::Redirection redirection{home.module(), world};
    const cli::Host host = {home.module(), &whatif::closeServiceHandle, nullptr};
    support::ScratchDirectory files;
    std::atomic<size_t> calls = 0;
    decltype(&sswseTraceOn) traceOn = EXPORT_OF(home, sswseTraceOn);
    decltype(&sswseTraceOff) traceOff = EXPORT_OF(home, sswseTraceOff);
};

TEST_F(Threads, TraceEveryLineOfEveryCall)
{
    TraceLog log;
    traceOn(nullptr, &TraceLog::receive, &log, 0);
    runThreads();
    traceOff(nullptr);
    const auto lines = log.takeByThread();
    size_t traced = 0;
    for (const auto& thread : lines)
        traced += expectOrderly(thread.second, true);
    EXPECT_EQ(lines.size(), size_t{threadCount});
    EXPECT_EQ(traced, calls);
}

TEST_F(Threads, BearTracingSwitchedOnAndOff)
{
    std::deque<TraceLog> logs; // one for each time: a line on its way may come after the end
    std::atomic<bool> done = false;
    std::thread switching([&] {
        while (!done) {
            traceOn(nullptr, &TraceLog::receive, &logs.emplace_back(), 0);
            Sleep(1);
            traceOff(nullptr);
        }
    });
    runThreads();
    done = true;
    switching.join();
    size_t traced = 0;
    for (TraceLog& log : logs)
        for (const auto& thread : log.takeByThread())
            traced += expectOrderly(thread.second, false);
    EXPECT_GT(logs.size(), 5u);
    EXPECT_GT(traced, 0u);
}

} // namespace
