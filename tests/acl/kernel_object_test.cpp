// Entries for kernel objects and for the list that a token gives to new ones, on a node.
#include "tests/acl/on_node.h"

using namespace support;

namespace {

constexpr wchar_t event[] = L"event KestelReady";
constexpr wchar_t token[] = L"token of process 4711";
constexpr DWORD ready = EVENT_MODIFY_STATE; // in SDDL "DC"
constexpr DWORD denied = ERROR_ACCESS_DENIED;

using KernelObjects = acl::OnNode;

const std::string ofEvent = "AddACEOnKernelObjectForUserOrGroup object=\"event KestelReady\"",
                  ofToken = "AddACEOnDefaultDACLForSvcUser token=\"process 4711\"";

} // namespace

// One rule for both: written unless an entry grants as much already.
TEST_F(KernelObjects, GetTheEntryUnlessTheyHaveAsMuch)
{
    const struct
    {
        const wchar_t* before;
        DWORD mask;
        const wchar_t* after; // NULL: not written
        bool isOfEvent = true, isOfToken = true;
    } rows[] = {
        {L"D:(A;;CCDCRC;;;SY)", ready, L"D:(A;;DC;;;svc)(A;;CCDCRC;;;SY)"},
        {L"D:(D;;CC;;;WD)(A;;CC;;;SY)", ready, L"D:(D;;CC;;;WD)(A;;DC;;;svc)(A;;CC;;;SY)"},
        {L"D:", ready, L"D:(A;;DC;;;svc)"},
        {L"D:NO_ACCESS_CONTROL", ready, nullptr},
        {L"D:(A;;CCDC;;;svc)", ready, nullptr},
        {L"D:(A;;CC;;;svc)(A;;CCDC;;;SY)", ready, L"D:(A;;CCDC;;;svc)(A;;CCDC;;;SY)"},
        {L"D:(A;;CC;;;svc)(A;ID;DC;;;svc)", ready | 1, L"D:(A;;CCDC;;;svc)(A;ID;DC;;;svc)"},
        {L"D:(A;CIIO;DC;;;svc)", ready, L"D:(A;;DC;;;svc)(A;CIIO;DC;;;svc)"},
        {L"D:(D;;CC;;;svc)(A;;DC;;;svc)", ready, nullptr},
        {L"D:(D;;CCDC;;;svc)(A;;DC;;;svc)", ready, L"D:(D;;CC;;;svc)(A;;DC;;;svc)"},
        {L"D:(A;;DC;;;svc)(D;ID;DC;;;svc)", ready | 1, L"D:(A;;CCDC;;;svc)(D;ID;DC;;;svc)"},
        {L"D:(D;CIIO;DC;;;svc)(A;;DC;;;svc)", ready, nullptr},
        {L"D:(D;;DC;;;SY)(A;;DC;;;svc)", ready, nullptr},
        {L"D:(A;;CC;;;svc)", GENERIC_READ, L"D:(A;;CCRC;;;svc)", true, false}, // the object's own rights
        {L"D:(A;;CC;;;svc)", GENERIC_READ, L"D:(A;;CCGR;;;svc)", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        local.security = {{event, sddl(row.before)}, {token, sddl(row.before)}};
        const std::wstring after = sddl(row.after ? row.after : row.before);
        const std::string words = " username=svc accessmask=" + std::to_string(row.mask);
        for (const auto& [isOf, call, object] :
             {std::tuple(row.isOfEvent, ofEvent, event), {row.isOfToken, ofToken, token}})
            if (isOf) {
                expectAnswers({{call + words, "2"}});
                EXPECT_EQ(local.security[object], after);
            }
        EXPECT_EQ(plan().size(), row.after ? size_t{row.isOfEvent} + row.isOfToken : 0);
    }
    local.security = {{event, sddl(L"D:(A;;0x1f0003;;;svc)")}, {token, sddl(L"D:(A;;GA;;;svc)")}};
    const std::string all = " username=svc accessmask=0x10000000";
    expect({
        // a generic right is always written; what it maps to is there
        {ofEvent + all, "3 WSE-000067 5", {}, failing("SetSecurityInfo", denied)},
        {ofToken + all, "3 WSE-000053 5", {}, failing("SetTokenInformation", denied)},
        {ofEvent + " username=svc accessmask=0x1f0003", "2", {}, failing("SetSecurityInfo", denied)},
    });
}

TEST_F(KernelObjects, AreForTheHomesUserWhereNobodyIsNamedAndForTheDomainOnItsController)
{
    constexpr wchar_t own[] = L"token of this process";
    const std::string ofDomain = ofEvent + " username=.\\dbuser accessmask=2",
                      ofNobody = "AddACEOnDefaultDACLForSvcUser username=\"\" accessmask=2";
    local.security = {{event, L"D:"}, {own, L"D:"}};
    expectAnswers({{ofDomain, "3 WSE-000014 1332"}, {ofNobody, "3 WSE-000010 2"}}); // and no user is recorded
    record(local, "KESTEL_SVCUSER", "NODE\\svc");
    expectAnswers({{ofNobody, "2"}});
    EXPECT_EQ(local.security[own], sddl(L"D:(A;;DC;;;svc)"));
    local.productType = VER_NT_DOMAIN_CONTROLLER; // whose own accounts are the domain's
    expectAnswers({{ofDomain, "2"}});
    EXPECT_EQ(local.security[event], sddl(L"D:(A;;DC;;;" + dbuser + L')'));
}

TEST_F(KernelObjects, AreOpenedByTheirNames)
{
    local.security = {{event, L"D:"}, {L"process 17", L"O:SYD:(A;;FA;;;SY)"}, {L"mutex KestelReady2", L"D:"}};
    const std::pair<const wchar_t*, DWORD> rows[] = {
        {event, 0},
        {L"EVENT KestelReady", 0},
        {L"event kestelready", ERROR_FILE_NOT_FOUND},
        {L"section KestelReady", ERROR_INVALID_HANDLE},
        {L"mutex KestelReady2", 0},
        {L"process 17", ERROR_ACCESS_DENIED},
        {L"process 18", ERROR_INVALID_PARAMETER},
        {L"token of process 17", ERROR_INVALID_PARAMETER},
        {L"token of this process", 0},
    };
    for (const auto& [object, error] : rows) {
        SetLastError(0);
        const HANDLE handle = whatif::openObject(object, READ_CONTROL | WRITE_DAC);
        EXPECT_EQ(handle && whatif::closeObject(handle) ? 0 : GetLastError(), error)
            << testing::PrintToString(std::wstring(object));
    }
    for (const wchar_t* const wrong :
         {L"", L"event", L"event ", L"pipe x", L"process x", L"token of event x", L"token"})
        EXPECT_FALSE(whatif::namesObject(wrong)) << testing::PrintToString(std::wstring(wrong));
}
