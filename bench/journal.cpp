#include "bench/journal.h"

#include "bench/made_up_tree.h"
#include "cli/session.h"

#include <psapi.h>

#include <cstdio>

namespace bench {

namespace {

std::string told; // the beginning of it

double timeOf(const std::function<bool()>& step)
{
    told.clear();
    const double begin = microseconds();
    if (!step())
        throw std::runtime_error("not everything is as it should be:\n" + told);
    return microseconds() - begin;
}

cli::Session sessionOf(const std::vector<std::string>& words)
{
    return cli::Session(cli::parseOptions(words), [](const std::string& text) {
        if (told.size() < 1000)
            told += text;
    });
}

} // namespace

double microseconds()
{
    LARGE_INTEGER frequency;
    LARGE_INTEGER now;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&now);
    return 1e6 * static_cast<double>(now.QuadPart) / static_cast<double>(frequency.QuadPart);
}

double peakMegabytes()
{
    PROCESS_MEMORY_COUNTERS counters = {};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return static_cast<double>(counters.PeakWorkingSetSize) / (1 << 20);
}

void runJournal(size_t directories)
{
    const std::string file = (std::filesystem::temp_directory_path() / "keswsec_bench.journal").string();
    const std::string undone = file + ".undo";
    for (const std::string& each : {file, undone})
        DeleteFileA(each.c_str());
    growTree(directories);
    const auto objects = static_cast<double>(1 + directories * (filesPerDirectory + 1));
    const std::vector<cli::ScriptLine> calls = {
        {"", cli::parseCall({"AddACLOnObjectForUser", "wtype=1", "path=C:\\home", "usernames=Everyone", "ptype=1",
                             "inheritable=1"})}};
    const double without = timeOf([&] { return sessionOf({"IsOSWinDC"}).runScript(calls); });
    growTree(directories); // as it was
    const double with = timeOf([&] { return sessionOf({"--journal", file, "IsOSWinDC"}).runScript(calls); });
    const double verified = timeOf([&] { return sessionOf({"--verify", file}).verify(); });
    const double back = timeOf([&] { return sessionOf({"--undo", file, "--journal", undone}).undo(); });
    printf("%14.0f%12.1f%12.1f%12.1f%12.1f%12.1f\n", objects, without / objects, with / objects, verified / objects,
           back / objects, peakMegabytes());
    fflush(stdout);
    for (const std::string& each : {file, undone})
        DeleteFileA(each.c_str());
}

} // namespace bench
