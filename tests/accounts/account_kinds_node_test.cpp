// What a name stands for on a node: built-in, domain, managed, administrator, or nobody.
#include "tests/support/node_test.h"

#include <lm.h>

namespace {

using support::calling;
using support::expectRefused;
using support::failing;

constexpr char notFound[] = "WSE-000014: Lookup for Windows account name failed.";
constexpr DWORD noTrust = ERROR_TRUSTED_RELATIONSHIP_FAILURE;

class AccountKinds : public support::NodeTest
{
protected:
    using Predicate = DWORD WINAPI(sswseErrRec*, const char*);

    Predicate* const isDomainUser = EXPORT(sswseIsUserDomainUser);
    Predicate* const exists = EXPORT(sswseCheckUserExists);
    Predicate* const isAdministrator = EXPORT(sswseIsAdministrator);
};

// What two functions answer about a name.
struct Name
{
    const char* name;
    DWORD first;
    DWORD second;
};

} // namespace

TEST_F(AccountKinds, DomainAndUse)
{
    addGroup(local, L"KES_DBA");
    const Name names[] = {
        {"svc", 0, 1},         {"NODE\\svc", 0, 1},      {"CORP\\dbuser", 1, 1}, {"CORP\\Operators", 1, 0},
        {"KES_DBA", 0, 0},     {"Administrators", 1, 0}, {"LocalService", 1, 0}, {"Everyone", 1, 0},
        {"CORP\\gmsa$", 1, 1}, {"Administrator", 0, 1},
    };
    for (const auto& [name, ofDomain, user] : names)
        expectNodeCases({{name, calling(isDomainUser, name), ofDomain}, {name, calling(exists, name), user}});
    for (const char* const name : {"DB2\\svc", "nobody", ".\\svc", "LocalSystem"})
        expectNodeCases(
            {{name, calling(isDomainUser, name), 3, notFound, ERROR_NONE_MAPPED}, {name, calling(exists, name), 0}});
    expectNodeCases({
        {"no domain", calling(exists, "CORP\\dbuser"), 3, notFound, noTrust, failing("LookupAccountNameW", noTrust, 1)},
        {"gone by then", calling(exists, "svc"), 0, "", 0, failing("LookupAccountNameW", ERROR_NONE_MAPPED, 2)},
        {"computer name", calling(isDomainUser, "svc"), 3, "WSE-000019: Cannot get computer name.",
         ERROR_BUFFER_OVERFLOW, failing("GetComputerNameW", ERROR_BUFFER_OVERFLOW)},
    });
    local.productType = VER_NT_DOMAIN_CONTROLLER; // its own accounts are the domain's
    expectNodeCases({{"user of a controller", calling(isDomainUser, "svc"), 1}});
    expectRefused("username",
                  {calling(isDomainUser, nullptr), calling(exists, nullptr), calling(isAdministrator, nullptr),
                   calling(EXPORT(sswseIsManagedSVCAccount), nullptr, nullptr)});
    expectRefused("User name", {calling(EXPORT(sswseIsGroupManagedSVCAccount), nullptr, nullptr)});
}

TEST_F(AccountKinds, Administrators)
{
    local.groups[0].members = {svc, operators, L"S-1-5-19"};
    local.groups[1].members = {L"S-1-5-21-7-7-7-1203"};
    constexpr DWORD denied = ERROR_ACCESS_DENIED;
    constexpr DWORD noServer = RPC_S_SERVER_UNAVAILABLE;
    constexpr DWORD noRoom = ERROR_INSUFFICIENT_BUFFER;
    const auto noGroups = "WSE-000015: Unable to get list of groups to which the user belongs.";
    const auto noSid = "WSE-000013: Unable to create SID for builtin Administrator account.";
    const intercept::Fault nestedDenied = failing("NetUserGetLocalGroups", denied, 1);
    const auto ask = [&](const char* name) { return calling(isAdministrator, name); };
    expectNodeCases({
        {"direct", ask("svc"), 1},
        {"nested", ask("CORP\\dbuser"), 1},
        {"built-in account", ask("NT AUTHORITY\\LocalService"), 1},
        {"no member of any", ask("NT AUTHORITY\\SYSTEM"), 0},
        {"member of another", ask("CORP\\gmsa$"), 0},
        {"nobody", ask("nobody"), 3, notFound, ERROR_NONE_MAPPED},
        {"no user", ask("Users"), 3, noGroups, NERR_UserNotFound},
        {"nested ones refused: direct", ask("svc"), 1, "", 0, nestedDenied},
        {"nested ones refused: a no is none", ask("CORP\\dbuser"), 3, noGroups, denied, nestedDenied},
        {"all refused", ask("svc"), 3, noGroups, denied, failing("NetUserGetLocalGroups", denied)},
        {"not tried again", ask("svc"), 3, noGroups, noServer, failing("NetUserGetLocalGroups", noServer, 1)},
        {"no well-known SID", ask("svc"), 3, noSid, noRoom, failing("CreateWellKnownSid", noRoom)},
    });
}

TEST_F(AccountKinds, ManagedAccountsAreAskedOfThisMachine)
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
    const intercept::Fault fault = failing("MultiByteToWideChar", ERROR_NO_UNICODE_TRANSLATION);
    expectNodeCases({{"a name that cannot be converted is none", calling(isManaged, "CORP\\gmsa$", nullptr), 0,
                      "WSE-00006", ERROR_NO_UNICODE_TRANSLATION, fault}});
    local.missing = {L"Logoncli.dll"};
    expectNodeCases({{"nobody knows: not a word", calling(isManaged, "CORP\\gmsa$", nullptr), 3}});
}

TEST_F(AccountKinds, GroupManagedAccountsTakeALaterRelease)
{
    local.major = 6; // the release is read once and kept; this library has not read it yet
    local.minor = 1;
    expectNodeCases({{"Windows 7", calling(EXPORT(sswseIsGroupManagedSVCAccount), "CORP\\gmsa$", nullptr), 0}});
}

TEST_F(AccountKinds, BuiltinAccountsByAllTheirNames)
{
    const auto isBuiltin = EXPORT(sswseIsNameBuiltinAcc);
    DWORD kind = 99;
    for (const auto& [name, expected] : {std::pair{"SYSTEM", 11u},
                                         {"nt authority\\system", 11u},
                                         {"LocalService", 12u},
                                         {"NT AUTHORITY\\LOCAL SERVICE", 12u},
                                         {"NT AUTHORITY\\NetworkService", 13u},
                                         {"Everyone", 0u},
                                         {"svc", 0u}}) {
        expectNodeCases({{name, calling(isBuiltin, name, &kind), expected ? 1u : 3u}});
        EXPECT_EQ(kind, expected);
    }
    kind = 99;
    expectNodeCases(
        {{"a name for services only", calling(isBuiltin, "LocalSystem", &kind), 3, notFound, ERROR_NONE_MAPPED}});
    EXPECT_EQ(kind, 0u);
}

TEST_F(AccountKinds, ASecondLookupThatFailsStillGivesABlock)
{
    const auto convert = EXPORT(sswseConvertUnameToSID);
    const auto release = EXPORT(sswseFreeMemory);
    PSID sid = nullptr;
    const auto call = calling(convert, "svc", &sid);
    expectNodeCases({{"size query", call, 3, notFound, noTrust, failing("LookupAccountNameW", noTrust, 1)}});
    EXPECT_EQ(sid, nullptr);
    expectNodeCases({{"second call", call, 2, notFound, noTrust, failing("LookupAccountNameW", noTrust, 2)}});
    ASSERT_NE(sid, nullptr);
    EXPECT_FALSE(IsValidSid(sid));
    release(sid);
    expectNodeCases({{"both answered", call, 2}});
    EXPECT_TRUE(IsValidSid(sid));
    release(sid);
}
