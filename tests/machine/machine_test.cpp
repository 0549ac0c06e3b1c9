// The node answers as Windows does: docs/platform.md says what the node answers, and on Windows this machine is asked.
#include "tests/machine/place.h"
#include "tests/support/document.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

using namespace machine;

namespace {

// "| `call` | `answer` |", or another line of the page, without a call.
struct Line
{
    std::string text;
    std::string call;
    std::string document; // the heading above it
};

std::vector<Line> linesOfPage()
{
    const std::string whole = support::contentsOf(support::projectFile("docs/platform.md"));
    std::istringstream page(whole.substr(whole.find("-->") + 4));
    std::vector<Line> lines;
    std::string document;
    for (std::string text; std::getline(page, text);) {
        const bool isCall = text.rfind("| `", 0) == 0;
        if (text.rfind("## ", 0) == 0)
            document = text.substr(3);
        lines.push_back({text, isCall ? text.substr(3, text.find("` | ") - 3) : "", document});
    }
    return lines;
}

using Answers = std::vector<std::string>; // one for each call of the page

Answers answersOf(whatif::World* node)
{
    Place place(node);
    Answers answers;
    for (const Line& line : linesOfPage())
        if (!line.call.empty())
            answers.push_back(place.answer(line.call));
    return answers;
}

Answers answersOfNode(const std::function<void(whatif::Node&)>& change = {})
{
    whatif::World world(whatif::Base::described);
    describeLikeThisMachine(world);
    if (change)
        change(world.local());
    return answersOf(&world);
}

std::string pageWith(const Answers& answers)
{
    std::string page;
    size_t next = 0;
    for (const Line& line : linesOfPage())
        page += (line.call.empty() ? line.text : "| `" + line.call + "` | `" + answers[next++] + "` |") + "\n";
    return page;
}

std::string differencesOf(const Answers& node, const Answers& machine)
{
    std::string differences;
    size_t next = 0;
    for (const Line& line : linesOfPage()) {
        if (line.call.empty())
            continue;
        if (node[next] != machine[next])
            differences += "- `" + line.call + "` (" + line.document + ")\n    - this machine: `" + machine[next] +
                           "`\n    - the node: `" + node[next] + "`\n";
        ++next;
    }
    return differences;
}

} // namespace

TEST(Platform, NodeAnswersAsIsWrittenDown)
{
    if (!support::isWine())
        GTEST_SKIP() << "Windows: this machine is asked, whose password policy is not that of the page";
    support::expectDocument("platform.md", pageWith(answersOfNode()));
}

TEST(Platform, ThisMachineAnswersAsTheNode)
{
    NOT_ON_WINE("local groups, users, account rights and SID types report success without effect");
    const Answers machine = answersOf(nullptr);
    const std::string differences = differencesOf(answersOfNode(), machine);
    const auto folder = support::programDirectory().parent_path() / "report";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "differences.md")
        << "# " << support::release() << "\n\n"
        << (differences.empty() ? "The node answers the same.\n" : "Where the node answers something else:\n\n")
        << differences << "\n# What this machine has answered\n\n"
        << pageWith(machine);
    EXPECT_EQ(differences, "");
}

TEST(Platform, DifferencesAreFound)
{
    const Answers answers = answersOfNode();
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
