// Mount points of the cluster file system, "VLFS".
#pragma once

#include "keswsec.h"

inline constexpr DWORD sswseVolumePathSize = 150;

// Is `path` a mount point on such a volume? Then `isMountPoint` becomes true and `volumePath` the volume's path. A
// volume that cannot be asked for its file system is not one. 2, or 3 with WSE-00002, WSE-00006, WSE-000012, or a
// message of one blank when the volume's path cannot be had.
DWORD sswseCheckIfVlfsAndMountPoint(sswseErrRec* err, const char* path, char (&volumePath)[sswseVolumePathSize],
                                    bool* isMountPoint);
