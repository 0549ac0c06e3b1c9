// The error record: clearing it, and the one statement with which a routine reports a failure and yields its status.
#pragma once

#include "keswsec.h"
#include "messages.h"

// What a routine's body needs to report: the caller's record (never NULL here) and the routine's own name.
struct sswseCall
{
    sswseErrRec* rec;
    const char* function;
};

inline void sswseClearRecord(sswseErrRec* rec)
{
    rec->message[0] = '\0';
    rec->oserror[0] = '\0';
}

inline const char* sswseTextOrEmpty(const char* text)
{
    return text ? text : "";
}

// Fills the record; the list of inserts is always completed to three, so no message reads an argument that is not
// there.
template <class... Inserts>
void sswseReport(const sswseCall& call, DWORD messageId, DWORD osError, const char* apiName, Inserts... inserts)
{
    static_assert(sizeof...(inserts) <= 3, "the catalogue knows %1 to %3");
    sswseFillErrMsg(call.rec, messageId, osError, call.function, apiName, sswseTextOrEmpty(inserts)..., "", "", "");
}

// Fills the record and yields SSWSE_FAILURE: `return sswseFail(call, WSE_..., GetLastError(), "ApiName");`
template <class... Inserts>
[[nodiscard]] DWORD sswseFail(const sswseCall& call, DWORD messageId, DWORD osError, const char* apiName,
                              Inserts... inserts)
{
    sswseReport(call, messageId, osError, apiName, inserts...);
    return SSWSE_FAILURE;
}

// WSE-000053, whose text names the failed function.
inline DWORD sswseApiFailed(const sswseCall& call, DWORD osError, const char* apiName)
{
    return sswseFail(call, WSE_API_FAILED, osError, apiName, apiName);
}

// WSE-000012 naming the argument; `status` where a routine does not answer a missing argument with 4.
[[nodiscard]] DWORD sswseBadArgument(const sswseCall& call, const char* argument,
                                     DWORD status = SSWSE_INVALID_ARGUMENT);
// WSE-000033 naming the output buffer.
[[nodiscard]] DWORD sswseBufferTooSmall(const sswseCall& call, const char* buffer, DWORD status = SSWSE_FAILURE);
// WSE-00002.
[[nodiscard]] DWORD sswseOutOfMemory(const sswseCall& call);
