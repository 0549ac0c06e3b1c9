// Applying new entries to a directory and everything below it.
#pragma once

#include "acl/ace_list.h"

// The directory itself, then its children in listing order, each as sswseUpdateAclOnFile does; writing a DACL does not
// propagate to children by itself, this walk does. Links are followed like directories, without a depth limit: one that
// leads back up ends where the path no longer fits (257 characters to list, 519 for a child).
// `failOnAccessDenied` holds for the directory; children without access are skipped. The first other failure stops the
// walk: that of a directory is the status, that of a file is not - the walk returns 2 then, with the file's message in
// the record. When it returns 2 and nothing later was reported, the record holds the message of the last skipped child.
DWORD sswseUpdateAclOnTree(sswseErrRec* err, const wchar_t* path, const sswseAce* const* newAces, DWORD newCount,
                           bool keepExisting, bool failOnAccessDenied);
