// Groups and users, and what the node stands before at all.
#include "tests/machine/place.h"

#include <lm.h>

#include <set>

namespace {

using support::Lines;
using support::NodeTest;

using WhatIfNetwork = machine::AtNode;

TEST_F(WhatIfNetwork, GroupsAndUsersAreRefusedWithTheCodesOfWindows)
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

TEST_F(NodeTest, ManagedAccountsAreKnownToTheReleasesThatHaveThem)
{
    const std::tuple<const wchar_t*, DWORD, const char*, const char*> rows[] = {
        {L"", 5, "1", "1"},
        {L"", 4, "0", "0"}, // could be installed
        {L"NetIsServiceAccount", 5, "0", "0"},
        {L"NetQueryServiceAccount", 5, "1", "0"},
    };
    for (const auto& [missing, state, managed, groupManaged] : rows) {
        local.missing = {missing};
        local.accounts.back().managedState = state; // of CORP's gmsa$
        expect({{"IsManagedSVCAccount username=CORP\\gmsa$", managed},
                {"IsGroupManagedSVCAccount cUser=CORP\\gmsa$", groupManaged}});
    }
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

} // namespace
