// Services on the machine that the tests run on: the service control manager is real, the executables have no row in
// the role table. The calls' labels, whatever they stand for.
#include "frame/owned.h"
#include "tests/support/cases.h"
#include "tests/support/guarded_heap.h"
#include "tests/support/home.h"
#include "tests/support/trace_log.h"

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

using support::calling;
using support::messageOf;

constexpr char testService[] = "KeswsecTestService";

class Services : public testing::Test
{
protected:
    Services()
    {
        registry.set("KESTEL_HOME_NAME", "h1\0"s);
        registry.set("KESTEL_SVCUSER_TYPE", " \0"s);
    }
    ~Services() override
    {
        if (const owned::ServiceHandle service = open(DELETE))
            DeleteService(service.get());
    }

    owned::ServiceHandle open(DWORD access) const
    {
        return owned::ServiceHandle(OpenServiceA(manager.get(), testService, access));
    }

    DWORD create(const char* binaryPath, const char* dependencies = nullptr)
    {
        SC_HANDLE service = reinterpret_cast<SC_HANDLE>(1);
        const DWORD status = EXPORT_OF(library, sswseCreateService)(
            &rec, testService, "Keswsec test", SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START,
            SERVICE_ERROR_IGNORE, binaryPath, "Keswsec group", nullptr, dependencies, nullptr, "secret", nullptr,
            &service);
        created = service != nullptr;
        const owned::ServiceHandle owner(service);
        return status;
    }

    DWORD update(const char* binaryPath)
    {
        return EXPORT_OF(library, sswseUpdateService)(&rec, nullptr, testService, "ignored", "secret", binaryPath);
    }

    std::string account()
    {
        char name[512] = "none";
        EXPECT_EQ(EXPORT_OF(library, sswseGetSvcUserForService)(&rec, testService, name, sizeof name, nullptr, ""),
                  SSWSE_SUCCESS);
        return name;
    }

    support::TemporaryHome library;
    support::RegistryHome registry;
    owned::ServiceHandle manager{OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)};
    sswseErrRec rec;
    bool created = false;
};

TEST_F(Services, AreCreatedUpdatedAndDeleted)
{
    registry.set("KESTEL_HOME_TYPE", "1\0"s);
    registry.set("KESTEL_SVCUSER", "DOMAIN\\svcuser\0"s);
    ASSERT_EQ(create("C:\\home1\\bin\\norow.exe -x", "Tcpip\0Afd\0"), SSWSE_SUCCESS) << rec.message;
    EXPECT_TRUE(created);
    alignas(QUERY_SERVICE_CONFIGA) char buffer[8192];
    auto* const config = reinterpret_cast<QUERY_SERVICE_CONFIGA*>(buffer);
    DWORD size = 0;
    ASSERT_TRUE(QueryServiceConfigA(open(SERVICE_QUERY_CONFIG).get(), config, sizeof buffer, &size));
    EXPECT_STREQ(config->lpServiceStartName, "DOMAIN\\svcuser");
    EXPECT_STREQ(config->lpBinaryPathName, "C:\\home1\\bin\\norow.exe -x");
    EXPECT_STREQ(config->lpDisplayName, "Keswsec test");
    EXPECT_STREQ(config->lpLoadOrderGroup, "Keswsec group");
    EXPECT_EQ(config->dwServiceType, SERVICE_WIN32_OWN_PROCESS);
    EXPECT_EQ(config->dwStartType, SERVICE_DEMAND_START);
    EXPECT_EQ(config->dwErrorControl, SERVICE_ERROR_IGNORE);
    char names[64] = {}; // where the system keeps them; Wine does not report them
    size = sizeof names;
    RegGetValueA(HKEY_LOCAL_MACHINE, ("SYSTEM\\CurrentControlSet\\Services\\"s + testService).c_str(),
                 "DependOnService", RRF_RT_REG_MULTI_SZ, nullptr, names, &size);
    EXPECT_EQ(std::string(names, size), "Tcpip\0Afd\0\0"s);
    EXPECT_EQ(account(), "DOMAIN\\svcuser");

    EXPECT_EQ(create("norow.exe"), SSWSE_FAILURE);
    EXPECT_FALSE(created);
    EXPECT_EQ(messageOf(rec), "WSE-000057: Unable to create service.");
    EXPECT_STREQ(rec.oserror, "1073");

    registry.remove("KESTEL_SVCUSER");
    EXPECT_EQ(update("C:\\home2\\norow.exe"), SSWSE_SUCCESS) << rec.message;
    EXPECT_EQ(account(), "LocalSystem") << "no account would leave the former one";

    EXPECT_TRUE(DeleteService(open(DELETE).get()));
    EXPECT_EQ(update("norow.exe"), SSWSE_FAILURE);
    EXPECT_EQ(messageOf(rec), "WSE-000054: Unable to get a handle to the service.");
    EXPECT_STREQ(rec.oserror, "1060");
}

TEST_F(Services, WithoutAUsableHomeAreNotTouched)
{
    constexpr char noHome[] = "WSE-000052: Unable to determine Kestel home.";
    constexpr char badType[] = "WSE-00008: Unsupported Kestel home type.";
    const struct
    {
        const char* keyFile; // NULL: none
        const char* khtype;  // NULL: none
        DWORD status;
        const char* creating;
        const char* updating;
    } cases[] = {
        {nullptr, "1", SSWSE_HOME_NOT_FOUND, noHome, noHome},
        {"X\\KEY_no_such_home", "1", SSWSE_UNSUPPORTED_HOME_TYPE,
         "WSE-000010: Unable to open registry key Software\\Kestel\\KEY_no_such_home under HKLM.", badType},
        {"X\\KEY_keswsec_test", nullptr, SSWSE_UNSUPPORTED_HOME_TYPE,
         "WSE-000048: Unable to query value for KESTEL_HOME_TYPE in registry.", badType},
        {"X\\KEY_keswsec_test", "7", SSWSE_UNSUPPORTED_HOME_TYPE, badType, ""},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.creating);
        library.removeKeyFile();
        if (each.keyFile)
            library.writeKeyFile(each.keyFile);
        registry.remove("KESTEL_HOME_TYPE");
        if (each.khtype)
            registry.set("KESTEL_HOME_TYPE", each.khtype + "\0"s);
        EXPECT_EQ(create("norow.exe"), each.status);
        EXPECT_EQ(messageOf(rec), each.creating);
        EXPECT_FALSE(created);
        EXPECT_EQ(update("norow.exe"), each.status);
        EXPECT_EQ(messageOf(rec), each.updating);
    }
    EXPECT_FALSE(open(SERVICE_QUERY_CONFIG));
}

TEST(ServiceCalls, NameMissingArgumentsInOrder)
{
    const auto create = [](const char* service, const char* path) {
        return calling(sswseCreateService, service, nullptr, DWORD{}, DWORD{}, DWORD{}, DWORD{}, path, nullptr, nullptr,
                       nullptr, nullptr, nullptr, nullptr, nullptr);
    };
    const auto update = [](const char* service) {
        return calling(sswseUpdateService, nullptr, service, nullptr, nullptr, nullptr);
    };
    const auto query = [](const char* service) {
        return calling(sswseGetSvcUserForService, service, nullptr, size_t{}, nullptr, nullptr);
    };
    const auto sidName = [](const char* service, char* text) {
        return calling(sswseGetServiceSidName, service, text, size_t{}, nullptr);
    };
    char text[8];
    support::expectRefused("Service Name", {create(nullptr, nullptr), update(nullptr), query(nullptr),
                                            calling(sswseDeleteService, nullptr, nullptr), sidName(nullptr, nullptr),
                                            calling(sswseGetServiceSID, nullptr, nullptr, nullptr)});
    support::expectRefused("Service Binary Path", {create("s", nullptr), update("s")});
    support::expectRefused("Pointer to ServiceHandle", {create("s", "p")});
    support::expectRefused("username", {query("s")});
    support::expectRefused("Service Sid String", {sidName("s", nullptr)});
    support::expectRefused("Pointer to SID", {calling(sswseGetServiceSID, "s", nullptr, nullptr)});
    support::expectCases({{"no room", sidName("s", text), SSWSE_INVALID_ARGUMENT,
                           "WSE-000033: Insufficient output buffer for Service Sid String length."}});
}

TEST(ServiceCalls, TraceTheirArgumentsWithoutPasswordsAndUnwrittenBuffers)
{
    SC_HANDLE service = nullptr;
    const guarded::Buffer unwritten(16, 'x');
    const std::pair<std::string, support::Call> cases[] = {
        {"Service Name = (null)\nDisplay Name = d\nService Type = 16   \nBinpath = b\nDependencies = x\n"
         "ServiceStartName = n\nPassword = ****   \nnodename = node",
         calling(sswseCreateService, nullptr, "d", DWORD{}, DWORD{16}, DWORD{}, DWORD{}, "b", nullptr, nullptr,
                 "x\0y\0", "n", "secret", "node", &service)},
        {"nodename = \nService Name = (null)\nUsername = u   \nPassword = ****\nBinpath = b",
         calling(sswseUpdateService, "", nullptr, "u", "secret", "b")},
        {"nodename = \nusername =           \nServicename = (null)",
         calling(sswseGetSvcUserForService, nullptr, unwritten.data(), unwritten.size(), nullptr, "")},
    };
    for (const auto& [line, call] : cases) {
        support::TraceLog log;
        sswseTraceOn(nullptr, &support::TraceLog::receive, &log, 0);
        EXPECT_EQ(call(nullptr), SSWSE_INVALID_ARGUMENT);
        sswseTraceOff(nullptr);
        std::string text; // it may come in pieces, until the error's text
        for (size_t i = 1; i < log.lines.size() && log.lines[i][0] != '\n'; ++i)
            text += (text.empty() ? "" : "\n") + log.lines[i];
        EXPECT_EQ(text, line);
    }
}

} // namespace
