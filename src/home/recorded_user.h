// The service user recorded for a home.
#pragma once

#include "home/home_registry.h"

// The values below the home's key.
inline constexpr sswseValueName sswseUserValue = {L"KESTEL_SVCUSER", "KESTEL_SVCUSER"};
inline constexpr sswseValueName sswseUserTypeValue = {L"KESTEL_SVCUSER_TYPE", "KESTEL_SVCUSER_TYPE"};
inline constexpr char sswsePasswordRequiredValue[] = "KESTEL_SVCUSER_PWDREQ";

// What the type holds for a virtual account; compared without regard to case.
inline constexpr char sswseVirtualAccountType[] = "V";
