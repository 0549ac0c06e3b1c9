// Local groups and their members on a node: what is made and unmade, what is there already, what is refused.
#include "tests/support/node_test.h"

#include <lm.h>

#include <algorithm>

namespace {

using support::Call;
using support::calling;
using support::failing;
using support::Lines;

class LocalGroups : public support::NodeTest
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
        const size_t groupsOfOther = (isLocal ? remote : local).groups.size();
        const std::string dba = name + ": group KES_DBA: ";
        const std::string made = name + ": group KES_NEW: ";
        const std::vector<support::NodeCase> rows = {
            {"delete a missing one", remove("KES_DBA"), 2},
            {"remove from a missing one", removeMember("svc", "KES_DBA"), 2},
            {"create", create("KES_DBA", "DBAs"), 2, Lines{dba + "created: DBAs"}},
            {"create with another comment", create("kes_dba", "others"), 2},
            {"add", addMember("svc", "KES_DBA"), 2, Lines{dba + "member added: " + name + "\\svc"}},
            {"add by another name", addMember(qualified.c_str(), "Kes_Dba"), 2},
            {"add of the domain", addMember("CORP\\Operators", "KES_DBA"), 2,
             Lines{dba + "member added: CORP\\Operators"}},
            {"add a service", addMember("NT SERVICE\\Service1", "KES_DBA"), 2,
             Lines{dba + "member added: NT SERVICE\\Service1"}},
            {"remove", removeMember(qualified.c_str(), "KES_DBA"), 2, Lines{dba + "member removed: " + name + "\\svc"}},
            {"remove an unknown name", removeMember("nobody", "KES_DBA"), 2},
            {"add to a missing one", addMember("svc", "KES_NEW"), 2,
             Lines{made + "created: KESTEL Group", made + "member added: " + name + "\\svc"}},
            {"delete one with members", remove("KES_NEW"), 2, Lines{made + "deleted"}},
            {"create without a comment", create("KES_NEW"), 2, Lines{made + "created"}},
            {"delete an empty one", remove("KES_NEW"), 2, Lines{made + "deleted"}},
        };
        for (const support::NodeCase& row : rows)
            expectNodeCases({row, {row.what, row.call, 2}});
        EXPECT_EQ((isLocal ? local : remote).groups.back().comment, L"DBAs");
        EXPECT_EQ((isLocal ? remote : local).groups.size(), groupsOfOther);
        expectNodeCases({{"there", check("KES_dba"), 1},
                         {"gone", check("KES_NEW"), 0},
                         {"clean up", remove("KES_DBA"), 2, Lines{dba + "deleted"}}});
    }
}

// Each function with every answer that the platform has for any of them.
TEST_F(LocalGroups, EachKnowsItsOwnHarmlessResults)
{
    addGroup(local, L"KES_DBA");
    const DWORD results[] = {ERROR_ACCESS_DENIED,   ERROR_BAD_NETPATH,  ERROR_INVALID_MEMBER, ERROR_NO_SUCH_ALIAS,
                             ERROR_MEMBER_IN_ALIAS, ERROR_ALIAS_EXISTS, ERROR_NO_SUCH_MEMBER, ERROR_MEMBER_NOT_IN_ALIAS,
                             NERR_GroupNotFound,    NERR_GroupExists,   NERR_UserNotFound,    NERR_UserExists};
    const std::vector<DWORD> exists = {ERROR_ALIAS_EXISTS, NERR_GroupExists};
    const std::vector<DWORD> missing = {ERROR_NO_SUCH_ALIAS, NERR_GroupNotFound};
    const std::vector<DWORD> isIn = {ERROR_MEMBER_IN_ALIAS};
    const std::vector<DWORD> isOut = {ERROR_MEMBER_NOT_IN_ALIAS, ERROR_NO_SUCH_MEMBER, NERR_GroupNotFound,
                                      ERROR_NO_SUCH_ALIAS};
    const struct
    {
        const char* function;
        Call call;
        const std::vector<DWORD>& harmless;
        const char* message;
        DWORD answer = 2;
    } rows[] = {
        {"NetLocalGroupAdd", create("KES_NEW"), exists, "WSE-000028: Unable to create operating system group."},
        {"NetLocalGroupGetInfo", check("KES_DBA"), missing,
         "WSE-000030: Unable to get information on operating system group.", 0},
        {"NetLocalGroupDel", remove("KES_DBA"), missing, "WSE-000029: Unable to delete operating system group."},
        {"NetLocalGroupAddMembers", addMember("svc", "KES_DBA"), isIn,
         "WSE-000031: Unable to add user to operating system group."},
        {"NetLocalGroupDelMembers", removeMember("svc", "KES_DBA"), isOut,
         "WSE-000032: Unable to delete user from operating system group."},
    };
    for (const auto& row : rows)
        for (const DWORD result : results) {
            SCOPED_TRACE(result);
            const intercept::Fault fault = failing(row.function, result);
            if (std::count(row.harmless.begin(), row.harmless.end(), result))
                expectNodeCases({{row.function, row.call, row.answer, "", 0, fault}});
            else
                expectNodeCases({{row.function, row.call, 3, row.message, result, fault}});
        }
}

TEST_F(LocalGroups, AreRefusedWithTheResultOfThePlatform)
{
    addGroup(local, L"KES_DBA");
    const intercept::Fault noCheck = failing("NetLocalGroupGetInfo", ERROR_ACCESS_DENIED);
    const Lines created = {"NODE: group KES_NEW: created: KESTEL Group"};
    expectNodeCases({
        {"add: failed check, group there", addMember("svc", "KES_DBA"), 2, "", 0, noCheck,
         Lines{"NODE: group KES_DBA: member added: NODE\\svc"}},
        {"add: creation refused", addMember("svc", "KES_NEW"), 3, "WSE-000028", ERROR_ACCESS_DENIED,
         failing("NetLocalGroupAdd", ERROR_ACCESS_DENIED)},
        {"add: failed check, unknown member", addMember("nobody", "KES_NEW"), 3, "WSE-000031", ERROR_NO_SUCH_MEMBER,
         noCheck, created},
        {"add: a group is no member", addMember("KES_NEW", "KES_DBA"), 3, "WSE-000031", ERROR_INVALID_MEMBER},
        {"delete: it came with the system", remove("Users"), 3, "WSE-000029", ERROR_SPECIAL_ACCOUNT},
        {"create: no name for a group", create("a/b"), 3, "WSE-000028", NERR_BadUsername},
    });
    support::expectRefused("groupname", {create(nullptr), check(nullptr), remove(nullptr), addMember(nullptr, nullptr),
                                         removeMember(nullptr, nullptr)});
    support::expectRefused("username", {addMember(nullptr, "g"), removeMember(nullptr, "g")});
    node = "nowhere";
    expectNodeCases({
        {"create", create("KES_DBA"), 3, "WSE-000028", ERROR_BAD_NETPATH},
        {"check", check("KES_DBA"), 3, "WSE-000030", ERROR_BAD_NETPATH},
        {"delete", remove("KES_DBA"), 3, "WSE-000029", ERROR_BAD_NETPATH},
        {"add", addMember("svc", "KES_DBA"), 3, "WSE-000028", ERROR_BAD_NETPATH},
        {"remove", removeMember("svc", "KES_DBA"), 3, "WSE-000032", ERROR_BAD_NETPATH},
    });
}
