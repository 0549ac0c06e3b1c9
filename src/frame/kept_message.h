// The first message of a call that goes on after a failure: what comes behind it may overwrite or clear the record.
#pragma once

#include "frame/record.h"

struct sswseKeptMessage
{
    sswseErrRec rec = {};
    bool isKept = false;
};

// Keeps what the record holds, unless something is kept already, and clears it: a failure without an OS error that
// comes later must not be told with this one's.
inline void sswseKeepMessage(const sswseCall& call, sswseKeptMessage& message)
{
    if (!message.isKept)
        message = {*call.rec, true};
    sswseClearRecord(call.rec);
}

// The record as the call ends: what was kept, or nothing.
inline void sswseLeaveKeptMessage(const sswseCall& call, const sswseKeptMessage& message)
{
    *call.rec = message.rec;
}
