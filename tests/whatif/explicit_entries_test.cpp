#include "whatif/descriptors.h"
#include "whatif/sids.h"

#include <gtest/gtest.h>

namespace {

using namespace whatif;

TEST(ExplicitEntries, AreMergedAsOnWindows)
{
    constexpr DWORD rp = 0x10;
    constexpr DWORD wp = 0x20;
    struct Entry
    {
        ACCESS_MODE mode;
        DWORD rights;
        const wchar_t* sid;
        DWORD inheritance = NO_INHERITANCE;
    };
    const wchar_t* const users = L"S-1-5-32-545";
    const wchar_t* const guests = L"S-1-5-32-546";
    const struct
    {
        const wchar_t* before;
        std::vector<Entry> entries;
        const wchar_t* after;
    } cases[] = {
        {L"D:(D;;CC;;;AN)(A;;LC;;;BA)",
         {{GRANT_ACCESS, rp, users}, {GRANT_ACCESS, wp, guests}},
         L"D:(D;;CC;;;AN)(A;;RP;;;BU)(A;;WP;;;BG)(A;;LC;;;BA)"},
        {L"D:(A;;LC;;;BA)(A;;WP;;;BU)", {{GRANT_ACCESS, rp, users}}, L"D:(A;;RPWP;;;BU)(A;;LC;;;BA)"},
        {L"D:(A;;RPWP;;;BU)(A;;LC;;;BA)", {{GRANT_ACCESS, rp, users}}, L"D:(A;;RPWP;;;BU)(A;;LC;;;BA)"},
        {L"D:(A;;LC;;;BA)", {{GRANT_ACCESS, rp, users}, {GRANT_ACCESS, wp, users}}, L"D:(A;;RPWP;;;BU)(A;;LC;;;BA)"},
        {L"D:(D;;RPWP;;;BU)(D;;WP;;;BG)",
         {{GRANT_ACCESS, rp, users}, {GRANT_ACCESS, wp, guests}},
         L"D:(D;;WP;;;BU)(A;;RP;;;BU)(A;;WP;;;BG)"},
        {L"D:(A;;LC;;;BU)(A;OICI;WP;;;BU)(D;ID;CC;;;BU)(A;ID;CC;;;BU)",
         {{GRANT_ACCESS, rp, users, SUB_CONTAINERS_AND_OBJECTS_INHERIT}},
         L"D:(A;OICI;RPWP;;;BU)(A;;LC;;;BU)(D;ID;CC;;;BU)(A;ID;CC;;;BU)"},
        {L"D:(D;;CC;;;AN)(A;;RPWP;;;BU)(A;;LC;;;BA)",
         {{DENY_ACCESS, rp, users}},
         L"D:(D;;RP;;;BU)(D;;CC;;;AN)(A;;WP;;;BU)(A;;LC;;;BA)"},
        {L"D:(D;;CC;;;BU)(A;OICI;WP;;;BU)(A;;LC;;;BA)", {{SET_ACCESS, rp, users}}, L"D:(A;;RP;;;BU)(A;;LC;;;BA)"},
        {L"D:(D;;CC;;;BU)(A;OICI;WP;;;BU)(A;;LC;;;BA)", {{REVOKE_ACCESS, 0, users}}, L"D:(D;;CC;;;BU)(A;;LC;;;BA)"},
    };
    for (const auto& row : cases) {
        std::vector<std::vector<BYTE>> sids;
        std::vector<EXPLICIT_ACCESS_A> entries;
        for (const Entry& entry : row.entries) {
            sids.push_back(sidBytes(entry.sid));
            auto* const sid = reinterpret_cast<LPSTR>(sids.back().data());
            entries.push_back({entry.rights,
                               entry.mode,
                               entry.inheritance,
                               {nullptr, NO_MULTIPLE_TRUSTEE, TRUSTEE_IS_SID, TRUSTEE_IS_UNKNOWN, sid}});
        }
        Security security = securityOf(std::wstring(row.before));
        PACL after = nullptr;
        ASSERT_EQ(mergeEntries(entries, reinterpret_cast<PACL>(security.dacl.data()), &after), DWORD{ERROR_SUCCESS});
        security.dacl.assign(reinterpret_cast<BYTE*>(after), reinterpret_cast<BYTE*>(after) + after->AclSize);
        EXPECT_EQ(textOf(security), textOf(securityOf(std::wstring(row.after)))) << "case " << &row - cases;
        LocalFree(after);
    }
}

} // namespace
