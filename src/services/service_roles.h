// Gives a service what its row of the role table says: group memberships and rights, for the service's SID where there
// is one, else for its account `svcuser`. `index` is the service's row, sswseNoRole without one. Nothing is undone when
// a later step fails. A missing argument gives 3 with WSE-000012, not 4: deliberate.
#pragma once

#include "keswsec.h"

// The row's groups. The member is the service's SID when `sidtypeUR` is 1. A domain controller's groups are left alone,
// and so is a LocalService or NetworkService account outside home type "0". 2 or 3.
[[nodiscard]] DWORD sswseAddSvcToGroups(sswseErrRec* err, const char* svcname, const char* khtype, int index,
                                        const char* svcuser, const char* nodename, DWORD sidtypeUR);

// The row's rights. 2 or 3.
[[nodiscard]] DWORD sswseGrantPrivsToSvc(sswseErrRec* err, const char* svcname, const char* khtype, int index,
                                         const char* svcuser, const char* nodename);

// The home's group of service accounts, then the row's virtual-account groups. 2 or 3; WSE-00008 for a home type
// without roles.
[[nodiscard]] DWORD sswseAddSvcToVAGroups(sswseErrRec* err, const char* svcname, const char* khtype,
                                          const char* svcuser, int index, const char* nodename);

// The home's group of service SIDs, in home type "2" only. 2 or 3.
[[nodiscard]] DWORD sswseAddSvcToSVCSIDSGrp(sswseErrRec* err, const char* svcname, const char* khtype,
                                            const char* svcuser, const char* nodename);
