// Accounts on a node: what a name stands for, the rights that a home's user needs, the local account that a home's
// services can run under.
#include "tests/support/node_test.h"

#include <lm.h>

using namespace support;

namespace {

constexpr char notFound[] = "WSE-000014";

class Accounts : public NodeTest
{
protected:
    Call isDomainUser(const char* name) const { return calling(EXPORT(sswseIsUserDomainUser), name); }
    Call exists(const char* name) const { return calling(EXPORT(sswseCheckUserExists), name); }
    Call isAdministrator(const char* name) const { return calling(EXPORT(sswseIsAdministrator), name); }
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

    Call create(const char* name, const char* password = "long enough") const
    {
        return calling(EXPORT(sswseCreateKestelSVCUser), name, password);
    }
    Call remove(const char* name) const { return calling(EXPORT(sswseDeleteKestelSVCUser), name); }
};

using Name = std::tuple<const char*, DWORD, DWORD>; // what two functions answer about it

Lines changes(const std::string& node, const std::string& action, const std::string& account)
{
    const std::string end = ": " + action + ": " + account;
    return {node + ": right SeServiceLogonRight" + end, node + ": right SeCreateSymbolicLinkPrivilege" + end};
}

} // namespace

TEST_F(Accounts, AreOfTheDomainAndUsersOrNot)
{
    addGroup(local, L"KES_DBA");
    const Name names[] = {
        {"svc", 0, 1},         {"NODE\\svc", 0, 1},      {"CORP\\dbuser", 1, 1}, {"CORP\\Operators", 1, 0},
        {"KES_DBA", 0, 0},     {"Administrators", 1, 0}, {"LocalService", 1, 0}, {"Everyone", 1, 0},
        {"CORP\\gmsa$", 1, 1}, {"Administrator", 0, 1},
    };
    for (const auto& [name, ofDomain, user] : names)
        expectNodeCases({{name, isDomainUser(name), ofDomain}, {name, exists(name), user}});
    for (const char* const name : {"DB2\\svc", "nobody", ".\\svc", "LocalSystem"})
        expectNodeCases({{name, isDomainUser(name), 3, notFound, ERROR_NONE_MAPPED}, {name, exists(name), 0}});
    local.productType = VER_NT_DOMAIN_CONTROLLER; // its own accounts are the domain's
    expectNodeCases({{"user of a controller", isDomainUser("svc"), 1}});
}

TEST_F(Accounts, AreAdministratorsDirectlyOrNested)
{
    local.groups[0].members = {svc, operators, L"S-1-5-19"};
    local.groups[1].members = {L"S-1-5-21-7-7-7-1203"};
    expectNodeCases({
        {"direct", isAdministrator("svc"), 1},
        {"nested", isAdministrator("CORP\\dbuser"), 1},
        {"built-in account", isAdministrator("NT AUTHORITY\\LocalService"), 1},
        {"no member of any", isAdministrator("NT AUTHORITY\\SYSTEM"), 0},
        {"member of another", isAdministrator("CORP\\gmsa$"), 0},
        {"nobody", isAdministrator("nobody"), 3, notFound, ERROR_NONE_MAPPED},
        {"no user", isAdministrator("Users"), 3, "WSE-000015", NERR_UserNotFound},
    });
}

TEST_F(Accounts, AreManagedAsThisMachineKnows)
{
    const Name names[] = {
        {"CORP\\gmsa$", 1, 1}, {"CORP\\gmsa", 1, 1}, {"gmsa$", 1, 0},         {"CORP\\dbuser", 0, 0},
        {"svc", 0, 0},         {"nobody", 0, 0},     {"CORP\\nobody$", 0, 0}, {"", 0, 0},
    };
    const auto isManaged = EXPORT(sswseIsManagedSVCAccount);
    const auto isGroupManaged = EXPORT(sswseIsGroupManagedSVCAccount);
    remote.accounts.clear();
    for (const auto& [name, managed, groupManaged] : names)
        for (const char* const node : {static_cast<const char*>(nullptr), "DB2", "nowhere"})
            expectNodeCases({{name, calling(isManaged, name, node), managed},
                             {name, calling(isGroupManaged, name, node), groupManaged}});
    local.missing = {L"Logoncli.dll"};
    expectNodeCases({{"nobody knows: not a word", calling(isManaged, "CORP\\gmsa$", nullptr), 3}});
}

TEST_F(Accounts, AreGroupManagedOnLaterReleasesOnly)
{
    local.major = 6; // the release is read once and kept; this library has not read it yet
    local.minor = 1;
    expectNodeCases({{"Windows 7", calling(EXPORT(sswseIsGroupManagedSVCAccount), "CORP\\gmsa$", nullptr), 0}});
}

TEST_F(Accounts, AreBuiltInByAllTheirNames)
{
    const auto isBuiltin = EXPORT(sswseIsNameBuiltinAcc);
    for (const auto& [name, expected] : {std::pair{"SYSTEM", 11u},
                                         {"nt authority\\system", 11u},
                                         {"LocalService", 12u},
                                         {"NT AUTHORITY\\LOCAL SERVICE", 12u},
                                         {"NT AUTHORITY\\NetworkService", 13u},
                                         {"svc", 0u},
                                         {"LocalSystem", 0u}}) { // a name for services only
        DWORD kind = 99;
        const char* const message = name == std::string("LocalSystem") ? notFound : "";
        expectNodeCases({{name, calling(isBuiltin, name, &kind), expected ? 1u : 3u, message, *message ? 1332u : 0}});
        EXPECT_EQ(kind, expected);
    }
}

TEST_F(Accounts, GetAndLoseTheirRightsOnceOnTheNode)
{
    for (const char* const type : {"0", "1", "2"})
        for (const char* const node : {static_cast<const char*>(nullptr), "DB2"}) {
            const std::string name = node ? "DB2" : "NODE";
            const std::string qualified = name + "\\svc";
            expectNodeCases({
                {"revoke, no right held", revoke("svc", node, type), 2},
                {"grant", grant("svc", node, type), 2, changes(name, "granted", qualified)},
                {"grant again", grant(qualified.c_str(), node, type), 2},
                {"grant to another", grant("CORP\\dbuser", node, type), 2, changes(name, "granted", "CORP\\dbuser")},
                {"revoke", revoke("svc", node, type), 2, changes(name, "revoked", qualified)},
                {"revoke again", revoke("svc", node, type), 2},
            });
            (node ? remote : local).rights[L"SeBatchLogonRight"] = {node ? remoteSvc : svc};
            expectNodeCases({{"revoke, another right held", revoke("svc", node, type), 2}});
            (node ? remote : local).rights.clear();
        }
}

TEST_F(Accounts, HoldTheRightsOfTheirGroups)
{
    const std::wstring dba = addGroup(local, L"KES_DBA", {svc}).sid;
    const std::wstring nested = addGroup(local, L"KES_NESTED", {operators}).sid;
    const std::wstring everyone = L"S-1-1-0"; // no group that the account database knows
    const std::vector<std::string> both = {"SeServiceLogonRight", "SeCreateSymbolicLinkPrivilege"};
    // The user, the holders of the two rights, and what is missing.
    using Holders = std::vector<std::wstring>;
    const std::tuple<const char*, Holders, Holders, std::vector<std::string>> rows[] = {
        {"svc", {}, {}, both},
        {"svc", {dbuser, everyone}, {nested}, both},
        {"svc", {dbuser, svc}, {svc}, {}},
        {"NODE\\svc", {dba}, {}, {both[1]}},
        {"svc", {}, {dbuser, dba}, {both[0]}},
        {"svc", {svc}, {dba}, {}},
        {"CORP\\dbuser", {nested}, {dbuser}, {}},
        {"CORP\\dbuser", {nested}, {operators}, {both[1]}}, // a group of the domain is no local one
    };
    for (const auto& [user, logonHolders, linkHolders, expected] : rows) {
        local.rights[L"SeServiceLogonRight"] = logonHolders;
        local.rights[L"SeCreateSymbolicLinkPrivilege"] = linkHolders;
        for (const char* const khtype : {"0", "1", "2"}) {
            expectNodeCases({{user, check(user, khtype), expected.empty() ? 1u : 0u}});
            EXPECT_EQ(missing, expected);
        }
    }
}

TEST_F(Accounts, HaveNoRightsInUnknownHomes)
{
    expectNodeCases({{"grant", grant("svc", nullptr, "3"), 3, "WSE-00008:"},
                     {"revoke", revoke("svc", nullptr, ""), 3, "WSE-00008:"},
                     {"check", check("svc", "01"), 5, "WSE-00008:"},
                     {"no user", check("Users"), 3, "WSE-000015", NERR_UserNotFound}});
}

TEST_F(Accounts, AreMadeForServicesOnlyAndUnmade)
{
    local.minimumPasswordLength = 8;
    const Lines made = {"NODE: user kessvc: created", "NODE: user kessvc: password set",
                        "NODE: right SeDenyInteractiveLogonRight: granted: NODE\\kessvc",
                        "NODE: right SeDenyRemoteInteractiveLogonRight: granted: NODE\\kessvc"};
    expectNodeCases({
        {"no password", create("kessvc", nullptr), 3, "WSE-000024", NERR_PasswordTooShort},
        {"create", create("kessvc"), 2, made},
        {"again", create("KESSVC", "another one"), 9, "WSE-000023"},
    });
    const whatif::Account user = local.accounts.back();
    EXPECT_EQ(user.password, L"long enough");
    EXPECT_EQ(user.flags, 0x10040u);
    expectNodeCases({
        {"a group's name", create("Users"), 3, "WSE-000024", ERROR_ALIAS_EXISTS},
        {"delete", remove("kessvc"), 2, Lines{"NODE: user kessvc: deleted"}},
        {"delete again", remove("kessvc"), 3, "WSE-000027", NERR_UserNotFound},
        {"create in a domain", create("DOM\\svc"), 4, "WSE-000016"},
        {"last backslash", create("svc\\"), 4, "WSE-000016"},
        {"delete in a domain", remove(".\\svc"), 4, "WSE-000017"},
    });
    EXPECT_EQ(local.rights[L"SeDenyInteractiveLogonRight"], std::vector<std::wstring>{user.sid}); // not taken back
}

TEST_F(Accounts, HavePasswordsThatNobodyMayJudge)
{
    expectNodeCases({{"no verdict", calling(EXPORT(sswseIsPasswordValid), "12345678"), 3, "WSE-000053",
                      ERROR_INVALID_EA_NAME, failing("NetValidatePasswordPolicy", NERR_Success)}});
}

TEST_F(Accounts, AreLoggedOnByNamesSplitAtTheFirstBackslash)
{
    const auto logOn = EXPORT(sswseCheckValidUser);
    const std::string domain511(511, 'd');
    expectRefused("domain name", {calling(logOn, (domain511 + "d\\svc").c_str(), "pw")});
    static std::wstring asked;
    library.redirect(
        "LogonUserW",
        +[](const wchar_t* user, const wchar_t* domain, const wchar_t* password, DWORD, DWORD, HANDLE*) WINAPI -> BOOL {
            asked.clear();
            for (const wchar_t* const text : {user, domain, password})
                asked += (text ? text : std::wstring(L"NULL")) + L" ";
            SetLastError(ERROR_ACCOUNT_LOCKED_OUT);
            return FALSE;
        });
    // What is given, and what the platform is asked about: user, domain, password.
    const std::tuple<std::string, const char*, std::wstring> rows[] = {
        {"svc", "pw", L"svc NULL pw "},
        {"CORP\\svc", nullptr, L"svc CORP NULL "},
        {"\\svc", "", L"svc   "},
        {"a\\b\\c", "pw", L"b\\c a pw "},
        {domain511 + "\\svc", "pw", L"svc " + std::wstring(511, L'd') + L" pw "},
        {std::string(600, 'u'), "pw", std::wstring(511, L'u') + L" NULL pw "},
    };
    for (const auto& [given, password, expected] : rows) {
        expectNodeCases({{given.c_str(), calling(logOn, given.c_str(), password), 3, "WSE-000018", 1909}});
        EXPECT_EQ(asked, expected);
    }
}
