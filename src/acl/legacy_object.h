// The legacy permission setting of one object: its DACL is replaced by the new entries, limited by the old DACL.
#pragma once

#include "acl/legacy_entries.h"
#include "acl/legacy_fail_list.h"

// A file or a directory without what is below it. SSWSE_LEGACY_DONE, SSWSE_LEGACY_NO_MEMORY, or
// SSWSE_LEGACY_INCOMPLETE with the object in the fail list.
[[nodiscard]] DWORD sswseUpdateLegacyObject(const wchar_t* path, const sswseLegacyEntries& entries,
                                            sswseFailList& failed);

// The name under which it traces itself.
inline constexpr char sswseLegacyObjectRoutine[] = "updateAclOnFile";
