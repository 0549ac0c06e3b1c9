// Groups and users, and what the node stands before at all.
#include "tests/machine/place.h"

#include <lm.h>

#include <set>

namespace {

using replaced::WhatIf;
using support::Lines;

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

TEST_F(WhatIfNetwork, UsersLogOnWithTheirPasswords)
{
    const auto logon = [](const wchar_t* domain, const wchar_t* password) {
        HANDLE token = nullptr;
        const BOOL done = CALL(LogonUserW)(L"svc", domain, password, LOGON32_LOGON_NETWORK, 0, &token);
        return replaced::errorOf(done && CloseHandle(token));
    };
    EXPECT_EQ(logon(L".", L"right"), ERROR_SUCCESS);
    EXPECT_EQ(logon(nullptr, L"Right"), ERROR_LOGON_FAILURE);
    EXPECT_EQ(logon(L"CORP", L"right"), ERROR_LOGON_FAILURE);
    local.accounts[2].flags = UF_ACCOUNTDISABLE;
    EXPECT_EQ(logon(nullptr, L"right"), ERROR_ACCOUNT_DISABLED);
    local.accounts[2].flags = 0;
    local.accounts[2].password = L"";
    EXPECT_EQ(logon(nullptr, L""), ERROR_ACCOUNT_RESTRICTION);
}

TEST_F(WhatIf, KnowsTheManagedAccountsThatTheReleaseDoes)
{
    const struct
    {
        std::set<std::wstring, whatif::NoCase> missing;
        DWORD state, managed, groupManaged;
    } cases[] = {
        {{}, 5, 1, 1},
        {{}, 4, 0, 0}, // could be installed
        {{L"NetIsServiceAccount"}, 5, 0, 0},
        {{L"NetQueryServiceAccount"}, 5, 1, 0},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        local.missing = row.missing;
        local.accounts.back().managedState = row.state; // of CORP's gmsa$
        EXPECT_EQ(EXPORT(sswseIsManagedSVCAccount)(nullptr, "CORP\\gmsa$", nullptr), row.managed);
        EXPECT_EQ(EXPORT(sswseIsGroupManagedSVCAccount)(nullptr, "CORP\\gmsa$", nullptr), row.groupManaged);
    }
}

// A function that reads or changes the machine must not get past the node because nobody thought of it.
TEST_F(WhatIf, StandsBeforeEveryFunctionThatTouchesTheMachine)
{
    std::set<std::string> known = {"RegQueryValueExA",      "RegQueryValueExW", "RegFlushKey",
                                   "LsaNtStatusToWinError", "NetApiBufferFree", "NetValidatePasswordPolicyFree"};
    for (const whatif::Replacement& row : whatif::allReplacements())
        known.insert(row.name);
    for (const std::string& name : whatif::Imports(library.module()).names())
        for (const char* const part : {"Service", "SCManager", "Account", "Reg", "Net", "Lsa", "Logon"})
            if (name.find(part) != std::string::npos) {
                EXPECT_EQ(known.count(name), 1u) << name;
            }
}

} // namespace
