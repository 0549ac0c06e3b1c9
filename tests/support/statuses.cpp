#include "tests/support/statuses.h"

namespace support {

std::string statusesOf(const cli::Function& function)
{
    static const struct
    {
        const char* functions; // between blanks
        const char* statuses;
    } special[] = {
        {" sswseIsOSVistaOrAbove sswseIsOSWin7OrAbove sswseIsOSWin8OrAbove sswseIsOSWinDC sswseCheckAccessMask ",
         "013"},
        {" sswseIsKhomeTypeValid ", "014"},
        {" sswseGetPredefKey ", "24"},
        {" sswseCreateKestelSVCUser ", "2349"},
        {" sswseCheckUserPrivileges ", "01345"},
        {" sswseGetKestelHomeType sswseGetKestelHomeTypeForKHPath sswseGetKestelHomeName sswseSetUnameForKhome "
         "sswseGetUnameForKhomePath sswseAddFullPermForSVCSIDSGroup sswseDeleteSVCSidsFromKESHomeGroups "
         "sswseMigrateDBServiceSidsForUpgrade sswseMigrateDBServiceSidsForDowngrade ",
         "2346"},
        {" sswseIsSVCUserMSA sswseIsSVCUserPasswordRequired sswseIsSvcUserVirtualAccount ", "01346"},
        {" sswseSetKestelHomeType sswseCreateService sswseUpdateService ", "23456"},
    };
    for (const auto& row : special)
        if (std::string(row.functions).find(" " + std::string(function.name) + " ") != std::string::npos)
            return row.statuses;
    switch (function.result) {
    case cli::Result::status:
        return "234";
    case cli::Result::predicate:
        return "0134";
    case cli::Result::silentNo:
        return "134";
    case cli::Result::switching:
        return "01";
    case cli::Result::legacy:
        return "01234";
    default:
        return "";
    }
}

} // namespace support
