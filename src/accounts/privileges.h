// One named right for a SID; the sets of rights that a home's user needs are exported.
#pragma once

#include "keswsec.h"

// Grants `privname` to `sid` on `nodename`. 2; 3 with WSE-000025, WSE-000041; 4 for a NULL argument or an invalid SID
// (WSE-000039).
DWORD sswseGrantPrivilegesToSid(sswseErrRec* err, PSID sid, const char* privname, const char* nodename);
