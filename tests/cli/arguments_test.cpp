#include "cli/arguments.h"
#include "cli/options.h"
#include "cli/script.h"
#include "cli/text.h"

#include <gmock/gmock.h>

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
