// The service user recorded for a home.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

// What KESTEL_SVCUSER_TYPE holds for a virtual account; compared without regard to case.
inline constexpr char sswseVirtualAccountType[] = "V";

// The SID of an account, looked up on this machine. 2, or 3 with the look-up's message.
DWORD sswseSidOfServiceUser(const sswseCall& call, const char* user, owned::Heap<void>& sid);
