// keswsec.exe itself: exit status, what is written where, passwords.
#include "cli/text.h"
#include "tests/support/library_copy.h"
#include "tests/support/program.h"
#include "tests/support/scratch_directory.h"

#include <gmock/gmock.h>

#include <fstream>
#include <regex>

using namespace cli;
using support::Finished;
using support::runProgram;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

std::string inQuotes(const std::filesystem::path& file)
{
    return "\"" + utf8FromWide(file.wstring()) + "\"";
}

const std::string server = '"' + support::projectFile("examples/server.ini") + '"';

class Program : public testing::Test
{
protected:
    // As an argument.
    std::string script(const std::string& lines) const
    {
        std::ofstream(scratch.path() / "script.txt", std::ios::binary) << lines;
        return " --script " + inQuotes(scratch.path() / "script.txt");
    }

    const support::ScratchDirectory scratch;
};

} // namespace

TEST_F(Program, ExitStatusAndOutput)
{
    const std::tuple<const char*, int, const char*> cases[] = {
        {"--help", 0, "Exit status: 0"},
        {"--list setPermissions", 0, "failList "},
        {"--list", 0, "]\n        is the user a member?\n\nhome key, home type, home name\n    GetKestelHomeKey "},
        {"sswseIsKhomeTypeValid khometype=3", 1, "0 no "},
        {"--list NoSuch", 2, "keswsec: no function NoSuch"},
        {"--script nosuch.txt", 2, "keswsec: cannot read nosuch.txt"},
        {"--node nosuch.ini IsOSWinDC", 2, "nosuch.ini"},
        {"AddACEOnKernelObjectForUserOrGroup object=\"event kwt-none\" username=svc accessmask=1", 2,
         "keswsec: object=event kwt-none cannot be opened, error 2"},
        {"--home Z:\\nosuch IsOSWinDC", 2, "keswsec: cannot load Z:\\nosuch\\bin\\keswsec19.dll"},
    };
    for (const auto& [arguments, status, output] : cases) {
        const Finished result = runProgram(arguments);
        EXPECT_EQ(result.status, status) << arguments;
        EXPECT_THAT(result.output, HasSubstr(output)) << arguments;
        EXPECT_TRUE(status != 2 || result.output.find('\n') == result.output.size() - 1) << arguments;
    }
}

TEST_F(Program, ShowsWhatEachKindOfFunctionAnswers)
{
    const std::pair<std::string, const char*> calls[] = {
        {"IsKhomeTypeValid khometype=2", "1 yes      IsKhomeTypeValid khometype=2\n"},
        {"GetVAGroupnameForKHomename homename=h1", "= groupname KES_h1_SVCACCTS, outlen 15\n"},
        {"GetVAGroupnameForKHomename homename=h1 groupname.size=15", "! WSE-000033: Insufficient output buffer"},
        {"FillErrMsg messageId=0xC002000A osError=5 insert=a insert=b", "registry key a under b. [oserror 5]"},
        {"ConvertSIDToUname OSSid=S-1-1-0", "= uname "},
        {"CheckAccessMask sid=S-1-1-0 mask=3 list=D:(A;;0x1;;;WD)(A;;0x3;;;WD)", "0 no       CheckAccessMask"},
        {"GetPredefKey path=MACHINE\\Software", "= root HKEY_LOCAL_MACHINE, subkey Software\n"},
        {"AddAceToACL pszTrustee=S-1-5-18 dwAccessRights=0x2 acl=D:(A;;0x1;;;WD)", ";SY)"},
        {"AddACEOnDefaultDACLForSvcUser username=S-1-5-19 accessmask=0x100000", "2 success "},
        {"setPermissions wFilename=C:\\nosuch", "1 no such object "},
    };
    std::string lines;
    for (const auto& call : calls)
        lines += "- " + call.first + "\n";
    const Finished result = runProgram(script(lines));
    EXPECT_EQ(result.status, 0);
    for (const auto& call : calls)
        EXPECT_THAT(result.output, HasSubstr(call.second));
}

TEST_F(Program, PasswordsAreNeverShown)
{
    const std::string password(600, 'P'); // longer than an argument line
    std::ofstream(scratch.path() / "input", std::ios::binary) << password + "\r\nIsOSWinDC";
    const Finished cut =
        runProgram("--trace CheckValidUser username=nobody passwd=- <" + inQuotes(scratch.path() / "input"));
    EXPECT_THAT(cut.output, HasSubstr("passwd  = ****\n"));
    EXPECT_THAT(cut.output, Not(HasSubstr("PPPP")));
    std::string calls;
    for (const char* const call :
         {"CheckValidUser username=Administrator passwd=", "CreateKestelSVCUser username=kestelsvc password=",
          "IsPasswordValid password=", "CreateService servicename=s binpath=C:\\h\\kestel.exe password=",
          "UpdateService servicename=s binpath=C:\\h\\kestel.exe password=",
          "UpdateService servicename=none binpath=b password="})
        calls += std::string("- ") + call + "Never-to-be-seen\n";
    for (const char* const options : {"--trace", "--json --trace", ""}) {
        const Finished shown = runProgram(options + (" --node " + server) + script(calls));
        EXPECT_THAT(shown.output, AllOf(HasSubstr("UpdateService"), HasSubstr("****"), Not(HasSubstr("to-be-seen"))));
    }
}

TEST_F(Program, ScriptStopsAtAFailureThatIsNotTolerated)
{
    const Finished stopped =
        runProgram(script("# heading\n- IsKhomeTypeValid khometype=3 # tolerated\r\n\nIsKhomeTypeValid khometype=1\n"
                          "IsKhomeTypeValid khometype=4\nIsKhomeTypeValid khometype=0\n"));
    EXPECT_EQ(stopped.status, 1);
    EXPECT_EQ(stopped.output,
              "# heading\n0 no       IsKhomeTypeValid khometype=3\n1 yes      IsKhomeTypeValid khometype=1\n"
              "0 no       IsKhomeTypeValid khometype=4\n");
    const Finished refused = runProgram(script("IsKhomeTypeValid khometype=1\n\nIsKhomeTypeValid\n"));
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.output, HasSubstr("script.txt:3: IsKhomeTypeValid: khometype is missing"));
    EXPECT_THAT(refused.output, Not(HasSubstr("yes"))); // nothing has been run
}

TEST_F(Program, CreatingAHomeAgainChangesNothing)
{
    // The library beside keswsec.exe has no key file.
    const support::EnvironmentVariable key("KESTEL_HOME_KEY", "KEY_home1");
    const support::EnvironmentVariable name("KESTEL_HOME_NAME", "home1");
    const std::filesystem::path saved = scratch.path() / "node.ini";
    const std::string example = support::projectFile("examples/create-home.txt");
    const Finished first =
        runProgram("--json --node " + server + " --save " + inQuotes(saved) + " --script " + inQuotes(example));
    EXPECT_EQ(first.status, 0) << first.output;
    EXPECT_THAT(first.output, Not(HasSubstr("\"plan\":[]")));
    EXPECT_THAT(first.output, HasSubstr(R"("outputs":{"phService":"open"})"));
    EXPECT_THAT(first.output, Not(HasSubstr("Secret-1")));
    EXPECT_THAT(support::contentsOf(saved), HasSubstr("dependencies=RpcSs"));

    const std::string tolerant =
        std::regex_replace(support::contentsOf(example), std::regex("(^|\n)(?=[^\n])"), "$1- ");
    const Finished again = runProgram("--json --node " + inQuotes(saved) + script(tolerant));
    EXPECT_EQ(again.status, 0);
    EXPECT_THAT(again.output, Not(HasSubstr("\"plan\":[{")));
    EXPECT_THAT(again.output, HasSubstr("(OS 1073)"));
}
