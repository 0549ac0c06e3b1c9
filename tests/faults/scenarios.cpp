// The calls, by area.
#include "tests/faults/driver.h"
#include "whatif/model/sids.h"

namespace faults {

namespace {

using support::failing;

constexpr wchar_t homeKey[] = L"SOFTWARE\\Kestel\\KEY_h1";

void putMessageModule(Subject& s)
{
    copy_file(support::programDirectory() / "message-modules" / "KESWSECMSGUS.DLL",
              s.home.directory() / "KESWSECMSGUS.DLL");
}

void withRights(Subject& s)
{
    for (whatif::Node* const node : {&s.local, &s.remote})
        for (const wchar_t* const right : {L"SeServiceLogonRight", L"SeCreateSymbolicLinkPrivilege"})
            node->rights[right] = {node->sid + L"-2001"};
}

// ---- homes ----------------------------------------------------------------------------------------------------------

auto withVariables(bool andKey)
{
    return [=](Subject& s) {
        s.home.removeKeyFile();
        s.setEnvironment("KESTEL_HOME_NAME", "h1");
        if (andKey)
            s.setEnvironment("KESTEL_HOME_KEY", "KEY_h1");
    };
}

// What the home records.
auto with(const wchar_t* value, const wchar_t* text)
{
    return [=](Subject& s) { s.setText(value, text); };
}

const auto withVirtualAccounts = with(L"KESTEL_SVCUSER_TYPE", L"V");
const auto withLocalSystem = with(L"KESTEL_SVCUSER", L"NT AUTHORITY\\SYSTEM");
const auto withManaged = with(L"KESTEL_SVCUSER", L"CORP\\gmsa$");

void withoutFacts(Subject& s)
{
    s.setText(L"KESTEL_SVCUSER_TYPE", L"unknown");
    s.setText(L"KESTEL_SVCUSER_PWDREQ", L"unknown");
}

// ---- services -------------------------------------------------------------------------------------------------------

// Two services of the home on both nodes, and their SIDs in groups of all kinds.
void withServices(Subject& s)
{
    const std::wstring sids[] = {whatif::serviceSid(L"KesOld"), whatif::serviceSid(L"KesTwo"), L"S-1-5-80-1-2-3-4-5"};
    for (whatif::Node* const node : {&s.local, &s.remote}) {
        const std::wstring home = node == &s.local ? std::filesystem::path(s.home.path()).wstring() : L"D:";
        whatif::Service& old = node->services.front();
        old.binaryPath = L"\"" + home + L"\\bin\\kestel.exe\" h1";
        whatif::Service second = old;
        second.name = second.displayName = L"KesTwo";
        second.account = node->name + L"\\svc";
        node->services.insert(node->services.begin() + 1, second);
        node->groups.push_back({L"KES_h1_SVCSIDS", L"", node->sid + L"-3001", {}});
        for (whatif::Group& group : node->groups)
            if (group.name == L"KES_DBA" || group.name.compare(0, 7, L"KES_h1_") == 0)
                group.members.insert(group.members.end(), std::begin(sids), std::end(sids));
    }
}

// Where the SIDs are that are to go back.
void withServicesOfTheHome(Subject& s)
{
    withServices(s);
    for (whatif::Node* const node : {&s.local, &s.remote})
        node->groups.erase(std::remove_if(node->groups.begin(), node->groups.end(),
                                          [](const whatif::Group& group) { return group.name == L"KES_DBA"; }),
                           node->groups.end());
}

// ---- access ---------------------------------------------------------------------------------------------------------

void describe(Subject& s, const std::wstring& file, const std::wstring& sddl)
{
    s.local.security[L"file " + s.files() + file] = sddl;
}

// Authenticated users may read every object; each has an entry of its own as well.
void allowReaders(Subject& s)
{
    int mask = 1;
    for (const wchar_t* const name : {L"", L"\\file", L"\\sub", L"\\sub\\file"})
        describe(s, name, L"D:PAI(A;;GA;;;BA)(A;OICI;GR;;;AU)(A;;0x" + std::to_wstring(mask++) + L";;;SY)");
    s.local.security[L"registry HKLM\\SOFTWARE"] = L"D:P(A;OICI;KA;;;AU)";
    s.local.security[L"registry HKLM\\SOFTWARE\\Kestel\\KEY_h1"] = L"D:AI(A;;KR;;;AU)(A;CIID;KA;;;AU)";
}

auto onVlfs(const Subject::Prepare& prepare)
{
    return [=](Subject& s) {
        prepare(s);
        s.putOnVlfs();
    };
}

auto closing(const wchar_t* sddl)
{
    return [=](Subject& s) { describe(s, L"\\file", sddl); };
}

// What the second call of a function finds.
void withEntries(Subject& s)
{
    s.makeGroup();
    describe(s, L"\\file", L"D:P(A;OICI;FA;;;" + s.local.groups.back().sid + L')');
    for (const wchar_t* const name : {L"", L"\\sub", L"\\sub\\file"})
        describe(s, name, L"D:P(A;;FA;;;BA)");
    s.local.security[L"event Ready"] = L"D:(A;;0x1f0003;;;BA)(A;;0x2;;;" + s.local.sid + L"-2001" + L')';
}

void withListeners(Subject& s)
{
    support::Nodes::addGroup(s.local, L"KES_MESH_LISTENERS");
    support::Nodes::addGroup(s.local, L"KES_CLX_USERS");
}

const auto closeFile = closing(L"O:SYD:P");

// The tree and the key of the home, with one below.
auto securing(const wchar_t* entries)
{
    return [=](Subject& s) {
        const std::wstring sddl = std::wstring(L"O:BAG:SYD:P(A;OICI;GA;;;BA)") + entries;
        s.local.security[L"file " + s.files()] = s.remote.security[L"file E:"] = sddl;
        for (whatif::Node* const node : {&s.local, &s.remote}) {
            node->security[L"registry HKLM\\" + std::wstring(homeKey)] = sddl;
            s.world().registry().createKey(*node, std::wstring(homeKey) + L"\\sub");
        }
    };
}

// All that a check can ask for, but something for the service.
const auto give = securing(L"(A;OICI;GA;;;SY)(A;OICI;GA;;;S-1-5-21-1-2-3-2001)(A;OICI;0x20039;;;WD)");
const auto giveLittle = securing(L"(A;OICI;GR;;;WD)");

} // namespace

const std::vector<Scenario>& scenarios()
{
    static const std::vector<Scenario> all = {
        // the call frame
        {"FillErrMsg messageId=0xC002000C osError=5 functionName=routine apiName=Api insert=name", "own messages", 0},
        {"FillErrMsg messageId=0xC002000C osError=5 functionName=routine apiName=Api insert=name", "a message module",
         0, putMessageModule},
        {"TraceOn", "on", 1},
        {"TraceOn -callback", "no callback", 0},
        {"TraceOff", "off", 1},
        {"ConvertUnameToSID", "a SID", 2, {}, false, {}, "sswseFreeMemory"},
        {"CheckUserPrivileges", "two strings", 0, {}, false, {}, "sswseFreeArrayofStrings"},
        {"IsOSVistaOrAbove", "yes", 1},
        {"IsOSWin7OrAbove", "yes", 1},
        {"IsOSWin8OrAbove", "yes", 1},
        {"IsOSWinDC", "no", 0},
        {"IsOSWinDC", "yes", 1, &Subject::makeDomainController},
        // names and SIDs, users, credentials, managed accounts, rights
        {"ConvertUnameToSID", "a user", 2},
        {"ConvertSIDToUname OSSid=S-1-5-32-544 uname.size=25", "a group", 2},
        {"GetOwnerSIDForCurrentProcess", "this process", 2},
        {"GetBuiltinAccName buf.size=29", "a keyword", 2},
        {"GetBuiltinAccName accname=svc buf.size=28", "no keyword", 3},
        {"IsNameBuiltinAcc accname=\"NT AUTHORITY\\NETWORK SERVICE\"", "the third one", 1},
        {"IsNameBuiltinAcc accname=svc", "none", 3},
        {"CheckValidUser username=CORP\\svc", "a domain user", 2},
        {"CheckValidUser", "a user without a domain", 2, {}, true},
        {"CreateKestelSVCUser", "a new user", 2},
        {"DeleteKestelSVCUser", "a user", 2},
        {"IsPasswordValid", "good", 1},
        {"IsPasswordValid", "too short", 0, [](Subject& s) { s.local.minimumPasswordLength = 30; }},
        {"IsAdministrator", "yes", 1},
        {"IsAdministrator", "nested groups are not told", 1, {}, true, failing("NetUserGetLocalGroups", 5, 1)},
        {"IsAdministrator username=CORP\\svc", "no", 0},
        {"IsManagedSVCAccount username=CORP\\gmsa$", "yes", 1},
        {"IsGroupManagedSVCAccount cUser=CORP\\gmsa$", "yes", 1},
        {"IsUserDomainUser username=CORP\\svc", "yes", 1},
        {"CheckUserExists", "yes", 1},
        {"GrantPrivilegesToUser", "on this machine", 2},
        {"GrantPrivilegesToUser nodename=DB2", "on a node", 2},
        {"RevokePrivilegesFromUser nodename=DB2", "on a node", 2, withRights},
        {"RevokePrivilegesFromUser", "who has none", 2, {}, true},
        {"CheckUserPrivileges username=CORP\\svc", "missing", 0},
        {"CheckUserPrivileges", "held", 1, withRights},
        // local groups
        {"CreateOSGroup groupname=KES_NEW groupdesc=comment", "on this machine", 2},
        {"CreateOSGroup groupname=KES_NEW nodename=DB2", "on a node", 2},
        {"CheckOSGroup groupname=KES_DBA nodename=DB2", "yes", 1},
        {"CheckOSGroup groupname=KES_NEW", "no", 0, {}, true},
        {"DeleteOSGroup groupname=KES_NEW", "none", 2, {}, true},
        {"DeleteOSGroup groupname=KES_DBA nodename=DB2", "on a node", 2},
        {"AddUserToGroup", "a member", 2, {}, true},
        {"RemoveUserFromGroup username=nobody", "no member", 2, {}, true},
        {"AddUserToGroup username=nobody groupname=KES_DBA", "a group", 2},
        {"AddUserToGroup username=nobody groupname=KES_NEW nodename=DB2", "a new group on a node", 2},
        {"RemoveUserFromGroup groupname=KES_DBA nodename=DB2", "on a node", 2},
        {"CheckUserInGroup groupname=KES_DBA directflg=1 nodename=DB2", "a direct member", 1},
        {"CheckUserInGroup username=CORP\\svc", "through another group", 1},
        {"CheckUserInGroup username=CORP\\svc directflg=1", "only through another group", 0, {}, true},
        {"CheckUserInGroup username=\"NT AUTHORITY\\SYSTEM\" groupname=KES_DBA", "a built-in account", 0},
        // home key, type and name, the recorded service user, event-log sources
        {"GetKestelHomeKey khkey.size=7", "key file", 2},
        {"GetKestelHomeKey khkey.size=7", "environment", 2, withVariables(true)},
        {"GetKestelHomeType khtype.size=3", "on this machine", 2},
        {"GetKestelHomeType khtype.size=3 nodename=DB2", "on a node", 2},
        {"SetKestelHomeType khometype=2 nodename=DB2", "on a node", 2},
        {"IsKhomeTypeValid", "yes", 1},
        {"GetKestelHomeName khname.size=4", "key file", 2},
        {"GetKestelHomeName khname.size=4", "environment", 2, withVariables(true)},
        {"GetKestelHomeName khname.size=4", "environment alone", 2, withVariables(false), true},
        {"GetKestelHomeTypeForKHPath khtype.size=3", "on this machine", 2},
        {"GetKestelHomeTypeForKHPath khomepath=D: khtype.size=3 nodename=DB2", "on a node", 2},
        {"SetUnameForKhome uname=nobody", "a user", 2, withoutFacts},
        {"SetUnameForKhome uname=LOCAL_SYSTEM nodename=DB2", "a keyword, on a node", 2, withoutFacts},
        {"SetUnameForKhome uname=KES_DBA", "a group", 2, withoutFacts},
        {"SetUnameForKhome uname=CORP\\gmsa$", "a managed account", 2, withoutFacts, true},
        {"SetUnameForKhome uname=LOCAL_SERVICE", "another keyword", 2, withoutFacts, true},
        {"GetUnameForKhome uname.size=4", "on this machine", 2},
        {"GetUnameForKhome uname.size=4 nodename=DB2", "on a node", 2},
        {"GetUnameForKhomePath uname.size=4 nodename=DB2", "on a node", 2},
        {"IsSVCUserMSA", "yes", 1, withManaged},
        {"IsSVCUserGMSA", "yes", 1, withManaged},
        {"IsSVCUserPasswordRequired nodename=DB2", "yes", 1},
        {"IsSvcUserLocalSystem", "yes", 1, withLocalSystem},
        {"IsSvcUserLocalService", "yes", 1, with(L"KESTEL_SVCUSER", L"NT AUTHORITY\\LOCAL SERVICE")},
        {"IsSvcUserVirtualAccount", "yes", 1, withVirtualAccounts},
        {"IsSvcUserVirtualAccount nodename=DB2", "no, on a node", 0, {}, true},
        {"GetVAGroupnameForKHomename groupname.size=16", "a name", 2},
        {"GetKHomeNameFromVAGroupName homename.size=3", "a group name", 2},
        {"CreateSVCEventRegEntry", "on this machine", 2},
        {"CreateSVCEventRegEntry Types=10", "some types", 2, {}, true},
        {"CreateSVCEventRegEntry nodename=DB2", "on a node", 2},
        {"DeleteSVCEventRegEntry nodename=DB2", "on a node", 2, &Subject::makeSource},
        // services
        {"CreateService", "database under the service user", 2},
        {"CreateService", "database under a virtual account", 2, withVirtualAccounts},
        {"CreateService binpath=C:\\h1\\bin\\keslsnr.exe", "listener of home type 0", 2,
         with(L"KESTEL_HOME_TYPE", L"0")},
        {"CreateService binpath=C:\\h1\\bin\\keslsnr.exe nodename=DB2", "listener of home type 2, on a node", 2,
         with(L"KESTEL_HOME_TYPE", L"2")},
        {"CreateService", "database under LocalSystem on a domain controller", 2,
         [](Subject& s) {
             withLocalSystem(s);
             s.makeDomainController();
         }},
        {"CreateService binpath=C:\\h1\\bin\\other.exe", "without a row", 2},
        {"CreateService binpath=C:\\h1\\bin\\kesvssw.exe", "backup under LocalSystem", 2, withLocalSystem, true},
        {"CreateService binpath=C:\\h1\\bin\\batchrun.exe", "batch runs", 2, {}, true},
        {"CreateService", "database under a managed account", 2, withManaged, true},
        {"CreateService servicename=KESTELMONDBSERVICE1", "monitor of home type 0", 2, with(L"KESTEL_HOME_TYPE", L"0"),
         true},
        {"CreateService servicetype=1 binpath=C:\\h1\\bin\\other.exe", "a driver", 2, {}, true},
        {"CreateService servicename=KestelVLMService", "volumes of home type 0, whose SID type stays", 2,
         with(L"KESTEL_HOME_TYPE", L"0"), true},
        {"CreateService binpath=C:\\h1\\bin\\other.exe", "without a row, under a virtual account", 2,
         withVirtualAccounts, true},
        {"CreateService", "its SID type is not taken", 2, {}, true, failing("ChangeServiceConfig2W", 5)},
        {"UpdateService -username", "its security is not told", 2, {}, true, failing("QueryServiceObjectSecurity", 5)},
        {"UpdateService -username", "its security is not taken", 2, {}, true, failing("SetServiceObjectSecurity", 5)},
        {"UpdateService -username", "without administrators' groups", 2, withServicesOfTheHome, true},
        {"UpdateService -username", "under LocalSystem", 2, withLocalSystem, true},
        {"UpdateService -username binpath=C:\\h1\\bin\\keslsnr.exe nodename=DB2",
         "listener under a virtual account, on a node", 2, withVirtualAccounts, true},
        {"UpdateService -username", "database under the service user", 2},
        {"UpdateService -username binpath=C:\\h1\\bin\\keslsnr.exe nodename=DB2", "listener of home type 0, on a node",
         2, with(L"KESTEL_HOME_TYPE", L"0")},
        {"GetSvcUserForService username.size=6 nodename=DB2", "on a node", 2},
        {"DeleteService nodename=DB2", "in two groups", 2},
        {"DeleteService", "on this machine", 2, {}, true},
        {"GetServiceSidName svcname=KesDB out.size=17", "a service", 2},
        {"GetServiceSID", "on this machine", 2},
        {"GetServiceSID nodename=DB2", "on a node", 2},
        {"GetAllServicesForUser username=.\\svc nodename=DB2", "on a node", 2, withServices},
        {"GetAllServicesInKHForUser -khomepath", "own home", 2, withServices},
        {"ChangeServicesPwdForUser", "on this machine", 2, withServices},
        {"ChangeServicesPwdInKHForUser khomepath=D:/ nodename=DB2", "on a node", 2, withServices},
        {"GetAllServicesForUser username=S-1-5-21-1-2-3-2001", "of a SID", 2, withServices, true},
        {"IsSvcRunningAsLocalSystem nodename=DB2", "no", 0},
        {"IsSvcRunningAsLocalSystem", "yes", 1, [](Subject& s) { s.local.services.front().account = L"LocalSystem"; },
         true},
        {"DeleteSVCSidsFromKESHomeGroups -khomepath", "own home", 2, withServices},
        {"DeleteSVCSidsFromKESHomeGroups khomepath=D: nodename=DB2", "on a node", 2, withServices},
        {"MigrateDBServiceSidsForUpgrade -khomepath", "own home", 2, withServices},
        {"MigrateDBServiceSidsForDowngrade khomepath=D: nodename=DB2", "on a node", 2, withServicesOfTheHome},
        // access control on objects
        {"AddACLOnObjectForUser path=FILES\\file", "a file", 2},
        {"AddACLOnObjectForUser wtype=1 path=FILES ptype=1 inheritable=1", "a tree", 2},
        {"AddACLOnObjectForUser wtype=1 path=\\\\DB2\\E$\\sub ptype=0", "a directory of a node", 2},
        {"AddACLOnObjectForUser wtype=1 path=FILES\\sub", "a mount point", 2, &Subject::putOnVlfs},
        {"AddACLOnObjectForUser wtype=2 path=MACHINE\\Software\\Kestel\\KEY_h1 ptype=9", "a key", 2},
        {"AddACLOnObjectForUser wtype=2 path=\\\\DB2\\MACHINE\\Software\\Kestel\\KEY_h1 ptype=9", "a key of a node", 2},
        {"AddACLOnObjectForUser wtype=3 path=FILES -usernames ptype=7", "for groups", 2},
        {"AddACLOnObjectForUser wtype=1 path=FILES\\sub ptype=4", "for listeners", 2, withListeners, true},
        {"AddACLOnObjectForUser wtype=1 path=FILES\\sub ptype=5", "for more groups", 2, withListeners, true},
        {"SetACLOnObjectForUser wtype=1 path=FILES ptype=0 inheritable=1", "a tree", 2},
        {"SetACLOnObjectForUser wtype=1 path=FILES ptype=0 inheritable=1", "a tree with a file out of reach", 2,
         closeFile, true},
        {"SetACLOnObjectForUser wtype=2 path=\\\\DB2\\MACHINE\\Software\\Kestel\\KEY_h1 "
         "usernames=localsystem usernames=.\\svc usernames=S-1-5-11 \"usernames=NT AUTHORITY\\LocalService\" ptype=9",
         "a key of a node", 2},
        {"AddACLOnObjectForUser2 wtype=1 path=FILES ptype=1 inheritable=1 installuser=CORP\\svc excludelist=none "
         "excludelist=SUB/file",
         "all but some of a tree", 2},
        {"SetACLOnObjectForUser2 wtype=1 path=FILES\\sub -usernames ptype=10 inheritable=1 installuser=.\\svc "
         "excludelist=none excludelist=SUB/file",
         "a mount point", 2, &Subject::putOnVlfs},
        {"RevokeACLOnObjectForUser wtype=1 path=FILES usernames=S-1-5-11 usernames=svc inheritable=1", "a tree", 2,
         allowReaders},
        {"RevokeACLOnObjectForUser path=FILES\\file usernames=nobody", "nothing to revoke", 2, allowReaders, true},
        {"RevokeACLOnObjectForUser wtype=1 path=FILES\\sub usernames=S-1-5-11", "a mount point", 2,
         onVlfs(allowReaders)},
        {"RevokeACLOnObjectForUser wtype=2 path=MACHINE\\Software\\Kestel\\KEY_h1 usernames=S-1-5-11 usernames=svc",
         "a key", 2, allowReaders},
        {"AddFullPermForSVCSIDSGroup wtype=1 path=FILES inheritable=1", "a tree", 2, &Subject::makeGroup},
        {"AddFullPermForSVCSIDSGroup wtype=2 path=\\\\DB2\\MACHINE\\Software\\Kestel\\KEY_h1", "a key of a node", 2,
         &Subject::makeGroup},
        {"AddFullPermForSVCSIDSGroup path=FILES\\file", "a file that has it", 2, withEntries, true},
        {"CopyPermissionsFromParentToChildren path=FILES", "a tree", 2, allowReaders},
        {"CopyPermissionsFromParentToChildren path=FILES\\sub", "a child that has them", 2, withEntries, true},
        {"CheckACLOnObjectForUser path=FILES\\file ptype=10", "a file", 0, giveLittle},
        {"CheckACLOnObjectForUser path=FILES\\file", "denied", 0, closing(L"D:P(D;;FA;;;BA)"), true},
        {"CheckACLOnObjectForUser path=FILES\\file", "without a list", 0, closing(L"D:NO_ACCESS_CONTROL"), true},
        {"CheckACLOnObjectForUser wtype=1 path=FILES ptype=1 inheritable=1", "a tree", 1, give},
        {"CheckACLOnObjectForUser wtype=1 path=FILES\\sub", "a mount point", 1, onVlfs(give)},
        {"CheckACLOnObjectForUser wtype=2 path=MACHINE\\Software\\Kestel\\KEY_h1 ptype=9", "a key", 1, give},
        {"CheckACLsOnReg path=MACHINE\\Software\\Kestel\\KEY_h1 -findings -count", "keys", 1, give},
        {"CheckACLsOnReg path=\\\\DB2\\MACHINE\\Software\\Kestel\\KEY_h1", "keys of a node", 0, giveLittle},
        {"CheckACLsOnObject wtype=1 path=FILES usernames=svc \"usernames=NT SERVICE\\KesOld\" mask=0x1F01FF "
         "inheritable=1",
         "a tree", 0, give},
        {"CheckACLsOnObject wtype=2 path=MACHINE\\Software\\Kestel\\KEY_h1 mask=0xF003F inheritable=1 -findings -count",
         "keys", 1, give},
        {"CheckACLsOnObject path=FILES\\file usernames=KES_DBA mask=1", "a group", 4, give, true},
        {"CheckACLsOnObject wtype=1 path=FILES usernames=LocalSystem mask=1", "LocalSystem", 1, give, true},
        {"CheckACLsOnObject wtype=1 path=\\\\DB2\\E$ usernames=CORP\\svc mask=1", "a directory of a node", 1, give,
         true},
        {"AddAceToACL pszTrustee=S-1-5-32-544 TrusteeType=2 dwAccessRights=0x1F01FF acl=D:(A;;FR;;;BU)",
         "a second entry", 2},
        {"AddACEOnKernelObjectForUserOrGroup username=.\\svc", "an event", 2},
        {"AddACEOnKernelObjectForUserOrGroup username=.\\svc", "an event that has it", 2, withEntries, true},
        {"AddACEOnKernelObjectForUserOrGroup object=\"process 17\" username=NODE\\LocalSystem accessmask=0x100000",
         "a process, for LocalSystem", 2},
        {"AddACEOnDefaultDACLForSvcUser username=CORP\\svc accessmask=0x80000000", "another process", 2},
        {"AddACEOnDefaultDACLForSvcUser -token -username accessmask=0x80000000", "this process, for its home's user",
         2},
        {"GetPredefKey path=\\\\DB2\\MACHINE\\Software", "of a node", 2},
        {"CheckAccessMask list=D:(A;;FA;;;BA)(A;;FA;;;SY) sid=S-1-5-32-544 mask=0x120089", "yes", 1},
        {"CheckAccessMask list=D:(A;;FR;;;BA) sid=S-1-5-32-544 mask=0x1F01FF", "no", 0, {}, true},
        {"CheckAccessMask", "no valid SID", 3, {}, true, failing("IsValidSid", ERROR_INVALID_SID)},
        {"setPermissions wFilename=FILES\\file", "a file", 0},
        {"setPermissions wFilename=FILES\\file isAdmin=1", "a file for administrators", 0, {}, true},
        {"setPermissions2 wFilename=FILES\\file", "a file", 0, {}, true},
        {"setPermissions wFilename=FILES", "a tree", 0},
        {"setPermissions wFilename=FILES", "a tree with a file out of reach", 3, closeFile, true},
        {"setPermissions2 wFilename=FILES isAdmin=1", "a tree with a file that cannot be written", 3,
         closing(L"O:SYD:P(A;;FR;;;BA)"), true},
        {"setPermissions2 wFilename=FILES isAdmin=1", "a tree for administrators", 0},
    };
    return all;
}

} // namespace faults
