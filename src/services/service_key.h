// Service keys: the name of the executable that a service runs, and the row of the role table it finds.
#pragma once

#include "keswsec.h"

// Writes the key of the service `svcname` with the command line `lpBinPath` into `svckey`, cut to `svckeyl` - 1
// characters. 2, or 3 with WSE-000012 for a NULL argument.
DWORD sswseGetServiceKeyFromBinPath(sswseErrRec* err, const char* lpBinPath, const char* svcname, char* svckey,
                                    size_t svckeyl);

// Sets `index` to the row of `svckey` in the table of `khtype`. 2; 3 without a message when there is none, `index` is
// then left alone.
DWORD sswseGetServiceIndex(sswseErrRec* err, const char* svckey, const char* khtype, int* index);
