// The rights that a home's user needs, granted, revoked and checked on a node.
#include "accounts/lsa_policy.h"
#include "tests/support/node_test.h"

#include <lm.h>
#include <ntstatus.h>

namespace {

using support::Call;
using support::calling;
using support::expectRefused;
using support::failing;
using support::Lines;

constexpr wchar_t logon[] = L"SeServiceLogonRight";
constexpr wchar_t links[] = L"SeCreateSymbolicLinkPrivilege";
constexpr DWORD ntDenied = static_cast<DWORD>(STATUS_ACCESS_DENIED);
constexpr char notFound[] = "WSE-000014: Lookup for Windows account name failed.";

Lines changes(const std::string& node, const std::string& action, const std::string& account)
{
    const std::string end = ": " + action + ": " + account;
    return {node + ": right SeServiceLogonRight" + end, node + ": right SeCreateSymbolicLinkPrivilege" + end};
}

class Rights : public support::NodeTest
{
protected:
    Call grant(const char* user, const char* node = nullptr, const char* khtype = "1") const
    {
        return calling(EXPORT(sswseGrantPrivilegesToUser), user, node, khtype);
    }
    Call revoke(const char* user, const char* node = nullptr, const char* khtype = "1") const
    {
        return calling(EXPORT(sswseRevokePrivilegesFromUser), user, node, khtype);
    }

    // The missing rights that the check hands out end up in `missing`.
    Call check(const char* user, const char* khtype = "1")
    {
        return [=](sswseErrRec* rec) {
            char** names = reinterpret_cast<char**>(1);
            int count = -1;
            const DWORD answer = EXPORT(sswseCheckUserPrivileges)(rec, user, khtype, &names, &count);
            EXPECT_EQ(names == nullptr, answer != 0);
            missing.assign(names, names + count);
            EXPORT(sswseFreeArrayofStrings)(names, static_cast<size_t>(count));
            return answer;
        };
    }

    std::vector<std::string> missing;
};

} // namespace

TEST_F(Rights, AreGrantedAndRevokedOnceOnTheNode)
{
    for (const char* const type : {"0", "1", "2"})
        for (const char* const node : {static_cast<const char*>(nullptr), "DB2"}) {
            const std::string name = node ? "DB2" : "NODE";
            const std::string qualified = name + "\\svc";
            auto& rights = (node ? remote : local).rights;
            expectNodeCases({
                {"revoke, no right held", revoke("svc", node, type), 2},
                {"grant", grant("svc", node, type), 2, changes(name, "granted", qualified)},
                {"grant again", grant(qualified.c_str(), node, type), 2},
                {"grant to another", grant("CORP\\dbuser", node, type), 2, changes(name, "granted", "CORP\\dbuser")},
                {"revoke", revoke("svc", node, type), 2, changes(name, "revoked", qualified)},
                {"revoke again", revoke("svc", node, type), 2},
                {"revoke from the other", revoke("CORP\\dbuser", node, type), 2,
                 changes(name, "revoked", "CORP\\dbuser")},
            });
            rights[L"SeBatchLogonRight"] = {node ? remoteSvc : svc};
            expectNodeCases({{"revoke, another right held", revoke("svc", node, type), 2}});
            rights.erase(L"SeBatchLogonRight");
        }
}

TEST_F(Rights, StopAtTheFirstThatFails)
{
    constexpr DWORD denied = ERROR_ACCESS_DENIED;
    constexpr DWORD nothingHeld = static_cast<DWORD>(STATUS_OBJECT_NAME_NOT_FOUND);
    const auto notGranted = "WSE-000041: Unable to grant privilege to user.";
    const auto notRevoked = "WSE-000040: Unable to remove privilege for user.";
    const Lines granted = changes("NODE", "granted", "NODE\\svc");
    const Lines revoked = changes("NODE", "revoked", "NODE\\svc");
    expectNodeCases({
        {"no policy", grant("svc"), 3, "WSE-000025: Unable to open Policy data.", denied,
         failing("LsaOpenPolicy", ntDenied)},
        {"grant: first", grant("svc"), 3, notGranted, denied, failing("LsaAddAccountRights", ntDenied, 1)},
        {"grant: error 2 is one", grant("svc"), 3, notGranted, ERROR_FILE_NOT_FOUND,
         failing("LsaAddAccountRights", nothingHeld, 1)},
        {"grant: second", grant("svc"), 3, notGranted, denied, failing("LsaAddAccountRights", ntDenied, 2),
         Lines{granted[0]}},
        {"grant: bad SID", grant("svc"), 3, "WSE-000039", ERROR_INVALID_SID, failing("IsValidSid", ERROR_INVALID_SID)},
        {"grant: the rest", grant("svc"), 2, Lines{granted[1]}},
        {"revoke: account holds nothing, goes on", revoke("svc"), 2, "", 0,
         failing("LsaRemoveAccountRights", nothingHeld, 1), Lines{revoked[1]}},
        {"revoke: second", revoke("svc"), 3, notRevoked, denied, failing("LsaRemoveAccountRights", ntDenied, 2),
         Lines{revoked[0]}},
        {"unknown on the node", grant("NODE\\svc", "DB2"), 3, notFound, ERROR_NONE_MAPPED},
        {"no such node", revoke("svc", "nowhere"), 3, notFound, RPC_S_SERVER_UNAVAILABLE},
    });
}

TEST_F(Rights, AreHeldByTheUserOrAnyOfItsGroups)
{
    const std::wstring dba = addGroup(local, L"KES_DBA", {svc}).sid;
    const std::wstring nested = addGroup(local, L"KES_NESTED", {operators}).sid;
    const std::wstring everyone = L"S-1-1-0"; // no group that the account database knows
    const std::vector<std::string> both = {"SeServiceLogonRight", "SeCreateSymbolicLinkPrivilege"};
    const struct
    {
        const char* user;
        std::vector<std::wstring> logonHolders;
        std::vector<std::wstring> linkHolders;
        std::vector<std::string> missing;
    } rows[] = {
        {"svc", {}, {}, both},
        {"svc", {dbuser, everyone}, {nested}, both},
        {"svc", {dbuser, svc}, {svc}, {}},
        {"NODE\\svc", {dba}, {}, {both[1]}},
        {"svc", {}, {dbuser, dba}, {both[0]}},
        {"svc", {svc}, {dba}, {}},
        {"CORP\\dbuser", {nested}, {dbuser}, {}},
        {"CORP\\dbuser", {nested}, {operators}, {both[1]}}, // a group of the domain is no local one
    };
    for (const auto& row : rows) {
        local.rights[logon] = row.logonHolders;
        local.rights[links] = row.linkHolders;
        for (const char* const khtype : {"0", "1", "2"}) {
            expectNodeCases({{row.user, check(row.user, khtype), row.missing.empty() ? 1u : 0u}});
            EXPECT_EQ(missing, row.missing);
        }
    }
}

TEST_F(Rights, ThatCannotBeReadAreNoAnswer)
{
    constexpr DWORD denied = ERROR_ACCESS_DENIED;
    constexpr DWORD unknown = ERROR_NONE_MAPPED;
    const auto noGroups = "WSE-000015: Unable to get list of groups to which the user belongs.";
    const auto noHolders = "WSE-000043: Unable to enumerate accounts with the specified privilege.";
    addGroup(local, L"KES_DBA", {svc});
    expectNodeCases({
        {"holders of the second", check("svc"), 3, noHolders, denied,
         failing("LsaEnumerateAccountsWithUserRight", ntDenied, 2)},
        {"groups", check("svc"), 3, noGroups, denied, failing("NetUserGetLocalGroups", denied)},
        {"no user", check("KES_DBA"), 3, noGroups, NERR_UserNotFound},
        {"group's name", check("svc"), 3, notFound, unknown, failing("LookupAccountNameW", unknown, 1)},
        {"user without a SID", check("svc"), 3, "WSE-000039", ERROR_INVALID_SID,
         failing("LookupAccountNameW", unknown, 4)},
    });
}

TEST_F(Rights, MissingArgumentsAndHomeTypes)
{
    int count = 7;
    char** names = reinterpret_cast<char**>(1);
    const auto badType = "WSE-00008: Unsupported Kestel home type.";
    const auto inspect = EXPORT(sswseCheckUserPrivileges);
    expectRefused("username",
                  {grant(nullptr, nullptr, "9"), revoke(nullptr), calling(inspect, nullptr, "9", &names, &count)});
    EXPECT_EQ(names, nullptr);
    EXPECT_EQ(count, 0);
    expectRefused("missing", {calling(inspect, "SYSTEM", "0", nullptr, &count)});
    expectRefused("count", {calling(inspect, "SYSTEM", "0", &names, nullptr)});
    expectNodeCases({
        {"grant", grant("svc", nullptr, "3"), 3, badType},
        {"revoke", revoke("svc", nullptr, ""), 3, badType},
        {"check", check("svc", "01"), 5, badType},
        {"check without a type", check("svc", nullptr), 5, badType},
    });
}

TEST(Policy, TextsAreMeasuredInBytesAndNeverWrap)
{
    for (const auto& [characters, length] : {std::pair{4, 8}, {32766, 65532}, {40000, 65532}}) {
        const std::wstring text(static_cast<size_t>(characters), L'n');
        const LSA_UNICODE_STRING measured = sswseLsaString(text.c_str());
        EXPECT_EQ(measured.Length, length);
        EXPECT_EQ(measured.MaximumLength, length + 2);
    }
}
