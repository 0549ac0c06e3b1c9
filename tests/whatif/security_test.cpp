// Security of the node and who gets what by it, beyond what the page of the platform's answers asks.
#include "tests/machine/place.h"
#include "whatif/description/ini.h"
#include "whatif/model/registry.h"
#include "whatif/model/sids.h"
#include "whatif/security/access.h"
#include "whatif/security/descriptors.h"

#include <fstream>

namespace {

using namespace whatif;

using replaced::errorOf;
using support::Lines;
using support::NodeTest;

constexpr wchar_t readers[] = L"D:(A;OICI;0x1200a9;;;AU)";

// The same text as this platform writes it.
std::wstring normal(const std::wstring& sddl)
{
    return textOf(securityOf(sddl));
}

// {dir} of real files, with "sub\leaf" and "file" in it.
class WhatIfSecurity : public machine::AtNode
{
protected:
    WhatIfSecurity() { std::ofstream(file).put('x'); }

    void describe(const std::filesystem::path& path, const std::wstring& sddl)
    {
        local.security[L"file " + path.wstring()] = sddl;
    }

    const std::filesystem::path dir = place.directory();
    const std::filesystem::path file = dir / "file";
};

TEST_F(WhatIfSecurity, UntouchedFilesHaveWhatTheyInheritedWhenTheyWereMade)
{
    describe(dir, L"D:PAI(A;OICI;FA;;;BA)(A;CIIO;GA;;;CO)(A;OINP;FR;;;BU)");
    for (int i = 0; i < 2; ++i) // what is written passes nothing on
        expect({{"GetFileSecurity {dir}\\sub", "D:AI(A;OICIID;FA;;;BA)(A;ID;FA;;;BA)(A;CIIOID;GA;;;CO)"},
                {"GetFileSecurity {dir}\\sub\\leaf", "D:AI(A;ID;FA;;;BA)"},
                {"GetFileSecurity {dir}\\file", "D:AI(A;ID;FA;;;BA)(A;ID;FR;;;BU)"},
                {"SetFileSecurity {dir} D:NO_ACCESS_CONTROL", "0"}});
}

TEST_F(WhatIfSecurity, AccessIsDeniedToAdministratorsUnlessTheyOwn)
{
    const std::string read = "GetFileSecurity {dir}\\file", write = "SetFileSecurity {dir}\\file D:(A;;FR;;;AU)";
    describe(file, L"D:P(A;;FA;;;SY)"); // the owner gets to the list anyhow
    expect({{read, "D:P(A;;FA;;;SY)"}, {write, "0"}});
    const auto attributes = [](const std::filesystem::path& path) {
        return errorOf(CALL(GetFileAttributesW)(path.c_str()) != INVALID_FILE_ATTRIBUTES);
    };
    const auto list = [](const std::filesystem::path& path) {
        WIN32_FIND_DATAW entry;
        const HANDLE search = CALL(FindFirstFileW)((path / "*").c_str(), &entry);
        return errorOf(search != INVALID_HANDLE_VALUE && FindClose(search));
    };
    describe(file, L"D:P(D;;0x80;;;WD)(A;;FA;;;BA)");
    EXPECT_EQ(attributes(file), ERROR_SUCCESS); // who may list the directory sees them
    describe(dir, L"D:P(D;;0x1;;;WD)(A;;FA;;;BA)");
    EXPECT_EQ(attributes(file), ERROR_ACCESS_DENIED);
    EXPECT_EQ(attributes(dir / "sub"), ERROR_SUCCESS);
    EXPECT_EQ(list(dir), ERROR_ACCESS_DENIED);
    EXPECT_EQ(list(dir / "sub"), ERROR_SUCCESS);
    EXPECT_EQ(list(dir / "none"), ERROR_PATH_NOT_FOUND);
}

TEST_F(WhatIfSecurity, NamedObjectsTellOwnerGroupAndList)
{
    const std::wstring nobody = L"O:S-1-5-32-544G:" + local.sid + L"-513"; // has said who owns it
    const std::pair<std::wstring, std::wstring> cases[] = {
        {L"D:PAI(A;;FA;;;BA)", nobody + normal(L"D:PAI(A;;FA;;;BA)")},
        {L"O:S-1-5-18G:S-1-5-19D:NO_ACCESS_CONTROL", L"O:S-1-5-18G:S-1-5-19D:NO_ACCESS_CONTROL"},
        {L"D:(A;;GA;;;BA)(A;OICIIO;GA;;;BU)", nobody + normal(L"D:(A;;FA;;;BA)(A;OICIIO;GA;;;BU)")}, // as it is stored
        {L"O:SYD:(A;;0x2;;;BA)", std::to_wstring(ERROR_ACCESS_DENIED)},
    };
    for (const auto& [described, told] : cases) {
        describe(file, described);
        expect({{"GetNamedSecurityInfo {dir}\\file owner=1", narrow(told)}});
    }
}

TEST_F(WhatIfSecurity, WhatTextCannotSayIsKeptByteForByte)
{
    Security odd = securityOf(std::wstring(readers));
    odd.dacl[sizeof(ACL)] = 0x7F; // an entry of no known type
    EXPECT_EQ(securityOf(textOf(odd)).dacl, odd.dacl);
    describe(file, textOf(odd));
    expect({{"GetFileSecurity {dir}\\file", narrow(textOf(odd))}});
}

TEST_F(WhatIfSecurity, NamedKeysInheritAndPassOn)
{
    const std::wstring kestel = L"SOFTWARE\\Kestel";
    for (const wchar_t* const key : {L"\\KEY_h1", L"\\KEY_h2"})
        world.registry().createKey(local, kestel + key);
    local.security[L"registry HKLM\\SOFTWARE"] = L"D:PAI(A;CI;KA;;;SY)";
    local.security[L"registry HKLM\\" + kestel + L"\\KEY_h2"] = L"D:P(A;;KA;;;BA)"; // protected
    const auto changed = [](const std::wstring& key, const std::wstring& after) {
        return narrow(L"NODE: registry HKLM\\software\\kestel" + key + L": security: " +
                      normal(L"D:AI(A;CIID;KA;;;SY)") + L" -> " + normal(after));
    };
    for (int i = 0; i < 2; ++i)
        expect({{"SetNamedSecurityInfo MACHINE\\software\\kestel D:(A;OICI;GA;;;BA)(A;OICI;GR;;;WD)", "0"}});
    EXPECT_EQ(plan(), (Lines{changed(L"", L"D:AI(A;OICI;KA;;;BA)(A;OICI;KR;;;WD)(A;CIID;KA;;;SY)"),
                             changed(L"\\KEY_h1", L"D:AI(A;OICIID;KA;;;BA)(A;OICIID;KR;;;WD)(A;CIID;KA;;;SY)")}));
    world.registry().createKey(local, kestel + L"\\KEY_h3"); // has what is passed on now
    expect({{"SetNamedSecurityInfo MACHINE\\software\\kestel\\key_h3 D:", "0"}});
    EXPECT_EQ(plan(), Lines());
}

// Of an entry for BU of the right RP.
TEST_F(NodeTest, EntriesAreMergedAsOnWindows)
{
    constexpr char grant[] = "1", set[] = "2", deny[] = "3", revoke[] = "4", grantBelow[] = "1 dwInheritance=3";
    const std::tuple<std::string, const char*, std::string> rows[] = {
        {"(D;;CC;;;AN)(A;;LC;;;BA)", grant, "(D;;CC;;;AN)(A;;RP;;;BU)(A;;LC;;;BA)"},
        {"(A;;LC;;;BA)(A;;WP;;;BU)", grant, "(A;;RPWP;;;BU)(A;;LC;;;BA)"},
        {"(D;;RPWP;;;BU)(D;;RP;;;BG)", grant, "(D;;WP;;;BU)(D;;RP;;;BG)(A;;RP;;;BU)"},
        {"(A;;LC;;;BU)(A;OICI;WP;;;BU)(D;ID;CC;;;BU)(A;ID;CC;;;BU)", grantBelow,
         "(A;OICI;RPWP;;;BU)(A;;LC;;;BU)(D;ID;CC;;;BU)(A;ID;CC;;;BU)"},
        {"(D;;CC;;;AN)(A;;RPWP;;;BU)(A;;LC;;;BA)", deny, "(D;;RP;;;BU)(D;;CC;;;AN)(A;;WP;;;BU)(A;;LC;;;BA)"},
        {"(D;;CC;;;BU)(A;OICI;WP;;;BU)(A;;LC;;;BA)", set, "(A;;RP;;;BU)(A;;LC;;;BA)"},
        {"(D;;CC;;;BU)(A;OICI;WP;;;BU)(A;;LC;;;BA)", revoke, "(D;;CC;;;BU)(A;;LC;;;BA)"},
    };
    for (const auto& [before, mode, after] : rows)
        EXPECT_EQ(
            answer("AddAceToACL pszTrustee=S-1-5-32-545 dwAccessRights=0x10 acl=D:" + before + " AccessMode=" + mode),
            "2 = D:" + after);
}

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

} // namespace
