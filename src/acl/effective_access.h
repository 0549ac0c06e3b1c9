// What users may do with objects, as the platform's authorization interface judges it: their groups count, and so do
// entries that deny.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

// One resource manager, and a context for each user.
struct sswseAuthorization
{
    owned::AuthzManager manager;
    owned::Heap<AUTHZ_CLIENT_CONTEXT_HANDLE> contexts;
    DWORD count = 0;

    sswseAuthorization() = default;
    sswseAuthorization(const sswseAuthorization&) = delete;
    sswseAuthorization& operator=(const sswseAuthorization&) = delete;
    ~sswseAuthorization()
    {
        while (count > 0)
            AuthzFreeContext(contexts.get()[--count]);
    }
};

// The contexts of these accounts, in their order. 4 with WSE-000063 "Not a user account" for a group, as `machine`
// (NULL: this one) knows the SID; 2; 3 with WSE-000034, WSE-000014, WSE-000053, WSE-00002. Users get the groups that
// the interface finds. It finds none for the account of a service's SID, LocalSystem, LocalService and NetworkService:
// they get those that their tokens have, and the local groups of this machine that list any of these.
[[nodiscard]] DWORD sswseAuthorize(const sswseCall& call, const wchar_t* machine, void* const* sids, DWORD count,
                                   sswseAuthorization& authorization);

// Everything that the account of a context is granted by this security. 2, or 3 with WSE-000053 "AuthzAccessCheck";
// `osError` receives the system's error when it is the security that cannot be judged, as one without an owner.
[[nodiscard]] DWORD sswseGrantedAccess(const sswseCall& call, AUTHZ_CLIENT_CONTEXT_HANDLE context,
                                       PSECURITY_DESCRIPTOR security, DWORD* granted, DWORD* osError);
