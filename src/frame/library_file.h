// The library's own file: its name carries the product's release number.
#pragma once

#include <windows.h>

// The loaded library, by its file name; NULL (last error set) when the process has no module of that name.
HMODULE sswseOwnModule();

// Writes the library's full path and returns the position of its last backslash, so that a caller can put another
// file's name behind the directory; NULL (last error set) when the path cannot be had, with
// ERROR_INSUFFICIENT_BUFFER when it does not fit.
char* sswseOwnDirectoryEnd(HMODULE self, char (&path)[MAX_PATH]);
