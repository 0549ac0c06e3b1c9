// The DACL of one object: reading and writing a file's or a registry key's.
#pragma once

#include "acl/ace_array.h"
#include "frame/record.h"

// The argument line of routines that take a wide path. The path is converted when the line is written: only while
// tracing is on.
struct sswsePathArgs
{
    const wchar_t* path;
    uint32_t operator()(char* buffer, size_t capacity) const;
};

// The entries of a DACL as they were read; the list points into the descriptor.
struct sswseExistingDacl
{
    owned::Heap<void> descriptor;
    owned::Local<void> platformDescriptor; // instead, where the platform makes the block
    sswseAceList aces;                     // empty without a DACL, with a NULL DACL and with an empty one
    bool hasList = false;                  // there is a DACL, and it is not a NULL one
    bool read = false;                     // false: the object is to be left alone, whatever the status
    DWORD osError = ERROR_SUCCESS;         // of an object whose security cannot be read or is broken; else none
};

// Reads the DACL of a file or directory. 2; 3 with WSE-00002, WSE-000053. An object without access that is to be
// skipped gives 2 with WSE-000053 and stays unread. A DACL that does not lie inside the descriptor, or an entry outside
// the DACL, is refused as a failure of GetAclInformation (ERROR_INVALID_ACL); unknown types and SIDs that do not fit
// are no reason to refuse here (the platform may, when they are written back).
[[nodiscard]] DWORD sswseReadDacl(const sswseCall& call, const wchar_t* path, bool failOnAccessDenied,
                                  sswseExistingDacl& existing);

// The same for a registry key, by its name or as it is open: 2; 3 with WSE-000066, WSE-00002, WSE-000053.
[[nodiscard]] DWORD sswseReadNamedKeyDacl(const sswseCall& call, const wchar_t* path, sswseExistingDacl& existing);
[[nodiscard]] DWORD sswseReadOpenKeyDacl(const sswseCall& call, HKEY key, sswseExistingDacl& existing);

// Writes exactly `finalAces` as the DACL of the object; none give an empty DACL. With `useNamedInfo` the object is a
// registry key named the way the security functions name it, and its DACL is protected unless `inheritFromParent`,
// which leaves the key as protected as it was and, where it is not, inherited entries behind the new ones; otherwise it
// is a file or directory. 2; 3 with WSE-00002, WSE-000053, WSE-000067; 4 "pAceNew" for a NULL array. A file without
// access gives 2, with its WSE-000053, unless `failOnAccessDenied`.
[[nodiscard]] DWORD sswseSetFileSecurity(sswseErrRec* err, const sswseAce* const* finalAces, DWORD finalCount,
                                         const wchar_t* path, bool useNamedInfo, bool inheritFromParent,
                                         bool failOnAccessDenied);

// Writes exactly these entries to a file or directory that has been read, whose DACL stays as protected and as
// inheriting as it was. 2; 3 with WSE-00002, WSE-000053; `osError` receives the system's error when SetFileSecurityW
// fails.
[[nodiscard]] DWORD sswseRewriteDacl(const sswseCall& call, const wchar_t* path, const sswseAce* const* aces,
                                     DWORD count, const sswseExistingDacl& existing, DWORD* osError);
