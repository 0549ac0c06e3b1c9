#include "tests/machine/place.h"
#include "whatif/description/ini.h"
#include "whatif/model/names.h"

namespace {

using namespace whatif;
using WhatIfNames = machine::AtNode;

constexpr wchar_t trustedInstaller[] = L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464";

TEST_F(WhatIfNames, ResolvesNamesAsWindows)
{
    Account& other = local.accounts.emplace_back();
    other.domain = L"CORP";
    other.name = L"svc";
    other.sid = L"S-1-5-21-7-7-7-1299";
    const std::wstring dba = addGroup(local, L"KES_DBA").sid;
    local.services.emplace_back().name = L"TrustedInstaller";
    const std::tuple<const char*, std::wstring, const char*> rows[] = {
        {"CORP\\svc", other.sid, "CORP\\svc 1"},
        {"svc@corp.example", other.sid, "CORP\\svc 1"},
        {"corp.example\\SVC", other.sid, "CORP\\svc 1"},
        {"corp.example", L"S-1-5-21-7-7-7", "1332"},
        {"dbuser", dbuser, "CORP\\dbuser 1"},
        {"KES_DBA", dba, "NODE\\KES_DBA 4"},
        {"nt service\\trustedinstaller", trustedInstaller, "NT SERVICE\\TrustedInstaller 5"},
        {"CORPORATION\\svc", L"1332", ""},
    };
    for (const auto& [name, sid, printed] : rows) {
        expect({{std::string("LookupAccountName \"") + name + '"', whatif::narrow(sid)}});
        if (*printed)
            expect({{"LookupAccountSid " + whatif::narrow(sid), printed}});
    }

    local.nextRid = 1101;
    EXPECT_EQ(newSid(local), local.sid + L"-1102"); // the first that is unused
    local.major = 5;                                // before services had SIDs
    for (const wchar_t* const name : {L"NT SERVICE\\TrustedInstaller", L"NT SERVICE\\ALL SERVICES", L"NT SERVICE"})
        EXPECT_FALSE(resolve(local, name));
    local.major = 10;
    local.services.clear(); // a service's SID outlives its name
    EXPECT_EQ(printableName(local, trustedInstaller), trustedInstaller);
    local.productType = VER_NT_DOMAIN_CONTROLLER; // whose accounts are the domain's
    EXPECT_EQ(printableName(local, dba), L"CORP\\KES_DBA");
    EXPECT_FALSE(resolve(local, L"NODE\\KES_DBA"));
}

} // namespace
