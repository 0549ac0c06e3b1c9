// The library's own file, whose name carries the product's release number, files beside it, and reading files.
#pragma once

#include "frame/owned.h"

// The loaded library, by its file name; NULL (last error set) when the process has no module of that name.
HMODULE sswseOwnModule();

// Writes the library's full path and returns the position of its last backslash, so that another file can be named in
// that directory; NULL when the path cannot be had or does not fit, with the last error as the platform leaves it.
char* sswseOwnDirectoryEnd(HMODULE self, char (&path)[MAX_PATH]);

// Puts a file's name behind the directory that ends there, cut to what `path` holds.
void sswseNameBeside(char (&path)[MAX_PATH], char* directoryEnd, const char* fileName);

// An existing file, shared with other readers; NULL with the last error set when it cannot be opened.
owned::Handle sswseOpenToRead(const char* path);
