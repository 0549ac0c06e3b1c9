#include "whatif/names.h"

#include <gtest/gtest.h>

namespace {

using namespace whatif;

constexpr wchar_t trustedInstaller[] = L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";

Node memberServer()
{
    Node node = standardNode(L"SERVER1");
    node.domain = L"CORP";
    node.sid = L"S-1-5-21-1-2-3";
    const wchar_t* const accounts[][3] = {{L"", L"svc", L"S-1-5-21-1-2-3-1001"},
                                          {L"CORP", L"svc", L"S-1-5-21-7-8-9-1104"},
                                          {L"CORP", L"gmsa$", L"S-1-5-21-7-8-9-1105"}};
    for (const auto& [domain, name, sid] : accounts) {
        Account& account = node.accounts.emplace_back();
        account.domain = domain;
        account.name = name;
        account.sid = sid;
    }
    node.groups.push_back({L"KES_DBA", L"", L"S-1-5-21-1-2-3-1002", {}});
    node.services.emplace_back().name = L"TrustedInstaller";
    return node;
}

TEST(Names, ResolveAsOnWindows)
{
    struct
    {
        const wchar_t* name;
        const wchar_t* sid;
        const wchar_t* printed;
        SID_NAME_USE use;
    } const cases[] = {
        {L"everyone", L"S-1-1-0", L"Everyone", SidTypeWellKnownGroup},
        {L"NT AUTHORITY\\System", L"S-1-5-18", L"NT AUTHORITY\\SYSTEM", SidTypeWellKnownGroup},
        {L"LocalService", L"S-1-5-19", L"NT AUTHORITY\\LOCAL SERVICE", SidTypeWellKnownGroup},
        {L"svc", L"S-1-5-21-1-2-3-1001", L"SERVER1\\svc", SidTypeUser},
        {L"server1\\SVC", L"S-1-5-21-1-2-3-1001", L"SERVER1\\svc", SidTypeUser},
        {L"CORP\\svc", L"S-1-5-21-7-8-9-1104", L"CORP\\svc", SidTypeUser},
        {L"svc@corp.example", L"S-1-5-21-7-8-9-1104", L"CORP\\svc", SidTypeUser},
        {L"gmsa$", L"S-1-5-21-7-8-9-1105", L"CORP\\gmsa$", SidTypeUser},
        {L"KES_DBA", L"S-1-5-21-1-2-3-1002", L"SERVER1\\KES_DBA", SidTypeAlias},
        {L"administrators", L"S-1-5-32-544", L"BUILTIN\\Administrators", SidTypeAlias},
        {L"nt service\\trustedinstaller", trustedInstaller, L"NT SERVICE\\TrustedInstaller", SidTypeWellKnownGroup},
        {L"NT SERVICE\\ALL SERVICES", L"S-1-5-80-0", L"NT SERVICE\\ALL SERVICES", SidTypeWellKnownGroup},
        {L"NT SERVICE", L"S-1-5-80", L"NT SERVICE", SidTypeDomain},
        {L"SERVER1", L"S-1-5-21-1-2-3", L"SERVER1", SidTypeDomain},
        {L"", L"S-1-5-32", L"BUILTIN", SidTypeDomain},
    };
    const Node node = memberServer();
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(row.name)));
        const auto found = resolve(node, row.name);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->sid, row.sid);
        EXPECT_EQ(found->use, row.use);
        EXPECT_EQ(printableName(node, found->sid), row.printed);
    }
    for (const wchar_t* const unknown : {L"LocalSystem", L".\\svc", L"BUILTIN\\KES_DBA", L"SERVER1\\Administrators",
                                         L"TrustedInstaller", L"NT SERVICE\\NoSuchService", L"OTHER\\svc"})
        EXPECT_FALSE(resolve(node, unknown)) << testing::PrintToString(std::wstring(unknown));
}

TEST(Names, FollowTheNode)
{
    Node node = memberServer();
    EXPECT_EQ(newSid(node), L"S-1-5-21-1-2-3-1003"); // the first that is unused
    EXPECT_EQ(newSid(node), L"S-1-5-21-1-2-3-1004");
    node.major = 5; // before services had SIDs
    for (const wchar_t* const name : {L"NT SERVICE\\TrustedInstaller", L"NT SERVICE\\ALL SERVICES", L"NT SERVICE"})
        EXPECT_FALSE(resolve(node, name));
    EXPECT_EQ(printableName(node, trustedInstaller), trustedInstaller);
    node.major = 10;
    node.services.clear(); // a service's SID outlives its name
    EXPECT_EQ(printableName(node, trustedInstaller), trustedInstaller);
    node.productType = VER_NT_DOMAIN_CONTROLLER; // whose accounts are the domain's
    EXPECT_EQ(printableName(node, L"S-1-5-21-1-2-3-1002"), L"CORP\\KES_DBA");
    EXPECT_FALSE(resolve(node, L"SERVER1\\KES_DBA"));
}

} // namespace
