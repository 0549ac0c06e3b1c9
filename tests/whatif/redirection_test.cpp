#include "keswsec.h"
#include "tests/whatif/replaced.h"
#include "whatif/names.h"
#include "whatif/registry.h"

#include <gmock/gmock.h>
#include <lm.h>

#include <algorithm>

namespace {

using namespace whatif;
using testing::ElementsAre;
using testing::IsEmpty;

#define EXPORT(name) reinterpret_cast<decltype(&::name)>(reinterpret_cast<void*>(GetProcAddress(library, #name)))

class RedirectedLibrary : public replaced::WhatIf
{
protected:
    RedirectedLibrary()
    {
        node.accounts.push_back(account(L"", L"svc", L"S-1-5-21-1-2-3-1001"));
        node.accounts.push_back(account(L"CORP", L"gmsa$", L"S-1-5-21-7-8-9-1104"));
        node.accounts.back().managed = true;
        world.add(L"DB2");
    }

    static Account account(const wchar_t* domain, const wchar_t* name, const wchar_t* sid)
    {
        Account made;
        made.domain = domain;
        made.name = name;
        made.sid = sid;
        made.password = L"right";
        return made;
    }

    Account& managedAccount() { return node.accounts.back(); }

    Registry& registry = world.registry();
    sswseErrRec rec = {};
};

TEST_F(RedirectedLibrary, RegistryWritesAreThePlan)
{
    const auto setType = EXPORT(sswseSetKestelHomeType);
    registry.createKey(node, L"SOFTWARE\\Kestel\\KEY_h1");
    EXPECT_EQ(setType(&rec, "KEY_h1", "1", nullptr), 2u) << rec.message;
    EXPECT_EQ(setType(&rec, "KEY_h1", "1", "node"), 2u);
    EXPECT_EQ(setType(&rec, "KEY_h1", "2", nullptr), 2u);
    EXPECT_THAT(plan(), ElementsAre(L"NODE: registry HKLM\\Software\\Kestel\\KEY_h1: KESTEL_HOME_TYPE set: 1",
                                    L"NODE: registry HKLM\\Software\\Kestel\\KEY_h1: KESTEL_HOME_TYPE set: 1 -> 2"));
    EXPECT_EQ(setType(&rec, "KEY_h1", "1", "DB2"), 6u);
    EXPECT_EQ(setType(&rec, "KEY_h1", "1", "nowhere"), 3u);
    EXPECT_STREQ(rec.oserror, "53");

    const auto createSource = EXPORT(sswseCreateSVCEventRegEntry);
    const auto deleteSource = EXPORT(sswseDeleteSVCEventRegEntry);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(createSource(&rec, "Kestel", "%SystemRoot%\\m.dll", 0, "DB2"), 2u) << rec.message;
    EXPECT_EQ(deleteSource(&rec, "Kestel", "DB2"), 2u) << rec.message;
    EXPECT_EQ(deleteSource(&rec, "Kestel", "DB2"), 3u);
    const std::wstring key =
        L"DB2: registry HKLM\\SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\Kestel: ";
    EXPECT_THAT(plan(), ElementsAre(key + L"created", key + L"EventMessageFile set: expand:%SystemRoot%\\m.dll",
                                    key + L"TypesSupported set: dword:7", key + L"deleted"));
}

TEST_F(RedirectedLibrary, LogonSaysWhyNot)
{
    const auto check = EXPORT(sswseCheckValidUser);
    Account& user = node.accounts[node.accounts.size() - 2];
    EXPECT_EQ(check(&rec, ".\\svc", "right"), 2u);
    EXPECT_EQ(check(&rec, "svc", "right"), 2u);
    EXPECT_EQ(check(&rec, "CORP\\svc", "right"), 3u);
    EXPECT_STREQ(rec.oserror, "1326");
    EXPECT_EQ(check(&rec, "svc", "Right"), 3u);
    EXPECT_STREQ(rec.oserror, "1326");
    user.flags = UF_ACCOUNTDISABLE;
    EXPECT_EQ(check(&rec, "svc", "right"), 3u);
    EXPECT_STREQ(rec.oserror, "1331");
    user.flags = 0;
    user.password.clear();
    EXPECT_EQ(check(&rec, "svc", ""), 3u);
    EXPECT_STREQ(rec.oserror, "1327");
}

TEST_F(RedirectedLibrary, ManagedAccountsAndWhatAReleaseLacks)
{
    const struct
    {
        std::set<std::wstring, NoCase> missing;
        DWORD state;
        DWORD managed;
        DWORD groupManaged;
    } cases[] = {
        {{}, 5, 1, 1},
        {{}, 4, 1, 0},
        {{}, 0, 1, 1}, // the state cannot be had
        {{L"Logoncli.dll"}, 5, 3, 3},
        {{L"NetIsServiceAccount"}, 5, 0, 0},
        {{L"NetQueryServiceAccount"}, 5, 1, 0},
        {{L"Netapi32.dll"}, 5, 1, 0},
    };
    for (const auto& row : cases) {
        node.missing = row.missing;
        managedAccount().managedState = row.state;
        SCOPED_TRACE(testing::PrintToString(row.missing));
        EXPECT_EQ(EXPORT(sswseIsManagedSVCAccount)(&rec, "CORP\\gmsa$", nullptr), row.managed);
        EXPECT_EQ(EXPORT(sswseIsGroupManagedSVCAccount)(&rec, "CORP\\gmsa$", nullptr), row.groupManaged);
    }
    node.missing.clear();
    EXPECT_EQ(EXPORT(sswseIsManagedSVCAccount)(&rec, "svc", nullptr), 0u);
}

TEST_F(RedirectedLibrary, ImportsAreTheirOwnAgainAfterwards)
{
    registry.createKey(node, L"SOFTWARE\\Kestel\\KEY_h1");
    redirection.reset();
    EXPECT_EQ(EXPORT(sswseSetKestelHomeType)(&rec, "KEY_h1", "1", nullptr), 6u); // this machine has no such home
}

TEST(RedirectedToThisMachine, WritesStayInTheNode)
{
    const HMODULE library = LoadLibraryW(L"keswsec19.dll");
    World world(Base::thisMachine);
    const Redirection redirection(library, world);
    sswseErrRec rec = {};
    EXPECT_EQ(EXPORT(sswseCreateSVCEventRegEntry)(&rec, "keswsec-test", "m.dll", 1, nullptr), 2u) << rec.message;
    EXPECT_EQ(EXPORT(sswseGrantPrivilegesToUser)(&rec, "Everyone", nullptr, "0"), 2u) << rec.message;
    const Change& last = world.plan().back();
    EXPECT_EQ(last.object, L"right SeCreateSymbolicLinkPrivilege");
    EXPECT_EQ(last.node, world.local().name);
    const wchar_t* const path = L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\keswsec-test";
    EXPECT_EQ(world.registry().value(world.local(), path, L"TypesSupported"), registryNumber(1));
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
}

// A function that reads or changes the machine must not get past the node because nobody thought of it.
TEST_F(RedirectedLibrary, StandsBeforeEveryFunctionThatTouchesTheMachine)
{
    const auto all = allReplacements();
    const char* const harmless[] = {"RegQueryValueExA",      "RegQueryValueExW", "RegFlushKey",
                                    "LsaNtStatusToWinError", "NetApiBufferFree", "NetValidatePasswordPolicyFree"};
    for (const std::string& name : Imports(library).names()) {
        const bool touches = name.find("Service") != std::string::npos || name.find("SCManager") != std::string::npos ||
                             name.find("Account") != std::string::npos || name.rfind("Reg", 0) == 0 ||
                             name.rfind("Net", 0) == 0 || name.rfind("Lsa", 0) == 0 || name.rfind("Logon", 0) == 0;
        const auto isName = [&](const char* other) { return name == other; };
        if (touches && std::none_of(std::begin(harmless), std::end(harmless), isName)) {
            EXPECT_TRUE(std::any_of(all.begin(), all.end(), [&](const Replacement& row) { return isName(row.name); }))
                << name;
        }
    }
}

} // namespace
