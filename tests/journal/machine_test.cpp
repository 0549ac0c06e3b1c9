// Journals of this machine: where the platform reports success without effect, a call has not succeeded; what is really
// there goes there and back.
#include "tests/journal/on_journal.h"

#include "cli/text.h"
#include "tests/support/node_test.h"
#include "tests/support/this_machine.h"
#include "whatif/security/descriptors.h"

using support::JournalTest;
using support::Told;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using namespace std::string_literals;

namespace {

class JournalOnMachine : public JournalTest
{
protected:
    Told onMachine(const std::string& script)
    {
        write("script", script);
        return support::run({"--journal", path("journal"), "--script", path("script")});
    }

    const std::string ours = cli::utf8FromWide(support::machineName(L"journal"));
    const support::RegistryHome registry;
    const support::EnvironmentVariable otherKey{"KESTEL_HOME_KEY", "KEY_keswsec_test"};
};

} // namespace

TEST_F(JournalOnMachine, SuccessWithoutEffectIsNone)
{
    if (!support::isWine())
        GTEST_SKIP() << "Windows: there it has an effect";
    const std::pair<const char*, const char*> calls[] = {
        {"CreateOSGroup groupname=KES_WINE", "? group KES_WINE: created: it is not there"},
        {"CreateKestelSVCUser username=keswine password=Never-to-be-seen-1",
         "? user keswine: created: it is not there"},
        {"GrantPrivilegesToUser username=SYSTEM khtype=1", "? right SeServiceLogonRight: granted: expected "}};
    for (const auto& [call, line] : calls) {
        const Told told = onMachine(call);
        EXPECT_FALSE(told.isGood) << call;
        EXPECT_THAT(told.output, HasSubstr(line));
    }
    const Told verified = support::run({"--verify", path("journal")});
    EXPECT_TRUE(verified.isGood) << "what was never there has not been changed since\n" << verified.output;
}

TEST_F(JournalOnMachine, APasswordIsTriedOnce)
{
    whatif::Imports own(GetModuleHandleW(nullptr)); // those of the node that a call is played on
    static size_t logons;
    const auto logonUser = [](LPCWSTR, LPCWSTR, LPCWSTR, DWORD, DWORD, PHANDLE) -> BOOL { return ++logons == 0; };
    ASSERT_NE(own.redirect("LogonUserW", reinterpret_cast<void*>(+logonUser)), nullptr);
    EXPECT_THAT(onMachine("CheckValidUser username=keswine passwd=Never-to-be-seen-1").output,
                HasSubstr("CheckValidUser"));
    EXPECT_EQ(logons, 0U);
    EXPECT_THAT(contents("journal"), AllOf(HasSubstr("\"done\":1"), Not(HasSubstr("to-be-seen"))));
}

TEST_F(JournalOnMachine, RegistryServicesAndEventSourcesGoThereAndBack)
{
    const std::string log = "SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\" + ours;
    registry.set("KESTEL_HOME_NAME", "h1");
    registry.set("KESTEL_HOME_TYPE", "2");
    const Told done = onMachine("SetKestelHomeType khomekey=KEY_keswsec_test khometype=1\n"
                                "CreateSVCEventRegEntry EventMsgFile=C:\\x.dll Types=7 SVCAppKey=" +
                                ours + "\nCreateService binpath=C:\\norow.exe starttype=3 servicename=" + ours +
                                " displayname=" + ours + "\n");
    const std::string unknown = "? service " + ours + ": SID type: cannot be looked up: ";
    const auto rest = [&](const std::string& output) { // Wine has no SID types
        return support::isWine() ? support::replaced(output, unknown, "") : output;
    };
    EXPECT_THAT(rest(done.output), Not(HasSubstr("? ")));
    EXPECT_EQ(registry.get("KESTEL_HOME_TYPE"), "1\0"s);
    EXPECT_THAT(rest(support::run({"--verify", path("journal")}).output), Not(HasSubstr("? ")));

    const Told undone = support::run({"--undo", path("journal"), "--journal", path("redo")});
    EXPECT_TRUE(undone.isGood) << undone.output;
    EXPECT_EQ(registry.get("KESTEL_HOME_TYPE"), "2\0"s);
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, log.c_str(), 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
    EXPECT_THAT(undone.output, HasSubstr("+ service " + ours + ": deleted"));
    const Told shown = support::run({"--what-if", "--undo", path("redo")});
    EXPECT_THAT(shown.output, HasSubstr("KESTEL_HOME_TYPE set: 2 -> 1\n"));
    EXPECT_EQ(registry.get("KESTEL_HOME_TYPE"), "2\0"s) << "only shown";
}

TEST_F(JournalOnMachine, KernelObjectsGoBackAsLongAsTheyAreThere)
{
    std::vector<BYTE> administrators =
        whatif::selfRelative(whatif::securityOf(std::wstring(L"D:(A;;0x1f0003;;;BA)")), DACL_SECURITY_INFORMATION);
    SECURITY_ATTRIBUTES attributes = {sizeof attributes, administrators.data(), FALSE};
    const HANDLE event = CreateEventA(&attributes, TRUE, FALSE, ours.c_str());
    const Told done = onMachine(
        "AddACEOnKernelObjectForUserOrGroup username=SYSTEM accessmask=0x100000 object=\"event " + ours + "\"\n");
    EXPECT_TRUE(done.isGood) << done.output;
    const Told undone = support::run({"--undo", path("journal"), "--journal", path("redo")});
    EXPECT_TRUE(undone.isGood) << undone.output;
    EXPECT_THAT(undone.output, HasSubstr("+ event " + ours + ": security: "));
    EXPECT_TRUE(support::run({"--verify", path("redo")}).isGood);
    CloseHandle(event);
    EXPECT_THAT(support::run({"--undo", path("redo")}).output, HasSubstr("is so already: it has gone, and so has "));

    HANDLE token = nullptr;
    BYTE list[1024];
    DWORD size = 0;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY | TOKEN_ADJUST_DEFAULT, &token) &&
                GetTokenInformation(token, TokenDefaultDacl, list, sizeof list, &size));
    write("script", "AddACEOnDefaultDACLForSvcUser username=Everyone accessmask=0x100000\n");
    EXPECT_THAT(support::run({"--json", "--journal", path("token"), "--script", path("script")}).output,
                HasSubstr("\"outcome\":\"same\""))
        << "while the process is there";
    SetTokenInformation(token, TokenDefaultDacl, list, sizeof(TOKEN_DEFAULT_DACL));
    CloseHandle(token);
    const Told gone = support::run({"--undo", path("token")});
    EXPECT_TRUE(gone.isGood);
    EXPECT_THAT(gone.output, HasSubstr("is so already: it has gone with the process that had it"));
}
