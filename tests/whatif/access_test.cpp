// Who gets what: the rules of the access check, and of the authorization interface above it.
#include "tests/machine/place.h"
#include "whatif/description/ini.h"
#include "whatif/model/sids.h"
#include "whatif/security/access.h"

namespace {

using namespace whatif;

// Beyond what the page of the platform's answers asks.
TEST(WhatIfAccess, FirstEntryDecidesAboutEachBit)
{
    const Identities me = {{sidBytes(L"S-1-5-4"), sidBytes(L"S-1-1-0")}, {sidBytes(L"S-1-5-7")}};
    const std::pair<const wchar_t*, DWORD> cases[] = {
        {L"O:SYD:(A;IO;0x4;;;IU)(D;OICIIO;0x1;;;IU)(A;ID;0x3;;;IU)", 0x3},
        {L"O:SYD:(A;;0x4;;;AN)(D;;0x1;;;AN)(A;;0x3;;;IU)", 0x2}, // a group that can only deny
        {L"O:IUD:(D;;WD;;;S-1-3-4)(A;;0x60000;;;IU)", READ_CONTROL},
        {L"O:IUD:(A;OICIIO;0x1;;;S-1-3-4)", READ_CONTROL | WRITE_DAC},
        {L"O:SYD:(A;;GR;;;IU)", FILE_GENERIC_READ},
    };
    for (const auto& [sddl, mask] : cases)
        EXPECT_EQ(granted(securityOf(std::wstring(sddl)), me, &fileRights), mask) << testing::PrintToString(sddl);
}

TEST(WhatIfAccess, ConditionsThatNobodyEvaluatesDenyAndDoNotGrant)
{
    Security security = securityOf(std::wstring(L"O:SYD:(A;;0x3;;;WD)(A;;0x3;;;WD)"));
    const size_t second = sizeof(ACL) + (security.dacl.size() - sizeof(ACL)) / 2;
    security.dacl[sizeof(ACL)] = ACCESS_ALLOWED_CALLBACK_ACE_TYPE;
    EXPECT_EQ(granted(security, administrator(), nullptr), 0x3u);
    security.dacl[second] = ACCESS_DENIED_CALLBACK_ACE_TYPE;
    EXPECT_EQ(granted(security, administrator(), nullptr), 0u);
}

using WhatIfAuthorization = machine::AtNode;

TEST_F(WhatIfAuthorization, UsersHaveTheirGroupsInOneAnother)
{
    const std::wstring everybody = L"S-1-5-21-7-7-7-1290"; // a group of CORP, with Operators in it
    local.accounts[4].memberOf = {everybody};              // of Operators
    const std::wstring inner = addGroup(local, L"KES_INNER", {everybody}).sid;
    const std::wstring outer = addGroup(local, L"KES_OUTER", {inner}).sid;
    const auto check = [](const std::wstring& security) {
        return narrow(L"AuthzAccessCheck CORP\\dbuser " + security);
    };
    for (const std::wstring& sid : {dbuser, operators, everybody, inner, outer})
        expect({{check(L"O:SYD:(A;;0x6;;;" + sid + L")"), "mask 6"}});
    expect({{check(L"O:SYD:(A;;0x6;;;" + svc + L")"), "5"},
            {check(L"O:SYD:(A;;0x6;;;WD) desired=0x2"), "mask 2"},
            {check(L"O:" + outer + L"D:(D;;0x2;;;" + inner + L")(A;;0x6;;;WD)"), "mask 393220"}});
}

} // namespace
