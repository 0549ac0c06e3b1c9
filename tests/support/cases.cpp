#include "tests/support/cases.h"

#include "frame/trace.h"
#include "tests/support/intercept.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <utility>

namespace {

// What attaching the library to the process does for the functions that are linked into the test program; their
// messages they find in the library, as the shipped ones do.
struct Attached : testing::Environment
{
    void SetUp() override
    {
        sswseInitTrace();
        ASSERT_TRUE(LoadLibraryA("keswsec19.dll"));
    }
};

testing::Environment* const attached = testing::AddGlobalTestEnvironment(new Attached);

} // namespace

std::string support::messageOf(const sswseErrRec& rec)
{
    const std::string text = rec.message;
    return text.substr(0, text.find_first_of("\r\n"));
}

void support::expectCases(const std::vector<Case>& cases)
{
    for (const Case& row : cases) {
        SCOPED_TRACE(row.what);
        sswseErrRec rec;
        memset(&rec, 'x', sizeof rec);
        EXPECT_EQ(row.call(&rec), row.status);
        const std::string message = messageOf(rec);
        if (*row.message)
            EXPECT_EQ(message.substr(0, strlen(row.message)), row.message);
        else
            EXPECT_EQ(message, "");
    }
}

void support::expectRefused(const std::string& parameter, const std::vector<Call>& calls, DWORD status)
{
    const std::string message = "WSE-000012: Null or invalid " + parameter + " parameter.";
    for (size_t i = 0; i < calls.size(); ++i)
        expectCases({{std::to_string(i).c_str(), calls[i], status, message.c_str()}});
}

void support::TraceLog::receive(void* context, const char* format, ...)
{
    auto& log = *static_cast<TraceLog*>(context);
    char line[2048];
    va_list arguments;
    va_start(arguments, format);
    if (strcmp(format, "%*******************************\n") == 0)
        strcpy(line, va_arg(arguments, int) == 0 ? "<separator>" : "<separator with an argument other than 0>");
    else
        vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    intercept::Interception::traced(format, line);
    const std::lock_guard lock(log.mutex);
    log.lines.emplace_back(line);
    log.threads.push_back(GetCurrentThreadId());
}

std::vector<std::string> support::TraceLog::take()
{
    const std::lock_guard lock(mutex);
    threads.clear();
    return std::exchange(lines, {});
}

std::string support::argumentLine(const Call& call)
{
    TraceLog log;
    sswseTraceOn(nullptr, &TraceLog::receive, &log, 0);
    call(nullptr);
    sswseTraceOff(nullptr);
    const std::vector<std::string> lines = log.take();
    return lines.size() > 1 ? lines[1] : "no line";
}
