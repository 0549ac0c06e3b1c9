// Local groups and their members on a node: what is made and unmade, what is there already, what is refused, and who
// belongs to a group, directly or through a group of its domain, by whatever name.
#include "tests/support/node_test.h"

#include <lm.h>

using namespace support;

namespace {

std::string asked(const std::string& user, const std::string& group, const std::string& rest = "")
{
    return "CheckUserInGroup username=\"" + user + "\" groupname=" + group + rest;
}

} // namespace

TEST_F(NodeTest, GroupsAreMadeAndFilledOnce)
{
    local.services.emplace_back().name = L"Service1";
    remote.services.emplace_back().name = L"Service1";
    const std::string dba = "NODE: group KES_DBA: ", made = "NODE: group KES_NEW: ";
    expectTwiceOnEachNode({
        {"DeleteOSGroup groupname=KES_DBA", "2"},
        {"RemoveUserFromGroup username=svc groupname=KES_DBA", "2"},
        {"CreateOSGroup groupname=KES_DBA groupdesc=DBAs", "2", {dba + "created: DBAs"}},
        {"CreateOSGroup groupname=kes_dba groupdesc=others", "2"},
        {"AddUserToGroup username=svc groupname=KES_DBA", "2", {dba + "member added: NODE\\svc"}},
        {R"(AddUserToGroup username=NODE\SVC groupname=Kes_Dba)", "2"},
        {R"(AddUserToGroup username=CORP\Operators groupname=KES_DBA)", "2", {dba + "member added: CORP\\Operators"}},
        {R"(AddUserToGroup username="NT SERVICE\Service1" groupname=KES_DBA)",
         "2",
         {dba + "member added: NT SERVICE\\Service1"}},
        {R"(RemoveUserFromGroup username=NODE\SVC groupname=KES_DBA)", "2", {dba + "member removed: NODE\\svc"}},
        {"RemoveUserFromGroup username=nobody groupname=KES_DBA", "2"},
        {"AddUserToGroup username=svc groupname=KES_NEW",
         "2",
         {made + "created: KESTEL Group", made + "member added: NODE\\svc"}},
        {"DeleteOSGroup groupname=KES_NEW", "2", {made + "deleted"}},
        {"CheckOSGroup groupname=KES_dba", "1"},
        {"CheckOSGroup groupname=KES_NEW", "0"},
        {"DeleteOSGroup groupname=KES_DBA", "2", {dba + "deleted"}},
    });
    // as older releases say that it is there
    expect({{"CreateOSGroup groupname=KES_NEW", "2", {}, failing("NetLocalGroupAdd", NERR_GroupExists)}});
}

TEST_F(NodeTest, MembershipIsDecidedBySidDirectlyOrThroughNesting)
{
    addGroup(local, L"KES_DBA", {svc, L"S-1-5-20"});
    addGroup(local, L"KES_NESTED", {operators, L"S-1-5-80-1-2-3-4-5"}); // one of them of a deleted service
    addGroup(remote, L"KES_REMOTE", {remoteSvc, dbuser});
    // The answers are those for directflg 0 and 1.
    const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
        {"svc", "KES_DBA", "1", "1"},
        {"node\\SVC", "kes_dba", "1", "1"},
        {"svc", "KES_NESTED", "0", "0"},
        {"CORP\\dbuser", "KES_NESTED", "1", "0"},
        {"corp.example\\dbuser", "KES_NESTED", "1", "0"},
        {"dbuser@corp.example", "KES_NESTED", "0", "0"}, // a spelling in which the user's groups cannot be asked
        {"CORP\\Operators", "KES_NESTED", "1", "1"},
        {"CORP\\Operators", "KES_DBA", "0", "0"}, // no user whose groups could be asked
        {"NT AUTHORITY\\NETWORK SERVICE", "KES_DBA", "1", "1"},
        {"NT AUTHORITY\\SYSTEM", "KES_DBA", "0", "0"},
        {"Administrator", "Administrators", "1", "1"},
        {"svc", "KES_REMOTE nodename=DB2", "1", "1"},
        {"CORP\\dbuser", "KES_REMOTE nodename=\\\\db2", "1", "1"},
        {"LocalService", "KES_REMOTE nodename=DB2", "0", "0"},
    };
    for (const auto& [user, group, nested, direct] : rows)
        expect({{asked(user, group), nested},
                {asked(user, group, " directflg=1"), direct},
                {asked(user, group, " directflg=0x80000000"), direct}});
    constexpr char badName[] = "4 WSE-000012: Null or invalid username parameter."; // of a group too
    constexpr char unreadable[] = "NetLocalGroupGetMembers";
    expect({
        {asked("svc", "KES_NONE"), "3 WSE-000014 1332"},
        {asked("svc", "KES_REMOTE"), "3 WSE-000014 1332"},
        {asked("svc", "KES_DBA nodename=DB2"), "3 WSE-000014 1332"},
        {asked("NODE\\svc", "KES_REMOTE nodename=DB2"), "3 WSE-000014 1332"},
        // A name that is found, but not as the plain name of a local group.
        {asked("svc", "NODE\\KES_DBA"), "3 WSE-000015 1376"},
        {asked("CORP\\dbuser", "CORP\\Operators"), "3 WSE-000015 1376"},
        {asked("DOM\\sub\\user", "g"), badName},
        {asked("u", "\\\\g"), badName},
        // What cannot be read does not hide what can: not even nested; gone, as older releases say; a direct member.
        {asked("CORP\\dbuser", "KES_NESTED", " directflg=1"), "0", {}, failing(unreadable, ERROR_ACCESS_DENIED)},
        {asked("svc", "KES_DBA"), "1", {}, failing(unreadable, NERR_GroupNotFound)},
        {asked("svc", "KES_DBA"), "1", {}, failing("NetUserGetLocalGroups", ERROR_ACCESS_DENIED)},
    });
}
