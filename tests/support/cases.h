// Tables of calls: each row names a call and what it answers. A trace callback that keeps the lines it is given.
#pragma once

#include "keswsec.h"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace support {

// The record's message without its line ends; the operating system's error line is left out.
std::string messageOf(const sswseErrRec& rec);

using Call = std::function<DWORD(sswseErrRec*)>;

// The function with these arguments behind the record; texts are not copied.
template <class Function, class... Arguments>
Call calling(Function* function, Arguments... arguments)
{
    return [=](sswseErrRec* rec) { return function(rec, arguments...); };
}

struct Case
{
    const char* what;
    Call call;
    DWORD status;
    const char* message = ""; // how the record's message begins; "" for an empty record
};

// Each call gets a record full of an earlier message.
void expectCases(const std::vector<Case>& cases);

// Each call names this parameter as the one that is missing or invalid.
void expectRefused(const std::string& parameter, const std::vector<Call>& calls, DWORD status = SSWSE_INVALID_ARGUMENT);

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
