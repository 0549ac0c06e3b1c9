// A trace callback that keeps the lines it is given.
#pragma once

#include "tests/support/cases.h"

#include <mutex>
#include <string>
#include <vector>

namespace support {

struct TraceLog
{
    // For sswseTraceOn, with the log as context.
    static void __cdecl receive(void* log, const char* format, ...);

    // The lines so far; the line after a routine's exit, which no printf can print, is "<separator>".
    std::vector<std::string> take();

    std::mutex mutex;
    std::vector<std::string> lines;
    std::vector<DWORD> threads; // of the lines
};

// The line with its arguments that a call leaves in the trace.
std::string argumentLine(const Call& call);

} // namespace support
