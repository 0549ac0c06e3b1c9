// The frame that exported functions and most internal routines run in, written once around a body (those of the error
// record, the trace and the heap do without):
//
//     return sswseRunFramed(err, __func__, sswseArgs("groupname=%s", groupname), [&](const sswseCall& call) -> DWORD {
//         ...
//     });
//
// It traces entry and arguments, clears the record, runs the body, traces the error text and the exit. A NULL record is
// replaced by a scratch one. Early returns of the body are safe: the frame is outside.
//
// Names and argument lines are seen in the trace: they are an interface, spelling mistakes included.
#pragma once

#include "frame/format.h"
#include "frame/record.h"
#include "frame/trace.h"

#include <cstring>

// The argument line of a routine, formatted only when tracing is on. Values are copied, texts are not.
template <class... Arguments>
auto sswseArgs(const char* format, Arguments... arguments)
{
    return [=](char* buffer, size_t capacity) { return sswseFormat(buffer, capacity, format, arguments...); };
}

// For routines without an argument line.
struct sswseNoArgs
{
};

void sswseTraceEntry(const char* function);
void sswseTraceExit(const char* function, const sswseErrRec* rec);

inline void sswseTraceArgLine(const sswseNoArgs&) {}

template <class ArgLine>
void sswseTraceArgLine(const ArgLine& line)
{
    constexpr size_t size = 512;
    // Never released: a traced call costs its argument buffer for the life of the process. Deliberate.
    char* const buffer = static_cast<char*>(malloc(size));
    if (!buffer)
        return;
    memset(buffer, 0, size); // a line that cannot be formatted must not show what the block held before
    const uint32_t length = line(buffer, size - 1);
    sswseTraceArgs(buffer, static_cast<int>(length));
}

// For the routine that leaves what the record held; every other one runs in sswseRunFramed below.
template <class ArgLine, class Body>
DWORD sswseRunFramedKeepingRecord(sswseErrRec* err, const char* function, const ArgLine& argLine, Body&& body)
{
    sswseErrRec scratch;
    sswseClearRecord(&scratch);
    const sswseCall call = {err ? err : &scratch, function};
    call.rec->message[sizeof call.rec->message - 1] = '\0'; // what a caller left in it may have no end
    if (sswseTraceEnabled()) {
        sswseTraceEntry(function);
        sswseTraceArgLine(argLine);
    }
    const DWORD status = body(call);
    if (sswseTraceEnabled())
        sswseTraceExit(function, call.rec);
    return status;
}

template <class ArgLine, class Body>
DWORD sswseRunFramed(sswseErrRec* err, const char* function, const ArgLine& argLine, Body&& body)
{
    return sswseRunFramedKeepingRecord(err, function, argLine, [&](const sswseCall& call) -> DWORD {
        sswseClearRecord(call.rec);
        return body(call);
    });
}
