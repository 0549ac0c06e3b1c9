#include "tests/whatif/replaced.h"
#include "whatif/descriptors.h"

#include <accctrl.h>
#include <aclapi.h>

#include <filesystem>
#include <fstream>

namespace {

using namespace whatif;
using Lines = std::vector<std::wstring>;

constexpr wchar_t serviceName[] = L"keswsec-test-service";
constexpr wchar_t keyPath[] = L"SOFTWARE\\keswsec-test-security";

// What a node that reads this machine sees of a real service, file and key, and what becomes of them when it writes.
class WhatIfMachine : public replaced::WhatIf
{
protected:
    WhatIfMachine() : file(std::filesystem::temp_directory_path() / "keswsec-machine")
    {
        redirection.reset();
        redirection.emplace(library, machine);
        std::ofstream{file};
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, keyPath, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &key,
                        nullptr);
        realManager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
        realService = CreateServiceW(realManager, serviceName, L"Real display", SERVICE_ALL_ACCESS,
                                     SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL,
                                     L"C:\\real.exe", nullptr, nullptr, nullptr, nullptr, nullptr);
    }
    ~WhatIfMachine() override
    {
        redirection.reset();
        DeleteService(realService);
        CloseServiceHandle(realService);
        CloseServiceHandle(realManager);
        RegCloseKey(key);
        RegDeleteKeyW(HKEY_LOCAL_MACHINE, keyPath);
        std::filesystem::remove(file);
    }

    template <class Query>
    static std::wstring binaryPath(Query query, SC_HANDLE service)
    {
        BYTE buffer[1024] = {};
        DWORD needed = 0;
        auto* const config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer);
        return query(service, config, sizeof buffer, &needed) ? config->lpBinaryPathName : L"";
    }

    std::wstring realFileSecurity() const
    {
        BYTE buffer[1024] = {};
        DWORD needed = 0;
        GetFileSecurityW(file.c_str(), DACL_SECURITY_INFORMATION, buffer, sizeof buffer, &needed);
        return textOf(securityOf(static_cast<PSECURITY_DESCRIPTOR>(buffer)));
    }

    std::wstring realKeySecurity() const
    {
        BYTE buffer[1024] = {};
        DWORD size = sizeof buffer;
        RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, buffer, &size);
        return textOf(securityOf(static_cast<PSECURITY_DESCRIPTOR>(buffer)));
    }

    World machine{Base::thisMachine};
    std::filesystem::path file;
    HKEY key = nullptr;
    SC_HANDLE realManager = nullptr;
    SC_HANDLE realService = nullptr;
};

TEST_F(WhatIfMachine, ServicesAreReadAndStayAsTheyAre)
{
    const SC_HANDLE manager = CALL(OpenSCManagerW)(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    const auto create = [&](const wchar_t* name, const wchar_t* displayName) {
        return CALL(CreateServiceW)(manager, name, displayName, SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,
                                    SERVICE_AUTO_START, SERVICE_ERROR_NORMAL, L"C:\\x.exe", nullptr, nullptr, nullptr,
                                    nullptr, nullptr);
    };
    EXPECT_FALSE(create(serviceName, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SERVICE_EXISTS));
    EXPECT_FALSE(create(L"keswsec-test-other", L"real DISPLAY"));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DUPLICATE_SERVICE_NAME));

    const SC_HANDLE service = CALL(OpenServiceW)(manager, serviceName, SERVICE_ALL_ACCESS);
    ASSERT_TRUE(service) << GetLastError();
    EXPECT_EQ(binaryPath(CALL(QueryServiceConfigW), service), L"C:\\real.exe");
    EXPECT_TRUE(CALL(ChangeServiceConfigW)(service, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE,
                                           L"C:\\node.exe", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(binaryPath(CALL(QueryServiceConfigW), service), L"C:\\node.exe");
    EXPECT_TRUE(CALL(DeleteService)(service));
    EXPECT_TRUE(CALL(CloseServiceHandle)(service));
    EXPECT_FALSE(CALL(OpenServiceW)(manager, serviceName, SERVICE_QUERY_CONFIG));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SERVICE_DOES_NOT_EXIST));
    EXPECT_TRUE(create(serviceName, nullptr));
    EXPECT_EQ(binaryPath(&QueryServiceConfigW, realService), L"C:\\real.exe");
}

TEST_F(WhatIfMachine, SecurityIsReadAndStaysAsItIs)
{
    const std::wstring fileBefore = realFileSecurity();
    const std::wstring keyBefore = realKeySecurity();
    std::vector<BYTE> descriptor = selfRelative(securityOf(std::wstring(L"D:(A;;FR;;;WD)")), DACL_SECURITY_INFORMATION);
    PACL dacl = nullptr;
    BOOL flag = FALSE;
    GetSecurityDescriptorDacl(descriptor.data(), &flag, &dacl, &flag);
    EXPECT_TRUE(CALL(SetFileSecurityW)(file.c_str(), DACL_SECURITY_INFORMATION, descriptor.data()));
    std::wstring name = std::wstring(L"MACHINE\\") + keyPath;
    EXPECT_EQ(CALL(SetNamedSecurityInfoW)(name.data(), SE_REGISTRY_KEY,
                                          DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr,
                                          nullptr, dacl, nullptr),
              static_cast<DWORD>(ERROR_SUCCESS));
    ASSERT_EQ(machine.plan().size(), 2u);
    EXPECT_NE(machine.plan()[0].before.find(fileBefore), std::wstring::npos);
    EXPECT_NE(machine.plan()[1].before.find(keyBefore), std::wstring::npos);
    EXPECT_EQ(realFileSecurity(), fileBefore);
    EXPECT_EQ(realKeySecurity(), keyBefore);
}

} // namespace
