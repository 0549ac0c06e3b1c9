#include "tests/whatif/replaced.h"

namespace {

using replaced::errorOf;

struct Wanted
{
    const wchar_t* name = L"KestelDB";
    const wchar_t* displayName = nullptr;
    const wchar_t* account = nullptr;
    const wchar_t* password = nullptr;
    DWORD start = SERVICE_AUTO_START;
    DWORD type = SERVICE_WIN32_OWN_PROCESS;
    bool tag = false;
    const wchar_t* group = nullptr;
    const wchar_t* dependencies = nullptr;
};

class WhatIfServices : public replaced::WhatIf
{
protected:
    SC_HANDLE create(const Wanted& wanted = {})
    {
        DWORD tag = 0;
        return CALL(CreateServiceW)(manager, wanted.name, wanted.displayName, SERVICE_ALL_ACCESS, wanted.type,
                                    wanted.start, SERVICE_ERROR_NORMAL, L"C:\\k.exe", wanted.group,
                                    wanted.tag ? &tag : nullptr, wanted.dependencies, wanted.account, wanted.password);
    }
    SC_HANDLE open(DWORD access) { return CALL(OpenServiceW)(manager, L"kesteldb", access); }
    static long remove(SC_HANDLE service) { return errorOf(CALL(DeleteService)(service)); }
    static long close(SC_HANDLE service) { return errorOf(CALL(CloseServiceHandle)(service)); }
    long createAndRemove(const Wanted& wanted = {})
    {
        const SC_HANDLE service = create(wanted);
        return service ? remove(service) + close(service) : errorOf(false);
    }

    SC_HANDLE manager = CALL(OpenSCManagerW)(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
};

TEST_F(WhatIfServices, CreationIsRefusedAsOnWindows)
{
    create({L"Other", L"Other service"});
    const wchar_t* const db = L"KestelDB";
    const wchar_t* const none = nullptr;
    const std::wstring texts(4096, L't'); // their ends are texts of any length
    const auto text = [&](size_t length) { return texts.c_str() + texts.size() - length; };
    const std::wstring list = texts.substr(0, 2047) + L'\0';
    const std::pair<Wanted, long> cases[] = {
        {{db, none, L"node\\LocalSystem", L"secret"}, ERROR_SUCCESS},
        {{db, none, L"CORP\\gmsa$"}, ERROR_SUCCESS},
        {{db, none, L"CORP\\gmsa$", L"secret"}, ERROR_INVALID_SERVICE_ACCOUNT},
        {{db, none, none, none, 2, 16, true}, ERROR_INVALID_PARAMETER},
        {{db, none, none, none, 2, 16, true, L"Base"}, ERROR_SUCCESS},
        {{db, none, none, none, 2, 16, false, none, L"Other\0kesteldb\0"}, ERROR_CIRCULAR_DEPENDENCY},
        {{db, none, none, none, 2, 16, false, none, list.c_str() + 1}, ERROR_SUCCESS},
        {{db, none, none, none, 2, 16, false, none, list.c_str()}, RPC_X_BAD_STUB_DATA},
        {{db, none, none, none, 2, 16, false, text(256)}, ERROR_SUCCESS},
        {{db, none, none, none, 2, 16, false, text(257)}, RPC_X_BAD_STUB_DATA},
        {{db, none, none, text(256)}, ERROR_SUCCESS},
        {{db, none, none, text(257)}, RPC_X_BAD_STUB_DATA},
        {{db, none, text(2047)}, ERROR_INVALID_SERVICE_ACCOUNT},
        {{db, none, text(2048)}, RPC_X_BAD_STUB_DATA},
    };
    for (const auto& row : cases)
        EXPECT_EQ(createAndRemove(row.first), row.second) << "case " << &row - cases;
    for (const std::string& line : plan())
        EXPECT_EQ(line.find("password"), std::string::npos) << "it is ignored or refused";
    local.major = 6; // and minor 0: before virtual accounts
    EXPECT_EQ(createAndRemove({db, none, L"NT SERVICE\\KestelDB"}), ERROR_INVALID_SERVICE_ACCOUNT);
    EXPECT_EQ(errorOf(CALL(OpenSCManagerW)(L"\\\\nowhere", none, SC_MANAGER_CONNECT)), RPC_S_SERVER_UNAVAILABLE);
}

TEST_F(WhatIfServices, AreOpenedForWhatTheirOwnListGrants)
{
    const SC_HANDLE first = create();
    const SC_HANDLE reader = open(SERVICE_QUERY_CONFIG);
    EXPECT_EQ(errorOf(CALL(OpenServiceW)(reader, L"KestelDB", SERVICE_QUERY_CONFIG)), ERROR_INVALID_HANDLE);
    local.services.back().security = L"D:(A;;CCRC;;;BA)(A;;CCLCSWRPWPDTLOCRSDRCWDWO;;;SY)";
    EXPECT_EQ(errorOf(open(SERVICE_ALL_ACCESS)), ERROR_ACCESS_DENIED); // for administrators too
    EXPECT_EQ(close(open(SERVICE_QUERY_CONFIG | READ_CONTROL)) + close(reader) + close(first), ERROR_SUCCESS);
    EXPECT_EQ(close(first), ERROR_INVALID_HANDLE);
}

TEST_F(WhatIfServices, HaveSmallConfigurationsAndThePasswordOfTheirAccount)
{
    const SC_HANDLE service = create({L"KestelDB", nullptr, L".\\svc", L"secret"});
    std::vector<BYTE> block(8193);
    DWORD needed = 0;
    for (const auto& [size, error] : {std::pair<DWORD, long>(8192, ERROR_SUCCESS), {8193, RPC_X_BAD_STUB_DATA}})
        EXPECT_EQ(errorOf(CALL(QueryServiceConfigW)(service, reinterpret_cast<QUERY_SERVICE_CONFIGW*>(block.data()),
                                                    size, &needed)),
                  error);
    for (const auto& [account, password] : {std::pair(L".\\SVC", L"secret"), {L"LocalSystem", L""}}) {
        EXPECT_TRUE(CALL(ChangeServiceConfigW)(service, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE, SERVICE_NO_CHANGE,
                                               nullptr, nullptr, nullptr, nullptr, account, nullptr, nullptr));
        EXPECT_EQ(local.services.back().password, password);
    }
}

} // namespace
