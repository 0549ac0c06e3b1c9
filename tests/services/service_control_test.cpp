// Services on the machine that the tests run on: its service control manager is real.
#include "cli/text.h"
#include "tests/machine/place.h"

using namespace std::string_literals;

TEST(ServiceControl, CreatesUpdatesAndDeletesServices)
{
    machine::Place place(nullptr);
    const support::RegistryHome registry;
    registry.set("KESTEL_HOME_NAME", "h1\0"s);
    registry.set("KESTEL_HOME_TYPE", "1\0"s);
    registry.set("KESTEL_SVCUSER", "NT AUTHORITY\\NETWORK SERVICE\0"s);
    const std::string account = "GetSvcUserForService servicename={service}",
                      update = "UpdateService servicename={service} username=ignored password=Secret-4711 "
                               "binpath=C:\\home2\\norow.exe";
    EXPECT_EQ(place.answer("sswseCreateService servicename={service} displayname={Display} starttype=3 errorcontrol=0 "
                           "binpath=\"C:\\home1\\bin\\norow.exe -x\" loadordergroup=Keswsec dependencies=Tcpip "
                           "dependencies=Afd password=Secret-4711"),
              "2 = open");
    EXPECT_EQ(place.answer(account), "2 = NT AUTHORITY\\NETWORK SERVICE 29");
    char names[64] = {}; // where the system keeps them; Wine does not report them
    DWORD size = sizeof names;
    const std::string key =
        "SYSTEM\\CurrentControlSet\\Services\\" + cli::utf8FromWide(support::machineName(L"service"));
    RegGetValueA(HKEY_LOCAL_MACHINE, key.c_str(), "DependOnService", RRF_RT_REG_MULTI_SZ, nullptr, names, &size);
    EXPECT_EQ(std::string(names, size), "Tcpip\0Afd\0\0"s);

    registry.remove("KESTEL_SVCUSER"); // no account would leave the former one
    for (const auto& [call, answer] : {std::pair(update, "2"),
                                       {account, "2 = LocalSystem 12"},
                                       {"OpenService {service} access=0x10000 as=own", "0"},
                                       {"DeleteService own", "0"},
                                       {"CloseServiceHandle own", "0"},
                                       {update, "3 WSE-000054: Unable to get a handle to the service. 1060"}})
        EXPECT_EQ(place.answer(call), answer) << call;
}
