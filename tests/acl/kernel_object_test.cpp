// Entries for kernel objects and for the list that a token gives to new ones, on a node.
#include "tests/acl/on_node.h"

using namespace support;

namespace {

constexpr wchar_t event[] = L"event KestelReady";
constexpr wchar_t token[] = L"token of process 4711";
constexpr DWORD ready = EVENT_MODIFY_STATE; // in SDDL "DC"

class KernelObjects : public acl::OnNode
{
protected:
    ~KernelObjects() override
    {
        for (const HANDLE handle : opened_)
            EXPECT_TRUE(!handle || whatif::closeObject(handle));
    }

    HANDLE open(const wchar_t* object, DWORD access)
    {
        return opened_.emplace_back(whatif::openObject(object, access));
    }
    HANDLE openEvent() { return open(event, READ_CONTROL | WRITE_DAC); }
    HANDLE openToken() { return open(token, TOKEN_QUERY | TOKEN_ADJUST_DEFAULT); }

    Call adding(HANDLE object, const char* user, DWORD mask = ready) const
    {
        return calling(EXPORT(sswseAddACEOnKernelObjectForUserOrGroup), object, user, mask);
    }
    Call addingTo(HANDLE held, const char* user, DWORD mask = ready) const
    {
        return calling(EXPORT(sswseAddACEOnDefaultDACLForSvcUser), held, user, mask);
    }

private:
    std::vector<HANDLE> opened_;
};

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
        if (row.isOfEvent) {
            expectCases({{"event", adding(openEvent(), "svc", row.mask), 2}});
            EXPECT_EQ(local.security[event], after);
        }
        if (row.isOfToken) {
            expectCases({{"token", addingTo(openToken(), "svc", row.mask), 2}});
            EXPECT_EQ(local.security[token], after);
        }
        EXPECT_EQ(plan().size(), row.after ? size_t{row.isOfEvent} + row.isOfToken : 0);
    }
    local.security = {{event, sddl(L"D:(A;;0x1f0003;;;svc)")}, {token, sddl(L"D:(A;;GA;;;svc)")}};
    constexpr DWORD denied = ERROR_ACCESS_DENIED;
    expectNodeCases({
        {"a generic right is always written", adding(openEvent(), "svc", GENERIC_ALL), 3, "WSE-000067", denied,
         failing("SetSecurityInfo", denied)},
        {"and to a token", addingTo(openToken(), "svc", GENERIC_ALL), 3, "WSE-000053", denied,
         failing("SetTokenInformation", denied)},
        {"what it maps to is there", adding(openEvent(), "svc", EVENT_ALL_ACCESS), 2, "", 0,
         failing("SetSecurityInfo", denied)},
    });
}

TEST_F(KernelObjects, AreReachedByHandlesAndAccountsByAnySpelling)
{
    addGroup(local, L"KES_h1_SVCACCTS");
    local.security[event] = L"D:(A;;FA;;;SY)";
    local.security[token] = L"D:(A;;GA;;;SY)";
    local.security[L"token of process 7"] = L"D:NO_ACCESS_CONTROL";
    const auto change = [this](const std::wstring& object, const std::wstring& entry, const std::wstring& before) {
        const std::wstring line =
            L"NODE: " + object + L": security: " + sddl(L"D:" + before) + L" -> " + sddl(L"D:" + entry + before);
        return Lines{{line.begin(), line.end()}};
    };
    const std::wstring usual = L"(A;;GA;;;BA)(A;;GA;;;SY)";
    const Lines own = change(L"token of this process", L"(A;;DC;;;svc)", usual);
    const HANDLE dumb = open(event, WRITE_DAC);
    const HANDLE mute = open(event, READ_CONTROL);
    const HANDLE none = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    constexpr DWORD denied = ERROR_ACCESS_DENIED;
    expectNodeCases({
        {"gone", adding(openEvent(), "s-1-5-21-9-9-9-9"), 2,
         change(event, L"(A;;DC;;;S-1-5-21-9-9-9-9)", L"(A;;FA;;;SY)")},
        {"no SID", adding(openEvent(), "S-1-5-x"), 3, "WSE-000038", ERROR_INVALID_SID},
        {"nobody", adding(openEvent(), "nobody"), 3, "WSE-000014", ERROR_NONE_MAPPED},
        {"nobody here", adding(openEvent(), ".\\dbuser"), 3, "WSE-000014", ERROR_NONE_MAPPED},
        {"cannot be read", adding(dumb, "svc"), 3, "WSE-000066", denied},
        {"cannot be written", adding(mute, "svc"), 3, "WSE-000067", denied},
        {"not the node's", adding(none, "svc"), 3, "WSE-000066", ERROR_INVALID_HANDLE},
        {"a token", adding(openToken(), "svc"), 3, "WSE-000066", ERROR_INVALID_HANDLE},
        {"no token", addingTo(openEvent(), "svc"), 3, "WSE-000036", ERROR_INVALID_HANDLE},
        {"without a list", addingTo(open(L"token of process 7", TOKEN_QUERY), "svc"), 2},
        {"a token's", addingTo(open(token, TOKEN_QUERY), "svc"), 3, "WSE-000053", denied},
        {"its own", addingTo(nullptr, ".\\svc"), 2, own},
        {"no user recorded", addingTo(nullptr, nullptr), 3, "WSE-000010", ERROR_FILE_NOT_FOUND},
    });
    local.security.erase(L"token of this process");
    record(local, "KESTEL_SVCUSER", "NODE\\svc");
    expectNodeCases({{"the user recorded", addingTo(nullptr, ""), 2, own}});
    record(local, "KESTEL_SVCUSER", "KES_h1_SVCACCTS");
    expectNodeCases({{"a group", addingTo(openToken(), nullptr, GENERIC_ALL), 2,
                      change(token, L"(A;;GA;;;" + local.groups.back().sid + L")", L"(A;;GA;;;SY)")}});
    local.productType = VER_NT_DOMAIN_CONTROLLER; // whose own accounts are the domain's
    local.security[event] = L"D:";
    expectNodeCases(
        {{"of the domain", adding(openEvent(), ".\\dbuser"), 2, change(event, L"(A;;DC;;;" + dbuser + L")", L"")}});
    expectRefused("object", {adding(nullptr, nullptr, 0), adding(GetCurrentProcess(), nullptr, 0)});
    expectRefused("username", {adding(openEvent(), nullptr, 0)});
    CloseHandle(none);
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
        const HANDLE handle = open(object, READ_CONTROL | WRITE_DAC);
        EXPECT_EQ(handle ? 0 : GetLastError(), error) << testing::PrintToString(std::wstring(object));
    }
    for (const wchar_t* const wrong :
         {L"", L"event", L"event ", L"pipe x", L"process x", L"token of event x", L"token"})
        EXPECT_FALSE(whatif::namesObject(wrong)) << testing::PrintToString(std::wstring(wrong));
}
