#include "tests/support/scratch_directory.h"
#include "tests/whatif/replaced.h"
#include "whatif/descriptors.h"
#include "whatif/registry.h"

#include <accctrl.h>
#include <aclapi.h>

#include <fstream>

namespace {

using namespace whatif;

constexpr wchar_t readers[] = L"D:(A;OICI;0x1200a9;;;AU)";

// The same text as this platform writes it.
std::wstring normal(const std::wstring& sddl)
{
    return textOf(securityOf(sddl));
}

// A tree dir\sub\file and dir\file of real files.
class WhatIfSecurity : public replaced::WhatIf
{
protected:
    WhatIfSecurity()
    {
        std::filesystem::create_directories(dir / "sub");
        for (const auto& each : {dir / "sub" / "file", file})
            std::ofstream(each).put('x');
    }

    // The object's security as text, or the number of the error.
    std::wstring read(const std::wstring& path)
    {
        BYTE bytes[1024];
        DWORD needed = 0;
        const long error =
            errorOf(CALL(GetFileSecurityW)(path.c_str(), DACL_SECURITY_INFORMATION, bytes, 1024, &needed));
        return error ? std::to_wstring(error) : textOf(securityOf(static_cast<PSECURITY_DESCRIPTOR>(bytes)));
    }

    long write(const std::wstring& path, const std::wstring& sddl)
    {
        std::vector<BYTE> bytes = selfRelative(securityOf(sddl), DACL_SECURITY_INFORMATION);
        return errorOf(CALL(SetFileSecurityW)(path.c_str(), DACL_SECURITY_INFORMATION, bytes.data()));
    }

    long writeKey(const wchar_t* name, const std::wstring& sddl, SECURITY_INFORMATION more = 0)
    {
        Security security = securityOf(sddl);
        return static_cast<long>(CALL(SetNamedSecurityInfoW)(const_cast<LPWSTR>(name), SE_REGISTRY_KEY,
                                                             DACL_SECURITY_INFORMATION | more, nullptr, nullptr,
                                                             reinterpret_cast<PACL>(security.dacl.data()), nullptr));
    }

    const support::ScratchDirectory scratch;
    const std::filesystem::path dir = scratch.path();
    const std::filesystem::path file = dir / "file";
};

TEST_F(WhatIfSecurity, UntouchedObjectsHaveWhatTheyInheritedWhenTheyWereMade)
{
    node.security[L"file " + dir.wstring()] = L"D:PAI(A;OICI;FA;;;BA)(A;CIIO;GA;;;CO)(A;OINP;FR;;;BU)";
    for (const bool changed : {false, true}) {
        EXPECT_EQ(read(dir / "sub"), normal(L"D:AI(A;OICIID;FA;;;BA)(A;ID;FA;;;BA)(A;CIIOID;GA;;;CO)"));
        EXPECT_EQ(read(dir / "sub" / "file"), normal(L"D:AI(A;ID;FA;;;BA)"));
        EXPECT_EQ(read(file), normal(L"D:AI(A;ID;FA;;;BA)(A;ID;FR;;;BU)"));
        EXPECT_EQ(changed ? ERROR_SUCCESS : write(dir, L"D:NO_ACCESS_CONTROL"), ERROR_SUCCESS); // passes nothing on
    }
    EXPECT_EQ(read(dir), L"D:NO_ACCESS_CONTROL");
}

TEST_F(WhatIfSecurity, AccessIsDeniedToAdministratorsWhereTheListAndTheOwnerSaySo)
{
    const struct
    {
        const wchar_t* security;
        bool read;
        bool write;
    } cases[] = {
        {L"O:SYD:P(A;;FA;;;SY)", false, false},
        {L"O:SYD:P(A;;FR;;;BU)", true, false},
        {L"O:SYD:P(D;;WD;;;WD)(A;;FA;;;BA)", true, false},
        {L"O:SYD:P(A;;FA;;;BA)", true, true},
        {L"D:P(A;;FA;;;SY)", true, true}, // the owner gets to the list anyhow
        {L"O:SYD:P", false, false},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(row.security)));
        node.security[L"file " + file.wstring()] = row.security;
        EXPECT_EQ(read(file) != std::to_wstring(ERROR_ACCESS_DENIED), row.read);
        EXPECT_EQ(write(file, readers), row.write ? ERROR_SUCCESS : ERROR_ACCESS_DENIED);
    }
}

TEST_F(WhatIfSecurity, ListingAndAttributesAreDeniedWhereTheListSaysSo)
{
    const auto attributes = [](const std::filesystem::path& path) {
        return errorOf(CALL(GetFileAttributesW)(path.c_str()) != INVALID_FILE_ATTRIBUTES);
    };
    const auto list = [](const std::filesystem::path& path) {
        WIN32_FIND_DATAW entry;
        const HANDLE search = CALL(FindFirstFileW)((path / "*").c_str(), &entry);
        return errorOf(search != INVALID_HANDLE_VALUE && FindClose(search));
    };
    node.security[L"file " + file.wstring()] = L"D:P(D;;0x80;;;WD)(A;;FA;;;BA)";
    EXPECT_EQ(attributes(file), ERROR_SUCCESS); // who may list the directory sees them
    node.security[L"file " + dir.wstring()] = L"D:P(D;;0x1;;;WD)(A;;FA;;;BA)";
    EXPECT_EQ(attributes(file), ERROR_ACCESS_DENIED);
    EXPECT_EQ(attributes(dir / "sub"), ERROR_SUCCESS);
    EXPECT_EQ(list(dir), ERROR_ACCESS_DENIED);
    EXPECT_EQ(list(dir / "sub"), ERROR_SUCCESS);
    EXPECT_EQ(list(dir / "none"), ERROR_PATH_NOT_FOUND);
}

TEST_F(WhatIfSecurity, WhatTextCannotSayIsKeptByteForByte)
{
    Security odd = securityOf(std::wstring(readers));
    const BYTE unknown[] = {0x7F, 0, 8, 0, 1, 2, 3, 4};
    odd.dacl.insert(odd.dacl.end(), unknown, unknown + sizeof unknown);
    reinterpret_cast<ACL*>(odd.dacl.data())->AclSize = static_cast<WORD>(odd.dacl.size());
    reinterpret_cast<ACL*>(odd.dacl.data())->AceCount = 2;
    const std::wstring text = textOf(odd);
    EXPECT_EQ(securityOf(text).dacl, odd.dacl);
    node.security[L"file " + file.wstring()] = text;
    EXPECT_EQ(read(file), text);
}

TEST_F(WhatIfSecurity, NamedKeysInheritAndPassOn)
{
    for (const wchar_t* const key : {L"SOFTWARE\\Kestel\\KEY_h1", L"SOFTWARE\\Kestel\\KEY_h2"})
        world.registry().createKey(node, key);
    node.security[L"registry HKLM\\SOFTWARE"] = L"D:PAI(A;CI;KA;;;SY)";
    node.security[L"registry HKLM\\SOFTWARE\\Kestel\\KEY_h2"] = L"D:P(A;;KA;;;BA)"; // protected
    const std::wstring object = L"NODE: registry HKLM\\software\\kestel";
    const std::wstring change = L": security: " + normal(L"D:AI(A;CIID;KA;;;SY)") + L" -> ";
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(writeKey(L"machine\\software\\kestel", L"D:(A;OICI;GA;;;BA)(A;OICI;GR;;;WD)"), ERROR_SUCCESS);
    EXPECT_EQ(plan(), (std::vector<std::wstring>{
                          object + change + normal(L"D:AI(A;OICI;KA;;;BA)(A;OICI;KR;;;WD)(A;CIID;KA;;;SY)"),
                          object + L"\\KEY_h1" + change +
                              normal(L"D:AI(A;OICIID;KA;;;BA)(A;OICIID;KR;;;WD)(A;CIID;KA;;;SY)")}));
    // A key that is made now has what is passed on now.
    world.registry().createKey(node, L"SOFTWARE\\Kestel\\KEY_h3");
    EXPECT_EQ(writeKey(L"machine\\software\\kestel\\key_h3", L"D:"), ERROR_SUCCESS);
    EXPECT_TRUE(plan().empty());
    const wchar_t* const key = L"\\\\NODE\\MACHINE\\SOFTWARE\\Kestel\\KEY_h1";
    EXPECT_EQ(writeKey(key, L"D:(A;;KA;;;BA)", PROTECTED_DACL_SECURITY_INFORMATION), ERROR_SUCCESS);
    EXPECT_EQ(node.security[L"registry HKLM\\SOFTWARE\\Kestel\\KEY_h1"], normal(L"D:PAI(A;;KA;;;BA)"));
    EXPECT_EQ(writeKey(L"HKLM\\SOFTWARE", readers), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(writeKey(L"\\\\none\\MACHINE\\x", readers), ERROR_BAD_NETPATH);
}

} // namespace
