// Applying new entries to a directory and everything below it.
#pragma once

#include "acl/file_acl.h"

// The directory itself, then its children in listing order but for the excluded ones, each as sswseUpdateAclOnFile
// does; writing a DACL does not propagate to children by itself, this walk does. Links are followed like directories,
// without a depth limit: one that leads back up ends where the path no longer fits (257 characters to list) or the
// platform refuses it (259 characters, unless the process has long paths enabled), which fails. `failOnAccessDenied`
// holds for the directory; children without access are skipped. The first other failure of a child ends the listing it
// is in: that of a directory is the walk's status, that of a file is not - its directory counts as done. Whenever the
// walk returns 2, the record holds the last message that was reported on the way.
[[nodiscard]] DWORD sswseUpdateAclOnTree(sswseErrRec* err, const wchar_t* path, const sswseAclUpdate& update,
                                         bool failOnAccessDenied);
