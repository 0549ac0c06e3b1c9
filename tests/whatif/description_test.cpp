#include "tests/support/scratch_directory.h"
#include "whatif/names.h"
#include "whatif/registry.h"
#include "whatif/whatif.h"

#include <gmock/gmock.h>

#include <fstream>
#include <tuple>

namespace {

using namespace whatif;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

class Description : public testing::Test
{
protected:
    // Gives its contents.
    std::string saved(const World& world, const char* name) const
    {
        world.save(scratch_.path() / name);
        return support::contentsOf(scratch_.path() / name);
    }

    void load(World& world, const char* name, const std::string& text) const
    {
        std::ofstream(scratch_.path() / name, std::ios::binary) << text;
        world.load(scratch_.path() / name);
    }

private:
    const support::ScratchDirectory scratch_;
};

// What the platform would trim or take for syntax is escaped, and so are characters outside the ANSI code page.
constexpr char text[] = R"([node]
name=SERVER1
version=6.1
product=workstation
domain=CORP
missing=Logoncli.dll
minimum password length=8
[members]
KES_DBA=svc, CORP\gmsa$, NT SERVICE\KestelDB, S-1-5-21-9-9-9-500
Administrators=svc
[service KestelDB]
binary path="C:\kestel\bin\kestel.exe" h1
dependencies=RpcSs, +TDI, a%2Cb
sid type=1
security=D:(A;;CC;;;BA)
[service odd ]%3Dname]
[groups]
KES_DBA='quoted'
%5BKES%5D=
[users]
svc=%20"a%2541=;"%20
%3Bx%3D=
[domain accounts]
CORP\gmsa$=
CORP\Ops=
[account kinds]
CORP\Ops=group
[account flags]
svc=0x10040
[managed accounts]
CORP\gmsa$=5
[member of]
CORP\gmsa$=CORP\Ops
[rights]
SeServiceLogonRight=svc
SeBatchLogonRight=
[security]
file C:\a%3Db=D:P(A;;FA;;;SY)
[drives]
C=Z:\tmp
[registry SOFTWARE\Kestel\KEY_h1]
KESTEL_HOME_TYPE=1
KESTEL_SVCUSER_TYPE=%20
@=expand:%SystemRoot%
a%3Db%20=hex(3):00,ff
[registry SOFTWARE\Kestel\empty]]
)";
void expectDescribed(World& world)
{
    const Node& node = world.local();
    EXPECT_EQ(std::tuple(node.major, node.minor, node.productType), std::tuple(6u, 1u, BYTE{VER_NT_WORKSTATION}));
    EXPECT_EQ(std::tuple(node.name, node.domain), std::tuple(L"SERVER1", L"CORP"));
    EXPECT_EQ(node.missing.count(L"logoncli.dll"), 1u);
    EXPECT_EQ(node.minimumPasswordLength, 8u);
    std::map<std::wstring, const Account*> accounts;
    for (const Account& account : node.accounts)
        accounts[account.name] = &account;
    ASSERT_TRUE(accounts[L"svc"] && accounts[L";x="] && accounts[L"gmsa$"] && accounts[L"Ops"]);
    const Account& svc = *accounts[L"svc"];
    const Account& managed = *accounts[L"gmsa$"];
    EXPECT_EQ(std::tuple(svc.domain, svc.password, svc.flags), std::tuple(L"", L" \"a%41=;\" ", 0x10040u));
    EXPECT_EQ(std::tuple(managed.domain, managed.managed, managed.managedState), std::tuple(L"CORP", true, 5u));
    EXPECT_EQ(accounts[L"Ops"]->use, SidTypeGroup);
    EXPECT_THAT(managed.memberOf, ElementsAre(accounts[L"Ops"]->sid));

    std::map<std::wstring, const Group*> groups;
    for (const Group& group : node.groups)
        groups[group.name] = &group;
    ASSERT_TRUE(groups[L"KES_DBA"] && groups[L"[KES]"]);
    EXPECT_EQ(std::tuple(groups[L"KES_DBA"]->comment, groups[L"[KES]"]->comment), std::tuple(L"'quoted'", L"\x4E2D"));
    std::vector<std::wstring> members;
    for (const std::wstring& sid : groups[L"KES_DBA"]->members)
        members.push_back(printableName(node, sid));
    EXPECT_THAT(members, ElementsAre(L"SERVER1\\svc", L"CORP\\gmsa$", L"NT SERVICE\\KestelDB", L"S-1-5-21-9-9-9-500"));
    EXPECT_THAT(groups[L"Administrators"]->members, ElementsAre(svc.sid)); // what is said of a standard group holds
    EXPECT_THAT(node.rights.at(L"SeServiceLogonRight"), ElementsAre(svc.sid));
    EXPECT_THAT(node.rights.at(L"SeBatchLogonRight"), ElementsAre());
    EXPECT_EQ(node.security.at(L"file C:\\a=b"), L"D:P(A;;FA;;;SY)");
    EXPECT_EQ(node.drives.at(L"C"), L"Z:\\tmp");

    const Service& service = node.services.at(0);
    EXPECT_EQ(std::tuple(service.binaryPath, service.account, service.sidType, service.security),
              std::tuple(L"\"C:\\kestel\\bin\\kestel.exe\" h1", L"LocalSystem", 1u, L"D:(A;;CC;;;BA)"));
    EXPECT_THAT(service.dependencies, ElementsAre(L"RpcSs", L"+TDI", L"a,b"));
    EXPECT_EQ(node.services.at(1).name, L"odd ]=name");
    const auto values = world.registry().values(node, L"SOFTWARE\\Kestel\\KEY_h1");
    EXPECT_THAT(values, ElementsAre(Pair(L"", registryText(L"%SystemRoot%", REG_EXPAND_SZ)),
                                    Pair(L"a=b ", RegistryValue{REG_BINARY, {0, 255}}),
                                    Pair(L"KESTEL_HOME_TYPE", registryText(L"1")),
                                    Pair(L"KESTEL_SVCUSER_TYPE", registryText(L" "))));
    EXPECT_TRUE(world.registry().hasKey(node, L"SOFTWARE\\Kestel\\empty]"));
}

TEST_F(Description, SaysWhatTheNodeIsAndSurvivesBeingSaved)
{
    World world(Base::described);
    load(world, "first.ini", text);
    world.local().groups.back().comment = L"\x4E2D"; // makes the file UTF-16
    expectDescribed(world);
    const std::string first = saved(world, "second.ini");
    World again(Base::described);
    load(again, "second.ini", first);
    expectDescribed(again);
    EXPECT_EQ(again.local().nextRid, world.local().nextRid);
    EXPECT_TRUE(saved(again, "third.ini") == first);
}

TEST_F(Description, ErrorsNameFileSectionAndKey)
{
    const std::pair<const char*, const char*> cases[] = {
        {"[node]\nversion=10.0\n", "[node] has no name"},
        {"[node]\nname=SIXTEENCHARACTER\n", "[node] has a name of more than 15"},
        {"[node]\nname=S\nnmae=S\n", "[node] nmae: is no key"},
        {"[node]\nname=S\nproduct=mainframe\n", "[node] product: \"mainframe\" is none of"},
        {"[node]\nname=S\nnext rid=12x\n", "[node] next rid: \"12x\" is not a number"},
        {"[node]\nname=S\n[users]\nDOM\\u=\n", "[users] DOM\\u: is no plain name"},
        {"[node]\nname=S\n[members]\nG=\n", "[members] G: is not among the groups"},
        {"[node]\nname=S\n[rights]\nSeTcbPrivilege=nobody\n", "[rights] SeTcbPrivilege: the node has no account"},
        {"[node]\nname=S\n[registry A]\nv=dword:x\n", "[registry A] v: not a registry value"},
        {"[node]\nname=S\n[grups]\nG=\n", "[grups] is no section"},
    };
    for (const auto& [wrong, message] : cases) {
        World world(Base::described);
        try {
            load(world, "wrong.ini", wrong);
            ADD_FAILURE() << "no error: " << message;
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), HasSubstr(std::string("wrong.ini: ") + message));
        }
    }
    EXPECT_THROW(World(Base::described).load("no-such-file.ini"), std::runtime_error);
}

} // namespace
