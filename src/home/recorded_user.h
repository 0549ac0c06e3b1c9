// The service user recorded for a home.
#pragma once

// What KESTEL_SVCUSER_TYPE holds for a virtual account; compared without regard to case.
inline constexpr char sswseVirtualAccountType[] = "V";
