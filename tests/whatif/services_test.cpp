#include "tests/machine/place.h"

namespace {

using WhatIfServices = machine::AtNode;

TEST_F(WhatIfServices, AreRefusedAsOnWindows)
{
    const std::string create = "CreateService KestelDB ";
    const auto of = [&](const char* what, size_t length) { return create + what + std::string(length, 't'); };
    expect({
        {"CreateService Other as=other", "0"},
        {create + "account=node\\LocalSystem password=secret", "0"},
        {create + "account=CORP\\gmsa$", "0"},
        {create + "account=CORP\\gmsa$ password=secret", "1057"},
        {create + "dependencies=Other,kesteldb", "1059"},
        {of("dependencies=", 2046), "0"},
        {of("dependencies=", 2047), "1783"},
        {of("display=", 256), "0"},
        {of("display=", 257), "123"},
        {of("password=", 256), "0"},
        {of("password=", 257), "1783"},
        {of("account=", 2047), "1057"},
        {of("account=", 2048), "1783"},
    });
    for (const std::string& line : plan())
        EXPECT_EQ(line.find("password"), std::string::npos) << "it is ignored or refused";
    local.major = 6; // and minor 0: before virtual accounts
    expect({{create + "account=\"NT SERVICE\\KestelDB\"", "1057"}});
}

TEST_F(WhatIfServices, AreOpenedForWhatTheirOwnListGrantsAndHavePasswords)
{
    expect({{"CreateService KestelDB account=.\\svc password=secret as=first", "0"}});
    expect({{"ChangeServiceConfig first account=.\\SVC", "0"}});
    EXPECT_EQ(local.services.back().password, L"secret");
    expect({{"ChangeServiceConfig first account=LocalSystem", "0"}});
    EXPECT_EQ(local.services.back().password, L"");
    local.services.back().security = L"D:(A;;CCRC;;;BA)(A;;CCLCSWRPWPDTLOCRSDRCWDWO;;;SY)";
    expect({
        {"OpenService kesteldb access=0xF01FF", "5"}, // for administrators too
        {"OpenService kesteldb access=0x20001", "0"},
        {"CloseServiceHandle first", "0"},
        {"CloseServiceHandle first", "6"},
    });
}

} // namespace
