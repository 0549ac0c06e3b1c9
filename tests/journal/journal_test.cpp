// A journal of each kind of change and of all of them: verified, taken back, and that taken back again; what somebody
// else changes in between; where the process ends.
#include "tests/journal/on_journal.h"

#include "tests/support/subject.h"
#include "whatif/model/kernel_objects.h"
#include "whatif/model/registry.h"

using support::JournalTest;
using support::Told;
using testing::AllOf;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::wstring logs = L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\";

// The first one, which is the node's own.
template <class Records>
void remove(Records& records, const wchar_t* name)
{
    records.erase(std::find_if(records.begin(), records.end(), [&](const auto& each) { return each.name == name; }));
}

struct Row
{
    const char* kind;
    std::string calls; // a line each
    // What is set in the node's description then, so that the change is not as it was left; without a value, or even a
    // key, what stands there goes.
    const char* section;
    const char* key;
    const char* value;
    const char* drifted;   // the line that tells so
    const char* lost = ""; // why it does not come back
    bool isBack = false;   // by what is changed then
};

// Changes that the calls make are told of in the order of the calls, and each row can follow the ones before it.
const std::vector<Row>& rows()
{
    static const std::vector<Row> all = {
        {"group", "CreateOSGroup groupname=KES_NEW groupdesc=\"new ones\"", "groups", "KES_NEW", "other",
         "? group KES_NEW: created: comment expected new ones, found other"},
        {"group with a member since", "CreateOSGroup groupname=KES_FULL", "members", "KES_FULL", "S-1-5-18",
         "? group KES_FULL: deleted: left alone: it has got members S-1-5-18"},
        {"member", "AddUserToGroup username=svc groupname=KES_OLD", "members", "KES_OLD", nullptr,
         "? group KES_OLD: member added: expected NODE\\svc, found nothing", "", true},
        {"member removed", "RemoveUserFromGroup username=svc groupname=KES_DBA", "members", "KES_DBA",
         "svc, NT SERVICE\\KesOld", "? group KES_DBA: member removed: expected nothing, found NODE\\svc", "", true},
        {"user", "CreateKestelSVCUser username=new password=Never-to-be-seen", "sids", "new", "S-1-5-21-1-2-3-4712",
         "? user new: created: sid expected S-1-5-21-1-2-3-"},
        {"right", "GrantPrivilegesToUser username=svc khtype=1", "rights", "SeServiceLogonRight", "",
         "? right SeServiceLogonRight: granted: expected NODE\\svc, found nothing", "", true},
        {"service", "CreateService servicename=KesNew binpath=C:\\h1\\bin\\norow.exe dependencies=RpcSs",
         "service KesNew", "binary path", "C:\\other.exe",
         "? service KesNew: created: binary path expected C:\\h1\\bin\\norow.exe, found C:\\other.exe"},
        {"service setting", "UpdateService servicename=KesOld binpath=\"C:\\h1\\bin\\kestel.exe new\"",
         "service KesOld", "binary path", "C:\\other.exe",
         "? service KesOld: binary path: expected C:\\h1\\bin\\kestel.exe new, found C:\\other.exe"},
        {"registry value", "SetKestelHomeType khomekey=KEY_h1 khometype=2", "registry SOFTWARE\\Kestel\\KEY_h1",
         "KESTEL_HOME_TYPE", "3", "KESTEL_HOME_TYPE set: expected 2, found 3"},
        {"registry key", "CreateSVCEventRegEntry SVCAppKey=KesLog EventMsgFile=C:\\new.dll Types=7",
         R"(registry SYSTEM\CurrentControlSet\Services\EventLog\Application\KesLog)", "TypesSupported", "dword:1",
         "KesLog: TypesSupported set: expected"},
        {"registry key deleted", "DeleteSVCEventRegEntry SVCAppKey=KesOldLog",
         R"(registry SYSTEM\CurrentControlSet\Services\EventLog\Application\KesOldLog)", "x", "",
         "KesOldLog: deleted: it is there"},
        {"security of files",
         "AddACLOnObjectForUser wtype=1 path=\\\\NODE\\C$\\tree usernames=Everyone ptype=1 inheritable=1\n"
         "SetACLOnObjectForUser wtype=1 path=\\\\NODE\\C$\\tree\\below usernames=svc ptype=1 inheritable=1\n"
         "RevokeACLOnObjectForUser wtype=0 path=\\\\NODE\\C$\\tree\\below\\file usernames=svc\n"
         "CopyPermissionsFromParentToChildren path=\\\\NODE\\C$\\tree\n"
         "setPermissions wFilename=\\\\NODE\\C$\\tree isAdmin=1",
         "security", "file C:\\tree\\own", "D:(A;;FR;;;WD)", "? file C:\\tree\\own: security: expected "},
        {"security of a key",
         "AddACLOnObjectForUser wtype=2 path=MACHINE\\SOFTWARE\\Kestel\\KEY_h1 usernames=svc ptype=9\n"
         "AddFullPermForSVCSIDSGroup wtype=2 path=MACHINE\\SOFTWARE\\Kestel\\KEY_h1\n"
         "RevokeACLOnObjectForUser wtype=2 path=MACHINE\\SOFTWARE\\Kestel\\KEY_h1 usernames=svc",
         "security", "registry HKLM\\SOFTWARE\\Kestel\\KEY_h1", "D:(A;;KR;;;WD)",
         "? registry HKLM\\SOFTWARE\\Kestel\\KEY_h1: security: expected "},
        {"security of a kernel object",
         "AddACEOnKernelObjectForUserOrGroup object=\"event KesReady\" username=svc accessmask=0x100000", "security",
         "event KesReady", "D:(A;;0x1f0003;;;WD)", "? event KesReady: security: expected "},
        {"list of a token", "AddACEOnDefaultDACLForSvcUser username=svc accessmask=0x100000", "security",
         "token of this process", "D:(A;;GA;;;WD)", "? token of this process: security: expected "},
        {"members moved",
         "DeleteSVCSidsFromKESHomeGroups\n"
         "MigrateDBServiceSidsForUpgrade khomepath=C:\\h1 nodename=NODE\n"
         "MigrateDBServiceSidsForDowngrade khomepath=C:\\h1 nodename=NODE\n"
         "MigrateDBServiceSidsForUpgrade khomepath=C:\\h1 nodename=NODE",
         "members", "KES_h1_DBA", nullptr,
         "? group KES_h1_DBA: member added: expected NT SERVICE\\KesOld, found nothing", "", true},
        {"made and removed again",
         "CreateOSGroup groupname=KES_TEMP\n"
         "AddUserToGroup username=svc groupname=KES_TEMP\n"
         "DeleteOSGroup groupname=KES_TEMP",
         "groups", "KES_TEMP", "another", "? group KES_TEMP: deleted: it is there"},
        {"password of a service", "ChangeServicesPwdForUser username=svc password=Never-to-be-seen", "service KesUser",
         nullptr, nullptr, "? service KesUser: password set: it is not there",
         "? service KesUser: password set: cannot be taken back: nobody can read what it was"},
        {"service deleted", "DeleteService servicename=KesOld", "service KesOld", "binary path", "C:\\other.exe",
         "? service KesOld: deleted: it is there"},
        {"service with a password deleted", "DeleteService servicename=KesUser", "service KesUser", "binary path",
         "C:\\other.exe", "? service KesUser: deleted: it is there",
         "? service KesUser: created: cannot be taken back: the password of .\\svc is lost"},
        {"group deleted", "DeleteOSGroup groupname=KES_OLD", "groups", "KES_OLD", "another",
         "? group KES_OLD: deleted: it is there", "? group KES_OLD: created: cannot be taken back: its SID is lost"},
        {"user deleted", "DeleteKestelSVCUser username=old", "users", "old", "", "? user old: deleted: it is there",
         "? user old: created: cannot be taken back: its SID is lost"},
    };
    return all;
}

class Kinds : public JournalTest, public testing::WithParamInterface<Row>
{
};

} // namespace

// A kind whose loss is told does not come back, and nothing else is lost.
TEST_P(Kinds, ThereAndBack)
{
    const Row& row = GetParam();
    const Told done = play({row.calls}, "node", "after");
    EXPECT_TRUE(done.isGood) << done.output;
    EXPECT_THAT(done.output, AllOf(HasSubstr("           + "), Not(HasSubstr(" ? "))));
    EXPECT_TRUE(verify("after").isGood);
    const Told undone = undo("after", "back");
    EXPECT_EQ(undone.isGood, !*row.lost) << undone.output;
    EXPECT_THAT(undone.output, HasSubstr(row.lost));
    if (!*row.lost)
        expectSame("node", "back");
    EXPECT_TRUE(undo("back", "again", "journal", "none").isGood || *row.lost) << "what is so already is passed over";
    expectSame("back", "again");

    const Told redone = undo("back", "redone", "redo", "undo");
    if (redone.output.find("is lost") == std::string::npos)
        expectSame("redone", "after");
    EXPECT_THAT(contents("journal") + contents("redo"), Not(HasSubstr("to-be-seen")));
}

TEST_P(Kinds, WhatSomebodyElseHasChangedIsLeftAlone)
{
    const Row& row = GetParam();
    ASSERT_TRUE(play({row.calls, "CreateOSGroup groupname=KES_OTHER"}, "node", "after").isGood);
    const bool isContent = std::string(row.drifted).find("left alone") != std::string::npos;
    write("drifted", contents("after"));
    WritePrivateProfileStringA(row.section, row.key, row.value, path("drifted").c_str());
    const Told verified = verify("drifted");
    EXPECT_EQ(verified.isGood, isContent) << verified.output;
    EXPECT_TRUE(isContent || verified.output.find(row.drifted) != std::string::npos) << verified.output;

    const Told undone = undo("drifted", "back");
    EXPECT_EQ(undone.isGood, row.isBack) << undone.output;
    EXPECT_THAT(undone.output, AllOf(AnyOf(HasSubstr(isContent    ? row.drifted
                                                     : row.isBack ? ""
                                                                  : ": left alone: "),
                                           HasSubstr("nobody can read what it was")),
                                     HasSubstr("+ group KES_OTHER: deleted")));
    EXPECT_EQ(undo("back", "again", "journal", "none").isGood, row.isBack) << "still left alone";
    expectSame("back", "again");
}

INSTANTIATE_TEST_SUITE_P(Journal, Kinds, testing::ValuesIn(rows()), [](const auto& row) {
    std::string name = row.param.kind;
    name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
    return name;
});

TEST_F(JournalTest, EverythingThereAndBack)
{
    std::vector<std::string> calls;
    for (const Row& row : rows())
        calls.push_back(row.calls);
    const Told done = play(calls, "node", "after");
    EXPECT_TRUE(done.isGood) << done.output;
    EXPECT_TRUE(verify("after").isGood);
    size_t made = 0;
    const Told begun = undo("after", "half", "journal", "redo", [&](whatif::World& world) {
        world.watch([&](const whatif::Change&) { cli::interrupt(++made == 5); });
    });
    cli::interrupt(false);
    EXPECT_FALSE(begun.isGood);
    EXPECT_EQ(made, 5U);
    const Told undone = undo("half", "back"); // is started again
    EXPECT_THAT(undone.output, HasSubstr(", 4 that cannot be taken back\n"));
    const auto isWithout = [&](const std::string& node, const std::string& whole, const support::Between& lost) {
        write("script", "");
        support::run({"--node", path(whole), "--save", path("expected"), "--script", path("script")}, lost);
        expectSame("expected", node);
    };
    isWithout("back", "node", [](whatif::World& world) {
        remove(world.local().groups, L"KES_OLD");
        remove(world.local().accounts, L"old");
        remove(world.local().services, L"KesUser");
    });
    EXPECT_THAT(undo("back", "redone", "redo", "undo").output, HasSubstr(", 4 that cannot be taken back"));
    isWithout("redone", "after", [](whatif::World& world) {
        for (const wchar_t* const name : {L"KES_NEW", L"KES_FULL", L"KES_VLMADMIN"})
            remove(world.local().groups, name);
        remove(world.local().accounts, L"new");
    });
}

TEST_F(JournalTest, WhatIsMadeAgainIsCompletedAndSaid)
{
    ASSERT_TRUE(play({"DeleteSVCEventRegEntry SVCAppKey=KesOldLog"}, "node", "after").isGood);
    const Told undone = undo("after", "back", "journal", "redo", [](whatif::World& world) {
        world.registry().createKey(world.local(), logs + L"KesOldLog");
        world.local().security[L"registry HKLM\\" + logs + L"KesOldLog"] = L"D:(A;;KA;;;WD)";
    });
    EXPECT_FALSE(undone.isGood);
    EXPECT_THAT(undone.output, HasSubstr("was there already; it has been completed"));
    expectSame("node", "back");
}

TEST_F(JournalTest, AServiceThatGoesLaterComesBack)
{
    const Told done = play({"DeleteService servicename=KesOld"}, "node", "after", "journal", [](whatif::World&) {
        const journal::Platform node = journal::nodePlatform();
        node.OpenServiceW(node.OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT), L"KesOld", SERVICE_QUERY_STATUS);
    });
    EXPECT_FALSE(done.isGood);
    EXPECT_THAT(done.output, HasSubstr("it is there until it has stopped and nobody has it open"));
    EXPECT_TRUE(verify("after").isGood) << "it has gone now";
    EXPECT_TRUE(undo("after", "back").isGood);
    expectSame("node", "back");
}

// As on a machine, whose accounts are numbered on. The line of the call's end tells it; without one the name does.
TEST_F(JournalTest, AccountsHaveOtherSidsThanInThePlay)
{
    ASSERT_TRUE(play({"CreateKestelSVCUser username=new password=Never-to-be-seen"}, "node", "after").isGood);
    std::string journal = contents("journal");
    const std::string planned = "S-1-5-21-1-2-3-9999";
    const size_t begin = journal.find("S-1-5", journal.find("\"after\":{\"sid\":"));
    const std::string real = journal.substr(begin, journal.find('"', begin) - begin);
    journal = support::replaced(journal, real, planned);
    journal.replace(journal.find("\"sids\":{"), 8, "\"sids\":{\"" + planned + "\":\"" + real + '"');
    write("ended", journal);
    write("begun", journal.substr(0, journal.find("{\"done\"")));
    for (const char* const each : {"ended", "begun"}) {
        const Told undone = undo("after", "back", each, "none");
        EXPECT_TRUE(undone.isGood) << undone.output;
        expectSame("node", "back");
    }
}

// The process ends in the middle of a line and after it; before a call, and after it. What has been done goes back.
TEST_F(JournalTest, UndoAfterACrash)
{
    std::vector<std::string> calls;
    for (const char* const kind : {"user", "service", "registry key deleted", "security of files", "service deleted"})
        for (const Row& row : rows())
            if (std::string(row.kind) == kind)
                calls.push_back(row.calls.substr(0, row.calls.find('\n')));
    std::string state = "node";
    size_t before = 0;
    for (size_t call = 0; call < calls.size(); ++call) {
        const std::string next = "state" + std::to_string(call);
        ASSERT_TRUE(play({calls[call]}, state, next).isGood);
        const std::string whole = contents("journal");
        std::vector<size_t> ends; // of the lines of this session
        for (size_t at = before; at < whole.size(); at = ends.back())
            ends.push_back(whole.find('\n', at) + 1);
        ASSERT_EQ(ends.size(), 3U);
        const std::pair<size_t, std::string> cuts[] = {
            {before + 5, state}, {ends[0] + 40, state}, {ends[1], state}, {ends[1], next}, {ends[2] - 1, next}};
        for (const auto& [cut, node] : cuts) {
            write("cut", whole.substr(0, cut));
            const Told undone = undo(node, "back", "cut", "none");
            EXPECT_TRUE(undone.isGood) << calls[call] << " cut at " << cut - before << "\n" << undone.output;
            expectSame("node", "back");
        }
        state = next;
        before = whole.size();
    }
}
