// The node answers as Windows does: docs/platform.md says what the node answers, and on Windows this machine is asked.
#include "tests/machine/place.h"
#include "whatif/model/standard_node.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

using namespace machine;

namespace {

// "| `call` | `answer` |", or another line of the page, without a call.
struct Line
{
    std::string call;
    std::string document; // the heading above it
    std::string answer;
    std::string text;
};

// The page with the answers of this machine, or of the node.
std::vector<Line> answersOf(whatif::World* node)
{
    Place place(node);
    const std::string whole = support::contentsOf(support::projectFile("docs/platform.md"));
    std::istringstream page(whole.substr(whole.find("-->") + 4));
    std::vector<Line> lines;
    std::string document;
    for (std::string text; std::getline(page, text);) {
        const bool isCall = text.rfind("| `", 0) == 0;
        const std::string call = isCall ? text.substr(3, text.find("` | ") - 3) : "";
        if (text.rfind("## ", 0) == 0)
            document = text.substr(3);
        const std::string answer = isCall ? place.answer(call) : "";
        lines.push_back({call, document, answer, isCall ? "| `" + call + "` | `" + answer + "` |" : text});
    }
    return lines;
}

DWORD minimumPasswordLength()
{
    BYTE* block = nullptr;
    DWORD length = 0;
    if (NetUserModalsGet(nullptr, 0, &block) == NERR_Success && block)
        length = reinterpret_cast<const USER_MODALS_INFO_0*>(block)->usrmod0_min_passwd_len;
    NetApiBufferFree(block);
    return length;
}

// Of one that is called as this machine is, with its SID, release and password policy.
std::vector<Line> answersOfNode(const std::function<void(whatif::Node&)>& change = {})
{
    whatif::World real(whatif::Base::thisMachine);
    whatif::World world(whatif::Base::described);
    const whatif::Node& machine = real.local();
    whatif::Node& node = world.local();
    node.accounts.clear();
    node.groups.clear();
    node.name = machine.name;
    node.sid = machine.sid;
    node.major = machine.major;
    node.minor = machine.minor;
    node.productType = machine.productType;
    node.minimumPasswordLength = minimumPasswordLength();
    whatif::addStandardAccounts(node);
    node.services.emplace_back().name = L"EventLog"; // which every machine has
    if (change)
        change(node);
    return answersOf(&world);
}

std::string pageOf(const std::vector<Line>& lines)
{
    std::string page;
    for (const Line& line : lines)
        page += line.text + "\n";
    return page;
}

std::string differencesOf(const std::vector<Line>& node, const std::vector<Line>& machine)
{
    std::string differences;
    for (size_t i = 0; i < node.size(); ++i)
        if (node[i].answer != machine[i].answer)
            differences += "- `" + node[i].call + "` (" + node[i].document + ")\n    - this machine: `" +
                           machine[i].answer + "`\n    - the node: `" + node[i].answer + "`\n";
    return differences;
}

} // namespace

TEST(Platform, NodeAnswersAsIsWrittenDown)
{
    if (!support::isWine())
        GTEST_SKIP() << "Windows: this machine is asked, whose password policy is not that of the page";
    support::expectDocument("platform.md", pageOf(answersOfNode()));
}

TEST(Platform, ThisMachineAnswersAsTheNode)
{
    NOT_ON_WINE("local groups, users, account rights and SID types report success without effect");
    const std::vector<Line> machine = answersOf(nullptr);
    const std::string differences = differencesOf(answersOfNode(), machine);
    const auto folder = support::programDirectory().parent_path() / "report";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "differences.md")
        << "# " << support::release() << "\n\n"
        << (differences.empty() ? "The node answers the same.\n" : "Where the node answers something else:\n\n")
        << differences << "\n# What this machine has answered\n\n"
        << pageOf(machine);
    EXPECT_EQ(differences, "");
}

TEST(Platform, DifferencesAreFound)
{
    const std::vector<Line> answers = answersOfNode();
    EXPECT_EQ(differencesOf(answers, answersOfNode()), "");
    EXPECT_EQ(
        differencesOf(answers,
                      answersOfNode([](whatif::Node& node) { node.rights[L"SeDenyBatchLogonRight"] = {L"S-1-1-0"}; })),
        "- `LsaEnumerateAccountsWithUserRight SeDenyBatchLogonRight {u}` (LsaEnumerateAccountsWithUserRight function, "
        "ntsecapi.h)\n    - this machine: `not held`\n    - the node: `259`\n");
}

// Under Wine, what is real there: services, keys and files.
TEST(Platform, NothingIsLeftOfWhatIsMadeHere)
{
    const std::wstring name = L"Software\\" + support::machineName(L"left");
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyW(HKEY_LOCAL_MACHINE, name.c_str(), &key), ERROR_SUCCESS);
    RegCloseKey(key);
    answersOf(nullptr);
    EXPECT_EQ(RegOpenKeyW(HKEY_LOCAL_MACHINE, name.c_str(), &key), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(support::removeLeftovers(support::Whose::ours), "");
}
