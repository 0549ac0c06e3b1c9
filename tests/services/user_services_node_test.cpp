// The services of an account and of a home: listed, given a new password; the SIDs of services in the home's groups.
#include "cli/text.h"
#include "tests/support/node_test.h"
#include "whatif/model/sids.h"
#include "whatif/spelling.h"

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

    static whatif::Service& service(whatif::Node& node, const wchar_t* name)
    {
        return *std::find_if(node.services.begin(), node.services.end(),
                             [&](const whatif::Service& each) { return each.name == name; });
    }
};

TEST_F(ServicesOfNodes, AreListedByAccountAndByHome)
{
    const string sid(svc.begin(), svc.end());
    const string remoteSid = "s" + string(remoteSvc.begin() + 1, remoteSvc.end());
    const string own = library.path();
    add(local, L"Own", L"NODE\\svc", whatif::wide(("\"" + own + "\\bin\\kestel.exe\"").c_str()));
    const std::pair<string, const char*> rows[] = {
        {"ForUser username=.\\svc nodename=DB2", "2 = Database Quoted Elsewhere 3"},
        {"ForUser username=svc", "2 = Database Quoted Elsewhere Own 4"},
        {"ForUser nodename=\"\" username=" + sid, "2 = Database Quoted Elsewhere Own 4"},
        {"ForUser nodename=DB2 username=" + sid, "2 = 0"},
        {"ForUser nodename=DB2 username=" + remoteSid, "2 = Database Quoted Elsewhere 3"},
        {"ForUser username=localsystem nodename=DB2", "2 = System Nobody 2"},
        {"ForUser username=\"NT SERVICE\\Virtual\" nodename=DB2", "2 = Virtual 1"},
        {"ForUser username=CORP\\dbuser nodename=DB2", "2 = Domain 1"},
        {"ForUser username=S-1-5-21-9-9-9-1 nodename=DB2", "2 = 0"},
        {"ForUser username=CORP\\gone nodename=DB2", "3 WSE-000014 1332"},
        {"ForUser username=s-1-x nodename=DB2", "3 WSE-000038 1337"},
        {"ForUser username=svc nodename=nowhere", "3 WSE-000014 1722"},
        {"InKHForUser khomepath=C:\\h1 username=svc nodename=DB2", "2 = Database Quoted 2"},
        {"InKHForUser khomepath=c:/H1// username=svc nodename=DB2", "2 = Database Quoted 2"},
        {"InKHForUser khomepath=C:\\h1\\bin\\kestel nodename=DB2", "2 = Nobody 1"},
        {"InKHForUser khomepath=C:\\h1 nodename=DB2", "2 = Database Quoted System Nobody Gone 5"},
        {"InKHForUser khomepath=C: nodename=DB2", "2 = Database Quoted Elsewhere System Nobody Gone Virtual Domain 8"},
        {"InKHForUser khomepath=C:\\h1 username=CORP\\dbuser nodename=DB2", "2 = 0"},
        {"InKHForUser username=svc", "2 = Own 1"},
        {"InKHForUser nodename=DB2", "2 = 0"},
        {"InKHForUser khomepath=\"" + own + '"', "2 = Own 1"},
        {"InKHForUser khomepath=\\/ username=svc nodename=DB2", "4 WSE-000012"},
    };
    for (const auto& [call, answered] : rows)
        expect({{"GetAllServices" + call, answered}});
}

TEST_F(ServicesOfNodes, ThatCannotBeReadOrLookedUp)
{
    const std::tuple<intercept::Fault, const char*, const char*> rows[] = {
        {failing("OpenServiceW", ERROR_ACCESS_DENIED, 1), "2 WSE-000054 5 = Quoted Elsewhere 2",
         "3 WSE-000054 5 = Database 1"},
        {failing("QueryServiceConfigW", ERROR_SERVICE_MARKED_FOR_DELETE, 3), "2 = Database Elsewhere 2", "2 = 0"},
        {failing("OpenServiceW", RPC_S_SERVER_UNAVAILABLE, 2), "3 WSE-000054 1722", "3 WSE-000054 1722"},
        {failing("LookupAccountNameW", ERROR_NONE_MAPPED, 5), "2 = Database Elsewhere 2", "2 = 0"},
        {failing("LookupAccountNameW", ERROR_TRUSTED_RELATIONSHIP_FAILURE, 4), "3 WSE-000014 1789",
         "3 WSE-000014 1789"},
        {failing("EnumServicesStatusExW", ERROR_MORE_DATA), "3 WSE-000060 234", "3 WSE-000060 234"},
    };
    for (const auto& [fault, ofUser, passwords] : rows) {
        // The first two look-ups are those of the account itself, the next two of the first start name.
        expectAnswers({{"GetAllServicesForUser username=.\\svc", ofUser, {}, fault},
                       {"ChangeServicesPwdForUser username=.\\svc password=new", passwords, {}, fault}});
    }
}

// Each account is looked up once, by two calls, and the list comes in pieces.
TEST_F(ServicesOfNodes, InThousandsCostOneLookUpForEachAccount)
{
    constexpr size_t perAccount = 200;
    const std::wstring accounts[] = {L".\\svc", L"db2\\Svc", L"CORP\\dbuser", L"NT SERVICE\\TrustedInstaller",
                                     L"CORP\\gone"};
    remote.services.clear();
    string all = "2 =";
    for (size_t i = 0; i < perAccount * std::size(accounts); ++i) {
        add(remote, L"Service" + std::to_wstring(i), accounts[i % std::size(accounts)], L"C:\\h1\\a.exe");
        all += i % std::size(accounts) < 2 ? " Service" + std::to_string(i) : "";
    }
    interception.start({});
    EXPECT_EQ(answer("GetAllServicesForUser username=svc nodename=DB2"), all + " 400");
    std::map<string, size_t> calls;
    for (const auto& call : interception.finish().calls)
        ++calls[call.row->name];
    EXPECT_EQ(calls["LookupAccountNameW"], 2 + 3 * 2 + 2 * 1u) << "two do not exist, which the first call tells";
    EXPECT_EQ(calls["EnumServicesStatusExW"], 2u);
    EXPECT_EQ(calls["OpenServiceW"], std::size(accounts) * perAccount);
}

TEST_F(ServicesOfNodes, GetANewPassword)
{
    const string ofSvc = "ChangeServicesPwdForUser nodename=DB2 username=svc password=";
    const string ofHome = "ChangeServicesPwdInKHForUser nodename=DB2 username=svc password=new khomepath=";
    const string database = "DB2: service Database: password set", quoted = "DB2: service Quoted: password set",
                 elsewhere = "DB2: service Elsewhere: password set";
    expect({{ofHome + "C:\\h1", "2 = 0", {database, quoted}},
            {ofSvc + "new", "2 = 0", {elsewhere}}, // the others have it
            {ofSvc + "\"\"", "2 = 0", {database, quoted, elsewhere}},
            {ofHome + "C:\\h3", "2 = 0"}});
    EXPECT_EQ(std::tuple(service(remote, L"Quoted").account, service(remote, L"Quoted").password),
              std::tuple(L"DB2\\SVC", L""));
    EXPECT_EQ(service(remote, L"Domain").password, L"old");
    const string ofOther = "ChangeServicesPwdForUser nodename=DB2 password=new username=";
    for (const char* const user : {"LocalSystem", "S-1-5-19", "\"NT AUTHORITY\\NetworkService\"",
                                   "\"NT SERVICE\\Virtual\"", "S-1-5-80-0", "CORP\\gmsa$"})
        expect({{ofOther + user, "4 WSE-000063"}});
    service(remote, L"Quoted").security = L"D:(A;;CCLC;;;BA)"; // may be read, and no more
    service(remote, L"Elsewhere").deleted = true;              // needs none
    expect({{ofOther + "S-1-5-21-9-9-9-1", "2 = 0"}, {ofSvc + "third", "3 WSE-000054 5 = Quoted 1", {database}}});
    service(remote, L"Database").type = SERVICE_WIN32_OWN_PROCESS | SERVICE_INTERACTIVE_PROCESS;
    expect({{ofSvc + "fourth", "3 WSE-000058 87 = Database Quoted 2"}});
}

TEST_F(ServicesOfNodes, RunAsLocalSystemOrNot)
{
    add(remote, L"Plain", L"", L"C:\\h1\\drv.sys").type = SERVICE_FILE_SYSTEM_DRIVER;
    const string asked = "IsSvcRunningAsLocalSystem nodename=DB2 servicename=";
    expect({{asked + "System", "1"},
            {asked + "nobody", "1"}, // has no account
            {asked + "Database", "0"},
            {asked + "Driver", "0"},
            {asked + "Plain", "0"},
            {asked + "Gone", "3 WSE-000014 1332"}});
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

    static Lines moved(const string& node, const string& from, const string& to, Lines lines = {})
    {
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
    const string clean = "DeleteSVCSidsFromKESHomeGroups", home = " khomepath=" + cli::quoted(path);
    expect({{clean, "2", all}, {clean, "2"}});
    local = before;
    expect({{clean + " nodename=\"\" khomepath=" + cli::quoted(path + "/"), "2", all},
            {clean + home + " nodename=DB2", "2", {"DB2: group KES_R1_OPER: member removed: NT SERVICE\\System"}},
            {clean + " khomepath=C:\\nowhere", "6 WSE-000052"}});
    local = before;
    expect({
        {clean, "3 WSE-000030 234", {}, failing("NetLocalGroupGetMembers", ERROR_MORE_DATA)}, // and no more to come
        {clean,                                                                               // one gone meanwhile
         "2",
         {all[0], all[2], all[3], all[4], all[5]},
         failing("NetLocalGroupDelMembers", ERROR_MEMBER_NOT_IN_ALIAS, 2)},
    });
    library.removeKeyFile();
    const EnvironmentVariable name("KESTEL_HOME_NAME", "ENV");
    addGroup(local, L"KES_ENV_SVCSIDS", {database});
    expect({{clean, "2", {"NODE: group KES_ENV_SVCSIDS: member removed: NT SERVICE\\Database"}}});
}

TEST_F(SidsInGroups, MoveBetweenTheMachinesGroupAndTheHomes)
{
    const string up = "MigrateDBServiceSidsForUpgrade", down = "MigrateDBServiceSidsForDowngrade",
                 home = " khomepath=" + cli::quoted(path);
    expect({{up, "2"}, {down, "2"}});
    for (whatif::Node* const node : {&local, &remote})
        addGroup(*node, L"KES_DBA", {svc, database, system, elsewhere, gone, quoted});
    addGroup(local, L"KES_H1_DBA", {database}); // one is in both
    const Lines both = moved("NODE", "KES_DBA", "KES_H1_DBA");
    expect({
        {up, "2", {both[1], both[2], both[3]}},
        {up, "2"},
        {down + home, "2", moved("NODE", "KES_H1_DBA", "KES_DBA")},
        {down + home, "2"},
        {up + home, "2", both},
        {up + home + " nodename=DB2", "2",
         moved("DB2", "KES_DBA", "KES_R1_DBA", {"DB2: group KES_R1_DBA: created: KESTEL Group"})},
        {down + " khomepath=C:\\nowhere", "6 WSE-000052"},
    });
}

} // namespace
