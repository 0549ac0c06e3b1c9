// Under which account a service of a home runs.
#pragma once

#include "keswsec.h"

struct sswseServiceAccount
{
    char name[512];     // empty: LocalSystem
    bool isUserAccount; // the account has a password, which the service control manager must be given
    bool isVirtual;     // the service's own virtual account
};

// Decides for the service `servicename` with the key `svckey`; `index` is its row, sswseNoRole without one.
// 2 or 3, but callers go by `account` alone: it is set whatever the status, and after a virtual account was found the
// status is 3.
[[nodiscard]] DWORD sswseDecideSvcUser(sswseErrRec* err, const char* svckey, const char* khtype, int index,
                                       const char* nodename, const char* servicename, sswseServiceAccount& account);
