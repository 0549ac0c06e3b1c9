// Tables of calls: each row names a call and what it answers.
#pragma once

#include "keswsec.h"

#include <functional>
#include <string>
#include <vector>

namespace support {

// The record's message without its line ends; the operating system's error line is left out.
std::string messageOf(const sswseErrRec& rec);

struct Case
{
    const char* what;
    std::function<DWORD(sswseErrRec*)> call;
    DWORD status;
    const char* message = ""; // how the record's message begins; "" for an empty record
};

// Each call gets a record full of an earlier message.
void expectCases(const std::vector<Case>& cases);

} // namespace support
