// Who gets what: the rules of the access check, and of the authorization interface above it.
#include "tests/machine/place.h"
#include "whatif/description/ini.h"
#include "whatif/model/sids.h"
#include "whatif/security/access.h"

#include <authz.h>

namespace {

using namespace whatif;
using replaced::errorOf;

// Beyond what the page of the platform's answers asks.
TEST(WhatIfAccess, FirstEntryDecidesAboutEachBit)
{
    const Identities me = {{sidBytes(L"S-1-5-4"), sidBytes(L"S-1-1-0")}, {sidBytes(L"S-1-5-7")}};
    const std::pair<const wchar_t*, DWORD> cases[] = {
        {L"O:SYD:(A;;0x1;;;IU)(D;;0x3;;;IU)(A;;0x6;;;WD)", 0x5},
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

class WhatIfAuthorization : public machine::AtNode
{
protected:
    WhatIfAuthorization()
    {
        CALL(AuthzInitializeResourceManager)
        (AUTHZ_RM_FLAG_NO_AUDIT, nullptr, nullptr, nullptr, nullptr, &manager);
    }

    AUTHZ_CLIENT_CONTEXT_HANDLE contextOf(const std::wstring& sid, DWORD flags = 0)
    {
        std::vector<BYTE> bytes = sidBytes(sid);
        AUTHZ_CLIENT_CONTEXT_HANDLE context = nullptr;
        return CALL(AuthzInitializeContextFromSid)(flags, bytes.data(), manager, nullptr, {}, nullptr, &context)
                   ? context
                   : nullptr;
    }

    // The mask, or the error under the highest bit.
    static DWORD check(AUTHZ_CLIENT_CONTEXT_HANDLE context, const std::wstring& sddl)
    {
        std::vector<BYTE> descriptor =
            selfRelative(securityOf(sddl), OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION);
        AUTHZ_ACCESS_REQUEST request = {MAXIMUM_ALLOWED, nullptr, nullptr, 0, nullptr};
        DWORD mask = 0;
        DWORD error = 0;
        AUTHZ_ACCESS_REPLY reply = {1, &mask, nullptr, &error};
        if (!CALL(AuthzAccessCheck)(0, context, &request, nullptr, descriptor.data(), nullptr, 0, &reply, nullptr))
            error = GetLastError();
        return error ? error | failed : mask;
    }

    static constexpr DWORD failed = 0x80000000;
    AUTHZ_RESOURCE_MANAGER_HANDLE manager = nullptr;
};

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

TEST_F(WhatIfAuthorization, ContextsAreMadeAndExtendedAsDocumented)
{
    EXPECT_EQ(errorOf(contextOf(operators)), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf(contextOf(L"S-1-5-21-7-7-7-9")), ERROR_NONE_MAPPED);
    const auto alone = contextOf(L"S-1-5-80-1-2-3-4-5", AUTHZ_SKIP_TOKEN_GROUPS);
    std::vector<BYTE> sids[] = {sidBytes(L"S-1-1-0"), sidBytes(L"S-1-5-32-545"), sidBytes(L"S-1-5-6")};
    SID_AND_ATTRIBUTES added[] = {
        {sids[0].data(), SE_GROUP_ENABLED}, {sids[1].data(), SE_GROUP_USE_FOR_DENY_ONLY}, {sids[2].data(), 0}};
    AUTHZ_CLIENT_CONTEXT_HANDLE more = nullptr;
    EXPECT_TRUE(CALL(AuthzAddSidsToContext)(alone, added, 3, nullptr, 0, &more));
    const std::wstring list = L"O:SYD:(D;;0x1;;;BU)(D;;0x2;;;SU)(A;;0x7;;;WD)(A;;0x10;;;S-1-5-80-1-2-3-4-5)";
    EXPECT_EQ(check(alone, list), 0x10u); // it is a copy
    EXPECT_EQ(check(more, list), 0x16u);
    for (const auto context : {alone, more})
        EXPECT_TRUE(CALL(AuthzFreeContext)(context));
    EXPECT_EQ(check(more, list), failed | ERROR_INVALID_PARAMETER);
    EXPECT_EQ(errorOf(CALL(AuthzFreeContext)(more)), ERROR_INVALID_PARAMETER);
    EXPECT_TRUE(CALL(AuthzFreeResourceManager)(manager));
    EXPECT_EQ(errorOf(contextOf(svc)), ERROR_INVALID_PARAMETER); // its manager is gone
    EXPECT_EQ(errorOf(CALL(AuthzInitializeResourceManager)(0, nullptr, nullptr, nullptr, nullptr, &manager)),
              ERROR_PRIVILEGE_NOT_HELD);
}

} // namespace
