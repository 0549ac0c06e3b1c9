// Explicit entries merged into an access-control list.
#pragma once

#include <windows.h>

#include <accctrl.h>

#include <vector>

namespace whatif {

// SetEntriesInAcl without names. What neither grants, denies nor revokes, or is for another trustee than a SID, is left
// to the platform.
DWORD mergeEntries(std::vector<EXPLICIT_ACCESS_A> entries, PACL before, PACL* after);

} // namespace whatif
