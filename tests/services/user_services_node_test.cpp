// The services of an account and of a home: listed, given a new password; the SIDs of services in the home's groups.
#include "tests/support/node_test.h"
#include "whatif/model/sids.h"
#include "whatif/redirect/active.h"

#include <algorithm>

namespace {

using namespace support;
using std::string;

class ServicesOfNodes : public NodeTest
{
protected:
    ServicesOfNodes()
    {
        for (whatif::Node* const node : {&local, &remote}) {
            record(*node, "KESTEL_HOME_NAME", node == &local ? "H1" : "R1");
            node->services.clear();
            add(*node, L"Database", L".\\svc", L"C:\\h1\\bin\\kestel.exe H1");
            add(*node, L"Quoted", node->name + L"\\SVC", L"\"\\??\\C:\\H1\\bin\\kestel.exe\" \"x y\"");
            add(*node, L"Elsewhere", L".\\SVC", L"C:\\h1x\\bin\\kestel.exe");
            add(*node, L"System", L".\\LocalSystem", L"C:\\h1\\keslsnr.exe");
            add(*node, L"Nobody", L"", L"\\??\\C:\\h1\\bin\\kestel\\other.exe");
            add(*node, L"Gone", L"CORP\\gone", L"C:\\h1\\a.exe");
            add(*node, L"Broken", L"S-1-x", L"D:\\b.exe");
            add(*node, L"Virtual", L"NT SERVICE\\Virtual", L"C:\\h1");
            add(*node, L"Domain", L"dbuser@CORP", L"C:\\h2\\a.exe");
            add(*node, L"Driver", L"\\Driver\\x", L"C:\\h1\\drv.sys").type = SERVICE_KERNEL_DRIVER;
        }
    }

    static whatif::Service& add(whatif::Node& node, const std::wstring& name, const std::wstring& account,
                                const std::wstring& path)
    {
        whatif::Service& service = node.services.emplace_back();
        service.name = service.displayName = name;
        service.account = account;
        service.binaryPath = path;
        service.password = L"old";
        return service;
    }

    whatif::Service& service(whatif::Node& node, const wchar_t* name)
    {
        return *std::find_if(node.services.begin(), node.services.end(),
                             [&](const whatif::Service& each) { return each.name == name; });
    }

    // "2 Database Quoted | WSE-000054", with the fault.
    template <class Function, class... Arguments>
    string asked(intercept::Fault fault, Function* function, Arguments... arguments)
    {
        char** names = reinterpret_cast<char**>(this);
        int count = 99;
        sswseErrRec rec = {"old", "old"};
        interception.start(fault);
        string answer = std::to_string(function(&rec, arguments..., &names, &count));
        trail = interception.finish();
        EXPECT_EQ(names == nullptr, count == 0);
        for (int i = 0; i < count; ++i)
            answer += string(" ") + names[i];
        EXPORT(sswseFreeArrayofStrings)(names, static_cast<size_t>(count));
        const string message = messageOf(rec);
        return message.empty() ? answer : answer + " | " + message.substr(0, message.find(':')) + " " + rec.oserror;
    }

    size_t calls(const char* function) const
    {
        return static_cast<size_t>(std::count_if(trail.calls.begin(), trail.calls.end(),
                                                 [&](const auto& call) { return string(call.row->name) == function; }));
    }

    intercept::Trail trail;
};

TEST_F(ServicesOfNodes, AreListedByAccountAndByHome)
{
    const string sid(svc.begin(), svc.end());
    const string remoteSid = "s" + string(remoteSvc.begin() + 1, remoteSvc.end());
    const string own = library.path();
    add(local, L"Own", L"NODE\\svc", whatif::wide(("\"" + own + "\\bin\\kestel.exe\"").c_str()));
    constexpr char anywhere[] = "-";
    const std::tuple<const char*, const char*, const char*, string> cases[] = {
        {anywhere, ".\\svc", "DB2", "2 Database Quoted Elsewhere"},
        {anywhere, "svc", nullptr, "2 Database Quoted Elsewhere Own"},
        {anywhere, sid.c_str(), "", "2 Database Quoted Elsewhere Own"},
        {anywhere, sid.c_str(), "DB2", "2"},
        {anywhere, remoteSid.c_str(), "DB2", "2 Database Quoted Elsewhere"},
        {anywhere, "localsystem", "DB2", "2 System Nobody"},
        {anywhere, "NT SERVICE\\Virtual", "DB2", "2 Virtual"},
        {anywhere, "CORP\\dbuser", "DB2", "2 Domain"},
        {anywhere, "S-1-5-21-9-9-9-1", "DB2", "2"},
        {anywhere, "CORP\\gone", "DB2", "3 | WSE-000014 1332"},
        {anywhere, "s-1-x", "DB2", "3 | WSE-000038 1337"},
        {anywhere, "svc", "nowhere", "3 | WSE-000014 1722"},
        {"C:\\h1", "svc", "DB2", "2 Database Quoted"},
        {"c:/H1//", "svc", "DB2", "2 Database Quoted"},
        {"C:\\h1\\bin\\kestel", nullptr, "DB2", "2 Nobody"},
        {"C:\\h1", nullptr, "DB2", "2 Database Quoted System Nobody Gone"},
        {"C:", nullptr, "DB2", "2 Database Quoted Elsewhere System Nobody Gone Virtual Domain"},
        {"C:\\h1", "CORP\\dbuser", "DB2", "2"},
        {nullptr, "svc", nullptr, "2 Own"},
        {nullptr, nullptr, "DB2", "2"},
        {own.c_str(), nullptr, nullptr, "2 Own"},
        {"\\/", "svc", "DB2", "4 | WSE-000012 "},
    };
    for (const auto& [home, user, node, answer] : cases)
        EXPECT_EQ(home != anywhere ? asked({}, EXPORT(sswseGetAllServicesInKHForUser), home, user, node)
                                   : asked({}, EXPORT(sswseGetAllServicesForUser), user, node),
                  answer)
            << home << " " << user;
}

TEST_F(ServicesOfNodes, ThatCannotBeReadOrLookedUp)
{
    const std::tuple<intercept::Fault, const char*, const char*> cases[] = {
        {failing("OpenServiceW", ERROR_ACCESS_DENIED, 1), "2 Quoted Elsewhere | WSE-000054 5",
         "3 Database | WSE-000054 5"},
        {failing("QueryServiceConfigW", ERROR_SERVICE_MARKED_FOR_DELETE, 3), "2 Database Elsewhere", "2"},
        {failing("OpenServiceW", RPC_S_SERVER_UNAVAILABLE, 2), "3 | WSE-000054 1722", "3 | WSE-000054 1722"},
        {failing("LookupAccountNameW", ERROR_NONE_MAPPED, 5), "2 Database Elsewhere", "2"},
        {failing("LookupAccountNameW", ERROR_TRUSTED_RELATIONSHIP_FAILURE, 4), "3 | WSE-000014 1789",
         "3 | WSE-000014 1789"},
        {failing("EnumServicesStatusExW", ERROR_MORE_DATA), "3 | WSE-000060 234", "3 | WSE-000060 234"},
    };
    for (const auto& [fault, ofUser, passwords] : cases) {
        SCOPED_TRACE(string(fault.function) + " " + std::to_string(fault.code));
        // The first two look-ups are those of the account itself, the next two of the first start name.
        EXPECT_EQ(asked(fault, EXPORT(sswseGetAllServicesForUser), ".\\svc", nullptr), ofUser);
        EXPECT_EQ(asked(fault, EXPORT(sswseChangeServicesPwdForUser), ".\\svc", "new", nullptr), passwords);
    }
}

// Each account is looked up once, by two calls, and the list comes in pieces.
TEST_F(ServicesOfNodes, InThousandsCostOneLookUpForEachAccount)
{
    constexpr size_t perAccount = 200;
    const std::wstring accounts[] = {L".\\svc", L"db2\\Svc", L"CORP\\dbuser", L"NT SERVICE\\TrustedInstaller",
                                     L"CORP\\gone"};
    remote.services.clear();
    string all = "2";
    for (size_t i = 0; i < perAccount * std::size(accounts); ++i) {
        add(remote, L"Service" + std::to_wstring(i), accounts[i % std::size(accounts)], L"C:\\h1\\a.exe");
        all += i % std::size(accounts) < 2 ? " Service" + std::to_string(i) : "";
    }
    EXPECT_EQ(asked({}, EXPORT(sswseGetAllServicesForUser), "svc", "DB2"), all);
    EXPECT_EQ(calls("LookupAccountNameW"), 2 + 3 * 2 + 2 * 1u) << "two do not exist, which the first call tells";
    EXPECT_EQ(calls("EnumServicesStatusExW"), 2u);
    EXPECT_EQ(calls("OpenServiceW"), std::size(accounts) * perAccount);
}

TEST_F(ServicesOfNodes, GetANewPassword)
{
    const auto ofUser = [&](const char* user, const char* password) {
        return asked({}, EXPORT(sswseChangeServicesPwdForUser), user, password, "DB2");
    };
    const auto ofHome = [&](const char* home) {
        return asked({}, EXPORT(sswseChangeServicesPwdInKHForUser), home, "svc", "new", "DB2");
    };
    const auto set = [](const char* name) { return string("DB2: service ") + name + ": password set"; };
    EXPECT_EQ(ofHome("C:\\h1"), "2");
    EXPECT_EQ(plan(), (Lines{set("Database"), set("Quoted")}));
    EXPECT_EQ(ofUser("svc", "new"), "2");
    EXPECT_EQ(plan(), Lines{set("Elsewhere")}) << "the others have it";
    EXPECT_EQ(ofUser("svc", ""), "2");
    EXPECT_EQ(plan(), (Lines{set("Database"), set("Quoted"), set("Elsewhere")}));
    EXPECT_EQ(service(remote, L"Quoted").account, L"DB2\\SVC");
    EXPECT_EQ(service(remote, L"Quoted").password, L"");
    EXPECT_EQ(service(remote, L"Domain").password, L"old");
    for (const char* const user : {"LocalSystem", "S-1-5-19", "NT AUTHORITY\\NetworkService", "NT SERVICE\\Virtual",
                                   "S-1-5-80-0", "CORP\\gmsa$"})
        EXPECT_EQ(ofUser(user, "new"), "4 | WSE-000063 ") << user;
    EXPECT_EQ(ofUser("S-1-5-21-9-9-9-1", "new"), "2");
    EXPECT_EQ(ofHome("C:\\h3"), "2");
    service(remote, L"Quoted").security = L"D:(A;;CCLC;;;BA)"; // may be read, and no more
    service(remote, L"Elsewhere").deleted = true;
    EXPECT_EQ(ofUser("svc", "third"), "3 Quoted | WSE-000054 5");
    EXPECT_EQ(plan(), Lines{set("Database")}) << "one that is going needs none";
    service(remote, L"Database").type = SERVICE_WIN32_OWN_PROCESS | SERVICE_INTERACTIVE_PROCESS;
    EXPECT_EQ(ofUser("svc", "fourth"), "3 Database Quoted | WSE-000058 87");
    EXPECT_EQ(plan(), Lines());
}

TEST_F(ServicesOfNodes, RunAsLocalSystemOrNot)
{
    const auto ask = [&](const char* name) { return calling(EXPORT(sswseIsSvcRunningAsLocalSystem), name, "DB2"); };
    add(remote, L"Plain", L"", L"C:\\h1\\drv.sys").type = SERVICE_FILE_SYSTEM_DRIVER;
    expectNodeCases({{"spelled", ask("System"), 1},
                     {"empty", ask("nobody"), 1},
                     {"a user", ask("Database"), 0},
                     {"a driver", ask("Driver"), 0},
                     {"a driver without account", ask("Plain"), 0},
                     {"an account that is gone", ask("Gone"), 3, "WSE-000014", ERROR_NONE_MAPPED}});
}

class SidsInGroups : public ServicesOfNodes
{
protected:
    SidsInGroups()
    {
        path = library.path();
        for (whatif::Node* const node : {&local, &remote}) {
            service(*node, L"Database").binaryPath = whatif::wide((path + "\\bin\\KESTEL.EXE H1").c_str());
            service(*node, L"Quoted").binaryPath = whatif::wide(("\"\\??\\" + path + "\\kestel\" \"C:\\x\"").c_str());
            service(*node, L"System").binaryPath = whatif::wide((path + "\\bin\\keslsnr.exe").c_str());
        }
        remote.drives[whatif::wide(path.substr(0, 1).c_str())] = whatif::wide((path.substr(0, 2) + "\\").c_str());
    }

    static Lines moved(const string& node, const string& from, const string& to)
    {
        Lines lines;
        for (const char* const service : {"Database", "Quoted"}) {
            lines.push_back(node + ": group " + to + ": member added: NT SERVICE\\" + service);
            lines.push_back(node + ": group " + from + ": member removed: NT SERVICE\\" + service);
        }
        return lines;
    }

    string path;
    const std::wstring database = whatif::serviceSid(L"Database");
    const std::wstring quoted = whatif::serviceSid(L"Quoted");
    const std::wstring system = whatif::serviceSid(L"System");
    const std::wstring elsewhere = whatif::serviceSid(L"Elsewhere");
    const std::wstring gone = L"S-1-5-80-1-2-3-4-5";
};

TEST_F(SidsInGroups, LeaveTheHomesOwnGroups)
{
    const auto clean = [&](const char* home, const char* node) {
        return calling(EXPORT(sswseDeleteSVCSidsFromKESHomeGroups), home, node);
    };
    local.memberPiece = 2;
    addGroup(local, L"KES_H1_SVCSIDS", {svc, database, gone, L"S-1-5-80-1-2-3-4", L"S-1-5-80-0", quoted});
    addGroup(local, L"KES_H1_SYSKM", {gone});
    addGroup(local, L"KES_H1_DBA", {dbuser, elsewhere});
    addGroup(local, L"KES_H1_SVCACCTS", {database});
    addGroup(local, L"KES_DBA", {database});
    addGroup(remote, L"KES_R1_OPER", {system});
    const auto removed = [](const string& group, const string& member) {
        return "NODE: group KES_H1_" + group + ": member removed: " + member;
    };
    const Lines all = {removed("SVCSIDS", "NT SERVICE\\Database"), removed("SVCSIDS", "S-1-5-80-1-2-3-4-5"),
                       removed("SVCSIDS", "NT SERVICE\\Quoted"),   removed("SVCACCTS", "NT SERVICE\\Database"),
                       removed("DBA", "NT SERVICE\\Elsewhere"),    removed("SYSKM", "S-1-5-80-1-2-3-4-5")};
    const whatif::Node before = local;
    const string slashed = path + "/";
    expectNodeCases({{"own home", clean(nullptr, nullptr), 2, all}, {"again", clean(nullptr, nullptr), 2}});
    local = before;
    expectNodeCases({{"by its path", clean(slashed.c_str(), ""), 2, all},
                     {"on a node", clean(path.c_str(), "DB2"), 2,
                      Lines{"DB2: group KES_R1_OPER: member removed: NT SERVICE\\System"}},
                     {"no home", clean("C:\\nowhere", nullptr), 6, "WSE-000052"}});
    EXPECT_EQ(path, library.path()) << "it is the caller's";
    local = before;
    expectNodeCases({
        {"no more to come", clean(nullptr, nullptr), 3, "WSE-000030", ERROR_MORE_DATA,
         failing("NetLocalGroupGetMembers", ERROR_MORE_DATA)},
        {"one gone meanwhile", clean(nullptr, nullptr), 2, "", 0,
         failing("NetLocalGroupDelMembers", ERROR_MEMBER_NOT_IN_ALIAS, 2),
         Lines{all[0], all[2], all[3], all[4], all[5]}},
    });
    library.removeKeyFile();
    const EnvironmentVariable name("KESTEL_HOME_NAME", "ENV");
    addGroup(local, L"KES_ENV_SVCSIDS", {database});
    expectNodeCases({{"a name from the environment", clean(nullptr, nullptr), 2,
                      Lines{"NODE: group KES_ENV_SVCSIDS: member removed: NT SERVICE\\Database"}}});
}

TEST_F(SidsInGroups, MoveBetweenTheMachinesGroupAndTheHomes)
{
    const auto up = [&](const char* home, const char* node = nullptr) {
        return calling(EXPORT(sswseMigrateDBServiceSidsForUpgrade), home, node);
    };
    const auto down = [&](const char* home) {
        return calling(EXPORT(sswseMigrateDBServiceSidsForDowngrade), home, nullptr);
    };
    expectNodeCases({{"nothing to do", up(nullptr), 2}, {"nor back", down(nullptr), 2}});
    for (whatif::Node* const node : {&local, &remote})
        addGroup(*node, L"KES_DBA", {svc, database, system, elsewhere, gone, quoted});
    addGroup(local, L"KES_H1_DBA", {database});
    const Lines both = moved("NODE", "KES_DBA", "KES_H1_DBA");
    Lines onNode = moved("DB2", "KES_DBA", "KES_R1_DBA");
    onNode.insert(onNode.begin(), "DB2: group KES_R1_DBA: created: KESTEL Group");
    expectNodeCases({
        {"one is in both", up(nullptr), 2, Lines(both.begin() + 1, both.end())},
        {"again", up(nullptr), 2},
        {"back", down(path.c_str()), 2, moved("NODE", "KES_H1_DBA", "KES_DBA")},
        {"again", down(path.c_str()), 2},
        {"and forth", up(path.c_str()), 2, both},
        {"on a node", up(path.c_str(), "DB2"), 2, onNode},
        {"no home", down("C:\\nowhere"), 6, "WSE-000052"},
    });
}

} // namespace
