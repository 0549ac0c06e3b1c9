#include "frame/call.h"

#include "frame/owned.h"

#include <cstring>

namespace {

constexpr size_t argLineSize = 512;

void traceArgLine(const sswseFramed& framed)
{
    if (!framed.writeArgLine)
        return;
    // Never released: a traced call costs its argument buffer for the life of the process. Deliberate.
    char* const buffer = static_cast<char*>(malloc(argLineSize));
    if (!buffer)
        return;
    memset(buffer, 0, argLineSize); // a line that cannot be formatted must not show what the block held before
    const uint32_t length = framed.writeArgLine(framed.argLine, buffer, argLineSize - 1);
    sswseTraceArgs(buffer, static_cast<int>(length));
}

DWORD runInFrame(sswseErrRec* err, const sswseFramed& framed, bool clear)
{
    sswseErrRec scratch;
    sswseClearRecord(&scratch);
    const sswseCall call = {err ? err : &scratch, framed.function};
    call.rec->message[sizeof call.rec->message - 1] = '\0'; // what a caller left in it may have no end
    if (sswseTraceEnabled()) {
        sswseTraceEntry(framed.function);
        traceArgLine(framed);
    }
    if (clear)
        sswseClearRecord(call.rec);
    const DWORD status = framed.run(framed.body, call);
    if (sswseTraceEnabled())
        sswseTraceExit(framed.function, call.rec);
    return status;
}

} // namespace

void sswseTraceEntry(const char* function)
{
    sswseTrace("Entering... %s()\n", function);
}

void sswseTraceExit(const char* function, const sswseErrRec* rec)
{
    if (rec->message[0])
        sswseTrace("\n%s", rec->message);
    sswseTrace("Exiting... %s()", function); // no line feed here, unlike the entry line
    sswseTraceSeparator();
}

DWORD sswseRunInFrame(sswseErrRec* err, const sswseFramed& framed)
{
    return runInFrame(err, framed, true);
}

DWORD sswseRunInFrameKeepingRecord(sswseErrRec* err, const sswseFramed& framed)
{
    return runInFrame(err, framed, false);
}
