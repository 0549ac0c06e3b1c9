// Accounts and services of the node, beyond what the page of the platform's answers asks; and what it stands before.
#include "tests/machine/place.h"
#include "whatif/description/ini.h"
#include "whatif/model/names.h"

#include <lm.h>

#include <set>

namespace {

using namespace whatif;
using machine::AtNode;
using support::Lines;
using support::NodeTest;

constexpr wchar_t trustedInstaller[] = L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";

TEST_F(AtNode, NamesAreResolvedAsOnWindows)
{
    Account& other = local.accounts.emplace_back();
    other.domain = L"CORP";
    other.name = L"svc";
    other.sid = L"S-1-5-21-7-7-7-1299";
    const std::wstring dba = addGroup(local, L"KES_DBA").sid;
    local.services.emplace_back().name = L"TrustedInstaller";
    const std::tuple<const char*, std::wstring, const char*> rows[] = {
        {"CORP\\svc", other.sid, "CORP\\svc 1"},
        {"svc@corp.example", other.sid, "CORP\\svc 1"},
        {"corp.example\\SVC", other.sid, "CORP\\svc 1"},
        {"corp.example", L"S-1-5-21-7-7-7", "1332"},
        {"dbuser", dbuser, "CORP\\dbuser 1"},
        {"KES_DBA", dba, "NODE\\KES_DBA 4"},
        {"nt service\\trustedinstaller", trustedInstaller, "NT SERVICE\\TrustedInstaller 5"},
        {"CORPORATION\\svc", L"1332", ""},
    };
    for (const auto& [name, sid, printed] : rows) {
        expect({{std::string("LookupAccountName \"") + name + '"', whatif::narrow(sid)}});
        if (*printed)
            expect({{"LookupAccountSid " + whatif::narrow(sid), printed}});
    }

    local.nextRid = 1101;
    EXPECT_EQ(newSid(local), local.sid + L"-1102"); // the first that is unused
    local.major = 5;                                // before services had SIDs
    for (const wchar_t* const name : {L"NT SERVICE\\TrustedInstaller", L"NT SERVICE\\ALL SERVICES", L"NT SERVICE"})
        EXPECT_FALSE(resolve(local, name));
    local.major = 10;
    local.services.clear(); // a service's SID outlives its name
    EXPECT_EQ(printableName(local, trustedInstaller), trustedInstaller);
    local.productType = VER_NT_DOMAIN_CONTROLLER; // whose accounts are the domain's
    EXPECT_EQ(printableName(local, dba), L"CORP\\KES_DBA");
    EXPECT_FALSE(resolve(local, L"NODE\\KES_DBA"));
}

TEST_F(AtNode, GroupsAndUsersAreRefusedWithTheCodesOfWindows)
{
    local.accounts.emplace_back().name = L"Global";
    local.accounts.back().use = SidTypeGroup;
    expect({
        {"NetLocalGroupAdd KES_DBA", "0"},
        {"NetLocalGroupAdd Global", "2223"},
        {"NetLocalGroupAddMembers KES_DBA svc Administrators", "1388"}, // and nobody is added
        {"NetLocalGroupAddMembers KES_DBA svc", "0"},
        {"NetUserGetLocalGroups CORP\\nobody", "2221"},
        {"NetUserDel svc", "0"}, // and is in no group any more
    });
    EXPECT_EQ(plan(),
              (Lines{"NODE: group KES_DBA: created: made by a test", "NODE: group KES_DBA: member added: NODE\\svc",
                     "NODE: group KES_DBA: member removed: NODE\\svc", "NODE: user svc: deleted"}));
}

TEST_F(NodeTest, UsersLogOnWithTheirPasswords)
{
    const std::string logOn = "CheckValidUser username=", wrong = "3 WSE-000018 1326";
    expect({{logOn + ".\\svc passwd=right", "2"},
            {logOn + "svc passwd=Right", wrong},
            {logOn + "CORP\\svc passwd=right", wrong}});
    local.accounts[2].flags = UF_ACCOUNTDISABLE;
    expect({{logOn + "svc passwd=right", "3 WSE-000018 1331"}});
    local.accounts[2].flags = 0;
    local.accounts[2].password = L"";
    expect({{logOn + "svc passwd=\"\"", "3 WSE-000018 1327"}});
}

// A function that reads or changes the machine must not get past the node because nobody thought of it.
TEST_F(NodeTest, NodeStandsBeforeEveryFunctionThatTouchesTheMachine)
{
    std::set<std::string> known = {"RegQueryValueExA", "RegQueryValueExW", "LsaNtStatusToWinError", "NetApiBufferFree",
                                   "NetValidatePasswordPolicyFree"};
    for (const whatif::Replacement& row : whatif::allReplacements())
        known.insert(row.name);
    for (const std::string& name : whatif::Imports(library.module()).names())
        for (const char* const part : {"Service", "SCManager", "Account", "Reg", "Net", "Lsa", "Logon"})
            if (name.find(part) != std::string::npos) {
                EXPECT_EQ(known.count(name), 1u) << name;
            }
}

TEST_F(AtNode, ServicesAreRefusedAsOnWindows)
{
    const std::string create = "CreateService KestelDB ";
    const auto of = [&](const char* what, size_t length) { return create + what + std::string(length, 't'); };
    expect({
        {"CreateService Other as=other", "0"},
        {create + "account=node\\LocalSystem password=secret", "0"},
        {create + "account=CORP\\gmsa$", "0"},
        {create + "account=CORP\\gmsa$ password=secret", "1057"},
        {create + "dependencies=Other,kesteldb", "1059"},
        {of("dependencies=", 2046), "0"},
        {of("dependencies=", 2047), "1783"},
        {of("display=", 256), "0"},
        {of("display=", 257), "123"},
        {of("password=", 256), "0"},
        {of("password=", 257), "1783"},
        {of("account=", 2047), "1057"},
        {of("account=", 2048), "1783"},
    });
    for (const std::string& line : plan())
        EXPECT_EQ(line.find("password"), std::string::npos) << "it is ignored or refused";
    local.major = 6; // and minor 0: before virtual accounts
    expect({{create + "account=\"NT SERVICE\\KestelDB\"", "1057"}});
}

TEST_F(AtNode, ServicesAreOpenedForWhatTheirOwnListGrantsAndHavePasswords)
{
    expect({{"CreateService KestelDB account=.\\svc password=secret as=first", "0"}});
    expect({{"ChangeServiceConfig first account=.\\SVC", "0"}});
    EXPECT_EQ(local.services.back().password, L"secret");
    expect({{"ChangeServiceConfig first account=LocalSystem", "0"}});
    EXPECT_EQ(local.services.back().password, L"");
    local.services.back().security = L"D:(A;;CCRC;;;BA)(A;;CCLCSWRPWPDTLOCRSDRCWDWO;;;SY)";
    expect({
        {"OpenService kesteldb access=0xF01FF", "5"}, // for administrators too
        {"OpenService kesteldb access=0x20001", "0"},
        {"CloseServiceHandle first", "0"},
        {"CloseServiceHandle first", "6"},
    });
}

} // namespace
