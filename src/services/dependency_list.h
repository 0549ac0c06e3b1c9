// The list of names of services that a service depends on.
#pragma once

#include "frame/text.h"

// Converts names that each end in NUL, the list ending in an empty one. NULL stays NULL. 2; 3 with WSE-00006 for a
// character that has no wide form, or WSE-00002; 4 with WSE-000012 "Dependencies" when 5120 wide characters,
// terminators included, do not reach the end. Nothing behind them is read.
[[nodiscard]] DWORD sswseDependenciesToWide(const sswseCall& call, const char* dependencies,
                                            owned::Heap<wchar_t>& wide);
