// Tracing: every line of the library goes to the caller's callback, or to the trace file when none is set.
#pragma once

#include "keswsec.h"

#include <atomic>
#include <cstdio>

// Written under the trace lock; writers read `enabled`, `callback` and `context` without it.
struct sswseTraceState
{
    std::atomic<DWORD> enabled;
    std::atomic<sswseTraceCallback> callback;
    std::atomic<void*> context;
    DWORD level;
    FILE* file; // opened on the first file record, never closed
};

extern sswseTraceState sswseTracing;

// Called when the library is attached to a process and detached from it.
void sswseInitTrace();
void sswseEndTrace();

inline bool sswseTraceEnabled()
{
    return sswseTracing.enabled.load() != 0;
}

// One record of the trace file: date, time, thread and the formatted text. Dropped when tracing is off by then.
void sswseTraceToFile(const char* format, ...);

// Where a line goes at this moment; no callback means the trace file.
struct sswseTraceTarget
{
    sswseTraceCallback callback;
    void* context;
};

// The pair is read without the lock: a callback is only given a context that was stored for it.
inline sswseTraceTarget sswseCurrentTraceTarget()
{
    const sswseTraceCallback callback = sswseTracing.callback.load();
    void* const context = sswseTracing.context.load();
    const bool whole = callback && context && sswseTracing.callback.load() == callback;
    return {whole ? callback : nullptr, context};
}

// One trace line. Does nothing unless tracing is on.
template <class... Arguments>
void sswseTrace(const char* format, Arguments... arguments)
{
    if (!sswseTraceEnabled())
        return;
    const sswseTraceTarget target = sswseCurrentTraceTarget();
    if (target.callback)
        target.callback(target.context, format, arguments...);
    else
        sswseTraceToFile(format, arguments...);
}

// Traces a preformatted argument text in pieces of at most 127 characters, or one of 128, split at line feeds where
// there are any. The text is changed while it is traced and restored after. A length below zero stands for "cut short"
// and counts as small.
void sswseTraceArgs(char* text, int length);

// The line after a routine's exit. The callback gets it as a format, star widths and all, with the one argument 0; the
// file gets it as text.
void sswseTraceSeparator();
