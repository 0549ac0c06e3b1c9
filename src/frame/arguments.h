// Checks of arguments that several exported functions share: 2, or 4 with WSE-000012 naming the parameter.
#pragma once

#include "frame/record.h"

// A list of texts and its count: the count is not negative, and that many entries are there.
[[nodiscard]] DWORD sswseCheckNameList(const sswseCall& call, char** list, int count, const char* name);
