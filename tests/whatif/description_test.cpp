// Nodes described in INI files: read, written, and read again; what is wrong in one is told with its line.
#include "tests/support/scratch_directory.h"
#include "whatif/model/names.h"
#include "whatif/model/registry.h"
#include "whatif/whatif.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>
#include <tuple>

namespace {

using namespace whatif;
using testing::HasSubstr;

class Description : public testing::Test
{
protected:
    std::string saved(const World& world) const
    {
        world.save(scratch_.path() / "saved.ini");
        return support::contentsOf(scratch_.path() / "saved.ini");
    }

    void load(World& world, const std::string& text) const
    {
        std::ofstream(scratch_.path() / "node.ini", std::ios::binary) << text;
        world.load(scratch_.path() / "node.ini");
    }

private:
    const support::ScratchDirectory scratch_;
};

TEST_F(Description, SaysWhatTheNodeIsAndSurvivesBeingSaved)
{
    // As it is written: what the platform would trim or take for syntax is escaped.
    const std::string text = support::contentsOf(support::projectFile("tests/whatif/node.ini"));
    World world(Base::described);
    load(world, text);
    const Node& node = world.local();
    EXPECT_EQ(std::tuple(node.major, node.minor, node.productType), std::tuple(6u, 1u, BYTE{VER_NT_WORKSTATION}));
    const std::wstring svc = resolve(node, L"svc")->sid;
    const Group& administrators = node.groups.front(); // what is said of a standard group holds
    EXPECT_EQ(std::tuple(administrators.name, administrators.members), std::tuple(L"Administrators", std::vector{svc}));
    EXPECT_EQ(node.services.front().account, L"LocalSystem");
    const std::wstring key = L"SOFTWARE\\Kestel\\KEY_h1";
    EXPECT_EQ(world.registry().value(node, key, L"not a number"), registryText(L"dword:7"));
    EXPECT_EQ(world.registry().value(node, key, L"number"), registryNumber(7));
    EXPECT_EQ(world.registry().value(node, key, L"odd"), (RegistryValue{REG_DWORD, {1, 2}}));

    const std::string first = saved(world);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        EXPECT_THAT(first, HasSubstr(line + "\r\n"));
    World again(Base::described);
    load(again, first);
    again.local().groups.back().comment = L"\x4E2D"; // makes the file UTF-16
    World third(Base::described);
    load(third, saved(again));
    EXPECT_EQ(std::exchange(third.local().groups.back().comment, L""), L"\x4E2D");
    EXPECT_EQ(saved(third), first);
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
        {"[node]\nname=S\n[registry A]\nv=hex(3):zz\n", "[registry A] v: not a registry value"},
        {"[node]\nname=S\n[grups]\nG=\n", "[grups] is no section"},
    };
    for (const auto& [wrong, message] : cases) {
        World world(Base::described);
        try {
            load(world, wrong);
            ADD_FAILURE() << "no error: " << message;
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), HasSubstr(std::string("node.ini: ") + message));
        }
    }
    EXPECT_THROW(World(Base::described).load("no-such-file.ini"), std::runtime_error);
}

} // namespace
