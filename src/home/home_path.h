// The path of a home as a caller gives it: "/" counts as a backslash, backslashes at its end do not count, and NULL is
// the home that the library lies in.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

// 2, or 4 with WSE-000012 "khomepath" for a path of which nothing is left.
[[nodiscard]] DWORD sswseCheckHomePath(const sswseCall& call, const char* khomepath);

// The path in the one spelling, in a block of its own; `khomepath` has been checked. 2, or 3 with WSE-00002 and, for
// the library's own home, with WSE-000046, WSE-000047, or WSE-000052 when there is no directory above the library's.
[[nodiscard]] DWORD sswseHomePath(const sswseCall& call, const char* khomepath, owned::Heap<char>& path);

// The full path of the library's file; `end` is the backslash before its name. 2, or 3 with WSE-000046, WSE-000047.
[[nodiscard]] DWORD sswseOwnFile(const sswseCall& call, char (&path)[MAX_PATH], char*& end);
