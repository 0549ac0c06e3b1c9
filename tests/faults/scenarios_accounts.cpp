// Names and SIDs, users, credentials, managed accounts, rights, local groups.
#include "tests/faults/driver.h"

namespace faults {

namespace {

constexpr char managed[] = "CORP\\gmsa$";

void withPasswordPolicy(Stage& s)
{
    s.local().minimumPasswordLength = 30;
}

void withRights(Stage& s)
{
    for (const wchar_t* const right : {L"SeServiceLogonRight", L"SeCreateSymbolicLinkPrivilege"})
        for (whatif::Node* const node : {&s.local(), &s.remote()})
            node->rights[right] = {L"S-1-5-21-1-2-3-2001"}; // svc
}

} // namespace

std::vector<Scenario> accountScenarios()
{
    return {
        {CALL(sswseConvertUnameToSID, "svc", s.sidOut()), "a user", 2},
        {CALL(sswseConvertSIDToUname, s.sid(L"S-1-5-32-544"), BUFFER(25)), "a group", 2},
        {CALL(sswseGetOwnerSIDForCurrentProcess, s.sidOut()), "this process", 2},
        {CALL(sswseGetBuiltinAccName, "LOCAL_SERVICE", BUFFER(29)), "a keyword", 2},
        {CALL(sswseGetBuiltinAccName, "svc", BUFFER(28)), "no keyword", 3},
        {CALL(sswseIsNameBuiltinAcc, "NT AUTHORITY\\NETWORK SERVICE", s.value<DWORD>()), "the third one", 1},
        {CALL(sswseIsNameBuiltinAcc, "svc", s.value<DWORD>()), "none", 3},
        {CALL(sswseCheckValidUser, "CORP\\svc", password), "a domain user", 2},
        {CALL(sswseCreateKestelSVCUser, "newsvc", password), "a new user", 2},
        {CALL(sswseDeleteKestelSVCUser, "svc"), "a user", 2},
        {CALL(sswseIsPasswordValid, password), "good", 1},
        {CALL(sswseIsPasswordValid, password), "too short", 0, withPasswordPolicy},
        {CALL(sswseIsAdministrator, "svc"), "yes", 1},
        {CALL(sswseIsAdministrator, "CORP\\svc"), "no", 0},
        {CALL(sswseIsManagedSVCAccount, managed, nullptr), "yes", 1},
        {CALL(sswseIsGroupManagedSVCAccount, managed, nullptr), "yes", 1},
        {CALL(sswseIsUserDomainUser, "CORP\\svc"), "yes", 1},
        {CALL(sswseCheckUserExists, "svc"), "yes", 1},
        {CALL(sswseGrantPrivilegesToUser, "svc", nullptr, "1"), "on this machine", 2},
        {CALL(sswseGrantPrivilegesToUser, "svc", "DB2", "1"), "on a node", 2},
        {CALL(sswseRevokePrivilegesFromUser, "svc", "DB2", "1"), "on a node", 2, withRights},
        {CALL(sswseCheckUserPrivileges, "CORP\\svc", "1", s.strings(), s.count<int>()), "missing", 0},
        {CALL(sswseCheckUserPrivileges, "svc", "1", s.strings(), s.count<int>()), "held", 1, withRights},
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
