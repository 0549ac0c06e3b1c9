#include "cli/print.h"
#include "cli/script.h"

#include <gmock/gmock.h>

#include <sstream>

using namespace cli;

namespace {

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
