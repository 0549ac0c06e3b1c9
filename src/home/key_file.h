// A home's key file: one line that names the home's registry key below HKEY_LOCAL_MACHINE. Its last part is the home
// key.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

// The first line of a key file, up to its first NUL, carriage return or line feed; 511 bytes are read at most.
using sswseKeyLine = char[512];

// False with the last error set when the file cannot be read.
bool sswseReadKeyLine(HANDLE file, sswseKeyLine& line);
// The text behind the last backslash; NULL when there is no backslash, which names no home.
const char* sswseHomeKeyOfLine(const char* line);

// The routines that are given a home by its path differ in what they answer.
struct sswseKeyFileAnswers
{
    DWORD notOpened;
    DWORD notRead;
    DWORD noHomeKey;
    bool namesApi; // WSE-000053 with the failed function and its error, instead of WSE-000052
};

// Reads the key file of the home at `khomepath` through the local file system and finds its home key, which lies in
// `line`. 2, or what `answers` says.
[[nodiscard]] DWORD sswseFindHomeKey(const sswseCall& call, const char* khomepath, const sswseKeyFileAnswers& answers,
                                     sswseKeyLine& line, const char** homeKey);

// Reads the whole line instead, with a node name through the node's administrative share: the colon behind the drive
// letter in the caller's `khomepath` is overwritten with "$" and stays so. `answers.noHomeKey` is not used.
[[nodiscard]] DWORD sswseReadKeyFileOnNode(const sswseCall& call, char* khomepath, const char* nodename,
                                           const sswseKeyFileAnswers& answers, sswseKeyLine& line);
