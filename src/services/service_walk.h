// One pass over the services of a node, in the order in which its manager lists them:
//
//     sswseServiceWalk walk;
//     ... sswsePrepareServiceWalk, sswseOpenServiceWalk ...
//     while ((answer = sswseNextService(call, walk)) == SSWSE_YES)
//         ... walk.name, walk.config ...
#pragma once

#include "services/service_manager.h"

// Which services are asked for.
struct sswseServiceQuestion
{
    const char* nodename;
    const char* username;            // those that start under this account; NULL: under any
    bool isOfHome = false;           // only those whose binary path lies in the home
    const char* khomepath = nullptr; // which has been checked; NULL: the library's own
};

// A start name that a walk has met, and whether its account is the one that is asked for.
struct sswseStartAccount
{
    bool isWanted;
    wchar_t name[1]; // as long as it is
};

struct sswseServiceWalk
{
    owned::Heap<wchar_t> node;
    owned::Heap<void> account; // NULL: any
    owned::Heap<wchar_t> home; // NULL: anywhere
    owned::Blocks<sswseStartAccount> startAccounts;

    owned::ServiceHandle scm;
    owned::Heap<ENUM_SERVICE_STATUS_PROCESSW> piece; // of the manager's list
    DWORD count = 0;                                 // in the piece
    DWORD next = 0;                                  // in the piece
    DWORD resume = 0;                                // where the next piece begins
    bool isLast = false;                             // there is no next piece

    // The service found. Without data in `config` it may not be read, and the record says why.
    const wchar_t* name = nullptr;
    sswseServiceConfig config;
};

// Looks up home and account. 2, or 3 with the message of the look-up.
[[nodiscard]] DWORD sswsePrepareServiceWalk(const sswseCall& call, const sswseServiceQuestion& question,
                                            sswseServiceWalk& walk);

// Opens the node's manager. 2, or 3 with WSE-000011, WSE-00002.
[[nodiscard]] DWORD sswseOpenServiceWalk(const sswseCall& call, const char* nodename, sswseServiceWalk& walk);

// 1: the next service that is asked for, or one that may not be read, whatever it is. 0: there is none. 3: WSE-000060,
// or what the service's configuration or account could not be had with. A service that is gone by then is passed over,
// and so is one whose account does not exist, unless any account will do.
[[nodiscard]] DWORD sswseNextService(const sswseCall& call, sswseServiceWalk& walk);

// Whether that is the error of a service that is gone, or going.
bool sswseIsServiceGone(DWORD osError);
