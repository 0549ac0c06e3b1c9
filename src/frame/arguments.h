// Checks of arguments that several exported functions share: 2, or 4 with WSE-000012 naming the parameter.
#pragma once

#include "frame/record.h"

// A list of texts and its count: the count is not negative, and that many entries are there.
DWORD sswseCheckNameList(const sswseCall& call, char** list, int count, const char* name);

// What a list that is handed out holds from the start of the call, before any check.
void sswseEmptyOutputList(char*** list, int* count);

// The caller wants such a list and its count, or neither.
DWORD sswseCheckOutputList(const sswseCall& call, char*** list, const char* listName, int* count,
                           const char* countName);
