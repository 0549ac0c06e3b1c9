// The host's units: what a line means, the rows of the functions, what is printed.
#include "cli/arguments.h"
#include "cli/options.h"
#include "cli/print.h"
#include "cli/script.h"
#include "cli/text.h"
#include "tests/support/scratch_directory.h"

#include <gmock/gmock.h>

#include <regex>
#include <sstream>

using namespace cli;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string refusalOf(const std::string& line)
{
    try {
        parseCall(parseOptions(splitWords(line)).words);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "accepted";
}

const Value& valueOf(const Call& call, const std::string& name)
{
    for (size_t i = 0; i < call.values.size(); ++i)
        if (name == call.function->parameters[i].name)
            return call.values[i];
    throw std::out_of_range(name);
}

std::string sourceText(const std::string& file)
{
    return support::contentsOf(support::projectFile("src/" + file));
}

std::vector<std::string> matches(const std::string& text, const char* pattern, int group)
{
    const std::regex expression(pattern);
    return {std::sregex_token_iterator(text.begin(), text.end(), expression, group), std::sregex_token_iterator()};
}

Outcome failed(const std::string& message)
{
    Outcome outcome;
    outcome.status = 3;
    outcome.verdict = {"failure", false};
    outcome.message = message;
    outcome.osError = "5";
    outcome.outputs = nlohmann::ordered_json::object();
    return outcome;
}

} // namespace

TEST(Arguments, WrongUsageIsRefusedWithItsReason)
{
    const std::pair<const char*, const char*> cases[] = {
        {"", "no function is given"},
        {"--unknown IsOSWinDC", "no option --unknown"},
        {"--node", "--node"},
        {"--what-if --node a.ini IsOSWinDC", "--what-if and --node exclude each other"},
        {"--save a.ini IsOSWinDC", "--save needs a node"},
        {"--journal \"\" IsOSWinDC", "--journal: a file's name is empty"},
        {"--script a.txt IsOSWinDC", "--script takes no function"},
        {"CreateOSGroups groupname=a", "no function CreateOSGroups"},
        {"FreeMemory pointer=1", "called by keswsec itself"},
        {"CreateOSGroup", "groupname is missing"},
        {"CreateOSGroup a", "\"a\" is no name=value"},
        {"CheckValidUser username=a passwd=x y", "a word behind the password (in quotes if it has blanks) is no name"},
        {"CheckValidUser username=a passwd=x y=z", "unknown argument a word behind the password"},
        {"CreateOSGroup groupname=a groupname=b", "groupname is given twice"},
        {"CreateOSGroup group=a", "unknown argument group"},
        {"GetKestelHomeKey khkey=a", "unknown argument khkey;"},
        {"TraceOn callback=1", "unknown argument callback"},
        {"GetKestelHomeKey khkey.size=5 khkey.size=6", "given twice"},
        {"GetKestelHomeKey khkey.size=16777217", "too big"},
        {"FillErrMsg messageId=4294967296", "too big"},
        {"FillErrMsg messageId=0x100000000000000000000", "too big"},
        {"AddACLOnObjectForUser wtype=1 path=a ptype=0 inheritable=256", "too big"},
        {"FillErrMsg messageId=-1", "is no number"},
        {"FillErrMsg messageId=12a", "is no number"},
        {"AddACLOnObjectForUser wtype=kex path=a ptype=0", "and none of FILE, DIRECTORY, KEY, GROUPS"},
        {"FillErrMsg messageId=1 insert=1 insert=2 insert=3 insert=4", "at most 3 inserts"},
        {"ConvertSIDToUname OSSid=S-1-", "is no SID"},
        {"AddACEOnKernelObjectForUserOrGroup object=evnt", "object=evnt is no event NAME, mutex NAME"},
        {"AddACEOnDefaultDACLForSvcUser token=\"event x\"", "token=event x is no process ID"},
        {"CreateService servicename=a binpath=b dependencies=", "empty name"},
        {"CheckOSGroup groupname=\xE6\xBC\xA2", "ANSI code page"},
        {"CheckOSGroup groupname=\"a b", "a quote is not closed"},
    };
    for (const auto& [line, reason] : cases)
        EXPECT_THAT(refusalOf(line), HasSubstr(reason)) << line;
}

TEST(Arguments, ValuesAreKeptAsTheLibraryTakesThem)
{
    const Call call = parseCall(splitWords(
        R"(sswseCreateService servicename=s displayname="" binpath="C:\a b\k.exe" starttype=0x3 dependencies=RpcSs)"
        R"( dependencies="x y" password=opensesame)"));
    EXPECT_EQ(valueOf(call, "binpath").texts.front(), R"(C:\a b\k.exe)");
    EXPECT_TRUE(valueOf(call, "displayname").given);
    EXPECT_FALSE(valueOf(call, "nodename").given);
    EXPECT_EQ(valueOf(call, "starttype").number, 3U);
    EXPECT_EQ(valueOf(call, "desiredaccess").number, 0xF01FFU);
    const Call named = parseCall({"AddACLOnObjectForUser", "wtype=key", "path=a", "ptype=SSWSE_ACCESS_key_users"});
    EXPECT_EQ(valueOf(named, "wtype").number, 2U);
    EXPECT_EQ(valueOf(named, "ptype").number, 9U);
    EXPECT_THAT(valueOf(call, "dependencies").texts, ElementsAre("RpcSs", "x y"));
    EXPECT_THAT(secretsOf(call), ElementsAre("opensesame"));
    EXPECT_THAT(valueOf(call, "password").shown, ElementsAre("****"));
    EXPECT_EQ(valueOf(parseCall({"GetPredefKey", "path=\xE6\xBC\xA2"}), "path").texts.front(), "\xE6\xBC\xA2");
    EXPECT_EQ(valueOf(parseCall({"GetKestelHomeKey"}), "khkey").number, defaultBufferSize);
    EXPECT_EQ(valueOf(parseCall({"GetKestelHomeKey", "khkey.size=0"}), "khkey").number, 0U);
}

TEST(Script, WordsAreSplitAndQuotedAlike)
{
    EXPECT_THAT(splitWords("  a=\"b c\"\t d\"e \"\"f\"\"\" \"#g\" h#i # comment \"\r"),
                ElementsAre("a=b c", "de \"f\"", "#g", "h#i"));
    EXPECT_THAT(splitWords("# only a comment"), testing::IsEmpty());
    for (const char* text : {"", "a b", "say \"x\"", "#", "C:\\a\\", "\"", "\xC3\xA4"})
        EXPECT_THAT(splitWords(quoted(text)), ElementsAre(text));
}

// "name(first, second, ..., " for each function: the prototypes of the header, and the rows.
TEST(Descriptors, AreThePublicHeader)
{
    const std::string text = sourceText("keswsec.h");
    std::vector<std::string> sections;
    for (const Area& area : areas())
        sections.push_back(area.name);
    EXPECT_EQ(sections, matches(text, "/\\* -+ (.*?) -+ \\*/", 1));
    const std::string header = std::regex_replace(text, std::regex("/\\*[^]*?\\*/"), "");
    const char* const prototype = "\\bWINAPI[V]?\\s+(\\w+)\\(([^;]*)\\);";
    const std::vector<std::string> names = matches(header, prototype, 1);
    const std::vector<std::string> parameters = matches(header, prototype, 2);
    std::vector<std::string> declared;
    for (size_t i = 0; i < names.size(); ++i) {
        std::string& line = declared.emplace_back(names[i] + "(");
        for (const std::string& name : matches(parameters[i], "(\\w+|\\.\\.\\.)\\s*(,|$)", 1))
            line += name + ", ";
    }
    std::vector<std::string> described;
    for (const Function& function : functions()) {
        std::string& line = described.emplace_back(std::string(function.name) + "(");
        line += takesRecord(function) ? "err, " : "";
        for (const Parameter& parameter : function.parameters)
            line += std::string(parameter.kind == Kind::inserts ? "..." : parameter.name) + ", ";
    }
    EXPECT_EQ(described, declared);
}

TEST(Descriptors, SayWhatAStatusMeans)
{
    // Whether the message of an earlier call is still there; whether it is a good answer.
    const std::tuple<const char*, DWORD, bool, const char*, bool> cases[] = {
        {"CreateOSGroup", 2, true, "success", true},
        {"CreateOSGroup", 1, false, "unknown status", false},
        {"CheckOSGroup", 1, false, "yes", true},
        {"CheckOSGroup", 0, false, "no", false},
        {"IsNameBuiltinAcc", 3, false, "no", false},
        {"IsNameBuiltinAcc", 3, true, "failure", false},
        {"TraceOn", 1, false, "success", true},
        {"TraceOn", 0, true, "failure", false},
        {"CreateKestelSVCUser", 9, true, "account exists", false},
        {"FillErrMsg", 0, true, "done", true},
    };
    for (const auto& [function, status, messageLeft, meaning, good] : cases) {
        const Verdict verdict = verdictOf(*findFunction(function), status, messageLeft);
        EXPECT_EQ(std::tuple(verdict.meaning, verdict.good), std::tuple(meaning, good)) << function << status;
    }
}

TEST(Print, JsonIsOneValidLineWhateverTheTextHolds)
{
    const Call call = parseCall(splitWords("CheckValidUser username=\"a\\b \"\"c\"\"\" passwd=opensesame"));
    const whatif::Change change = {
        whatif::ChangeKind::right, L"N", L"right \"x\"\\\u6F22\n", L"S-1-1-0", {}, {L"\x01"}};
    const std::string line = asJson(call, failed("line 1\r\n\tline \xC3\xA4 \xFF"), {change});
    EXPECT_EQ(line.find('\n'), line.size() - 1);
    EXPECT_EQ(line.find("opensesame"), std::string::npos);
    EXPECT_TRUE(std::all_of(line.begin(), line.end(), [](char c) { return c >= 0; })); // whatever carries it

    const nlohmann::json object = nlohmann::json::parse(line);
    EXPECT_EQ(object["function"], "sswseCheckValidUser");
    EXPECT_EQ(object["arguments"]["username"], "a\\b \"c\"");
    EXPECT_EQ(object["message"], "line 1\r\n\tline \xC3\xA4 \xEF\xBF\xBD"); // what is no UTF-8 is replaced
    EXPECT_EQ(object["oserror"], "5");
    EXPECT_EQ(object["plan"][0]["object"], "right \"x\"\\\xE6\xBC\xA2\n");
    EXPECT_EQ(object["plan"][0]["after"], "\x01");
}

TEST(Print, LongLinesAreBrokenAndNothingIsLost)
{
    std::wstring sddl = L"D:";
    for (int i = 0; i < 20; ++i)
        sddl += L"(A;;CCLCSWRPWPDTLOCRRC;;;SY)";
    const Call call = parseCall(splitWords("CheckOSGroup groupname=\"a b\""));
    std::istringstream text(asText(call, failed("WSE-1: x.\r\n\nO/S-Error: y\r\n"),
                                   {{whatif::ChangeKind::security, L"N", L"s", L"", {}, sddl},
                                    {whatif::ChangeKind::group, L"L", L"group g", L"", {}, {L""}}},
                                   L"L"));
    std::string line;
    std::string joined;
    while (std::getline(text, line)) {
        EXPECT_LE(line.size(), 120U);
        joined += line.substr(std::min(line.find_first_not_of(' '), line.size()));
    }
    EXPECT_EQ(joined,
              "3 failure  CheckOSGroup groupname=\"a b\"! WSE-1: x. [oserror 5] O/S-Error: y+ N: s: security: " +
                  std::string(sddl.begin(), sddl.end()) + "+ group g: created");
}
