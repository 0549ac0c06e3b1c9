// The cluster file system, "VLFS": its own names and its mount points.
#pragma once

#include "keswsec.h"

// A name that the file system keeps for itself, in any case.
bool sswseIsReservedName(const wchar_t* name);

// Is the last component of the path, behind the last backslash, such a name?
bool sswseIsReservedPath(const wchar_t* path);

// The walks of directories: what a search pattern and a child's path have room for. Any name fits behind the path of a
// directory whose pattern fits.
inline constexpr size_t sswsePatternSize = 260;
inline constexpr size_t sswseChildPathSize = 520;

// Does a listing of what is in a directory leave this entry out? Reserved names, the directory itself, the one above.
bool sswseIsPassedOver(const wchar_t* name);

inline constexpr DWORD sswseVolumePathSize = 150;

// Is `path` a mount point on a volume of this file system? Then `isMountPoint` becomes true and `volumePath` the
// volume's path. A volume that cannot be asked for its file system is not one. 2, or 3 with WSE-00002, WSE-00006,
// WSE-000012, or a message of one blank when the volume's path cannot be had.
[[nodiscard]] DWORD sswseCheckIfVlfsAndMountPoint(sswseErrRec* err, const char* path,
                                                  char (&volumePath)[sswseVolumePathSize], bool* isMountPoint);
