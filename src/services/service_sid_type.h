// The SID type in a service's configuration.
#pragma once

#include "keswsec.h"

// Makes the SID type of `servicename` unrestricted where home type and service key ask for it, and says in `sidtypeUR`
// whether it did. 2, also when there was nothing to do; 3 with WSE-000011, WSE-000054, WSE-000058; 4 for a NULL
// argument.
[[nodiscard]] DWORD sswseSetSvcTypeUnrestricted(sswseErrRec* err, const char* servicename, const char* svckey,
                                                const char* khtype, const char* nodename, DWORD& sidtypeUR);
