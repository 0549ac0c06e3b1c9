// The three built-in service accounts, known by keyword and by SID whatever language the system speaks.
#pragma once

#include "keswsec.h"

struct sswseBuiltinAccount
{
    const char* keyword;
    const char* sid;
    DWORD kind; // SSWSE_BUILTIN_...
};

// The account of a keyword, compared without regard to case; NULL when it is none. `keyword` is not NULL.
const sswseBuiltinAccount* sswseFindBuiltinKeyword(const char* keyword);
