#include "tests/support/trace_log.h"

#include "tests/support/intercept.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

namespace support {

void TraceLog::receive(void* context, const char* format, ...)
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

std::vector<std::string> TraceLog::take()
{
    const std::lock_guard lock(mutex);
    threads.clear();
    return std::exchange(lines, {});
}

std::string argumentLine(const Call& call)
{
    TraceLog log;
    sswseTraceOn(nullptr, &TraceLog::receive, &log, 0);
    call(nullptr);
    sswseTraceOff(nullptr);
    const std::vector<std::string> lines = log.take();
    return lines.size() > 1 ? lines[1] : "no line";
}

} // namespace support
