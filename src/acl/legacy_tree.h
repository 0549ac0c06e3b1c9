// The legacy permission setting of a directory tree.
#pragma once

#include "acl/legacy_entries.h"
#include "acl/legacy_fail_list.h"

// The directory and everything below it, links followed: a link that leads back up ends where the platform takes no
// longer path (259 characters, unless the path begins with "\\?\" or the process has long paths enabled). Statuses as
// for one object; objects that fail never stop the walk.
[[nodiscard]] DWORD sswseUpdateLegacyTree(const wchar_t* directory, const sswseLegacyEntries& entries,
                                          sswseFailList& failed);

// The name under which it traces each directory.
inline constexpr char sswseLegacyTreeRoutine[] = "updateAclOnDirectory";
