// A home's key and name from the environment, for when no file tells.
#pragma once

#include "frame/record.h"

// Copies the variable's value. 2 with its length, without the terminator, in `*outlen` (may be NULL); 3 with WSE-000052
// when the variable is not set or empty, with WSE-000033 naming `label` when the value does not fit.
[[nodiscard]] DWORD sswseHomeTextFromEnvironment(const sswseCall& call, const char* variable, const char* label,
                                                 char* text, size_t size, size_t* outlen);
