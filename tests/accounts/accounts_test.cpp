// Accounts on a node: what a name stands for, the rights that a home's user needs, the local account that a home's
// services can run under. Names and SIDs, on the machine that the tests run on.
#include "accounts/account_names.h"
#include "accounts/principal_names.h"
#include "tests/support/node_test.h"
#include "whatif/model/sids.h"

#include <cstring>

using namespace support;

TEST_F(NodeTest, AccountsAreWhatTheirNamesSay)
{
    addGroup(local, L"KES_DBA");
    local.groups[0].members = {svc, operators, L"S-1-5-19"}; // Administrators
    local.groups[1].members = {L"S-1-5-21-7-7-7-1203"};
    remote.accounts.clear(); // this machine is asked
    const std::string unknown = "3 WSE-000014 1332", noUser = "3 WSE-000015 2221";
    const struct
    {
        const char* name;
        std::string isOfDomain, exists, isAdministrator, isManaged, isGroupManaged, isBuiltin;
    } rows[] = {
        {"svc", "0", "1", "1", "0", "0", "3"},
        {"NODE\\svc", "0", "1", "1", "0", "0", "3"},
        {"Administrator", "0", "1", "0", "0", "0", "3"},
        {"CORP\\dbuser", "1", "1", "1", "0", "0", "3"}, // administrator through Operators
        {"CORP\\gmsa$", "1", "1", "0", "1", "1", "3"},
        {"gmsa$", "1", "1", noUser, "1", "0", "3"},
        {"CORP\\gmsa", unknown, "0", unknown, "1", "1", unknown},
        {"CORP\\nobody$", unknown, "0", unknown, "0", "0", unknown},
        {"CORP\\Operators", "1", "0", noUser, "0", "0", "3"},
        {"KES_DBA", "0", "0", noUser, "0", "0", "3"},
        {"Users", "1", "0", noUser, "0", "0", "3"},
        {"Everyone", "1", "0", noUser, "0", "0", "3"},
        {"SYSTEM", "1", "0", noUser, "0", "0", "1 = 11"},
        {"nt authority\\system", "1", "0", "0", "0", "0", "1 = 11"},
        {"LocalService", "1", "0", noUser, "0", "0", "1 = 12"},
        {"NT AUTHORITY\\LOCAL SERVICE", "1", "0", "1", "0", "0", "1 = 12"},
        {"NT AUTHORITY\\NetworkService", "1", "0", "0", "0", "0", "1 = 13"},
        {"LocalSystem", unknown, "0", unknown, "0", "0", unknown}, // a name for services only
        {"DB2\\svc", unknown, "0", unknown, "0", "0", unknown},
        {".\\svc", unknown, "0", unknown, "0", "0", unknown},
        {"nobody", unknown, "0", unknown, "0", "0", unknown},
    };
    for (const auto& row : rows) {
        const std::string name = "=\"" + std::string(row.name) + '"';
        expect({{"IsUserDomainUser username" + name, row.isOfDomain},
                {"CheckUserExists username" + name, row.exists},
                {"IsAdministrator username" + name, row.isAdministrator},
                {"IsNameBuiltinAcc accname" + name, row.isBuiltin}});
        for (const char* const node : {"", "DB2", "nowhere"})
            expect({{"IsManagedSVCAccount username" + name + " nodename=" + node, row.isManaged},
                    {"IsGroupManagedSVCAccount cUser" + name + " cNode=" + node, row.isGroupManaged}});
    }
    expect({{"GetBuiltinAccName accname=local_system", "2 = NT AUTHORITY\\SYSTEM 22"},
            {"GetBuiltinAccName accname=Network_Service", "2 = NT AUTHORITY\\NETWORK SERVICE 31"},
            {"IsAdministrator username=Administrator", "3 WSE-000015 5", {}, failing("NetUserGetLocalGroups", 5, 1)}});
}

TEST_F(NodeTest, AccountsDependOnTheRelease)
{
    local.major = 6; // it is read once and kept; this library has not read it yet
    local.minor = 1;
    expect({{"IsGroupManagedSVCAccount cUser=CORP\\gmsa$", "0"}});
    const std::string isManaged = "IsManagedSVCAccount username=CORP\\gmsa$";
    local.missing = {L"NetQueryServiceAccount"};
    expect({{"IsGroupManagedSVCAccount cUser=CORP\\gmsa$", "0"}, {isManaged, "1"}});
    local.missing = {L"NetIsServiceAccount"};
    expect({{isManaged, "0"}});
    local.missing.clear();
    local.accounts.back().managedState = 4; // it could be installed
    expect({{isManaged, "0"}});
    local.missing = {L"Logoncli.dll"};
    expect({{isManaged, "3"}});             // nobody knows: not a word
    local.accounts.back().domain = L"node"; // this machine's name in another case
    expect({{"IsUserDomainUser username=gmsa$", "0"}});
    local.productType = VER_NT_DOMAIN_CONTROLLER; // its own accounts are the domain's
    expect({{"IsUserDomainUser username=svc", "1"}});
}

TEST_F(NodeTest, RightsAreGrantedAndRevokedOnce)
{
    for (const std::string type : {"0", "1", "2"}) {
        const auto changed = [](const std::string& action, const std::string& account) {
            const std::string end = ": " + action + ": " + account;
            return Lines{"NODE: right SeServiceLogonRight" + end, "NODE: right SeCreateSymbolicLinkPrivilege" + end};
        };
        const std::string grant = "GrantPrivilegesToUser khtype=" + type + " username=",
                          revoke = "RevokePrivilegesFromUser khtype=" + type + " username=";
        expectTwiceOnEachNode({
            {revoke + "svc", "2"},
            {grant + "svc", "2", changed("granted", "NODE\\svc")},
            {grant + "NODE\\svc", "2"},
            {grant + "CORP\\dbuser", "2", changed("granted", "CORP\\dbuser")},
            {revoke + "svc", "2", changed("revoked", "NODE\\svc")},
            {revoke + "CORP\\dbuser", "2", changed("revoked", "CORP\\dbuser")},
        });
        local.rights[L"SeBatchLogonRight"] = {svc};
        expect({{revoke + "svc", "2"}}); // another right is held
        local.rights.clear();
    }
    expect({{"GrantPrivilegesToUser username=svc khtype=3", "3 WSE-00008"},
            {"RevokePrivilegesFromUser username=svc khtype=\"\"", "3 WSE-00008"},
            {"CheckUserPrivileges username=svc khtype=01", "5 WSE-00008"},
            {"CheckUserPrivileges username=svc khtype=1", "3 WSE-000014 1332", {}, failing("LookupAccountNameW", 1332)},
            {"CheckUserPrivileges username=Users khtype=1", "3 WSE-000015 2221"}});
}

TEST_F(NodeTest, RightsAreHeldThroughGroups)
{
    const std::wstring dba = addGroup(local, L"KES_DBA", {svc}).sid;
    const std::wstring nested = addGroup(local, L"KES_NESTED", {operators}).sid;
    const std::wstring everyone = L"S-1-1-0"; // no group that the account database knows
    const char *const none = "1 = 0", *const both = "0 = SeServiceLogonRight SeCreateSymbolicLinkPrivilege 2",
                      *const logon = "0 = SeServiceLogonRight 1", *const link = "0 = SeCreateSymbolicLinkPrivilege 1";
    // The user, the holders of the two rights, and what is missing.
    using Holders = std::vector<std::wstring>;
    const std::tuple<const char*, Holders, Holders, const char*> rows[] = {
        {"svc", {}, {}, both},
        {"svc", {dbuser, everyone}, {nested}, both},
        {"svc", {dbuser, svc}, {svc}, none},
        {"NODE\\svc", {dba}, {}, link},
        {"svc", {}, {dbuser, dba}, logon},
        {"svc", {svc}, {dba}, none},
        {"CORP\\dbuser", {nested}, {dbuser}, none},
        {"CORP\\dbuser", {nested}, {operators}, link}, // a group of the domain is no local one
    };
    for (const auto& [user, logonHolders, linkHolders, missing] : rows) {
        local.rights = {{L"SeServiceLogonRight", logonHolders}, {L"SeCreateSymbolicLinkPrivilege", linkHolders}};
        for (const char* const khtype : {" khtype=0", " khtype=1", " khtype=2"})
            expect({{std::string("CheckUserPrivileges username=") + user + khtype, missing}});
    }
}

TEST_F(NodeTest, UsersAreMadeForServicesOnlyAndUnmade)
{
    local.minimumPasswordLength = 8;
    expectAnswers(
        {{"IsPasswordValid password=12345678", "3 WSE-000053 254", {}, failing("NetValidatePasswordPolicy", 0)},
         {"CreateKestelSVCUser username=kessvc password=short", "3 WSE-000024 2245"},
         {"CreateKestelSVCUser username=kessvc password=\"long enough\"", "2"}});
    EXPECT_EQ(plan().at(1), "NODE: user kessvc: password set");
    const whatif::Account user = local.accounts.back();
    EXPECT_EQ(std::tuple(user.password, user.flags), std::tuple(L"long enough", 0x10040u));
    expectAnswers({{"CreateKestelSVCUser username=DOM\\svc password=\"long enough\"", "4 WSE-000016"},
                   {"CreateKestelSVCUser username=svc\\ password=\"long enough\"", "4 WSE-000016"},
                   {"DeleteKestelSVCUser username=.\\svc", "4 WSE-000017"},
                   {"DeleteKestelSVCUser username=kessvc", "2"}});
    EXPECT_EQ(local.rights[L"SeDenyInteractiveLogonRight"], std::vector<std::wstring>{user.sid}); // not taken back
}

TEST_F(NodeTest, UsersAreLoggedOnByNamesSplitAtTheFirstBackslash)
{
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
    const std::string domain511(511, 'd');
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
        EXPECT_EQ(EXPORT(sswseCheckValidUser)(nullptr, given.c_str(), password), 3u);
        EXPECT_EQ(asked, expected);
    }
    expect({{"CheckValidUser passwd=pw username=" + domain511 + "d\\svc",
             "4 WSE-000012: Null or invalid domain name parameter."}});
}

TEST(AccountNames, ResolveToTheirSids)
{
    const auto sidOf = [](const char* name) {
        PSID sid = nullptr;
        expectCases({{name, calling(sswseConvertUnameToSID, name, &sid), 2}});
        return whatif::sidText(owned::Heap<void>(sid).get());
    };
    EXPECT_EQ(sidOf("BUILTIN\\Administrators"), L"S-1-5-32-544");
    PSID owner = nullptr;
    expectCases({{"owner", calling(sswseGetOwnerSIDForCurrentProcess, &owner), 2}});
    char name[600];
    char user[257];
    DWORD size = sizeof user;
    EXPECT_TRUE(GetUserNameA(user, &size));
    expectCases({{"its name", calling(sswseConvertSIDToUname, owner, name, sizeof name, nullptr), 2}});
    EXPECT_EQ(sidOf(name), sidOf(user));
    sswseFreeMemory(owner);
}

// Two characters more than are written must fit, and the last of them is cleared.
TEST(AccountNames, SidToNameFillsBuffersToTheLastByte)
{
    std::vector<BYTE> service = whatif::sidBytes(L"S-1-5-19");
    const std::string name = "NT AUTHORITY\\LOCAL SERVICE";
    const size_t required = name.size() + 3;
    char small[64];
    expectCases({{"too small", calling(sswseConvertSIDToUname, service.data(), small, required - 1, nullptr), 3,
                  "WSE-000033: Insufficient output buffer for username."}});
    for (const size_t size : {required, required + 1, required + 40}) {
        std::string buffer(size + 1, '#'); // the last one is not the function's
        size_t written = 0;
        expectCases({{"fits", calling(sswseConvertSIDToUname, service.data(), buffer.data(), size, &written), 2}});
        EXPECT_EQ(written, required);
        std::string expected = name + '\0' + std::string(buffer.size() - name.size() - 1, '#');
        if (size > required)
            expected[required] = '\0';
        EXPECT_EQ(buffer, expected);
    }
}

TEST(AccountNames, AreAskedForBeforeAPlaceForTheirSids)
{
    expectRefused("username", {calling(sswseConvertUnameToSIDOnNode, nullptr, nullptr, nullptr)});
}

// Those that no look-up answers, and the domain of this machine's own accounts.
TEST(PrincipalNames, HaveSpellingsOfTheirOwn)
{
    char computer[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = sizeof computer;
    ASSERT_TRUE(GetComputerNameA(computer, &size));
    const std::string own = computer;
    // Of this machine or another one; a SID, or the message that there is none.
    const std::tuple<std::string, const wchar_t*, const wchar_t*, const char*> rows[] = {
        {"S-1-5-21-1-2-3-1104", nullptr, L"S-1-5-21-1-2-3-1104", ""},
        {"s-1-5-80-0", nullptr, L"S-1-5-80-0", ""},
        {"S-1-5-x", nullptr, L"", "WSE-000038"},
        {"S-1-", nullptr, L"", "WSE-000038"},
        {"S-2-5-18", nullptr, L"", "WSE-000014"},
        {"localsystem", nullptr, L"S-1-5-18", ""},
        {".\\LOCALSYSTEM", nullptr, L"S-1-5-18", ""},
        {own + "\\LocalSystem", nullptr, L"S-1-5-18", ""},
        {"DB2\\LocalSystem", nullptr, L"", "WSE-000014"},
        {"db2\\LocalSystem", L"\\\\DB2", L"S-1-5-18", ""},
        {"DB\\LocalSystem", L"db2.example.com", L"", "WSE-000014"},
        {"DB2\\LocalSystem", L"db2.example.com", L"S-1-5-18", ""},
        {"nt authority\\system", nullptr, L"S-1-5-18", ""},
        {"NT AUTHORITY\\LocalService", nullptr, L"S-1-5-19", ""},
        {"NT AUTHORITY\\networkservice", nullptr, L"S-1-5-20", ""},
        {".\\none", nullptr, L"", "WSE-000014"},
    };
    for (const auto& [name, machine, found, message] : rows) {
        owned::Heap<void> sid;
        sswseErrRec rec = {};
        EXPECT_EQ(sswseSidOfPrincipal({&rec, ""}, name.c_str(), machine, sid), *message ? 3u : 2u) << name;
        EXPECT_EQ(messageOf(rec).substr(0, strlen(message)), message);
        EXPECT_EQ(*message ? L"" : whatif::sidText(sid.get()), found) << name;
    }
}
