// Which Windows release this is, read once and cached for the life of the process.
#pragma once

#include "keswsec.h"

// Fills the cache. 2, or 3 with WSE-000045.
[[nodiscard]] DWORD sswseGetOSVer(sswseErrRec* err);

// 1 on a domain controller of version 6 or later, 0 elsewhere, 3 with WSE-000045. Only the product type is looked at,
// not the role of primary domain controller.
[[nodiscard]] DWORD sswseIsOSWinPDC(sswseErrRec* err);
