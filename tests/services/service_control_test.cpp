// Services on the machine that the tests run on, through the library as it ships. Their executables have no row in the
// role table, so nothing but the service control manager and the registry is needed.
#include "frame/owned.h"
#include "tests/support/cases.h"
#include "tests/support/guarded_heap.h"
#include "tests/support/home.h"
#include "tests/support/trace_log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

using namespace std::string_literals;

namespace {

using support::messageOf;

constexpr char testService[] = "KeswsecTestService";

class Services : public testing::Test
{
protected:
    Services() { registry.set("KESTEL_HOME_NAME", "h1\0"s); }
    ~Services() override
    {
        if (const owned::ServiceHandle service = open(DELETE))
            DeleteService(service.get());
    }

    owned::ServiceHandle open(DWORD access) const
    {
        return owned::ServiceHandle(OpenServiceA(manager.get(), testService, access));
    }

    // NULL: the home records none.
    void recordHome(const char* khtype, const char* user)
    {
        registry.set("KESTEL_HOME_TYPE", khtype + "\0"s);
        registry.remove("KESTEL_SVCUSER");
        if (user)
            registry.set("KESTEL_SVCUSER", user + "\0"s);
        registry.set("KESTEL_SVCUSER_TYPE", " \0"s);
    }

    DWORD create(const char* binaryPath, const char* dependencies = nullptr, DWORD type = SERVICE_WIN32_OWN_PROCESS,
                 const char* startName = nullptr)
    {
        SC_HANDLE service = reinterpret_cast<SC_HANDLE>(1);
        const DWORD status = EXPORT_OF(library, sswseCreateService)(
            &rec, testService, "Keswsec test", SERVICE_ALL_ACCESS, type, SERVICE_DEMAND_START, SERVICE_ERROR_IGNORE,
            binaryPath, "Keswsec group", nullptr, dependencies, startName, "secret", nullptr, &service);
        EXPECT_NE(service, reinterpret_cast<SC_HANDLE>(1));
        created = service != nullptr;
        const owned::ServiceHandle owner(service);
        return status;
    }

    DWORD update(const char* binaryPath)
    {
        return EXPORT_OF(library, sswseUpdateService)(&rec, nullptr, testService, "ignored", "secret", binaryPath);
    }

    std::string account(DWORD expectedStatus = SSWSE_SUCCESS)
    {
        char name[512] = "none";
        size_t written = 0;
        EXPECT_EQ(EXPORT_OF(library, sswseGetSvcUserForService)(&rec, testService, name, sizeof name, &written, ""),
                  expectedStatus);
        EXPECT_EQ(written, expectedStatus == SSWSE_SUCCESS ? strlen(name) + 1 : 0);
        return name;
    }

    QUERY_SERVICE_CONFIGA* configuration()
    {
        DWORD needed = 0;
        const owned::ServiceHandle service = open(SERVICE_QUERY_CONFIG);
        auto* const config = reinterpret_cast<QUERY_SERVICE_CONFIGA*>(buffer);
        EXPECT_TRUE(QueryServiceConfigA(service.get(), config, sizeof buffer, &needed));
        return config;
    }

    // Where the system keeps them; Wine does not report them.
    static std::string storedDependencies()
    {
        const std::string key = "SYSTEM\\CurrentControlSet\\Services\\"s + testService;
        char names[64] = {};
        DWORD size = sizeof names;
        RegGetValueA(HKEY_LOCAL_MACHINE, key.c_str(), "DependOnService", RRF_RT_REG_MULTI_SZ, nullptr, names, &size);
        return {names, size};
    }

    support::TemporaryHome library;
    support::RegistryHome registry;
    owned::ServiceHandle manager{OpenSCManagerA(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)};
    sswseErrRec rec;
    bool created = false;
    alignas(QUERY_SERVICE_CONFIGA) char buffer[8192];
};

TEST_F(Services, AreCreatedAsAskedUnderTheAccountThatTheHomeDecides)
{
    struct
    {
        const char* khtype;
        const char* user;
        const char* account;
    } const cases[] = {
        {"1", nullptr, "LocalSystem"},
        {"1", "svcuser", ".\\svcuser"},
        {"2", "DOMAIN\\svcuser", "DOMAIN\\svcuser"},
        {"1", "NT AUTHORITY\\SYSTEM", "LocalSystem"},
        {"1", "NT AUTHORITY\\LOCAL SERVICE", "NT AUTHORITY\\LOCAL SERVICE"},
        {"0", "svcuser", "LocalSystem"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.khtype + " "s + each.account);
        recordHome(each.khtype, each.user);
        ASSERT_EQ(create("C:\\home1\\bin\\norow.exe -x", "Tcpip\0Afd\0"), SSWSE_SUCCESS) << rec.message;
        EXPECT_TRUE(created);
        const QUERY_SERVICE_CONFIGA* const config = configuration();
        EXPECT_STREQ(config->lpServiceStartName, each.account);
        EXPECT_STREQ(config->lpBinaryPathName, "C:\\home1\\bin\\norow.exe -x");
        EXPECT_STREQ(config->lpDisplayName, "Keswsec test");
        EXPECT_STREQ(config->lpLoadOrderGroup, "Keswsec group");
        EXPECT_EQ(storedDependencies(), "Tcpip\0Afd\0\0"s);
        EXPECT_EQ(config->dwServiceType, SERVICE_WIN32_OWN_PROCESS);
        EXPECT_EQ(config->dwStartType, SERVICE_DEMAND_START);
        EXPECT_EQ(config->dwErrorControl, SERVICE_ERROR_IGNORE);
        EXPECT_EQ(account(), each.account);
        EXPECT_TRUE(DeleteService(open(DELETE).get()));
    }
}

TEST_F(Services, AreCreatedOnce)
{
    recordHome("1", nullptr);
    ASSERT_EQ(create("norow.exe"), SSWSE_SUCCESS);
    EXPECT_EQ(create("norow.exe"), SSWSE_FAILURE);
    EXPECT_FALSE(created);
    EXPECT_EQ(messageOf(rec), "WSE-000057: Unable to create service.");
    EXPECT_STREQ(rec.oserror, "1073");
}

TEST_F(Services, AreUpdatedToWhatTheHomeDecidesNow)
{
    recordHome("1", "svcuser");
    ASSERT_EQ(create("C:\\home1\\norow.exe"), SSWSE_SUCCESS);

    recordHome("1", "other");
    EXPECT_EQ(update("C:\\home2\\norow.exe"), SSWSE_SUCCESS) << rec.message;
    const QUERY_SERVICE_CONFIGA* config = configuration();
    EXPECT_STREQ(config->lpServiceStartName, ".\\other");
    EXPECT_STREQ(config->lpBinaryPathName, "C:\\home2\\norow.exe");
    EXPECT_STREQ(config->lpDisplayName, "Keswsec test");
    EXPECT_EQ(config->dwStartType, SERVICE_DEMAND_START);

    recordHome("1", nullptr);
    EXPECT_EQ(update("C:\\home2\\norow.exe"), SSWSE_SUCCESS) << rec.message;
    EXPECT_EQ(account(), "LocalSystem") << "no account would leave the former one";
}

TEST_F(Services, WithoutAUsableHomeAreNotTouched)
{
    const struct
    {
        const char* what;
        const char* keyFile; // NULL: none
        const char* khtype;  // NULL: none
        DWORD status;
        const char* creating;
        const char* updating;
    } cases[] = {
        {"no key file", nullptr, "1", SSWSE_HOME_NOT_FOUND, "WSE-000052: Unable to determine Kestel home.",
         "WSE-000052: Unable to determine Kestel home."},
        {"no registry key", "X\\KEY_no_such_home", "1", SSWSE_UNSUPPORTED_HOME_TYPE,
         "WSE-000010: Unable to open registry key Software\\Kestel\\KEY_no_such_home under HKLM.",
         "WSE-00008: Unsupported Kestel home type."},
        {"no type", "X\\KEY_keswsec_test", nullptr, SSWSE_UNSUPPORTED_HOME_TYPE,
         "WSE-000048: Unable to query value for KESTEL_HOME_TYPE in registry.",
         "WSE-00008: Unsupported Kestel home type."},
        {"unknown type", "X\\KEY_keswsec_test", "7", SSWSE_UNSUPPORTED_HOME_TYPE,
         "WSE-00008: Unsupported Kestel home type.", ""},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
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

TEST_F(Services, RefuseADependencyListWithoutAnEnd)
{
    recordHome("1", nullptr);
    const guarded::Buffer list(5120, 'x');
    support::TraceLog log;
    EXPORT_OF(library, sswseTraceOn)(&rec, &support::TraceLog::receive, &log, 0);
    EXPECT_EQ(create("norow.exe", list.data()), SSWSE_INVALID_ARGUMENT);
    EXPORT_OF(library, sswseTraceOff)(&rec);
    EXPECT_FALSE(created);
}

TEST_F(Services, AccountNeedsARoomyBuffer)
{
    recordHome("1", nullptr);
    ASSERT_EQ(create("norow.exe"), SSWSE_SUCCESS);
    const auto query = EXPORT_OF(library, sswseGetSvcUserForService);
    const guarded::Buffer exact(sizeof "LocalSystem", 'x');
    EXPECT_EQ(query(&rec, testService, exact.data(), exact.size(), nullptr, nullptr), SSWSE_SUCCESS);
    EXPECT_STREQ(exact.data(), "LocalSystem");

    size_t written = 99;
    EXPECT_EQ(query(&rec, testService, exact.data(), exact.size() - 1, &written, nullptr), SSWSE_FAILURE);
    EXPECT_EQ(messageOf(rec), "WSE-000033: Insufficient output buffer for username.");
    EXPECT_EQ(written, 99u);
}

TEST_F(Services, ThatDoNotExistCannotBeOpened)
{
    recordHome("1", nullptr);
    EXPECT_EQ(account(SSWSE_FAILURE), "none");
    EXPECT_EQ(messageOf(rec), "WSE-000054: Unable to get a handle to the service.");
    EXPECT_STREQ(rec.oserror, "1060");
    EXPECT_EQ(update("norow.exe"), SSWSE_FAILURE);
    EXPECT_EQ(messageOf(rec), "WSE-000054: Unable to get a handle to the service.");
}

TEST_F(Services, MissingArgumentsAreNamedInOrder)
{
    const auto create = EXPORT_OF(library, sswseCreateService);
    const auto creating = [&](const char* service, const char* path, SC_HANDLE* handle) {
        return [=](sswseErrRec* record) {
            return create(record, service, nullptr, 0, 0, 0, 0, path, nullptr, nullptr, nullptr, nullptr, nullptr,
                          nullptr, handle);
        };
    };
    const auto update = EXPORT_OF(library, sswseUpdateService);
    const auto query = EXPORT_OF(library, sswseGetSvcUserForService);
    const auto remove = EXPORT_OF(library, sswseDeleteService);
    const auto sidName = EXPORT_OF(library, sswseGetServiceSidName);
    const auto sid = EXPORT_OF(library, sswseGetServiceSID);
    char text[8];
    constexpr char noService[] = "WSE-000012: Null or invalid Service Name parameter.";
    constexpr char noPath[] = "WSE-000012: Null or invalid Service Binary Path parameter.";
    support::expectCases({
        {"create", creating(nullptr, nullptr, nullptr), 4, noService},
        {"create: path", creating("s", nullptr, nullptr), 4, noPath},
        {"create: handle", creating("s", "p", nullptr), 4,
         "WSE-000012: Null or invalid Pointer to ServiceHandle parameter."},
        {"update", [=](auto r) { return update(r, nullptr, nullptr, nullptr, nullptr, nullptr); }, 4, noService},
        {"update: path", [=](auto r) { return update(r, nullptr, "s", nullptr, nullptr, nullptr); }, 4, noPath},
        {"query", [=](auto r) { return query(r, nullptr, nullptr, 0, nullptr, nullptr); }, 4, noService},
        {"query: buffer", [=](auto r) { return query(r, "s", nullptr, 9, nullptr, nullptr); }, 4,
         "WSE-000012: Null or invalid username parameter."},
        {"delete", [=](auto r) { return remove(r, nullptr, nullptr); }, 4, noService},
        {"SID name", [=](auto r) { return sidName(r, nullptr, nullptr, 0, nullptr); }, 4, noService},
        {"SID name: buffer", [=](auto r) { return sidName(r, "s", nullptr, 0, nullptr); }, 4,
         "WSE-000012: Null or invalid Service Sid String parameter."},
        {"SID name: size", [&](auto r) { return sidName(r, "s", text, 0, nullptr); }, 4,
         "WSE-000033: Insufficient output buffer for Service Sid String length."},
        {"SID", [=](auto r) { return sid(r, nullptr, nullptr, nullptr); }, 4, noService},
        {"SID: pointer", [=](auto r) { return sid(r, "s", nullptr, nullptr); }, 4,
         "WSE-000012: Null or invalid Pointer to SID parameter."},
    });
}

TEST_F(Services, TraceTheirArgumentsWithoutPasswordsAndUnwrittenBuffers)
{
    support::TraceLog log;
    // The argument line of a call, put together again from its pieces.
    const auto traced = [&](DWORD status) {
        EXPECT_EQ(status, SSWSE_INVALID_ARGUMENT);
        const std::vector<std::string> lines = log.take();
        const auto error = std::find_if(lines.begin(), lines.end(), [](auto& line) { return line[0] == '\n'; });
        std::string text;
        for (auto line = lines.begin() + 1; line != error; ++line)
            text += (text.empty() ? "" : "\n") + *line;
        return text;
    };
    EXPORT_OF(library, sswseTraceOn)(&rec, &support::TraceLog::receive, &log, 0);

    SC_HANDLE service = nullptr;
    EXPECT_EQ(traced(EXPORT_OF(library, sswseCreateService)(&rec, nullptr, "d", 0, 16, 0, 0, "b", nullptr, nullptr,
                                                            "x\0y\0", "n", "secret", "node", &service)),
              "Service Name = (null)\nDisplay Name = d\nService Type = 16   \nBinpath = b\nDependencies = x\n"
              "ServiceStartName = n\nPassword = ****   \nnodename = node");
    EXPECT_EQ(traced(EXPORT_OF(library, sswseUpdateService)(&rec, "", nullptr, "u", "secret", "b")),
              "nodename = \nService Name = (null)\nUsername = u   \nPassword = ****\nBinpath = b");
    const guarded::Buffer unwritten(16, 'x');
    EXPECT_EQ(traced(EXPORT_OF(library, sswseGetSvcUserForService)(&rec, nullptr, unwritten.data(), unwritten.size(),
                                                                   nullptr, "")),
              "nodename = \nusername =           \nServicename = (null)");
    EXPORT_OF(library, sswseTraceOff)(&rec);
}

} // namespace
