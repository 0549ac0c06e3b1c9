// What a check of access finds: a line for each account and object that is not as it should be.
#pragma once

#include "frame/kept_message.h"
#include "frame/string_list.h"

// The line is "PATH <verb><name><detail>".
struct sswseFinding
{
    const char* verb = ""; // "denies "
    const char* name = ""; // of the account, as the caller knows it
    char detail[40] = "";  // " 0x00120089"
};

struct sswseFindings
{
    sswseStringsOut out; // who wants the list
    sswseStringList lines = {};
    sswseKeptMessage first = {}; // as WSE-00004
};

// Keeps a finding about the object at `path`. 1: the check goes on; 0: it ends, for nobody wants the list; 3 with
// WSE-00002, WSE-00007.
[[nodiscard]] DWORD sswseAddFinding(const sswseCall& call, sswseFindings& findings, const wchar_t* path,
                                    const sswseFinding& finding);

// The same for an object that cannot be read.
[[nodiscard]] DWORD sswseAddUnreadable(const sswseCall& call, sswseFindings& findings, const wchar_t* path,
                                       DWORD osError);

// The answer of a check that ended with `status`: 3 as it is; else 1 without findings, 0 with the list handed out and
// the first finding in the record.
[[nodiscard]] DWORD sswseAnswerFindings(const sswseCall& call, sswseFindings& findings, DWORD status);
