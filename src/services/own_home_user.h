// What the service user that the library's own home records on a node is.
#pragma once

#include "keswsec.h"

// Is it LocalSystem? 1, 0, or 3 with the message of the failed step.
[[nodiscard]] DWORD sswseIsCurKHSvcUserLocalSystem(sswseErrRec* err, const char* nodename);

// Does the home run its services under virtual accounts? Yes is 2 here, not 1, as its caller asks. No is
// 0; 3 with the message of the failed step, also when the home records no kind of user.
[[nodiscard]] DWORD sswseIsCurKHSvcUserVA(sswseErrRec* err, const char* nodename);
