// Local groups and their members on a node: what is made and unmade, what is there already, what is refused, and who
// belongs to a group, directly or through a group of its domain, by whatever name.
#include "tests/support/node_test.h"

#include <lm.h>

using namespace support;

namespace {

class LocalGroups : public NodeTest
{
protected:
    Call check(const char* group) const { return calling(EXPORT(sswseCheckOSGroup), group, node); }
    Call remove(const char* group) const { return calling(EXPORT(sswseDeleteOSGroup), group, node); }
    Call create(const char* group, const char* comment = nullptr) const
    {
        return calling(EXPORT(sswseCreateOSGroup), group, comment, node);
    }
    Call addMember(const char* user, const char* group) const
    {
        return calling(EXPORT(sswseAddUserToGroup), user, group, node);
    }
    Call removeMember(const char* user, const char* group) const
    {
        return calling(EXPORT(sswseRemoveUserFromGroup), user, group, node);
    }
    const char* node = nullptr; // that calls are made about
};

class Membership : public NodeTest
{
protected:
    Membership()
    {
        addGroup(local, L"KES_DBA", {svc, L"S-1-5-20"});
        addGroup(local, L"KES_NESTED", {operators, L"S-1-5-80-1-2-3-4-5"}); // one of them of a deleted service
        addGroup(remote, L"KES_REMOTE", {remoteSvc, dbuser});
    }

    Call isMember(const char* user, const char* group, DWORD directly, const char* node = nullptr) const
    {
        return calling(EXPORT(sswseCheckUserInGroup), user, group, directly, node);
    }
};

constexpr char notFound[] = "WSE-000014";
constexpr char noGroups[] = "WSE-000015";

} // namespace

TEST_F(LocalGroups, AnythingDoneTwiceChangesNothingTheSecondTime)
{
    local.services.emplace_back().name = L"Service1";
    remote.services.emplace_back().name = L"Service1";
    for (const char* const each : {static_cast<const char*>(nullptr), "", "DB2", "\\\\db2"}) {
        node = each;
        const bool isLocal = !node || !*node;
        const std::string name = isLocal ? "NODE" : "DB2";
        SCOPED_TRACE(name);
        const std::string qualified = name + "\\SVC";
        const auto dba = [&](const std::string& change) { return Lines{name + ": group KES_DBA: " + change}; };
        const std::string made = name + ": group KES_NEW: ";
        const std::string member = "member added: ";
        const std::vector<NodeCase> rows = {
            {"delete a missing one", remove("KES_DBA"), 2},
            {"remove from a missing one", removeMember("svc", "KES_DBA"), 2},
            {"create", create("KES_DBA", "DBAs"), 2, dba("created: DBAs")},
            {"create with another comment", create("kes_dba", "others"), 2},
            {"add", addMember("svc", "KES_DBA"), 2, dba(member + name + "\\svc")},
            {"add by another name", addMember(qualified.c_str(), "Kes_Dba"), 2},
            {"add of the domain", addMember("CORP\\Operators", "KES_DBA"), 2, dba(member + "CORP\\Operators")},
            {"add a service", addMember("NT SERVICE\\Service1", "KES_DBA"), 2, dba(member + "NT SERVICE\\Service1")},
            {"remove", removeMember(qualified.c_str(), "KES_DBA"), 2, dba("member removed: " + name + "\\svc")},
            {"remove an unknown name", removeMember("nobody", "KES_DBA"), 2},
            {"add to a missing one", addMember("svc", "KES_NEW"), 2,
             Lines{made + "created: KESTEL Group", made + member + name + "\\svc"}},
            {"delete", remove("KES_NEW"), 2, Lines{made + "deleted"}},
        };
        for (const NodeCase& row : rows)
            expectNodeCases({row, {row.what, row.call, 2}});
        expectNodeCases({{"there", check("KES_dba"), 1},
                         {"gone", check("KES_NEW"), 0},
                         {"clean up", remove("KES_DBA"), 2, dba("deleted")}});
    }
}

TEST_F(LocalGroups, ExistAlsoAsOlderReleasesSay)
{
    expectNodeCases({{"create", create("KES_NEW"), 2, "", 0, failing("NetLocalGroupAdd", NERR_GroupExists)}});
}

TEST_F(Membership, IsDecidedBySidDirectlyOrThroughNesting)
{
    // The answers are those for directflg 0 and 1.
    const std::tuple<const char*, const char*, DWORD, DWORD, const char*> rows[] = {
        {"svc", "KES_DBA", 1, 1, nullptr},
        {"node\\SVC", "kes_dba", 1, 1, nullptr},
        {"svc", "KES_NESTED", 0, 0, nullptr},
        {"CORP\\dbuser", "KES_NESTED", 1, 0, nullptr},
        {"corp.example\\dbuser", "KES_NESTED", 1, 0, nullptr},
        {"dbuser@corp.example", "KES_NESTED", 0, 0, nullptr}, // a spelling in which the user's groups cannot be asked
        {"CORP\\Operators", "KES_NESTED", 1, 1, nullptr},
        {"CORP\\Operators", "KES_DBA", 0, 0, nullptr}, // no user whose groups could be asked
        {"NT AUTHORITY\\NETWORK SERVICE", "KES_DBA", 1, 1, nullptr},
        {"NT AUTHORITY\\SYSTEM", "KES_DBA", 0, 0, nullptr},
        {"Administrator", "Administrators", 1, 1, nullptr},
        {"svc", "KES_REMOTE", 1, 1, "DB2"},
        {"CORP\\dbuser", "KES_REMOTE", 1, 1, "\\\\db2"},
        {"LocalService", "KES_REMOTE", 0, 0, "DB2"},
    };
    for (const auto& [user, group, nested, direct, on] : rows) {
        SCOPED_TRACE(group);
        expectNodeCases({{user, isMember(user, group, 0, on), nested},
                         {user, isMember(user, group, 1, on), direct},
                         {user, isMember(user, group, 0x80000000, on), direct}});
    }
}

TEST_F(Membership, NamesAreLookedUpOnTheNode)
{
    expectNodeCases({
        {"unknown group", isMember("svc", "KES_NONE", 0), 3, notFound, ERROR_NONE_MAPPED},
        {"group of the other node", isMember("svc", "KES_REMOTE", 0), 3, notFound, ERROR_NONE_MAPPED},
        {"the other way round", isMember("svc", "KES_DBA", 0, "DB2"), 3, notFound, ERROR_NONE_MAPPED},
        {"user of the other node", isMember("NODE\\svc", "KES_REMOTE", 0, "DB2"), 3, notFound, ERROR_NONE_MAPPED},
        // A name that is found, but not as the plain name of a local group.
        {"qualified group", isMember("svc", "NODE\\KES_DBA", 0), 3, noGroups, ERROR_NO_SUCH_ALIAS},
        {"group of a domain", isMember("CORP\\dbuser", "CORP\\Operators", 0), 3, noGroups, ERROR_NO_SUCH_ALIAS},
    });
    expectRefused("username", {isMember("DOM\\sub\\user", "g", 0), isMember("u", "\\\\g", 0)}); // a group too
}

TEST_F(Membership, WhatCannotBeReadDoesNotHideWhatCan)
{
    expectNodeCases({
        {"no members: not even nested", isMember("CORP\\dbuser", "KES_NESTED", 1), 0, "", 0,
         failing("NetLocalGroupGetMembers", ERROR_ACCESS_DENIED)},
        {"group gone, as older releases say", isMember("svc", "KES_DBA", 0), 1, "", 0,
         failing("NetLocalGroupGetMembers", NERR_GroupNotFound)},
        {"no user's groups: a direct member", isMember("svc", "KES_DBA", 0), 1, "", 0,
         failing("NetUserGetLocalGroups", ERROR_ACCESS_DENIED)},
    });
}
