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
    constexpr char password[] = "Secret-4711-secret";
    const std::string serviceName = cli::utf8FromWide(support::machineName(L"service"));
    const std::string user = cli::utf8FromWide(support::machineName(L"u"));
    const std::string recorded = support::isWine() ? "DOMAIN\\svcuser" : user; // Wine keeps no users, and takes any
    const char* const name = serviceName.c_str();
    const support::TemporaryHome library;
    const auto makeUser = support::calling(EXPORT_OF(library, sswseCreateKestelSVCUser), user.c_str(), password);
    if (!support::isWine())
        support::expectCases({{"user", makeUser, 2}});
    const support::RegistryHome registry;
    for (const auto& [value, text] : {std::pair{"KESTEL_HOME_NAME", "h1\0"s},
                                      {"KESTEL_HOME_TYPE", "1\0"s},
                                      {"KESTEL_SVCUSER_TYPE", " \0"s},
                                      {"KESTEL_SVCUSER", recorded + '\0'}})
        registry.set(value, text);
    SC_HANDLE handle = nullptr;
    const auto create = support::calling(EXPORT_OF(library, sswseCreateService), name, "Keswsec test",
                                         SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS, SERVICE_DEMAND_START,
                                         SERVICE_ERROR_IGNORE, "C:\\home1\\bin\\norow.exe -x", "Keswsec group", nullptr,
                                         "Tcpip\0Afd\0", nullptr, password, nullptr, &handle);
    const auto update = support::calling(EXPORT_OF(library, sswseUpdateService), nullptr, name, "ignored", password,
                                         "C:\\home2\\norow.exe");
    char account[512] = "";
    const auto query =
        support::calling(EXPORT_OF(library, sswseGetSvcUserForService), name, account, sizeof account, nullptr, "");
    support::expectCases({{"create", create, 2}, {"account", query, 2}});
    EXPECT_EQ(account, support::isWine() ? recorded : ".\\" + user);
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
    EXPECT_EQ(support::isWine() ? DWORD{SSWSE_SUCCESS}
                                : EXPORT_OF(library, sswseDeleteKestelSVCUser)(nullptr, user.c_str()),
              DWORD{SSWSE_SUCCESS});
}
