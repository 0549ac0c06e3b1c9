// Names of accounts as the functions take them that look after what exists already: besides what the platform looks up,
// SIDs in string form, the spellings of the service control manager for the built-in accounts, and ".\name".
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

// What a service of no start name runs as.
inline constexpr wchar_t sswseLocalSystem[] = L"LocalSystem";

// The SID of an account, which is not NULL, on `machine` (NULL: local). "S-1-..." is a SID in string form; LocalSystem,
// alone or behind ".\" or the machine's name, and SYSTEM, LocalService and NetworkService of NT AUTHORITY are told
// without a look-up, all in any case; ".\name" is one of the machine's account domain; any other name is looked up as
// it is. 2, or 3 with WSE-000014, WSE-000019, WSE-000025, WSE-000037, WSE-000038, WSE-00002 or WSE-00006.
[[nodiscard]] DWORD sswseSidOfPrincipal(const sswseCall& call, const char* username, const wchar_t* machine,
                                        owned::Heap<void>& sid);

// The same for a wide name; `lookupError`, unless NULL, receives the system's error of a look-up that failed,
// ERROR_NONE_MAPPED also for a "S-1-..." that is no SID, 0 for any other failure.
[[nodiscard]] DWORD sswseSidOfPrincipal(const sswseCall& call, const wchar_t* username, const wchar_t* machine,
                                        owned::Heap<void>& sid, DWORD* lookupError = nullptr);
