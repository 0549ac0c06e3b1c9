#include "frame/trace.h"

#include "frame/format.h"
#include "frame/record.h"

#include <cstdarg>
#include <cstring>
#include <ctime>

sswseTraceState sswseTracing;

namespace {

constexpr char separator[] = "%*******************************\n";
constexpr int pieceLength = 127;

CRITICAL_SECTION traceLock;

struct TraceLock
{
    TraceLock() { EnterCriticalSection(&traceLock); }
    ~TraceLock() { LeaveCriticalSection(&traceLock); }
    TraceLock(const TraceLock&) = delete;
    TraceLock& operator=(const TraceLock&) = delete;
};

bool openTraceFile()
{
    if (!sswseTracing.file) {
        char name[MAX_PATH];
        sswseFormatText(name, "keswsec%d.trc", static_cast<int>(GetCurrentProcessId()));
        sswseTracing.file = fopen(name, "w");
    }
    return sswseTracing.file != nullptr;
}

void traceCut(char* piece, char* end)
{
    const char kept = *end;
    *end = '\0';
    sswseTrace("%s", piece);
    *end = kept;
}

} // namespace

void sswseInitTrace()
{
    InitializeCriticalSection(&traceLock);
}

void sswseEndTrace()
{
    DeleteCriticalSection(&traceLock);
}

// Switching is not traced itself: neither of the two runs in the frame.
DWORD WINAPI sswseTraceOn(sswseErrRec* err, sswseTraceCallback callback, void* context, DWORD level)
{
    sswseErrRec scratch;
    const sswseCall call = {err ? err : &scratch, __func__};
    sswseClearRecord(call.rec);
    if (!callback)
        return sswseBadArgument(call, "callback function", SSWSE_NO);
    if (!context)
        return sswseBadArgument(call, "callback context", SSWSE_NO);

    const TraceLock lock;
    if (!sswseTraceEnabled()) { // a second call is accepted and changes nothing
        sswseTracing.context.store(context);
        sswseTracing.callback.store(callback);
        sswseTracing.level = level;
        sswseTracing.enabled.store(1);
    }
    return SSWSE_YES;
}

DWORD WINAPI sswseTraceOff(sswseErrRec* err)
{
    if (err)
        sswseClearRecord(err);
    const TraceLock lock;
    if (sswseTraceEnabled()) {
        sswseTracing.enabled.store(0);
        sswseTracing.callback.store(nullptr);
        sswseTracing.context.store(nullptr);
        sswseTracing.level = 0;
    }
    return SSWSE_YES;
}

void sswseTraceToFile(const char* format, ...)
{
    const TraceLock lock;
    // A callback set by now would have been due this line: it gets the next one, and no file is left behind.
    if (!sswseTraceEnabled() || sswseTracing.callback.load() || !openTraceFile())
        return;
    char date[9];
    char time[9];
    _strdate(date);
    _strtime(time);
    FILE* const file = sswseTracing.file;
    // The platform runtime's own formatting: the compiler's would bring a second one into the library.
    __ms_fprintf(file, "%s %s : ", date, time);
    __ms_fprintf(file, "(%d) : ", static_cast<int>(GetCurrentThreadId()));
    va_list arguments;
    va_start(arguments, format);
    __ms_vfprintf(file, format, arguments);
    va_end(arguments);
    fputs("\n", file);
    fflush(file);
}

void sswseTraceArgs(char* text, int length)
{
    if (length <= pieceLength + 1) {
        sswseTrace("%s", text);
        return;
    }
    char* position = text;
    char* const end = text + length;
    while (end - position > pieceLength) {
        char* cut = position + pieceLength;
        while (cut > position && *cut != '\n')
            --cut;
        if (*cut == '\n') {
            traceCut(position, cut);
            position = cut + 1;
        } else {
            traceCut(position, position + pieceLength);
            position += pieceLength;
        }
    }
    sswseTrace("%s", position);
}

void sswseTraceSeparator()
{
    if (!sswseTraceEnabled())
        return;
    const sswseTraceTarget target = sswseCurrentTraceTarget();
    if (target.callback)
        target.callback(target.context, separator, 0);
    else
        sswseTraceToFile("%s", separator);
}
