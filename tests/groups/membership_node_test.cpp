// Does a user belong to a group? Directly, through a group of its domain, by whatever name.
#include "tests/support/node_test.h"

#include <lm.h>

namespace {

using support::failing;

class Membership : public support::NodeTest
{
protected:
    Membership()
    {
        addGroup(local, L"KES_DBA", {svc, L"S-1-5-20"});
        addGroup(local, L"KES_NESTED", {operators, L"S-1-5-80-1-2-3-4-5"}); // one of them of a deleted service
        addGroup(remote, L"KES_REMOTE", {remoteSvc, dbuser});
    }

    support::Call isMember(const char* user, const char* group, DWORD directly, const char* node = nullptr) const
    {
        return support::calling(EXPORT(sswseCheckUserInGroup), user, group, directly, node);
    }
};

constexpr char notFound[] = "WSE-000014: Lookup for Windows account name failed.";
constexpr char noGroups[] = "WSE-000015: Unable to get list of groups to which the user belongs.";

} // namespace

TEST_F(Membership, IsDecidedBySidDirectlyOrThroughNesting)
{
    const struct
    {
        const char* user;
        const char* group;
        DWORD nested; // the answers for directflg 0 and 1
        DWORD direct;
        const char* node = nullptr;
    } rows[] = {
        {"svc", "KES_DBA", 1, 1},
        {"node\\SVC", "kes_dba", 1, 1},
        {"svc", "KES_NESTED", 0, 0},
        {"CORP\\dbuser", "KES_NESTED", 1, 0},
        {"dbuser@corp.example", "KES_NESTED", 1, 0},
        {"CORP\\dbuser", "KES_DBA", 0, 0},
        {"CORP\\Operators", "KES_NESTED", 1, 1},
        {"CORP\\Operators", "KES_DBA", 0, 0}, // no user whose groups could be asked
        {"NT AUTHORITY\\NETWORK SERVICE", "KES_DBA", 1, 1},
        {"NetworkService", "KES_DBA", 1, 1},
        {"NT AUTHORITY\\SYSTEM", "KES_DBA", 0, 0},
        {"Administrator", "Administrators", 1, 1},
        {"svc", "KES_REMOTE", 1, 1, "DB2"},
        {"svc", "Administrators", 0, 0, "DB2"},
        {"CORP\\dbuser", "KES_REMOTE", 1, 1, "\\\\db2"},
        {"LocalService", "KES_REMOTE", 0, 0, "DB2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.group);
        expectNodeCases({{row.user, isMember(row.user, row.group, 0, row.node), row.nested},
                         {row.user, isMember(row.user, row.group, 1, row.node), row.direct},
                         {row.user, isMember(row.user, row.group, 0x80000000, row.node), row.direct}});
    }
}

TEST_F(Membership, NamesAreLookedUpOnTheNode)
{
    expectNodeCases({
        {"unknown group", isMember("svc", "KES_NONE", 0), 3, notFound, ERROR_NONE_MAPPED},
        {"unknown user", isMember("nobody", "KES_DBA", 0), 3, notFound, ERROR_NONE_MAPPED},
        {"group of the other node", isMember("svc", "KES_REMOTE", 0), 3, notFound, ERROR_NONE_MAPPED},
        {"the other way round", isMember("svc", "KES_DBA", 0, "DB2"), 3, notFound, ERROR_NONE_MAPPED},
        {"user of the other node", isMember("NODE\\svc", "KES_REMOTE", 0, "DB2"), 3, notFound, ERROR_NONE_MAPPED},
        {"no such node", isMember("svc", "KES_DBA", 0, "nowhere"), 3, notFound, RPC_S_SERVER_UNAVAILABLE},
        // A name that is found, but not as the plain name of a local group.
        {"qualified group", isMember("svc", "NODE\\KES_DBA", 0), 3, noGroups, ERROR_NO_SUCH_ALIAS},
        {"qualified built-in group", isMember("Administrator", "BUILTIN\\Administrators", 1), 3, noGroups,
         ERROR_NO_SUCH_ALIAS},
        {"group of a domain", isMember("CORP\\dbuser", "CORP\\Operators", 0), 3, noGroups, ERROR_NO_SUCH_ALIAS},
    });
    support::expectRefused("username", {isMember(nullptr, "g", 0), isMember("DOM\\sub\\user", "g", 0),
                                        isMember("u", nullptr, 0), isMember("u", "\\\\g", 0)}); // a group too
}

TEST_F(Membership, WhatCannotBeReadDoesNotHideWhatCan)
{
    constexpr DWORD denied = ERROR_ACCESS_DENIED;
    const intercept::Fault noMembers = failing("NetLocalGroupGetMembers", denied);
    const intercept::Fault noUserGroups = failing("NetUserGetLocalGroups", denied);
    expectNodeCases({
        {"no members: the user's groups tell", isMember("svc", "KES_DBA", 1), 1, "", 0, noMembers},
        {"no members: nested", isMember("CORP\\dbuser", "KES_NESTED", 0), 1, "", 0, noMembers},
        {"no members: not even nested", isMember("CORP\\dbuser", "KES_NESTED", 1), 0, "", 0, noMembers},
        {"no members: built-in", isMember("NT AUTHORITY\\NETWORK SERVICE", "KES_DBA", 0), 1, "", 0, noMembers},
        {"group gone, as older releases say", isMember("svc", "KES_DBA", 0), 1, "", 0,
         failing("NetLocalGroupGetMembers", NERR_GroupNotFound)},
        {"group gone, as current ones say", isMember("svc", "KES_DBA", 0), 3, noGroups, ERROR_NO_SUCH_ALIAS,
         failing("NetLocalGroupGetMembers", ERROR_NO_SUCH_ALIAS)},
        {"no user's groups: a direct member", isMember("svc", "KES_DBA", 0), 1, "", 0, noUserGroups},
        {"no user's groups", isMember("CORP\\dbuser", "KES_NESTED", 0), 3, noGroups, denied, noUserGroups},
        {"a built-in account's are not asked", isMember("SYSTEM", "KES_DBA", 0), 0, "", 0, noUserGroups},
        {"not a user", isMember("svc", "KES_NESTED", 0), 0, "", 0, failing("NetUserGetLocalGroups", NERR_UserNotFound)},
    });
}
