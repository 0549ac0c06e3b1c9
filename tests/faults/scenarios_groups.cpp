// Local groups and their members.
#include "tests/faults/driver.h"

namespace faults {

std::vector<Scenario> groupScenarios()
{
    return {
        {CALL(sswseCreateOSGroup, "KES_NEW", "comment", nullptr), "on this machine", 2},
        {CALL(sswseCreateOSGroup, "KES_NEW", nullptr, "DB2"), "on a node", 2},
        {CALL(sswseCheckOSGroup, "KES_DBA", "DB2"), "yes", 1},
        {CALL(sswseDeleteOSGroup, "KES_DBA", "DB2"), "on a node", 2},
        {CALL(sswseAddUserToGroup, "nobody", "KES_DBA", nullptr), "a group", 2},
        {CALL(sswseAddUserToGroup, "nobody", "KES_NEW", "DB2"), "a new group on a node", 2},
        {CALL(sswseRemoveUserFromGroup, "svc", "KES_DBA", "DB2"), "on a node", 2},
        {CALL(sswseCheckUserInGroup, "svc", "KES_DBA", 1, "DB2"), "a direct member", 1},
        {CALL(sswseCheckUserInGroup, "CORP\\svc", "KES_h1_DBA", 0, nullptr), "through another group", 1},
        {CALL(sswseCheckUserInGroup, "NT AUTHORITY\\SYSTEM", "KES_DBA", 0, nullptr), "a built-in account", 0},
    };
}

} // namespace faults
