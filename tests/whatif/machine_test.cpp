// What a node that reads this machine sees of it, and that nothing it writes gets there.
#include "keswsec.h"
#include "tests/support/home.h"
#include "tests/whatif/replaced.h"
#include "whatif/descriptors.h"
#include "whatif/names.h"
#include "whatif/registry.h"

#include <accctrl.h>
#include <aclapi.h>

namespace {

using namespace whatif;

struct WhatIfMachine : replaced::WhatIf
{
    WhatIfMachine() : replaced::WhatIf(Base::thisMachine) {}
};

TEST_F(WhatIfMachine, NamesAreReadAndGroupsStayInTheNode)
{
    ASSERT_TRUE(resolve(node, L"Everyone"));
    EXPECT_EQ(resolve(node, L"Everyone")->sid, L"S-1-1-0");
    EXPECT_FALSE(resolve(node, L"no such account"));
    node.groups.push_back({L"KES_DBA", L"", newSid(node), {}});
    EXPECT_EQ(printableName(node, resolve(node, L"KES_DBA")->sid), node.name + L"\\KES_DBA");
}

TEST_F(WhatIfMachine, TheLibraryWritesToTheNode)
{
    sswseErrRec rec = {};
    EXPECT_EQ(EXPORT(sswseCreateSVCEventRegEntry)(&rec, "keswsec-test", "m.dll", 1, nullptr), 2u) << rec.message;
    const wchar_t* const path = L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\keswsec-test";
    EXPECT_EQ(world.registry().value(node, path, L"TypesSupported"), registryNumber(1));
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
}

struct RealService
{
    SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    SC_HANDLE service = CreateServiceW(manager, L"keswsec-test-service", L"Real display", SERVICE_ALL_ACCESS,
                                       SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                                       L"C:\\real.exe", nullptr, nullptr, nullptr, nullptr, nullptr);
    ~RealService()
    {
        DeleteService(service);
        CloseServiceHandle(service);
        CloseServiceHandle(manager);
    }
};

template <class Query>
std::wstring binaryPath(Query query, SC_HANDLE service)
{
    BYTE buffer[1024] = {};
    DWORD needed = 0;
    auto* const config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer);
    return query(service, config, sizeof buffer, &needed) ? config->lpBinaryPathName : L"";
}

TEST_F(WhatIfMachine, ServicesAreReadAndStayAsTheyAre)
{
    const RealService real;
    const SC_HANDLE manager = CALL(OpenSCManagerW)(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    const auto create = [&](const wchar_t* name, const wchar_t* displayName) {
        return errorOf(CALL(CreateServiceW)(manager, name, displayName, SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,
                                            SERVICE_AUTO_START, SERVICE_ERROR_NORMAL, L"C:\\x.exe", nullptr, nullptr,
                                            nullptr, nullptr, nullptr));
    };
    const wchar_t* const name = L"keswsec-test-service";
    EXPECT_EQ(create(name, nullptr), ERROR_SERVICE_EXISTS);
    EXPECT_EQ(create(L"keswsec-test-other", L"real DISPLAY"), ERROR_DUPLICATE_SERVICE_NAME);
    const SC_HANDLE service = CALL(OpenServiceW)(manager, name, SERVICE_ALL_ACCESS);
    EXPECT_EQ(binaryPath(CALL(QueryServiceConfigW), service), L"C:\\real.exe");
    EXPECT_TRUE(CALL(ChangeServiceConfigW)(service, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE,
                                           L"C:\\node.exe", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(binaryPath(CALL(QueryServiceConfigW), service), L"C:\\node.exe");
    EXPECT_TRUE(CALL(DeleteService)(service) && CALL(CloseServiceHandle)(service));
    EXPECT_EQ(errorOf(CALL(OpenServiceW)(manager, name, SERVICE_QUERY_CONFIG)), ERROR_SERVICE_DOES_NOT_EXIST);
    EXPECT_EQ(create(name, nullptr), ERROR_SUCCESS);
    EXPECT_EQ(binaryPath(&QueryServiceConfigW, real.service), L"C:\\real.exe");
}

std::wstring realSecurity(const wchar_t* object, SE_OBJECT_TYPE type)
{
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    GetNamedSecurityInfoW(object, type, DACL_SECURITY_INFORMATION, nullptr, nullptr, nullptr, nullptr, &descriptor);
    const std::wstring text = descriptor ? textOf(securityOf(descriptor)) : L"none";
    LocalFree(descriptor);
    return text;
}

TEST_F(WhatIfMachine, SecurityIsReadAndStaysAsItIs)
{
    const support::ScratchDirectory scratch;
    const std::wstring file = scratch.path().wstring();
    const support::RegistryHome home;
    std::wstring key = L"MACHINE\\Software\\Kestel\\KEY_keswsec_test";
    const std::wstring fileBefore = realSecurity(file.c_str(), SE_FILE_OBJECT);
    const std::wstring keyBefore = realSecurity(key.c_str(), SE_REGISTRY_KEY);
    Security security = securityOf(std::wstring(L"D:(A;;FR;;;WD)"));
    EXPECT_TRUE(CALL(SetFileSecurityW)(file.c_str(), DACL_SECURITY_INFORMATION,
                                       selfRelative(security, DACL_SECURITY_INFORMATION).data()));
    EXPECT_EQ(CALL(SetNamedSecurityInfoW)(key.data(), SE_REGISTRY_KEY,
                                          DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr,
                                          nullptr, reinterpret_cast<PACL>(security.dacl.data()), nullptr),
              DWORD{ERROR_SUCCESS});
    ASSERT_EQ(world.plan().size(), 2u);
    EXPECT_NE(world.plan()[0].before.find(fileBefore), std::wstring::npos);
    EXPECT_NE(world.plan()[1].before.find(keyBefore), std::wstring::npos);
    EXPECT_EQ(realSecurity(file.c_str(), SE_FILE_OBJECT), fileBefore);
    EXPECT_EQ(realSecurity(key.c_str(), SE_REGISTRY_KEY), keyBefore);
}

} // namespace
