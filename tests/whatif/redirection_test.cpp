#include "keswsec.h"
#include "tests/whatif/replaced.h"

#include <gmock/gmock.h>
#include <lm.h>

namespace {

using namespace whatif;

class RedirectedLibrary : public replaced::WhatIf
{
protected:
    Account& add(const wchar_t* domain, const wchar_t* name, const wchar_t* sid)
    {
        Account& added = node.accounts.emplace_back();
        added.domain = domain;
        added.name = name;
        added.sid = sid;
        added.password = L"right";
        return added;
    }

    sswseErrRec rec = {};
};

TEST_F(RedirectedLibrary, LogonSaysWhyNot)
{
    Account& user = add(L"", L"svc", L"S-1-5-21-1-2-3-1001");
    const auto logon = [&](const char* name, const char* password, DWORD flags = 0) {
        user.flags = flags;
        user.password = *password ? L"right" : L"";
        return EXPORT(sswseCheckValidUser)(&rec, name, password) == SSWSE_SUCCESS ? "" : std::string(rec.oserror);
    };
    EXPECT_EQ(logon(".\\svc", "right"), "");
    EXPECT_EQ(logon("svc", "right"), "");
    EXPECT_EQ(logon("CORP\\svc", "right"), "1326");
    EXPECT_EQ(logon("svc", "Right"), "1326");
    EXPECT_EQ(logon("svc", "right", UF_ACCOUNTDISABLE), "1331");
    EXPECT_EQ(logon("svc", ""), "1327");
}

TEST_F(RedirectedLibrary, ManagedAccountsAndWhatAReleaseLacks)
{
    Account& account = add(L"CORP", L"gmsa$", L"S-1-5-21-7-8-9-1104");
    account.managed = true;
    const struct
    {
        std::set<std::wstring, NoCase> missing;
        DWORD state;
        DWORD managed;
        DWORD groupManaged;
    } cases[] = {
        {{}, 5, 1, 1},
        {{}, 4, 0, 0}, // could be installed
        {{}, 0, 1, 1}, // the state cannot be had
        {{L"Logoncli.dll"}, 5, 3, 3},
        {{L"NetIsServiceAccount"}, 5, 0, 0},
        {{L"NetQueryServiceAccount"}, 5, 1, 0},
        {{L"Netapi32.dll"}, 5, 1, 0},
    };
    for (const auto& row : cases) {
        node.missing = row.missing;
        account.managedState = row.state;
        SCOPED_TRACE(testing::PrintToString(row.missing));
        EXPECT_EQ(EXPORT(sswseIsManagedSVCAccount)(&rec, "CORP\\gmsa$", nullptr), row.managed);
        EXPECT_EQ(EXPORT(sswseIsGroupManagedSVCAccount)(&rec, "CORP\\gmsa$", nullptr), row.groupManaged);
    }
}

TEST_F(RedirectedLibrary, ImportsAreTheirOwnAgainAfterwards)
{

    const std::vector<Replacement> all = allReplacements();
    redirection.reset();
    Imports imports(library);
    for (const Replacement& row : all)
        EXPECT_NE(imports.redirect(row.name, row.function), row.function) << row.name;
}

// A function that reads or changes the machine must not get past the node because nobody thought of it.
TEST_F(RedirectedLibrary, StandsBeforeEveryFunctionThatTouchesTheMachine)
{
    std::set<std::string> known = {"RegQueryValueExA",      "RegQueryValueExW", "RegFlushKey",
                                   "LsaNtStatusToWinError", "NetApiBufferFree", "NetValidatePasswordPolicyFree"};
    for (const Replacement& row : allReplacements())
        known.insert(row.name);
    for (const std::string& name : Imports(library).names()) {
        const auto begins = [&](const char* with) { return name.rfind(with, 0) == 0; };
        const auto holds = [&](const char* part) { return name.find(part) != std::string::npos; };
        if (holds("Service") || holds("SCManager") || holds("Account") || begins("Reg") || begins("Net") ||
            begins("Lsa") || begins("Logon")) {
            EXPECT_EQ(known.count(name), 1u) << name;
        }
    }
}

} // namespace
