// What creating and updating a service have in common: what is decided for the service before it is touched, and what
// is done for it afterwards.
#pragma once

#include "frame/secret.h"
#include "services/account_decision.h"

// The service's role and the account that it runs under.
struct sswseDecidedService
{
    char svckey[512];
    char khtype[512];
    int index; // the row of the role table, sswseNoRole without one
    sswseServiceAccount account;
};

// A home type that cannot be read, or that is not one of the known ones.
enum class sswseHomeTypeFault
{
    unreadable,
    invalid
};

// Reads the type of the library's own home into `decided`. 2; 6 with the message of the home key's reader; 5 for either
// fault. Only the fault `reported` gets WSE-00008, the other one leaves the record as the routine that met it did.
[[nodiscard]] DWORD sswseReadOwnHomeType(const sswseCall& call, const char* nodename, sswseHomeTypeFault reported,
                                         sswseDecidedService& decided);

// Finds the row and decides the account for the key and the home type in `decided`.
void sswseDecideService(const sswseCall& call, const char* servicename, const char* nodename,
                        sswseDecidedService& decided);

// What the service control manager is told to start the service with; NULL: no account, no password.
struct sswseServiceLogon
{
    owned::Heap<wchar_t> account;
    owned::Secret password;
};

// A name without a domain becomes one of the service's own machine, ".\name"; NULL and "" stay none. The password goes
// through only for a decided account that has one. 2, or 3 with WSE-00002, WSE-00006.
[[nodiscard]] DWORD sswseMakeServiceLogon(const sswseCall& call, const sswseDecidedService& decided,
                                          const char* account, const char* password, sswseServiceLogon& logon);

// Gives the service its SID type, its security, its groups and its rights. 2, or 3 with the message of the failed step.
[[nodiscard]] DWORD sswseEquipService(const sswseCall& call, const char* servicename, const char* nodename,
                                      sswseDecidedService& decided, SC_HANDLE service);
