// A service's own security.
#pragma once

#include "keswsec.h"

// Lets the product's and the home's administrators start and stop the service; every other entry of its DACL stays.
// `svchdl` must allow to read and write the DACL. 2; 3 with WSE-000055, WSE-000058, WSE-000059 (also when one of the
// two groups does not exist); 4 for a NULL handle.
[[nodiscard]] DWORD sswseSetACLOnService(sswseErrRec* err, SC_HANDLE svchdl);
