// The exported functions in the order of keswsec.h.
#include "cli/functions.h"

#include "keswsec.h"

#include <accctrl.h>
#include <winsvc.h>

namespace cli {

namespace {

constexpr Parameter text(const char* name)
{
    return {name, Kind::text, true};
}

constexpr Parameter optionalText(const char* name)
{
    return {name, Kind::text};
}

constexpr Parameter secret(const char* name)
{
    return {name, Kind::secret, true};
}

constexpr Parameter number(const char* name, DWORD preset)
{
    return {name, Kind::number, false, preset};
}

constexpr Parameter result(const char* name, Kind kind)
{
    return {name, kind};
}

constexpr Parameter required(const char* name, Kind kind)
{
    return {name, kind, true};
}

const NumberNames objectTypes = {"SSWSE_OBJECT_",
                                 {{"FILE", SSWSE_OBJECT_FILE},
                                  {"DIRECTORY", SSWSE_OBJECT_DIRECTORY},
                                  {"KEY", SSWSE_OBJECT_KEY},
                                  {"GROUPS", SSWSE_OBJECT_GROUPS}}};

const NumberNames permissionTypes = {"SSWSE_ACCESS_",
                                     {{"READABLE", SSWSE_ACCESS_READABLE},
                                      {"PRIVATE", SSWSE_ACCESS_PRIVATE},
                                      {"READABLE_2", SSWSE_ACCESS_READABLE_2},
                                      {"PRIVATE_3", SSWSE_ACCESS_PRIVATE_3},
                                      {"MESH_READABLE", SSWSE_ACCESS_MESH_READABLE},
                                      {"MESH_CLX", SSWSE_ACCESS_MESH_CLX},
                                      {"FILES", SSWSE_ACCESS_FILES},
                                      {"GROUPS", SSWSE_ACCESS_GROUPS},
                                      {"KEY", SSWSE_ACCESS_KEY},
                                      {"KEY_USERS", SSWSE_ACCESS_KEY_USERS},
                                      {"READ_ONLY", SSWSE_ACCESS_READ_ONLY}}};

const Parameter objectType = {"wtype", Kind::number, true, 0, &objectTypes};
const Parameter permissionType = {"ptype", Kind::number, true, 0, &permissionTypes};
const Parameter inheritable = {"inheritable", Kind::byte};
const Parameter users = {"usernames", Kind::strings};
const Parameter userCount = {"numusers", Kind::stringsCount};

const Parameter findings = {"findings", Kind::stringsOut};
const Parameter count = {"count", Kind::count};

constexpr Parameter node = optionalText("nodename");
constexpr Parameter outlen = result("outlen", Kind::length);

constexpr Parameter buffer(const char* name)
{
    return result(name, Kind::textOut);
}

constexpr Parameter size(const char* name)
{
    return result(name, Kind::size);
}

} // namespace

const std::vector<Area>& areas()
{
    static const std::vector<Parameter> legacyPermissions = {text("wFilename"), number("isAdmin", 0),
                                                             result("failList", Kind::oemStrings),
                                                             result("failCount", Kind::count)};
    static const std::vector<Parameter> accessWithExclusions = {objectType,
                                                                text("path"),
                                                                users,
                                                                userCount,
                                                                permissionType,
                                                                inheritable,
                                                                optionalText("installuser"),
                                                                {"excludelist", Kind::strings},
                                                                {"numexclude", Kind::stringsCount}};
    static const std::vector<Area> table = {
        {"error record and status codes",
         {
             {"sswseFillErrMsg",
              "writes a message of the catalogue into the record",
              Result::nothing,
              {required("messageId", Kind::number),
               number("osError", 0),
               optionalText("functionName"),
               optionalText("apiName"),
               {"insert", Kind::inserts}}},
         }},
        {"tracing",
         {
             {"sswseTraceOn",
              "starts the trace",
              Result::switching,
              {{"callback", Kind::traceLine}, {"context", Kind::traceContext}, number("level", 0)}},
             {"sswseTraceOff", "ends it", Result::switching, {}},
         }},
        {"memory handed to callers",
         {
             {"sswseFreeMemory", "releases a block", Result::memory, {{"pointer", Kind::hosted}}},
             {"sswseFreeArrayofStrings",
              "releases a list of texts",
              Result::memory,
              {{"array", Kind::hosted}, {"count", Kind::hosted}}},
         }},
        {"operating system version",
         {
             {"sswseIsOSVistaOrAbove", "Windows Vista, Windows Server 2008 or later?", Result::predicate, {}},
             {"sswseIsOSWin7OrAbove", "Windows 7, Windows Server 2008 R2 or later?", Result::predicate, {}},
             {"sswseIsOSWin8OrAbove", "Windows 8, Windows Server 2012 or later?", Result::predicate, {}},
             {"sswseIsOSWinDC", "a domain controller?", Result::predicate, {}},

         }},
        {"account names, SIDs and built-in accounts",
         {
             {"sswseConvertUnameToSID",
              "the SID of an account",
              Result::status,
              {text("username"), result("sid", Kind::sidOut)}},
             {"sswseConvertSIDToUname",
              "the account of a SID",
              Result::status,
              {required("OSSid", Kind::sid), buffer("uname"), size("unamel"), outlen}},
             {"sswseGetOwnerSIDForCurrentProcess",
              "the SID of the user that the process runs as",
              Result::status,
              {result("sid", Kind::sidOut)}},
             {"sswseGetBuiltinAccName",
              "a built-in account's name in this system's language",
              Result::status,
              {text("accname"), buffer("buf"), size("ilen"), outlen}},
             {"sswseIsNameBuiltinAcc",
              "is it the name of a built-in account, and of which?",
              Result::silentNo,
              {text("accname"), result("kind", Kind::numberOut)}},

         }},
        {"user accounts",
         {
             {"sswseCheckValidUser",
              "are the name and the password right? Each wrong one counts against the account's lockout",
              Result::status,
              {text("username"), secret("passwd")}},
             {"sswseCreateKestelSVCUser",
              "creates a local user for services",
              Result::status,
              {text("username"), secret("password")}},
             {"sswseDeleteKestelSVCUser", "deletes it", Result::status, {text("username")}},
             {"sswseIsPasswordValid", "does the password policy take it?", Result::predicate, {secret("password")}},
             {"sswseIsAdministrator", "is the user an administrator?", Result::predicate, {text("username")}},
             {"sswseIsManagedSVCAccount",
              "is it a managed service account?",
              Result::predicate,
              {text("username"), node}},
             {"sswseIsGroupManagedSVCAccount",
              "is it a group managed service account that is installed?",
              Result::predicate,
              {text("cUser"), optionalText("cNode")}},
             {"sswseIsUserDomainUser", "is the user one of a domain?", Result::predicate, {text("username")}},
             {"sswseCheckUserExists", "is there such a user?", Result::predicate, {text("username")}},

         }},
        {"privileges",
         {
             {"sswseGrantPrivilegesToUser",
              "gives a user the rights that a home's services need",
              Result::status,
              {text("username"), node, text("khtype")}},
             {"sswseRevokePrivilegesFromUser",
              "takes them away",
              Result::status,
              {text("username"), node, text("khtype")}},
             {"sswseCheckUserPrivileges",
              "has the user all of them, and which not?",
              Result::predicate,
              {text("username"), text("khtype"), result("missing", Kind::stringsOut), result("count", Kind::count)}},

         }},
        {"local groups",
         {
             {"sswseCreateOSGroup",
              "creates a local group, unless it is there",
              Result::status,
              {text("groupname"), optionalText("groupdesc"), node}},
             {"sswseCheckOSGroup", "is it there?", Result::predicate, {text("groupname"), node}},
             {"sswseDeleteOSGroup", "deletes it", Result::status, {text("groupname"), node}},
             {"sswseAddUserToGroup", "adds a member", Result::status, {text("username"), text("groupname"), node}},
             {"sswseRemoveUserFromGroup",
              "removes a member",
              Result::status,
              {text("username"), text("groupname"), node}},
             {"sswseCheckUserInGroup",
              "is the user a member?",
              Result::predicate,
              {text("username"), text("groupname"), number("directflg", 0), node}},

         }},
        {"home key, home type, home name",
         {
             {"sswseGetKestelHomeKey",
              "the key of the library's own home",
              Result::status,
              {buffer("khkey"), size("khkeyl"), outlen}},
             {"sswseGetKestelHomeType",
              "the type that a home key records",
              Result::status,
              {text("khomekey"), buffer("khtype"), size("khtypel"), outlen, node}},
             {"sswseSetKestelHomeType", "records it", Result::status, {text("khomekey"), text("khometype"), node}},
             {"sswseIsKhomeTypeValid", "is it a home type?", Result::predicate, {text("khometype")}},
             {"sswseGetKestelHomeName",
              "the name of the library's own home",
              Result::status,
              {buffer("khname"), size("khnamel"), outlen}},
             {"sswseGetKestelHomeTypeForKHPath",
              "the type of the home in a directory",
              Result::status,
              {required("khomepath", Kind::writableText), buffer("khtype"), size("khtypel"), outlen, node}},

         }},
        {"service user recorded for a home",
         {
             {"sswseSetUnameForKhome",
              "records the user that a home's services run as",
              Result::status,
              {text("uname"), node, text("khomekey")}},
             {"sswseGetUnameForKhome",
              "who it is, for the library's own home",
              Result::status,
              {buffer("uname"), size("unamel"), outlen, node}},
             {"sswseGetUnameForKhomePath",
              "who it is, for the home in a directory",
              Result::status,
              {text("khomepath"), buffer("uname"), size("unamel"), outlen, node}},
             {"sswseIsSVCUserMSA", "is it a managed service account?", Result::predicate, {text("khomepath"), node}},
             {"sswseIsSVCUserPasswordRequired",
              "do services need its password?",
              Result::predicate,
              {text("khomepath"), node}},
             {"sswseIsSvcUserLocalSystem", "is it LocalSystem?", Result::predicate, {text("ckhpath"), node}},
             {"sswseIsSvcUserLocalService", "is it LocalService?", Result::predicate, {text("ckhpath"), node}},
             {"sswseIsSvcUserVirtualAccount",
              "is it a virtual account for each service?",
              Result::predicate,
              {text("khomepath"), node}},
             {"sswseIsSVCUserGMSA",
              "is it a group managed service account?",
              Result::predicate,
              {text("ckhpath"), optionalText("cNode")}},

         }},
        {"virtual-account group names",
         {
             {"sswseGetVAGroupnameForKHomename",
              "the group of a home's virtual accounts",
              Result::status,
              {text("homename"), buffer("groupname"), size("gamel"), outlen}},
             {"sswseGetKHomeNameFromVAGroupName",
              "the home of such a group",
              Result::status,
              {text("groupname"), buffer("homename"), size("hnamel"), outlen}},

         }},
        {"event-log sources",
         {
             {"sswseCreateSVCEventRegEntry",
              "registers a source of the application log",
              Result::status,
              {text("SVCAppKey"), text("EventMsgFile"), number("Types", 0), node}},
             {"sswseDeleteSVCEventRegEntry", "removes it", Result::status, {text("SVCAppKey"), node}},

         }},
        {"services",
         {
             {"sswseCreateService",
              "creates a service with its account, SID type, groups, rights and permissions",
              Result::status,
              {text("servicename"),
               optionalText("displayname"),
               number("desiredaccess", SERVICE_ALL_ACCESS),
               number("servicetype", SERVICE_WIN32_OWN_PROCESS),
               number("starttype", SERVICE_AUTO_START),
               number("errorcontrol", SERVICE_ERROR_NORMAL),
               text("binpath"),
               optionalText("loadordergroup"),
               {"tagid",
                Kind::numberInOut}, // Windows refuses a tag without a load-order group, so it is not asked for unbidden
               {"dependencies", Kind::names},
               optionalText("servicestartname"),
               {"password", Kind::secret},
               node,
               result("phService", Kind::serviceOut)}},
             {"sswseUpdateService",
              "gives a service a new path, account and what goes with them",
              Result::status,
              {node, text("servicename"), optionalText("username"), {"password", Kind::secret}, text("binpath")}},
             {"sswseGetSvcUserForService",
              "the account of a service",
              Result::status,
              {text("servicename"), buffer("username"), size("usernamel"), result("written", Kind::length), node}},
             {"sswseDeleteService",
              "takes a service out of its groups and deletes it",
              Result::status,
              {node, text("servicename")}},
             {"sswseGetServiceSidName",
              "the account name of a service's SID",
              Result::status,
              {text("svcname"), buffer("out"), size("outlen"), result("written", Kind::length)}},
             {"sswseGetServiceSID",
              "the SID of a service",
              Result::status,
              {text("svcname"), result("psid", Kind::sidOut), node}},

         }},
        {"services of an account and of a home",
         {
             {"sswseGetAllServicesForUser",
              "the services that start under an account",
              Result::status,
              {text("username"), node, result("services", Kind::stringsOut), result("count", Kind::count)}},
             {"sswseGetAllServicesInKHForUser",
              "of these, those of a home",
              Result::status,
              {optionalText("khomepath"), optionalText("username"), node, result("services", Kind::stringsOut),
               result("count", Kind::count)}},
             {"sswseChangeServicesPwdForUser",
              "gives these services the account's new password",
              Result::status,
              {text("username"), secret("password"), node, result("failed", Kind::stringsOut),
               result("failcount", Kind::count)}},
             {"sswseChangeServicesPwdInKHForUser",
              "gives it to those of a home",
              Result::status,
              {optionalText("khomepath"), text("username"), secret("password"), node,
               result("failed", Kind::stringsOut), result("failcount", Kind::count)}},
             {"sswseIsSvcRunningAsLocalSystem",
              "does a service start under LocalSystem?",
              Result::predicate,
              {text("servicename"), node}},
             {"sswseDeleteSVCSidsFromKESHomeGroups",
              "takes SIDs of services out of the home's own groups",
              Result::status,
              {optionalText("khomepath"), node}},
             {"sswseMigrateDBServiceSidsForUpgrade",
              "moves the database services' SIDs from the machine's group to the home's",
              Result::status,
              {optionalText("khomepath"), node}},
             {"sswseMigrateDBServiceSidsForDowngrade",
              "moves them back",
              Result::status,
              {optionalText("khomepath"), node}},

         }},
        {"access control on objects",
         {
             {"sswseAddACLOnObjectForUser",
              "gives users access to a file, directory tree or registry key",
              Result::status,
              {objectType, text("path"), users, userCount, permissionType, inheritable}},
             {"sswseSetACLOnObjectForUser",
              "gives it to them and to nobody else",
              Result::status,
              {objectType, text("path"), users, userCount, permissionType, inheritable}},
             {"sswseAddACLOnObjectForUser2", "gives it, with an install user and paths that are left alone",
              Result::status, accessWithExclusions},
             {"sswseSetACLOnObjectForUser2", "the same, and to nobody else", Result::status, accessWithExclusions},
             {"sswseRevokeACLOnObjectForUser",
              "takes the access of users away",
              Result::status,
              {objectType, text("path"), users, userCount, inheritable}},
             {"sswseAddFullPermForSVCSIDSGroup",
              "gives full control to the group of the home's service SIDs",
              Result::status,
              {objectType, text("path"), inheritable}},
             {"sswseCopyPermissionsFromParentToChildren",
              "gives everything below a directory its list",
              Result::status,
              {text("path")}},
             {"sswseCheckACLOnObjectForUser",
              "does an object hold what adding gives?",
              Result::predicate,
              {objectType, text("path"), users, userCount, permissionType, inheritable}},
             {"sswseCheckACLsOnReg",
              "does a key, with all below, and what is missing?",
              Result::predicate,
              {text("path"), users, userCount, permissionType, findings, count}},
             {"sswseCheckACLsOnObject",
              "can users really do this, and who can not?",
              Result::predicate,
              {objectType, text("path"), users, userCount, required("mask", Kind::number), inheritable, findings,
               count}},
             {"sswseAddAceToACL",
              "merges an entry into a list",
              Result::status,
              {required("pszTrustee", Kind::sid),
               number("TrusteeType", TRUSTEE_IS_UNKNOWN),
               required("dwAccessRights", Kind::number),
               number("AccessMode", GRANT_ACCESS),
               number("dwInheritance", NO_INHERITANCE),
               {"acl", Kind::aclInOut}}},
             {"sswseAddACEOnKernelObjectForUserOrGroup",
              "gives an account access to an event, process or the like",
              Result::status,
              {required("object", Kind::object), text("username"), required("accessmask", Kind::number)}},
             {"sswseAddACEOnDefaultDACLForSvcUser",
              "gives an account access to what a process makes from now on",
              Result::status,
              {{"token", Kind::token}, optionalText("username"), required("accessmask", Kind::number)}},
             {"sswseGetPredefKey",
              "takes the name of a registry key apart",
              Result::status,
              {required("path", Kind::wideText), result("root", Kind::keyOut), result("subkey", Kind::widePartOut),
               result("node", Kind::wideOut)}},
             {"sswseCheckAccessMask",
              "does a list of entries grant a SID a mask?",
              Result::predicate,
              {{"reserved", Kind::hosted},
               {"list", Kind::aceList},
               required("sid", Kind::sid),
               required("mask", Kind::number)}},
             {"setPermissions", "replaces the lists of a tree by fixed ones, as earlier releases did", Result::legacy,
              legacyPermissions},
             {"setPermissions2", "the same", Result::legacy, legacyPermissions},
         }}};
    return table;
}

const std::vector<Function>& functions()
{
    static const std::vector<Function> all = [] {
        std::vector<Function> each;
        for (const Area& area : areas())
            each.insert(each.end(), area.functions.begin(), area.functions.end());
        return each;
    }();
    return all;
}

} // namespace cli
