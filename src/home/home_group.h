// Names of the local groups that belong to one home.
#pragma once

#include "frame/format.h"

inline constexpr char sswseHomeGroupPrefix[] = "KES_";

// Of the machine, whatever its homes.
inline constexpr char sswseDatabaseAdministrators[] = "KES_DBA";

inline constexpr char sswseServiceAccountsSuffix[] = "_SVCACCTS";
inline constexpr char sswseServiceSidsSuffix[] = "_SVCSIDS";
inline constexpr char sswseDatabaseAdministratorsSuffix[] = "_DBA";

// The prefix + home name + suffix such as "_DBA", cut to 511 characters.
inline void sswseHomeGroup(char (&group)[512], const char* homename, const char* suffix)
{
    sswseFormatText(group, "%s%s%s", sswseHomeGroupPrefix, homename, suffix);
}
