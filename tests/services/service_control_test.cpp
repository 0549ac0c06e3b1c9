// Services on the machine that the tests run on: its service control manager is real.
#include "cli/text.h"
#include "frame/owned.h"
#include "tests/support/cases.h"
#include "tests/support/home.h"
#include "tests/support/this_machine.h"

#include <gtest/gtest.h>

using namespace std::string_literals;

TEST(ServiceControl, CreatesUpdatesAndDeletesServices)
{
    const std::string serviceName = cli::utf8FromWide(support::machineName(L"service"));
    const char* const name = serviceName.c_str();
    const support::TemporaryHome library;
    const support::RegistryHome registry;
    registry.set("KESTEL_HOME_NAME", "h1\0"s);
    registry.set("KESTEL_HOME_TYPE", "1\0"s);
    registry.set("KESTEL_SVCUSER", "NT AUTHORITY\\NETWORK SERVICE\0"s);
    SC_HANDLE handle = nullptr;
    const auto create = support::calling(EXPORT_OF(library, sswseCreateService), name, "Keswsec test",
                                         SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START,
                                         SERVICE_ERROR_IGNORE, "C:\\home1\\bin\\norow.exe -x", "Keswsec group", nullptr,
                                         "Tcpip\0Afd\0", nullptr, "Secret-4711", nullptr, &handle);
    const auto update = support::calling(EXPORT_OF(library, sswseUpdateService), nullptr, name, "ignored",
                                         "Secret-4711", "C:\\home2\\norow.exe");
    char account[512] = "";
    const auto query =
        support::calling(EXPORT_OF(library, sswseGetSvcUserForService), name, account, sizeof account, nullptr, "");
    support::expectCases({{"create", create, 2}, {"account", query, 2}});
    EXPECT_STREQ(account, "NT AUTHORITY\\NETWORK SERVICE");
    owned::ServiceHandle service(handle);
    char names[64] = {}; // where the system keeps them; Wine does not report them
    DWORD size = sizeof names;
    RegGetValueA(HKEY_LOCAL_MACHINE, ("SYSTEM\\CurrentControlSet\\Services\\"s + name).c_str(), "DependOnService",
                 RRF_RT_REG_MULTI_SZ, nullptr, names, &size);
    EXPECT_EQ(std::string(names, size), "Tcpip\0Afd\0\0"s);

    registry.remove("KESTEL_SVCUSER");
    support::expectCases({{"update", update, 2}, {"account", query, 2}});
    EXPECT_STREQ(account, "LocalSystem") << "no account would leave the former one";
    EXPECT_TRUE(DeleteService(service.get()));
    service.reset();
    support::expectCases({{"update none", update, 3, "WSE-000054"}});
}
