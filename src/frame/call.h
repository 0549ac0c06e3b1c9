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

#include <type_traits>

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

// The lines around a routine, for one that is not a single call: the walk that enters many directories.
void sswseTraceEntry(const char* function);
void sswseTraceExit(const char* function, const sswseErrRec* rec);

// What the frame runs, so that it is one function: an object of the caller's, and how to call it.
struct sswseFramed
{
    const char* function;
    const void* argLine;
    uint32_t (*writeArgLine)(const void* argLine, char* buffer, size_t capacity); // NULL: there is none
    const void* body;
    DWORD (*run)(const void* body, const sswseCall& call);
};

[[nodiscard]] DWORD sswseRunInFrame(sswseErrRec* err, const sswseFramed& framed);
[[nodiscard]] DWORD sswseRunInFrameKeepingRecord(sswseErrRec* err, const sswseFramed& framed);

template <class ArgLine, class Body>
sswseFramed sswseFrame(const char* function, const ArgLine& argLine, const Body& body)
{
    sswseFramed framed = {function, &argLine, nullptr, &body, nullptr};
    if constexpr (!std::is_same_v<ArgLine, sswseNoArgs>)
        framed.writeArgLine = [](const void* line, char* buffer, size_t capacity) -> uint32_t {
            return (*static_cast<const ArgLine*>(line))(buffer, capacity);
        };
    framed.run = [](const void* callable, const sswseCall& call) -> DWORD {
        return (*static_cast<const Body*>(callable))(call);
    };
    return framed;
}

template <class ArgLine, class Body>
[[nodiscard]] DWORD sswseRunFramed(sswseErrRec* err, const char* function, const ArgLine& argLine, const Body& body)
{
    return sswseRunInFrame(err, sswseFrame(function, argLine, body));
}

// For the routine that leaves what the record held.
template <class ArgLine, class Body>
[[nodiscard]] DWORD sswseRunFramedKeepingRecord(sswseErrRec* err, const char* function, const ArgLine& argLine,
                                                const Body& body)
{
    return sswseRunInFrameKeepingRecord(err, sswseFrame(function, argLine, body));
}
