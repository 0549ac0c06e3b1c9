// Many threads in one library: on one node, while tracing is switched and the first messages are looked up.
#include "cli/call.h"
#include "tests/support/home.h"
#include "tests/support/trace_log.h"
#include "whatif/registry.h"
#include "whatif/whatif.h"

#include <gmock/gmock.h>

#include <atomic>
#include <deque>
#include <set>
#include <thread>

using support::TraceLog;
using testing::StartsWith;

namespace {

constexpr int threadCount = 8;
constexpr int rounds = 25;

bool endsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string tagOf(int thread)
{
    return "thread" + std::to_string(thread) + "x";
}

// One thread's lines are whole, its own, and in the order of its calls; `whole`: from the first to the last. Returns
// the number of calls from outside.
size_t expectOrderly(const std::vector<std::string>& lines, bool whole)
{
    std::vector<std::string> open;
    std::set<int> owners;
    size_t calls = 0;
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        for (int thread = 0; thread < threadCount; ++thread)
            if (line.find(tagOf(thread)) != std::string::npos)
                owners.insert(thread);
        if (line.rfind("Entering... ", 0) == 0) {
            EXPECT_TRUE(endsWith(line, "()\n")) << line;
            calls += open.empty();
            open.push_back(line.substr(12, line.size() - 15));
        } else if (line.rfind("Exiting... ", 0) == 0) {
            EXPECT_TRUE(endsWith(line, "()")) << line;
            EXPECT_TRUE(!whole || !open.empty());
            if (!open.empty()) {
                EXPECT_EQ(line, "Exiting... " + open.back() + "()");
                open.pop_back();
            }
            EXPECT_TRUE(i + 1 == lines.size() ? !whole : lines[i + 1] == "<separator>") << line;
        } else if (line == "<separator>") {
            EXPECT_TRUE(i == 0 ? !whole : lines[i - 1].rfind("Exiting... ", 0) == 0);
        }
    }
    EXPECT_TRUE(!whole || open.empty());
    EXPECT_LE(owners.size(), 1u);
    return calls;
}

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

    // A failure first: it looks for the messages.
    void work(const std::string& tag)
    {
        for (int round = 0; round < rounds; ++round) {
            const std::string name = tag + std::to_string(round);
            const std::string group = "groupname=g" + name;
            const struct
            {
                std::vector<std::string> words;
                DWORD status;
                std::string says; // message or output
            } rows[] = {
                {{"SetKestelHomeType", "khometype=1", "khomekey=" + name},
                 6,
                 "WSE-000010: Unable to open registry key Software\\Kestel\\" + name + " under HKLM."},
                {{"CheckUserInGroup", "username=Guest", group}, 3, "WSE-000014: "},
                {{"CreateOSGroup", group, "groupdesc=" + tag}, 2, ""},
                {{"AddUserToGroup", "username=Guest", group}, 2, ""},
                {{"CheckUserInGroup", "username=Guest", group}, 1, ""},
                {{"GetServiceSidName", "svcname=" + name}, 2, "NT SERVICE\\" + name},
                {{"CreateService", "servicename=" + name, "binpath=" + tag + "\\norow.exe"}, 2, ""},
                {{"DeleteService", "servicename=" + name}, 2, ""},
                {{"DeleteOSGroup", group}, 2, ""},
            };
            for (const auto& row : rows) {
                const cli::Outcome outcome = cli::invoke(host, cli::parseCall(row.words));
                ++calls;
                EXPECT_EQ(outcome.status, row.status) << outcome.message;
                EXPECT_THAT(outcome.message + outcome.outputs.value("out", ""), StartsWith(row.says));
            }
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
