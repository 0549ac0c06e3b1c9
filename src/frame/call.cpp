#include "frame/call.h"

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
