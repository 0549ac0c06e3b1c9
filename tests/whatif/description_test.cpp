#include "whatif/names.h"
#include "whatif/registry.h"
#include "whatif/whatif.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

namespace {

using namespace whatif;
using testing::HasSubstr;

class Description : public testing::Test
{
protected:
    std::filesystem::path file(const char* name, const std::string& text) const
    {
        std::ofstream(directory_ / name, std::ios::binary) << text;
        return directory_ / name;
    }

    static std::string contentsOf(const std::filesystem::path& path)
    {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }

    std::filesystem::path saved(const World& world, const char* name) const
    {
        world.save(directory_ / name);
        return directory_ / name;
    }

    Description() { std::filesystem::create_directories(directory_); }
    ~Description() override { std::filesystem::remove_all(directory_); }

private:
    std::filesystem::path directory_ =
        std::filesystem::temp_directory_path() / ("keswsec-description-" + std::to_string(GetCurrentProcessId()));
};

constexpr char small[] = R"([node]
name=SERVER1
version=6.1
product=workstation
domain=CORP
[members]
KES_DBA=svc, CORP\gmsa$, NT SERVICE\KestelDB, S-1-5-21-9-9-9-500
Administrators=svc
[service KestelDB]
binary path="C:\kestel\bin\kestel.exe" h1
dependencies=RpcSs, +TDI
[groups]
KES_DBA=Administrators of the database
[users]
svc=Secret 1
[domain accounts]
CORP\gmsa$=
[managed accounts]
CORP\gmsa$=5
[rights]
SeServiceLogonRight=svc
[registry SOFTWARE\Kestel\KEY_h1]
KESTEL_HOME_TYPE=1
KESTEL_SVCUSER_TYPE=%20
@=expand:%SystemRoot%
)";

TEST_F(Description, SaysWhatTheNodeIs)
{
    World world(Base::described);
    world.load(file("small.ini", small));
    const Node& node = world.local();
    EXPECT_EQ(node.major, 6u);
    EXPECT_EQ(node.minor, 1u);
    EXPECT_EQ(node.productType, VER_NT_WORKSTATION);
    ASSERT_TRUE(resolve(node, L"SERVER1\\svc"));
    const std::wstring svc = resolve(node, L"SERVER1\\svc")->sid;
    const Group& group = node.groups.back();
    EXPECT_EQ(group.comment, L"Administrators of the database");
    ASSERT_EQ(group.members.size(), 4u);
    EXPECT_EQ(group.members[0], svc);
    EXPECT_EQ(printableName(node, group.members[1]), L"CORP\\gmsa$");
    EXPECT_EQ(printableName(node, group.members[2]), L"NT SERVICE\\KestelDB");
    EXPECT_EQ(group.members[3], L"S-1-5-21-9-9-9-500");
    EXPECT_EQ(node.groups.front().members, std::vector<std::wstring>{svc}); // what is said of a standard group holds
    EXPECT_EQ(node.rights.at(L"SeServiceLogonRight"), std::vector<std::wstring>{svc});
    EXPECT_EQ(node.services.at(0).binaryPath, L"\"C:\\kestel\\bin\\kestel.exe\" h1");
    EXPECT_EQ(node.services.at(0).account, L"LocalSystem");
    EXPECT_EQ(node.services.at(0).dependencies, (std::vector<std::wstring>{L"RpcSs", L"+TDI"}));
    const wchar_t* const home = L"SOFTWARE\\Kestel\\KEY_h1";
    EXPECT_EQ(world.registry().value(node, home, L"KESTEL_HOME_TYPE"), registryText(L"1"));
    EXPECT_EQ(world.registry().value(node, home, L"KESTEL_SVCUSER_TYPE"), registryText(L" "));
    EXPECT_EQ(world.registry().value(node, home, L""), registryText(L"%SystemRoot%", REG_EXPAND_SZ));
}

// Everything at its most awkward: names that look like syntax, texts that the platform would trim, characters outside
// the ANSI code page.
void makeAwkward(World& world)
{
    Node& node = world.local();
    node.name = L"SRV-\x4E2D";
    node.domain = L"CORP";
    node.minimumPasswordLength = 8;
    node.missing = {L"Logoncli.dll"};
    Account account;
    account.name = L";svc=";
    account.domain = L"CORP";
    account.sid = L"S-1-5-21-7-8-9-1104";
    account.password = L" \"a%41=;\" ";
    account.flags = 0x10040;
    account.managed = true;
    account.memberOf = {L"S-1-5-21-7-8-9-1105"};
    Account group = Account();
    group.name = L"Ops";
    group.domain = L"CORP";
    group.sid = L"S-1-5-21-7-8-9-1105";
    group.use = SidTypeGroup;
    node.accounts.insert(node.accounts.end(), {account, group});
    node.groups.push_back({L"[KES]", L"'quoted'", newSid(node), {account.sid, group.sid, L"S-1-5-80-1-2-3-4-5"}});
    node.rights[L"SeBatchLogonRight"] = {};
    Service& service = node.services.emplace_back();
    service.name = L"odd ]=name";
    service.account = L".\\svc";
    service.binaryPath = L"\"C:\\a b\\x.exe\"";
    service.dependencies = {L"a,b", L" c"};
    service.sidType = SERVICE_SID_TYPE_UNRESTRICTED;
    service.security = L"D:(A;;CCLCSWRPLO;;;BA)";
    node.security[L"file C:\\a=b"] = L"D:P(A;;FA;;;SY)";
    node.drives[L"C"] = L"Z:\\tmp";
    Registry& registry = world.registry();
    registry.createKey(node, L"SOFTWARE\\Kestel\\empty]");
    registry.setValue(node, L"SOFTWARE\\Kestel", L"@", registryText(L"at"));
    registry.setValue(node, L"SOFTWARE\\Kestel", L"", registryText(L" "));
    registry.setValue(node, L"SOFTWARE\\Kestel", L"a=b ", {REG_BINARY, {0, 255}});
}

TEST_F(Description, SurvivesBeingSavedAndRead)
{
    World world(Base::described);
    makeAwkward(world);
    const auto first = saved(world, "first.ini");
    World again(Base::described);
    again.load(first);
    EXPECT_TRUE(contentsOf(first) == contentsOf(saved(again, "second.ini")));

    const Node& before = world.local();
    const Node& after = again.local();
    const size_t last = before.accounts.size() - 2;
    EXPECT_EQ(after.name, before.name);
    EXPECT_EQ(after.nextRid, before.nextRid);
    EXPECT_EQ(after.missing, before.missing);
    EXPECT_EQ(after.rights, before.rights);
    EXPECT_EQ(after.security, before.security);
    ASSERT_EQ(after.accounts.size(), before.accounts.size());
    EXPECT_EQ(after.accounts[last].name, before.accounts[last].name);
    EXPECT_EQ(after.accounts[last].password, before.accounts[last].password);
    EXPECT_EQ(after.accounts[last].memberOf, before.accounts[last].memberOf);
    EXPECT_EQ(after.accounts[last + 1].use, SidTypeGroup);
    EXPECT_EQ(after.groups.back().name, before.groups.back().name);
    EXPECT_EQ(after.groups.back().comment, before.groups.back().comment);
    EXPECT_EQ(after.groups.back().members, before.groups.back().members);
    EXPECT_EQ(after.services.at(0).name, before.services.at(0).name);
    EXPECT_EQ(after.services.at(0).binaryPath, before.services.at(0).binaryPath);
    EXPECT_EQ(after.services.at(0).dependencies, before.services.at(0).dependencies);
    EXPECT_EQ(again.registry().values(after, L"SOFTWARE\\Kestel"),
              world.registry().values(before, L"SOFTWARE\\Kestel"));
    EXPECT_TRUE(again.registry().hasKey(after, L"SOFTWARE\\Kestel\\empty]"));
}

TEST_F(Description, ErrorsNameFileSectionAndKey)
{
    const struct
    {
        const char* text;
        const char* message;
    } cases[] = {
        {"[node]\nversion=10.0\n", "[node] has no name"},
        {"[node]\nname=S\nnmae=S\n", "[node] nmae: is no key"},
        {"[node]\nname=S\nproduct=mainframe\n", "[node] product: \"mainframe\" is none of"},
        {"[node]\nname=S\nnext rid=12x\n", "[node] next rid: \"12x\" is not a number"},
        {"[node]\nname=S\n[users]\nDOM\\u=\n", "[users] DOM\\u: is no plain name"},
        {"[node]\nname=S\n[members]\nG=\n", "[members] G: is not among the groups"},
        {"[node]\nname=S\n[rights]\nSeTcbPrivilege=nobody\n", "[rights] SeTcbPrivilege: the node has no account"},
        {"[node]\nname=S\n[registry A]\nv=dword:x\n", "[registry A] v: not a registry value"},
        {"[node]\nname=S\n[grups]\nG=\n", "[grups] is no section"},
    };
    for (const auto& row : cases) {
        World world(Base::described);
        try {
            world.load(file("wrong.ini", row.text));
            ADD_FAILURE() << "no error: " << row.message;
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), HasSubstr(std::string("wrong.ini: ") + row.message));
        }
    }
    EXPECT_THROW(World(Base::described).load("no-such-file.ini"), std::runtime_error);
}

} // namespace
