// Service keys: the name of the executable that a service runs, and the row of the role table it finds.
#pragma once

#include "keswsec.h"

// Writes the key of the service `svcname` with the command line `lpBinPath` into `svckey`, cut to `svckeyl` - 1
// characters. 2, or 3 with WSE-000012 for a NULL argument.
[[nodiscard]] DWORD sswseGetServiceKeyFromBinPath(sswseErrRec* err, const char* lpBinPath, const char* svcname,
                                                  char* svckey, size_t svckeyl);

// The executable's path in a service's command line as it is configured: behind a quote and "\??\", which it may begin
// with. It ends before the quote that closes it; without quotes the arguments are not told from it.
struct sswseServicePathPart
{
    const wchar_t* begin;
    size_t length;
};
sswseServicePathPart sswseServicePath(const wchar_t* commandLine);

// Sets `index` to the row of `svckey` in the table of `khtype`. 2; 3 without a message when there is none, `index` is
// then left alone.
[[nodiscard]] DWORD sswseGetServiceIndex(sswseErrRec* err, const char* svckey, const char* khtype, int* index);
