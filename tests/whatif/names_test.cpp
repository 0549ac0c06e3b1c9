#include "tests/whatif/replaced.h"
#include "whatif/model/names.h"

namespace {

using namespace whatif;
using replaced::WhatIf;

constexpr wchar_t trustedInstaller[] = L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";

TEST_F(WhatIf, ResolvesNamesAsWindows)
{
    Account& other = local.accounts.emplace_back();
    other.domain = L"CORP";
    other.name = L"svc";
    other.sid = L"S-1-5-21-7-7-7-1299";
    const std::wstring dba = addGroup(local, L"KES_DBA").sid;
    local.services.emplace_back().name = L"TrustedInstaller";
    const struct
    {
        const wchar_t* name;
        std::wstring sid;
        const wchar_t* printed;
        SID_NAME_USE use;
    } cases[] = {
        {L"node\\SVC", svc, L"NODE\\svc", SidTypeUser},
        {L"CORP\\svc", other.sid, L"CORP\\svc", SidTypeUser},
        {L"svc@corp.example", other.sid, L"CORP\\svc", SidTypeUser},
        {L"corp.example\\SVC", other.sid, L"CORP\\svc", SidTypeUser},
        {L"corp.example", L"S-1-5-21-7-7-7", L"S-1-5-21-7-7-7", SidTypeDomain},
        {L"dbuser", dbuser, L"CORP\\dbuser", SidTypeUser},
        {L"KES_DBA", dba, L"NODE\\KES_DBA", SidTypeAlias},
        {L"nt service\\trustedinstaller", trustedInstaller, L"NT SERVICE\\TrustedInstaller", SidTypeWellKnownGroup},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        const auto found = resolve(local, row.name);
        ASSERT_TRUE(found);
        EXPECT_EQ(std::tuple(found->sid, found->use), std::tuple(row.sid, row.use));
        EXPECT_EQ(printableName(local, found->sid), row.printed);
    }
    for (const wchar_t* const unknown :
         {L"BUILTIN\\KES_DBA", L"NT SERVICE\\NoSuchService", L"OTHER\\svc", L"CORPORATION\\svc"})
        EXPECT_FALSE(resolve(local, unknown)) << testing::PrintToString(std::wstring(unknown));

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

} // namespace
