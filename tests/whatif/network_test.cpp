// Groups and users, and what the node stands before at all.
#include "tests/whatif/replaced.h"

#include <lm.h>

#include <set>

namespace {

using replaced::WhatIf;
using support::Lines;

// Beyond what the page of the platform's answers asks.
TEST_F(WhatIf, GroupsAndUsersAreRefusedWithTheCodesOfWindows)
{
    const auto addGroup = [](const wchar_t* name) {
        LOCALGROUP_INFO_1 info = {const_cast<LPWSTR>(name), nullptr};
        return CALL(NetLocalGroupAdd)(nullptr, 1, reinterpret_cast<LPBYTE>(&info), nullptr);
    };
    const auto addMembers = [](std::vector<const wchar_t*> names) {
        return CALL(NetLocalGroupAddMembers)(nullptr, L"KES_DBA", 3, reinterpret_cast<LPBYTE>(names.data()),
                                             static_cast<DWORD>(names.size()));
    };
    const auto groupsOf = [](const wchar_t* server, const wchar_t* name) {
        LPBYTE buffer = nullptr;
        DWORD read = 0;
        DWORD total = 0;
        return CALL(NetUserGetLocalGroups)(server, name, 0, 0, &buffer, MAX_PREFERRED_LENGTH, &read, &total);
    };
    const auto logon = [&](const wchar_t* domain, const wchar_t* password) {
        HANDLE token = nullptr;
        const BOOL done = CALL(LogonUserW)(L"svc", domain, password, LOGON32_LOGON_NETWORK, 0, &token);
        return static_cast<NET_API_STATUS>(replaced::errorOf(done && CloseHandle(token)));
    };
    const auto logonWith = [&](const wchar_t* password, DWORD flags) {
        local.accounts[2].password = password;
        local.accounts[2].flags = flags;
        return logon(nullptr, password);
    };
    local.accounts.emplace_back().name = L"Global";
    local.accounts.back().use = SidTypeGroup;
    const std::pair<NET_API_STATUS, NET_API_STATUS> steps[] = {
        {addGroup(L"KES_DBA"), NERR_Success},
        {addGroup(L"Global"), NERR_GroupExists},
        {addMembers({L"svc", L"Administrators"}), ERROR_INVALID_MEMBER}, // and nobody is added
        {addMembers({L"svc"}), NERR_Success},
        {groupsOf(L"nowhere", L"svc"), RPC_S_SERVER_UNAVAILABLE},
        {groupsOf(nullptr, L"CORP\\nobody"), NERR_UserNotFound},
        {logon(L".", L"right"), ERROR_SUCCESS},
        {logon(nullptr, L"Right"), ERROR_LOGON_FAILURE},
        {logon(L"CORP", L"right"), ERROR_LOGON_FAILURE},
        {logonWith(L"right", UF_ACCOUNTDISABLE), ERROR_ACCOUNT_DISABLED},
        {logonWith(L"", 0), ERROR_ACCOUNT_RESTRICTION},
        {CALL(NetUserDel)(nullptr, L"svc"), NERR_Success}, // and is in no group any more
    };
    for (const auto& step : steps)
        EXPECT_EQ(step.first, step.second) << "step " << &step - steps;
    EXPECT_EQ(plan(), (Lines{"NODE: group KES_DBA: created", "NODE: group KES_DBA: member added: NODE\\svc",
                             "NODE: group KES_DBA: member removed: NODE\\svc", "NODE: user svc: deleted"}));
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
