#include "tests/whatif/replaced.h"

namespace {

using Lines = std::vector<std::wstring>;

struct Wanted
{
    const wchar_t* name = L"KestelDB";
    const wchar_t* displayName = nullptr;
    DWORD type = SERVICE_WIN32_OWN_PROCESS;
    DWORD start = SERVICE_AUTO_START;
    const wchar_t* path = L"C:\\k.exe";
    const wchar_t* account = nullptr;
    const wchar_t* group = nullptr;
    bool tag = false;
    const wchar_t* dependencies = nullptr;
};

class WhatIfServices : public replaced::WhatIf
{
protected:
    WhatIfServices()
    {
        whatif::Account user;
        user.name = L"svc";
        user.sid = L"S-1-5-21-1-2-3-1001";
        node.accounts.push_back(user);
        manager = CALL(OpenSCManagerW)(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
    }

    SC_HANDLE create(const Wanted& wanted, const wchar_t* password = nullptr)
    {
        DWORD tag = 0;
        SetLastError(0);
        return CALL(CreateServiceW)(manager, wanted.name, wanted.displayName, SERVICE_ALL_ACCESS, wanted.type,
                                    wanted.start, SERVICE_ERROR_NORMAL, wanted.path, wanted.group,
                                    wanted.tag ? &tag : nullptr, wanted.dependencies, wanted.account, password);
    }

    DWORD errorOf(const Wanted& wanted)
    {
        const SC_HANDLE service = create(wanted);
        const DWORD error = service ? ERROR_SUCCESS : GetLastError();
        if (service) {
            CALL(DeleteService)(service);
            CALL(CloseServiceHandle)(service);
        }
        return error;
    }

    DWORD open(const wchar_t* name, DWORD access)
    {
        const SC_HANDLE service = CALL(OpenServiceW)(manager, name, access);
        return service && CALL(CloseServiceHandle)(service) ? ERROR_SUCCESS : GetLastError();
    }

    BOOL changeAccount(SC_HANDLE service, const wchar_t* account, const wchar_t* password)
    {
        return CALL(ChangeServiceConfigW)(service, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, nullptr,
                                          nullptr, nullptr, nullptr, account, password, nullptr);
    }

    SC_HANDLE manager = nullptr;
};

TEST_F(WhatIfServices, CreationIsRefusedAsOnWindows)
{
    const auto with = [](auto change) {
        Wanted wanted;
        change(wanted);
        return wanted;
    };
    create({L"Other", L"Other service"});
    const struct
    {
        Wanted wanted;
        DWORD error;
    } cases[] = {
        {{}, ERROR_SUCCESS},
        {with([](Wanted& w) { w.name = L"OTHER"; }), ERROR_SERVICE_EXISTS},
        {with([](Wanted& w) { w.displayName = L"other SERVICE"; }), ERROR_DUPLICATE_SERVICE_NAME},
        {with([](Wanted& w) { w.displayName = L"other"; }), ERROR_DUPLICATE_SERVICE_NAME},
        {with([](Wanted& w) { w.name = L"a\\b"; }), ERROR_INVALID_NAME},
        {with([](Wanted& w) { w.path = L""; }), ERROR_INVALID_PARAMETER},
        {with([](Wanted& w) { w.start = SERVICE_BOOT_START; }), ERROR_INVALID_PARAMETER},
        {with([](Wanted& w) { w.type = SERVICE_KERNEL_DRIVER, w.start = SERVICE_BOOT_START; }), ERROR_SUCCESS},
        {with([](Wanted& w) { w.tag = true; }), ERROR_INVALID_PARAMETER},
        {with([](Wanted& w) {
             w.tag = true, w.group = L"Base", w.type = SERVICE_KERNEL_DRIVER, w.start = SERVICE_SYSTEM_START;
         }),
         ERROR_SUCCESS},
        {with([](Wanted& w) { w.dependencies = L"Other\0kesteldb\0"; }), ERROR_CIRCULAR_DEPENDENCY},
        {with([](Wanted& w) { w.account = L".\\svc"; }), ERROR_SUCCESS},
        {with([](Wanted& w) { w.account = L"svc"; }), ERROR_INVALID_SERVICE_ACCOUNT},
        {with([](Wanted& w) { w.account = L".\\nobody"; }), ERROR_INVALID_SERVICE_ACCOUNT},
        {with([](Wanted& w) { w.account = L"BUILTIN\\Users"; }), ERROR_INVALID_SERVICE_ACCOUNT},
        {with([](Wanted& w) { w.account = L"NT AUTHORITY\\LocalService"; }), ERROR_SUCCESS},
        {with([](Wanted& w) { w.account = L"nt service\\kesteldb"; }), ERROR_SUCCESS},
        {with([](Wanted& w) { w.account = L"NT SERVICE\\Other"; }), ERROR_INVALID_SERVICE_ACCOUNT},
    };
    for (const auto& row : cases)
        EXPECT_EQ(errorOf(row.wanted), row.error) << "case " << &row - cases;
}

TEST_F(WhatIfServices, PlanOfAServiceAndNothingForWhatChangesNothing)
{
    const SC_HANDLE service = create({}, nullptr);
    SERVICE_SID_INFO info = {SERVICE_SID_TYPE_UNRESTRICTED};
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(CALL(ChangeServiceConfig2W)(service, SERVICE_CONFIG_SERVICE_SID_INFO, &info));
        EXPECT_TRUE(changeAccount(service, L".\\svc", L"secret"));
    }
    EXPECT_TRUE(CALL(DeleteService)(service));
    EXPECT_EQ(plan(), (Lines{L"NODE: service KestelDB: created: LocalSystem, automatic, C:\\k.exe",
                             L"NODE: service KestelDB: SID type: NONE -> UNRESTRICTED",
                             L"NODE: service KestelDB: account: LocalSystem -> .\\svc",
                             L"NODE: service KestelDB: password set", L"NODE: service KestelDB: deleted"}));
}

TEST_F(WhatIfServices, DeletedServiceGoesWithItsLastHandle)
{
    const SC_HANDLE first = create({});
    const SC_HANDLE second = CALL(OpenServiceW)(manager, L"kesteldb", SERVICE_ALL_ACCESS);
    EXPECT_TRUE(CALL(DeleteService)(first));
    EXPECT_FALSE(CALL(DeleteService)(second));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SERVICE_MARKED_FOR_DELETE));
    EXPECT_FALSE(changeAccount(second, L"LocalSystem", nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SERVICE_MARKED_FOR_DELETE));
    EXPECT_TRUE(CALL(CloseServiceHandle)(first));
    EXPECT_EQ(errorOf({}), static_cast<DWORD>(ERROR_SERVICE_MARKED_FOR_DELETE));
    EXPECT_TRUE(CALL(CloseServiceHandle)(second));
    EXPECT_FALSE(CALL(CloseServiceHandle)(second));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(open(L"KestelDB", SERVICE_QUERY_CONFIG), static_cast<DWORD>(ERROR_SERVICE_DOES_NOT_EXIST));
    EXPECT_EQ(errorOf({}), static_cast<DWORD>(ERROR_SUCCESS));
}

TEST_F(WhatIfServices, AccessIsWhatTheHandleWasOpenedFor)
{
    EXPECT_EQ(CALL(OpenSCManagerW)(L"\\\\nowhere", nullptr, SC_MANAGER_CONNECT), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(RPC_S_SERVER_UNAVAILABLE));
    CALL(CloseServiceHandle)(create({}));
    const SC_HANDLE reader = CALL(OpenServiceW)(manager, L"KestelDB", SERVICE_QUERY_CONFIG);
    SERVICE_SID_INFO info = {SERVICE_SID_TYPE_UNRESTRICTED};
    EXPECT_FALSE(CALL(ChangeServiceConfig2W)(reader, SERVICE_CONFIG_SERVICE_SID_INFO, &info));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
    EXPECT_FALSE(CALL(DeleteService)(manager));
    EXPECT_FALSE(CALL(OpenServiceW)(reader, L"KestelDB", SERVICE_QUERY_CONFIG));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
    // The service's own list decides for administrators too.
    node.services.back().security = L"D:(A;;CCRC;;;BA)(A;;CCLCSWRPWPDTLOCRSDRCWDWO;;;SY)";
    EXPECT_EQ(open(L"KestelDB", SERVICE_QUERY_CONFIG | READ_CONTROL), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(open(L"KestelDB", SERVICE_ALL_ACCESS), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST_F(WhatIfServices, ConfigurationAndSecurityAreAskedForTwice)
{
    const SC_HANDLE service = create({L"KestelDB", L"Kestel", SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START,
                                      L"C:\\k.exe", L".\\svc", nullptr, false, L"A\0B\0"});
    DWORD needed = 0;
    ASSERT_FALSE(CALL(QueryServiceConfigW)(service, nullptr, 0, &needed));
    ASSERT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    std::vector<BYTE> buffer(needed);
    auto* const config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer.data());
    EXPECT_FALSE(CALL(QueryServiceConfigW)(service, config, needed - 1, &needed));
    ASSERT_TRUE(CALL(QueryServiceConfigW)(service, config, needed, &needed));
    EXPECT_STREQ(config->lpServiceStartName, L".\\svc");
    EXPECT_EQ(std::wstring(config->lpDependencies, 5), std::wstring(L"A\0B\0\0", 5));
    EXPECT_LE(reinterpret_cast<BYTE*>(config->lpDisplayName) + sizeof L"Kestel", buffer.data() + buffer.size());

    ASSERT_FALSE(CALL(QueryServiceObjectSecurity)(service, DACL_SECURITY_INFORMATION, nullptr, 0, &needed));
    ASSERT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    std::vector<BYTE> descriptor(needed);
    ASSERT_TRUE(
        CALL(QueryServiceObjectSecurity)(service, DACL_SECURITY_INFORMATION, descriptor.data(), needed, &needed));
    plan();
    ASSERT_TRUE(CALL(SetServiceObjectSecurity)(service, DACL_SECURITY_INFORMATION, descriptor.data()));
    EXPECT_EQ(plan(), Lines());
}

} // namespace
