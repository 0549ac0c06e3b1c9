#include "whatif/names.h"
#include "whatif/sids.h"
#include "whatif/whatif.h"

#include <gtest/gtest.h>

namespace {

using namespace whatif;

constexpr wchar_t trustedInstaller[] = L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";

Node memberServer()
{
    Node node = standardNode(L"SERVER1");
    node.domain = L"CORP";
    node.sid = L"S-1-5-21-1-2-3";
    Account local;
    local.name = L"svc";
    local.sid = L"S-1-5-21-1-2-3-1001";
    Account domain = local;
    domain.domain = L"CORP";
    domain.sid = L"S-1-5-21-7-8-9-1104";
    Account managed = domain;
    managed.name = L"gmsa$";
    managed.sid = L"S-1-5-21-7-8-9-1105";
    node.accounts.insert(node.accounts.end(), {local, domain, managed});
    node.groups.push_back({L"KES_DBA", L"", L"S-1-5-21-1-2-3-1002", {}});
    node.services.emplace_back().name = L"TrustedInstaller";
    return node;
}

TEST(Names, ResolveAsOnWindows)
{
    struct
    {
        const wchar_t* name;
        const wchar_t* sid; // NULL: no mapping
        const wchar_t* printed;
        SID_NAME_USE use;
    } const cases[] = {
        {L"everyone", L"S-1-1-0", L"Everyone", SidTypeWellKnownGroup},
        {L"NT AUTHORITY\\System", L"S-1-5-18", L"NT AUTHORITY\\SYSTEM", SidTypeWellKnownGroup},
        {L"LocalService", L"S-1-5-19", L"NT AUTHORITY\\LOCAL SERVICE", SidTypeWellKnownGroup},
        {L"LocalSystem", nullptr, nullptr, SidTypeUnknown},
        {L".\\svc", nullptr, nullptr, SidTypeUnknown},
        {L"svc", L"S-1-5-21-1-2-3-1001", L"SERVER1\\svc", SidTypeUser},
        {L"server1\\SVC", L"S-1-5-21-1-2-3-1001", L"SERVER1\\svc", SidTypeUser},
        {L"CORP\\svc", L"S-1-5-21-7-8-9-1104", L"CORP\\svc", SidTypeUser},
        {L"svc@corp.example", L"S-1-5-21-7-8-9-1104", L"CORP\\svc", SidTypeUser},
        {L"gmsa$", L"S-1-5-21-7-8-9-1105", L"CORP\\gmsa$", SidTypeUser},
        {L"KES_DBA", L"S-1-5-21-1-2-3-1002", L"SERVER1\\KES_DBA", SidTypeAlias},
        {L"BUILTIN\\KES_DBA", nullptr, nullptr, SidTypeUnknown},
        {L"administrators", L"S-1-5-32-544", L"BUILTIN\\Administrators", SidTypeAlias},
        {L"SERVER1\\Administrators", nullptr, nullptr, SidTypeUnknown},
        {L"nt service\\trustedinstaller", trustedInstaller, L"NT SERVICE\\TrustedInstaller", SidTypeWellKnownGroup},
        {L"TrustedInstaller", nullptr, nullptr, SidTypeUnknown},
        {L"NT SERVICE\\NoSuchService", nullptr, nullptr, SidTypeUnknown},
        {L"NT SERVICE\\ALL SERVICES", L"S-1-5-80-0", L"NT SERVICE\\ALL SERVICES", SidTypeWellKnownGroup},
        {L"NT SERVICE", L"S-1-5-80", L"NT SERVICE", SidTypeDomain},
        {L"SERVER1", L"S-1-5-21-1-2-3", L"SERVER1", SidTypeDomain},
        {L"", L"S-1-5-32", L"BUILTIN", SidTypeDomain},
        {L"OTHER\\svc", nullptr, nullptr, SidTypeUnknown},
    };
    const Node node = memberServer();
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(row.name)));
        const auto found = resolve(node, row.name);
        ASSERT_EQ(found.has_value(), row.sid != nullptr);
        if (!found)
            continue;
        EXPECT_EQ(found->sid, row.sid);
        EXPECT_EQ(found->use, row.use);
        EXPECT_EQ(printableName(node, found->sid), row.printed);
    }
}

TEST(Names, ServiceSidOutlivesItsName)
{
    Node node = memberServer();
    EXPECT_EQ(printableName(node, trustedInstaller), L"NT SERVICE\\TrustedInstaller");
    node.services.clear();
    EXPECT_EQ(printableName(node, trustedInstaller), trustedInstaller);
}

TEST(Names, DomainControllerNamesItsAccountsAfterTheDomain)
{
    Node node = memberServer();
    node.productType = VER_NT_DOMAIN_CONTROLLER;
    EXPECT_EQ(printableName(node, L"S-1-5-21-1-2-3-1002"), L"CORP\\KES_DBA");
    EXPECT_FALSE(resolve(node, L"SERVER1\\KES_DBA"));
}

TEST(Names, NewSidsAreUnused)
{
    Node node = memberServer();
    EXPECT_EQ(newSid(node), L"S-1-5-21-1-2-3-1003");
    EXPECT_EQ(newSid(node), L"S-1-5-21-1-2-3-1004");
}

TEST(Names, ThisMachineAnswersWhatTheNodeDoesNotHold)
{
    World world(Base::thisMachine);
    Node& node = world.local();
    ASSERT_TRUE(resolve(node, L"Everyone"));
    EXPECT_EQ(resolve(node, L"Everyone")->sid, L"S-1-1-0");
    EXPECT_FALSE(resolve(node, L"no such account"));
    node.groups.push_back({L"KES_DBA", L"", newSid(node), {}});
    EXPECT_EQ(printableName(node, resolve(node, L"KES_DBA")->sid), node.name + L"\\KES_DBA");
}

} // namespace
