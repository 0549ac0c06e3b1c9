// The name of a home that is given by its path.
#pragma once

#include "frame/record.h"

// The name of the home at `khomepath`, read through its key file; with a node name the drive's colon in `khomepath` is
// overwritten with "$". 2, 3, 4, or 6 when the key file or the key cannot be opened. `*outlen` counts the terminator.
[[nodiscard]] DWORD sswseGetKestelHomeNameForKHPath(sswseErrRec* err, char* khomepath, char* khname, size_t khnamel,
                                                    size_t* outlen, const char* nodename);

// The name of the home at `khomepath`, whose text is left as it is, or of the library's own home when that is NULL. 2
// with an empty record, 4 for a path of which nothing is left, or the status and message of the look-up.
[[nodiscard]] DWORD sswseNameOfHome(const sswseCall& call, const char* khomepath, const char* nodename,
                                    char (&khname)[512]);
