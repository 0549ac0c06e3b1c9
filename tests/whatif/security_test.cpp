#include "tests/whatif/replaced.h"
#include "whatif/descriptors.h"
#include "whatif/registry.h"

#include <accctrl.h>
#include <aclapi.h>
#include <sddl.h>

#include <filesystem>
#include <fstream>

namespace {

using namespace whatif;
using Lines = std::vector<std::wstring>;

constexpr wchar_t readers[] = L"D:(A;OICI;0x1200a9;;;AU)";

// A tree dir\sub\file and dir\file2 of real files.
class WhatIfSecurity : public replaced::WhatIf
{
protected:
    WhatIfSecurity() : dir(std::filesystem::temp_directory_path() / ("keswsec-security-" + std::to_string(pid())))
    {
        std::filesystem::create_directories(dir / "sub");
        std::ofstream(dir / "sub" / "file");
        std::ofstream(dir / "file2");
        node.security[L"file " + dir.wstring()] = L"D:PAI(A;OICI;FA;;;BA)(A;CIIO;GA;;;CO)(A;OINP;FR;;;BU)";
    }
    ~WhatIfSecurity() override { std::filesystem::remove_all(dir); }

    static DWORD pid() { return GetCurrentProcessId(); }

    // The object's security as text, or the number of the error.
    std::wstring read(const std::wstring& path)
    {
        DWORD needed = 0;
        if (!CALL(GetFileSecurityW)(path.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &needed) &&
            GetLastError() != ERROR_INSUFFICIENT_BUFFER)
            return std::to_wstring(GetLastError());
        std::vector<BYTE> bytes(needed);
        EXPECT_TRUE(CALL(GetFileSecurityW)(path.c_str(), DACL_SECURITY_INFORMATION, bytes.data(), needed, &needed));
        return textOf(securityOf(bytes.data()));
    }

    DWORD write(const std::wstring& path, const std::wstring& sddl)
    {
        std::vector<BYTE> bytes = selfRelative(securityOf(sddl), DACL_SECURITY_INFORMATION);
        return CALL(SetFileSecurityW)(path.c_str(), DACL_SECURITY_INFORMATION, bytes.data()) ? ERROR_SUCCESS
                                                                                             : GetLastError();
    }

    DWORD writeNamed(const wchar_t* name, SE_OBJECT_TYPE type, const std::wstring& sddl, SECURITY_INFORMATION more = 0)
    {
        Security security = securityOf(sddl);
        return CALL(SetNamedSecurityInfoW)(const_cast<LPWSTR>(name), type, DACL_SECURITY_INFORMATION | more, nullptr,
                                           nullptr, reinterpret_cast<PACL>(security.dacl.data()), nullptr);
    }

    // The same text as this platform writes it.
    static std::wstring normal(const std::wstring& sddl) { return textOf(securityOf(sddl)); }

    std::filesystem::path dir;
};

TEST_F(WhatIfSecurity, UntouchedObjectsHaveWhatTheyInheritedWhenTheyWereMade)
{
    const std::wstring sub = normal(L"D:AI(A;OICIID;FA;;;BA)(A;ID;FA;;;BA)(A;CIIOID;GA;;;CO)");
    const std::wstring file = normal(L"D:AI(A;ID;FA;;;BA)");
    const std::wstring file2 = normal(L"D:AI(A;ID;FA;;;BA)(A;ID;FR;;;BU)");
    for (const bool changed : {false, true}) {
        EXPECT_EQ(read(dir / "sub"), sub);
        EXPECT_EQ(read(dir / "sub" / "file"), file);
        EXPECT_EQ(read(dir / "file2"), file2);
        // Writing to the directory itself passes nothing on.
        if (!changed) {
            EXPECT_EQ(write(dir, readers), static_cast<DWORD>(ERROR_SUCCESS));
        }
    }
    world.add(L"DB2").drives[L"Q"] = dir.wstring();
    EXPECT_EQ(write(L"\\\\db2\\q$\\sub\\file", readers), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(world.add(L"DB2").security.count(L"file Q:\\sub\\file"), 1u);
    EXPECT_EQ(read(dir / "sub" / "file"), file);
    EXPECT_EQ(read(dir / "none"), std::to_wstring(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(read(L"\\\\nowhere\\C$\\x"), std::to_wstring(ERROR_BAD_NETPATH));
}

TEST_F(WhatIfSecurity, WritingMapsGenericRightsAndIsRecordedOnce)
{
    const std::wstring name = (dir / "sub").wstring();
    const std::wstring before = read(name);
    const std::wstring after = normal(L"D:P(A;OICI;FA;;;BA)(A;OICIIO;GA;;;CO)(A;ID;FR;;;BU)");
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(write(name + L"\\.\\", L"D:PAI(A;OICI;GA;;;BA)(A;OICIIO;GA;;;CO)(A;ID;GR;;;BU)"),
                  static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(read(name), after);
    EXPECT_EQ(plan(), Lines{L"NODE: file " + name + L": security: " + before + L" -> " + after});
    EXPECT_EQ(write(name, L"D:NO_ACCESS_CONTROL"), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(read(name), L"D:NO_ACCESS_CONTROL");
}

// A directory that is one and the same by two names: here a drive of the node leads to it, as a junction would.
TEST_F(WhatIfSecurity, OneDirectoryByTwoNamesHasOneSecurityInIt)
{
    node.drives[L"Q"] = dir.wstring();
    EXPECT_EQ(write(dir / "file2", readers), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(read(L"\\\\node\\Q$\\file2"), normal(readers));
    plan();
    EXPECT_EQ(write(L"\\\\node\\q$\\file2", readers), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(plan(), Lines());
}

TEST_F(WhatIfSecurity, AccessIsDeniedToAdministratorsWhereTheListAndTheOwnerSaySo)
{
    const std::wstring name = (dir / "file2").wstring();
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
    const std::wstring denied = std::to_wstring(ERROR_ACCESS_DENIED);
    for (const auto& row : cases) {
        node.security[L"file " + name] = row.security;
        EXPECT_EQ(read(name) == denied, !row.read) << testing::PrintToString(std::wstring(row.security));
        EXPECT_EQ(write(name, readers), static_cast<DWORD>(row.write ? ERROR_SUCCESS : ERROR_ACCESS_DENIED))
            << testing::PrintToString(std::wstring(row.security));
    }
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
    node.security[L"file " + (dir / "file2").wstring()] = text;
    EXPECT_EQ(read(dir / "file2"), text);
}

TEST_F(WhatIfSecurity, NamedKeysInheritAndPassOn)
{
    world.registry().createKey(node, L"SOFTWARE\\Kestel\\KEY_h1");
    world.registry().createKey(node, L"SOFTWARE\\Kestel\\KEY_h2");
    node.security[L"registry HKLM\\SOFTWARE"] = L"D:PAI(A;CI;KA;;;SY)";
    node.security[L"registry HKLM\\SOFTWARE\\Kestel\\KEY_h2"] = L"D:P(A;;KA;;;BA)";
    const std::wstring own = L"(A;OICI;KA;;;BA)(A;OICI;KR;;;WD)";
    const std::wstring object = L"NODE: registry HKLM\\software\\kestel";
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(writeNamed(L"machine\\software\\kestel", SE_REGISTRY_KEY, L"D:(A;OICI;GA;;;BA)(A;OICI;GR;;;WD)"),
                  static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(plan(), (Lines{object + L": security: " + normal(L"D:AI(A;CIID;KA;;;SY)") + L" -> " +
                                 normal(L"D:AI" + own + L"(A;CIID;KA;;;SY)"),
                             object + L"\\KEY_h1: security: " + normal(L"D:AI(A;CIID;KA;;;SY)") + L" -> " +
                                 normal(L"D:AI(A;OICIID;KA;;;BA)(A;OICIID;KR;;;WD)(A;CIID;KA;;;SY)")}));
    EXPECT_EQ(writeNamed(L"\\\\NODE\\MACHINE\\SOFTWARE\\Kestel\\KEY_h1", SE_REGISTRY_KEY, L"D:(A;;KA;;;BA)",
                         PROTECTED_DACL_SECURITY_INFORMATION),
              static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(node.security[L"registry HKLM\\SOFTWARE\\Kestel\\KEY_h1"], normal(L"D:PAI(A;;KA;;;BA)"));
    EXPECT_EQ(writeNamed(L"MACHINE\\SOFTWARE\\none", SE_REGISTRY_KEY, readers),
              static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(writeNamed(L"HKLM\\SOFTWARE", SE_REGISTRY_KEY, readers), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(writeNamed(L"\\\\none\\MACHINE\\x", SE_REGISTRY_KEY, readers), static_cast<DWORD>(ERROR_BAD_NETPATH));
}

TEST_F(WhatIfSecurity, NamesInListsAreTheNodes)
{
    node.groups.push_back({L"KES_DBA", L"", L"S-1-5-21-1-2-3-1001", {}});
    EXPLICIT_ACCESS_A entries[2];
    BuildExplicitAccessWithNameA(&entries[0], const_cast<LPSTR>("KES_DBA"), 0x30, GRANT_ACCESS, NO_INHERITANCE);
    BuildExplicitAccessWithNameA(&entries[1], const_cast<LPSTR>("KES_NONE"), 0x30, GRANT_ACCESS, NO_INHERITANCE);
    PACL acl = nullptr;
    EXPECT_EQ(CALL(SetEntriesInAclA)(2, entries, nullptr, &acl), static_cast<DWORD>(ERROR_NONE_MAPPED));
    ASSERT_EQ(CALL(SetEntriesInAclA)(1, entries, nullptr, &acl), static_cast<DWORD>(ERROR_SUCCESS));
    SECURITY_DESCRIPTOR descriptor;
    InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&descriptor, TRUE, acl, FALSE);
    EXPECT_EQ(textOf(securityOf(&descriptor)), normal(L"D:(A;;0x30;;;S-1-5-21-1-2-3-1001)"));
    LocalFree(acl);
}

} // namespace
