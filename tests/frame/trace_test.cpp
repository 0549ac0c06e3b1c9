#include "frame/call.h"
#include "tests/support/cases.h"
#include "tests/support/library_copy.h"

#include <gmock/gmock.h>

#include <cstring>
#include <fstream>
#include <thread>

namespace fs = std::filesystem;
using support::calling;
using support::TraceLog;
using testing::ElementsAre;
using testing::IsEmpty;

class TraceOfTheLibrary : public testing::Test
{
protected:
    support::LibraryCopy library;
    TraceLog log;
    sswseErrRec rec = {};
    decltype(&sswseTraceOn) on = EXPORT_OF(library, sswseTraceOn);
    decltype(&sswseTraceOff) off = EXPORT_OF(library, sswseTraceOff);
    decltype(&sswseIsOSWinDC) isController = EXPORT_OF(library, sswseIsOSWinDC);
};

TEST_F(TraceOfTheLibrary, TellsACallLineByLine)
{
    const auto version = library.redirect(
        "GetVersionExA", +[](OSVERSIONINFOA*) WINAPI { return FALSE; });
    ASSERT_EQ(on(&rec, &TraceLog::receive, &log, 7), 1u);
    EXPECT_EQ(isController(&rec), 3u);
    const std::string entering = "Entering... sswse", exiting = "Exiting... sswse", line = "<separator>";
    const std::string message = std::string("\n") + rec.message;
    EXPECT_THAT(log.take(), ElementsAre(entering + "IsOSWinDC()\n", entering + "GetOSVer()\n", message,
                                        exiting + "GetOSVer()", line, message, exiting + "IsOSWinDC()", line));
    library.redirect("GetVersionExA", version);
    strcpy(rec.message, "an earlier message"); // is cleared and not traced
    EXPECT_EQ(isController(&rec), 0u);
    EXPECT_THAT(log.take(), ElementsAre(entering + "IsOSWinDC()\n", entering + "GetOSVer()\n", exiting + "GetOSVer()",
                                        line, exiting + "IsOSWinDC()", line));
}

TEST_F(TraceOfTheLibrary, ArgumentLineIsCutAt511)
{
    on(&rec, &TraceLog::receive, &log, 0);
    DWORD kind = 0;
    const auto classify = EXPORT_OF(library, sswseIsNameBuiltinAcc);
    classify(&rec, std::string(600, 'x').c_str(), &kind);
    EXPECT_EQ(log.take().at(1).substr(500), "xxxxxxxxxxx");
}

TEST_F(TraceOfTheLibrary, SwitchesOnOnceAndOffAgain)
{
    TraceLog second;
    const auto onFor = [&](TraceLog* context) { return calling(on, &TraceLog::receive, context, 1); };
    const support::Call work = calling(isController);
    support::expectCases({
        {"no context", onFor(nullptr), 0, "WSE-000012: Null or invalid callback context parameter."},
        {"work without", work, 0},
        {"on", onFor(&log), 1},
        {"on again", onFor(&second), 1},
        {"work with the first", work, 0},
        {"off", calling(off), 1},
        {"off again", calling(off), 1},
        {"work without again", work, 0},
    });
    EXPECT_EQ(log.take().size(), 3u);
    EXPECT_THAT(second.take(), IsEmpty());
    EXPECT_EQ(onFor(&second)(nullptr), 1u);
    work(&rec);
    EXPECT_EQ(off(nullptr), 1u);
    EXPECT_EQ(second.take().size(), 3u);
}

TEST(Trace, ArgumentTextComesInPieces)
{
    struct
    {
        size_t length;
        std::vector<size_t> lineFeeds;
        std::vector<std::pair<size_t, size_t>> pieces; // start, length
        bool measured = false;                         // the length is not passed
    } const cases[] = {
        {0, {}, {{0, 0}}},
        {128, {}, {{0, 128}}},
        {129, {}, {{0, 127}, {127, 2}}},
        {254, {}, {{0, 127}, {127, 127}}},
        {255, {}, {{0, 127}, {127, 127}, {254, 1}}},
        {300, {100, 250}, {{0, 100}, {101, 127}, {228, 72}}}, // a remainder that fits is not split
        {300, {127, 255}, {{0, 127}, {128, 127}, {256, 44}}}, // the last place that is looked at
        {300, {128}, {{0, 127}, {127, 1}, {129, 127}, {256, 44}}},
        {300, {0}, {{0, 0}, {1, 127}, {128, 127}, {255, 45}}},
        {130, {10, 60}, {{0, 60}, {61, 69}}}, // the last line feed in reach, and none in the remainder
        {511, {5}, {{0, 511}}, true},
    };
    TraceLog log;
    sswseTraceOn(nullptr, &TraceLog::receive, &log, 0);
    for (const auto& row : cases) {
        std::string text;
        for (size_t i = 0; i < row.length; ++i)
            text += static_cast<char>('a' + i % 26);
        for (const size_t at : row.lineFeeds)
            text[at] = '\n';
        std::vector<std::string> expected;
        for (const auto& [start, length] : row.pieces)
            expected.push_back(text.substr(start, length));
        std::string traced = text;
        sswseTraceArgs(traced.data(), row.measured ? -1 : static_cast<int>(row.length));
        EXPECT_EQ(log.take(), expected) << row.length;
        EXPECT_EQ(traced, text) << "the text is put back";
    }
    sswseTraceOff(nullptr);
}

TEST(Trace, FileRecordsAreWholeLines)
{
    const support::ScratchDirectory directory;
    const fs::path before = fs::current_path();
    const fs::path traceFile = directory.path() / ("keswsec" + std::to_string(GetCurrentProcessId()) + ".trc");
    fs::current_path(directory.path());
    sswseTracing.enabled = 1; // the callback has just gone
    fs::create_directory(traceFile);
    sswseTrace("%s", "dropped: the file cannot be opened");
    fs::remove(traceFile);

    constexpr int threadCount = 8;
    constexpr int perThread = 10000;
    std::vector<std::thread> threads;
    for (int id = 0; id < threadCount; ++id)
        threads.emplace_back([id] {
            for (int i = 0; i < perThread; ++i)
                sswseTrace("thread %d line %Iu of %S", id, static_cast<size_t>(i), L"wide");
        });
    for (std::thread& thread : threads)
        thread.join();
    sswseTraceSeparator();
    sswseTracing.callback = &TraceLog::receive;
    sswseTraceToFile("%s", "dropped: a callback is set by now");
    sswseTraceOff(nullptr);
    sswseTraceToFile("%s", "dropped: switched off");
    std::vector<std::string> lines;
    std::ifstream stream(traceFile); // not closed yet: each record has reached it
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    fclose(std::exchange(sswseTracing.file, nullptr));
    fs::current_path(before);

    constexpr char form[] = "%*2d/%*2d/%*2d %*2d:%*2d:%*2d : (%*u) : thread %d line %d of wide%n";
    int next[threadCount] = {};
    ASSERT_EQ(lines.size(), size_t{threadCount} * perThread + 2);
    for (size_t i = 0; i < lines.size() - 2; ++i) {
        int id = -1;
        int number = -1;
        int length = 0;
        sscanf(lines[i].c_str(), form, &id, &number, &length);
        ASSERT_TRUE(id >= 0 && id < threadCount && static_cast<size_t>(length) == lines[i].size()) << lines[i];
        ASSERT_EQ(number, next[id]++) << lines[i];
    }
    const std::string thread = "(" + std::to_string(GetCurrentThreadId()) + ")";
    EXPECT_EQ(lines[lines.size() - 2].substr(17), " : " + thread + " : %*******************************");
    EXPECT_EQ(lines.back(), "") << "the separator's own line feed";
}
