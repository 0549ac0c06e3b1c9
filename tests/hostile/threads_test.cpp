// Many threads in one library: on one node, while tracing is switched and the first messages are looked up.
#include "tests/support/node_test.h"

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <map>
#include <regex>
#include <thread>

using support::TraceLog;

namespace {

constexpr int threadCount = 8;
constexpr int rounds = 25;

// Some lines have an address, which is another one in each thread.
std::string withoutLongNumbers(const std::string& text)
{
    return std::regex_replace(text, std::regex("[0-9]{7,}"), "");
}

// What each thread calls, "@" being a name of its own. A failure first: it looks for the messages.
struct Row
{
    const char* call;
    DWORD status;
    const char* says;               // first line of the message, or output
    const char* inModule = nullptr; // the message as a module has it that lacks most of them
};
constexpr Row rows[] = {
    {"SetKestelHomeType khometype=1 khomekey=@", 6,
     "WSE-000010: Unable to open registry key Software\\Kestel\\@ under HKLM.", "US Software\\Kestel\\@"},
    {"CheckUserInGroup username=svc groupname=g@", 3, "WSE-000014: Lookup for Windows account name failed.", " "},
    {"DeleteSVCEventRegEntry SVCAppKey=@", 3,
     "WSE-000051: Unable to delete registry key SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\@.", " "},
    {"CreateOSGroup groupdesc=@ groupname=g@", 2, ""},
    {"AddUserToGroup username=svc groupname=g@", 2, ""},
    {"CheckUserInGroup username=svc groupname=g@", 1, ""},
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
        nodes.record(nodes.local, "KESTEL_HOME_NAME", "h1");
        nodes.record(nodes.local, "KESTEL_HOME_TYPE", "2");
        support::Nodes::addGroup(nodes.local, L"KES_h1_SVCSIDS"); // who makes it has lines that the others do not have
        EXPORT_OF(home, sswseIsOSWinDC)(nullptr);                 // and who is the first to ask
    }

    void work(const std::string& tag)
    {
        for (int round = 0; round < rounds; ++round)
            for (const Row& row : rows) {
                const std::string name = tag + std::to_string(round);
                const auto words = cli::splitWords(support::replaced(row.call, "@", name));
                const cli::Outcome outcome = support::invoke(home.module(), words);
                const std::string text = outcome.message + outcome.outputs.value("out", "");
                EXPECT_EQ(outcome.status, row.status) << outcome.message;
                EXPECT_EQ(text.substr(0, text.find_first_of("\r\n")),
                          support::replaced(hasModule && row.inModule ? row.inModule : row.says, "@", name));
            }
    }

    void runThreads(int count)
    {
        std::vector<std::thread> threads;
        std::atomic<int> waiting = 0;
        for (int i = 0; i < count; ++i)
            threads.emplace_back([&, i] {
                ids[i] = GetCurrentThreadId();
                for (++waiting; waiting < count;)
                    std::this_thread::yield();
                work(tagOf(i));
            });
        for (std::thread& thread : threads)
            thread.join();
    }

    // What a log has of each of the threads that ran last, with a form feed behind each line and the thread's own name
    // as "@".
    std::map<DWORD, std::string> textsOf(const TraceLog& log) const
    {
        std::map<DWORD, std::string> all;
        for (size_t i = 0; i < log.lines.size(); ++i) {
            const auto thread = std::find(std::begin(ids), std::end(ids), log.threads[i]) - std::begin(ids);
            all[log.threads[i]] +=
                withoutLongNumbers(support::replaced(log.lines[i], tagOf(static_cast<int>(thread)), "@")) + '\f';
        }
        return all;
    }

    std::map<DWORD, std::string> textsOfThreads(int count)
    {
        TraceLog log;
        traceOn(nullptr, &TraceLog::receive, &log, 0);
        runThreads(count);
        traceOff(nullptr);
        return textsOf(log);
    }

    static std::string tagOf(int thread) { return "thread" + std::to_string(thread) + "x"; }

    support::TemporaryHome home{"SOFTWARE\\KESTEL\\KEY_keswsec_test\r\n", "checked"};
    support::Nodes nodes{home};
    decltype(&sswseTraceOn) traceOn = EXPORT_OF(home, sswseTraceOn);
    decltype(&sswseTraceOff) traceOff = EXPORT_OF(home, sswseTraceOff);
    bool hasModule = false;
    DWORD ids[threadCount] = {};
};

TEST_F(Threads, TraceEveryLineOfEveryCall)
{
    const std::map<DWORD, std::string> texts = textsOfThreads(threadCount);
    const std::string alone = textsOfThreads(1).begin()->second; // whom nothing disturbs
    EXPECT_EQ(texts.size(), size_t{threadCount});
    for (const auto& [thread, text] : texts) {
        const auto differs = std::mismatch(text.begin(), text.end(), alone.begin(), alone.end()).first;
        EXPECT_TRUE(text == alone) << std::string(differs, text.end()).substr(0, 200);
    }
}

TEST_F(Threads, BearTracingSwitchedOnAndOff)
{
    constexpr char module[] = "KESWSECMSGUS.DLL";
    copy_file(support::programDirectory() / "message-modules" / module, home.directory() / module);
    hasModule = true;
    std::deque<TraceLog> logs; // one for each time: a line on its way may come after the end
    std::atomic<bool> done = false;
    std::thread switching([&] {
        while (!done) {
            traceOn(nullptr, &TraceLog::receive, &logs.emplace_back(), 0);
            Sleep(1);
            traceOff(nullptr);
        }
    });
    runThreads(threadCount);
    done = true;
    switching.join();
    std::vector<std::string> pieces;
    for (TraceLog& log : logs)
        for (const auto& [thread, text] : textsOf(log))
            pieces.push_back(text.substr(text.find('\f'))); // the first line may come before tracing is on again
    const std::string alone = textsOfThreads(1).begin()->second;
    for (const std::string& piece : pieces)
        EXPECT_NE(alone.find(piece), std::string::npos) << piece.substr(0, 200);
    EXPECT_GT(logs.size(), 5u);
    EXPECT_GT(pieces.size(), 0u);
}

} // namespace
