// Registry keys of the machine that the tests run on, written and read back.
#include "acl/object_dacl.h"
#include "frame/owned.h"
#include "tests/acl/ace_text.h"
#include "tests/support/cases.h"
#include "whatif/imports.h"

#include <gtest/gtest.h>

#include <accctrl.h>

namespace {

using namespace acetext;

constexpr char keyName[] = "Software\\KestelAclTest";
constexpr char objectName[] = "CURRENT_USER\\Software\\KestelAclTest";

class RegistryAcl : public testing::Test
{
protected:
    RegistryAcl()
    {
        HKEY key = nullptr;
        EXPECT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, keyName, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
                  ERROR_SUCCESS);
        key_.reset(key);
    }
    ~RegistryAcl() override { RegDeleteKeyA(HKEY_CURRENT_USER, keyName); }

    std::string dacl() const
    {
        DWORD size = 0;
        RegGetKeySecurity(key_.get(), DACL_SECURITY_INFORMATION, nullptr, &size);
        std::vector<BYTE> bytes(size);
        EXPECT_EQ(RegGetKeySecurity(key_.get(), DACL_SECURITY_INFORMATION, bytes.data(), &size), ERROR_SUCCESS);
        BOOL present = FALSE;
        BOOL defaulted = FALSE;
        PACL acl = nullptr;
        GetSecurityDescriptorDacl(bytes.data(), &present, &acl, &defaulted);
        return textOf(acesOf(acl));
    }

private:
    owned::RegistryKey key_;
};

char localSystem[] = "NT AUTHORITY\\SYSTEM";
char batch[] = "NT AUTHORITY\\BATCH";
char* users[] = {localSystem, batch, localSystem};

} // namespace

TEST_F(RegistryAcl, BecomesExactlyTheNewEntries)
{
    sswseErrRec rec;
    ASSERT_EQ(sswseAddACLOnObjectForUser(&rec, 2, objectName, nullptr, 3, 8, 0), 2u) << rec.message;
    EXPECT_EQ(dacl(), canonical("(A;OICI;0x10000000;;;BA)(A;OICI;0x20039;;;WD)"));
    ASSERT_EQ(sswseAddACLOnObjectForUser(&rec, 2, objectName, users, 3, 9, 1), 2u) << rec.message;
    EXPECT_EQ(dacl(), canonical("(A;OICI;0x10000000;;;BA)(A;OICI;0x20039;;;WD)(A;OICI;0x10000000;;;SY)"
                                "(A;OICI;0x10000000;;;S-1-5-3)(A;OICI;0x10000000;;;SY)"));
}

TEST_F(RegistryAcl, IsProtectedWhereAsked)
{
    static SECURITY_INFORMATION asked;
    const auto setNamed = [](LPWSTR, SE_OBJECT_TYPE type, SECURITY_INFORMATION information, PSID owner, PSID group,
                             PACL, PACL system) -> DWORD {
        EXPECT_EQ(type, SE_REGISTRY_KEY);
        EXPECT_TRUE(!owner && !group && !system);
        asked = information;
        return ERROR_SUCCESS;
    };
    whatif::Imports imports(GetModuleHandleA(nullptr));
    imports.redirect("SetNamedSecurityInfoW", reinterpret_cast<void*>(+setNamed));
    std::vector<Ace> aces = acesOf(std::string("(A;;0xf003f;;;WD)"));
    for (const bool inherit : {false, true}) {
        sswseErrRec rec;
        EXPECT_EQ(sswseSetFileSecurity(&rec, pointersTo(aces).data(), 1, L"MACHINE\\x", true, inherit, true), 2u);
        EXPECT_EQ(asked, inherit ? 4u : 0x80000004u);
    }
}

TEST_F(RegistryAcl, StaysUntouchedWithoutUsers)
{
    const std::string before = dacl();
    char* nullLast[] = {localSystem, nullptr};
    const auto add = [](char** names, int count, int ptype) {
        return support::calling(sswseAddACLOnObjectForUser, 2u, objectName, names, count, ptype, BYTE{0});
    };
    support::expectRefused("usernames", {add(users, -1, 8), add(nullptr, 1, 9), add(nullLast, 2, 9)});
    EXPECT_EQ(dacl(), before);
}
