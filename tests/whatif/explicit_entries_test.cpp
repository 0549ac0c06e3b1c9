#include "whatif/descriptors.h"
#include "whatif/sids.h"

#include <gtest/gtest.h>

namespace {

using namespace whatif;

TEST(ExplicitEntries, AreMergedAsOnWindows)
{
    constexpr DWORD rp = 0x10;
    constexpr DWORD wp = 0x20;
    const std::vector<BYTE> users = sidBytes(L"S-1-5-32-545");
    const std::vector<BYTE> guests = sidBytes(L"S-1-5-32-546");
    const auto entry = [](ACCESS_MODE mode, DWORD rights, const std::vector<BYTE>& sid, DWORD inheritance = 0) {
        auto* const trustee = reinterpret_cast<LPSTR>(const_cast<BYTE*>(sid.data()));
        return EXPLICIT_ACCESS_A{
            rights, mode, inheritance, {nullptr, NO_MULTIPLE_TRUSTEE, TRUSTEE_IS_SID, TRUSTEE_IS_UNKNOWN, trustee}};
    };
    const auto readUsers = entry(GRANT_ACCESS, rp, users);
    const auto readUsersBelow = entry(GRANT_ACCESS, rp, users, SUB_CONTAINERS_AND_OBJECTS_INHERIT);
    const auto writeUsers = entry(GRANT_ACCESS, wp, users);
    const auto writeGuests = entry(GRANT_ACCESS, wp, guests);
    const auto denyUsers = entry(DENY_ACCESS, rp, users);
    const auto setUsers = entry(SET_ACCESS, rp, users);
    const auto revokeUsers = entry(REVOKE_ACCESS, 0, users);
    const struct
    {
        const wchar_t* before;
        std::vector<EXPLICIT_ACCESS_A> entries;
        const wchar_t* after;
    } cases[] = {
        {L"D:(D;;CC;;;AN)(A;;LC;;;BA)",
         {readUsers, writeGuests},
         L"D:(D;;CC;;;AN)(A;;RP;;;BU)(A;;WP;;;BG)(A;;LC;;;BA)"},
        {L"D:(A;;LC;;;BA)(A;;WP;;;BU)", {readUsers}, L"D:(A;;RPWP;;;BU)(A;;LC;;;BA)"},
        {L"D:(A;;RPWP;;;BU)(A;;LC;;;BA)", {readUsers}, L"D:(A;;RPWP;;;BU)(A;;LC;;;BA)"},
        {L"D:(A;;LC;;;BA)", {readUsers, writeUsers}, L"D:(A;;RPWP;;;BU)(A;;LC;;;BA)"},
        {L"D:(D;;RPWP;;;BU)(D;;WP;;;BG)", {readUsers, writeGuests}, L"D:(D;;WP;;;BU)(A;;RP;;;BU)(A;;WP;;;BG)"},
        {L"D:(A;;LC;;;BU)(A;OICI;WP;;;BU)(D;ID;CC;;;BU)(A;ID;CC;;;BU)",
         {readUsersBelow},
         L"D:(A;OICI;RPWP;;;BU)(A;;LC;;;BU)(D;ID;CC;;;BU)(A;ID;CC;;;BU)"},
        {L"D:(D;;CC;;;AN)(A;;RPWP;;;BU)(A;;LC;;;BA)",
         {denyUsers},
         L"D:(D;;RP;;;BU)(D;;CC;;;AN)(A;;WP;;;BU)(A;;LC;;;BA)"},
        {L"D:(D;;CC;;;BU)(A;OICI;WP;;;BU)(A;;LC;;;BA)", {setUsers}, L"D:(A;;RP;;;BU)(A;;LC;;;BA)"},
        {L"D:(D;;CC;;;BU)(A;OICI;WP;;;BU)(A;;LC;;;BA)", {revokeUsers}, L"D:(D;;CC;;;BU)(A;;LC;;;BA)"},
    };
    for (const auto& row : cases) {
        Security security = securityOf(std::wstring(row.before));
        PACL after = nullptr;
        ASSERT_EQ(mergeEntries(row.entries, reinterpret_cast<PACL>(security.dacl.data()), &after),
                  DWORD{ERROR_SUCCESS});
        security.dacl.assign(reinterpret_cast<BYTE*>(after), reinterpret_cast<BYTE*>(after) + after->AclSize);
        EXPECT_EQ(textOf(security), textOf(securityOf(std::wstring(row.after)))) << "case " << &row - cases;
        LocalFree(after);
    }
}

} // namespace
