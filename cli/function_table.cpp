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

const std::vector<Function>& functions()
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
    static const std::vector<Function> table = {
        {"sswseFillErrMsg",
         Result::nothing,
         {required("messageId", Kind::number),
          number("osError", 0),
          optionalText("functionName"),
          optionalText("apiName"),
          {"insert", Kind::inserts}}},
        {"sswseTraceOn",
         Result::switching,
         {{"callback", Kind::traceLine}, {"context", Kind::traceContext}, number("level", 0)}},
        {"sswseTraceOff", Result::switching, {}},
        {"sswseFreeMemory", Result::memory, {{"pointer", Kind::hosted}}},
        {"sswseFreeArrayofStrings", Result::memory, {{"array", Kind::hosted}, {"count", Kind::hosted}}},
        {"sswseIsOSVistaOrAbove", Result::predicate, {}},
        {"sswseIsOSWin7OrAbove", Result::predicate, {}},
        {"sswseIsOSWin8OrAbove", Result::predicate, {}},
        {"sswseIsOSWinDC", Result::predicate, {}},

        {"sswseConvertUnameToSID", Result::status, {text("username"), result("sid", Kind::sidOut)}},
        {"sswseConvertSIDToUname",
         Result::status,
         {required("OSSid", Kind::sid), buffer("uname"), size("unamel"), outlen}},
        {"sswseGetOwnerSIDForCurrentProcess", Result::status, {result("sid", Kind::sidOut)}},
        {"sswseGetBuiltinAccName", Result::status, {text("accname"), buffer("buf"), size("ilen"), outlen}},
        {"sswseIsNameBuiltinAcc", Result::silentNo, {text("accname"), result("kind", Kind::numberOut)}},

        {"sswseCheckValidUser", Result::status, {text("username"), secret("passwd")}},
        {"sswseCreateKestelSVCUser", Result::status, {text("username"), secret("password")}},
        {"sswseDeleteKestelSVCUser", Result::status, {text("username")}},
        {"sswseIsPasswordValid", Result::predicate, {secret("password")}},
        {"sswseIsAdministrator", Result::predicate, {text("username")}},
        {"sswseIsManagedSVCAccount", Result::predicate, {text("username"), node}},
        {"sswseIsGroupManagedSVCAccount", Result::predicate, {text("cUser"), optionalText("cNode")}},
        {"sswseIsUserDomainUser", Result::predicate, {text("username")}},
        {"sswseCheckUserExists", Result::predicate, {text("username")}},

        {"sswseGrantPrivilegesToUser", Result::status, {text("username"), node, text("khtype")}},
        {"sswseRevokePrivilegesFromUser", Result::status, {text("username"), node, text("khtype")}},
        {"sswseCheckUserPrivileges",
         Result::predicate,
         {text("username"), text("khtype"), result("missing", Kind::stringsOut), result("count", Kind::count)}},

        {"sswseCreateOSGroup", Result::status, {text("groupname"), optionalText("groupdesc"), node}},
        {"sswseCheckOSGroup", Result::predicate, {text("groupname"), node}},
        {"sswseDeleteOSGroup", Result::status, {text("groupname"), node}},
        {"sswseAddUserToGroup", Result::status, {text("username"), text("groupname"), node}},
        {"sswseRemoveUserFromGroup", Result::status, {text("username"), text("groupname"), node}},
        {"sswseCheckUserInGroup",
         Result::predicate,
         {text("username"), text("groupname"), number("directflg", 0), node}},

        {"sswseGetKestelHomeKey", Result::status, {buffer("khkey"), size("khkeyl"), outlen}},
        {"sswseGetKestelHomeType", Result::status, {text("khomekey"), buffer("khtype"), size("khtypel"), outlen, node}},
        {"sswseSetKestelHomeType", Result::status, {text("khomekey"), text("khometype"), node}},
        {"sswseIsKhomeTypeValid", Result::predicate, {text("khometype")}},
        {"sswseGetKestelHomeName", Result::status, {buffer("khname"), size("khnamel"), outlen}},
        {"sswseGetKestelHomeTypeForKHPath",
         Result::status,
         {required("khomepath", Kind::writableText), buffer("khtype"), size("khtypel"), outlen, node}},

        {"sswseSetUnameForKhome", Result::status, {text("uname"), node, text("khomekey")}},
        {"sswseGetUnameForKhome", Result::status, {buffer("uname"), size("unamel"), outlen, node}},
        {"sswseGetUnameForKhomePath",
         Result::status,
         {text("khomepath"), buffer("uname"), size("unamel"), outlen, node}},
        {"sswseIsSVCUserMSA", Result::predicate, {text("khomepath"), node}},
        {"sswseIsSVCUserPasswordRequired", Result::predicate, {text("khomepath"), node}},
        {"sswseIsSvcUserLocalSystem", Result::predicate, {text("ckhpath"), node}},
        {"sswseIsSvcUserLocalService", Result::predicate, {text("ckhpath"), node}},
        {"sswseIsSvcUserVirtualAccount", Result::predicate, {text("khomepath"), node}},
        {"sswseIsSVCUserGMSA", Result::predicate, {text("ckhpath"), optionalText("cNode")}},

        {"sswseGetVAGroupnameForKHomename",
         Result::status,
         {text("homename"), buffer("groupname"), size("gamel"), outlen}},
        {"sswseGetKHomeNameFromVAGroupName",
         Result::status,
         {text("groupname"), buffer("homename"), size("hnamel"), outlen}},

        {"sswseCreateSVCEventRegEntry",
         Result::status,
         {text("SVCAppKey"), text("EventMsgFile"), number("Types", 0), node}},
        {"sswseDeleteSVCEventRegEntry", Result::status, {text("SVCAppKey"), node}},

        {"sswseCreateService",
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
         Result::status,
         {node, text("servicename"), optionalText("username"), {"password", Kind::secret}, text("binpath")}},
        {"sswseGetSvcUserForService",
         Result::status,
         {text("servicename"), buffer("username"), size("usernamel"), result("written", Kind::length), node}},
        {"sswseDeleteService", Result::status, {node, text("servicename")}},
        {"sswseGetServiceSidName",
         Result::status,
         {text("svcname"), buffer("out"), size("outlen"), result("written", Kind::length)}},
        {"sswseGetServiceSID", Result::status, {text("svcname"), result("psid", Kind::sidOut), node}},

        {"sswseGetAllServicesForUser",
         Result::status,
         {text("username"), node, result("services", Kind::stringsOut), result("count", Kind::count)}},
        {"sswseGetAllServicesInKHForUser",
         Result::status,
         {optionalText("khomepath"), optionalText("username"), node, result("services", Kind::stringsOut),
          result("count", Kind::count)}},
        {"sswseChangeServicesPwdForUser",
         Result::status,
         {text("username"), secret("password"), node, result("failed", Kind::stringsOut),
          result("failcount", Kind::count)}},
        {"sswseChangeServicesPwdInKHForUser",
         Result::status,
         {optionalText("khomepath"), text("username"), secret("password"), node, result("failed", Kind::stringsOut),
          result("failcount", Kind::count)}},
        {"sswseIsSvcRunningAsLocalSystem", Result::predicate, {text("servicename"), node}},
        {"sswseDeleteSVCSidsFromKESHomeGroups", Result::status, {optionalText("khomepath"), node}},
        {"sswseMigrateDBServiceSidsForUpgrade", Result::status, {optionalText("khomepath"), node}},
        {"sswseMigrateDBServiceSidsForDowngrade", Result::status, {optionalText("khomepath"), node}},

        {"sswseAddACLOnObjectForUser",
         Result::status,
         {objectType, text("path"), users, userCount, permissionType, inheritable}},
        {"sswseSetACLOnObjectForUser",
         Result::status,
         {objectType, text("path"), users, userCount, permissionType, inheritable}},
        {"sswseAddACLOnObjectForUser2", Result::status, accessWithExclusions},
        {"sswseSetACLOnObjectForUser2", Result::status, accessWithExclusions},
        {"sswseRevokeACLOnObjectForUser", Result::status, {objectType, text("path"), users, userCount, inheritable}},
        {"sswseAddFullPermForSVCSIDSGroup", Result::status, {objectType, text("path"), inheritable}},
        {"sswseCopyPermissionsFromParentToChildren", Result::status, {text("path")}},
        {"sswseCheckACLOnObjectForUser",
         Result::predicate,
         {objectType, text("path"), users, userCount, permissionType, inheritable}},
        {"sswseCheckACLsOnReg", Result::predicate, {text("path"), users, userCount, permissionType, findings, count}},
        {"sswseCheckACLsOnObject",
         Result::predicate,
         {objectType, text("path"), users, userCount, required("mask", Kind::number), inheritable, findings, count}},
        {"sswseAddAceToACL",
         Result::status,
         {required("pszTrustee", Kind::sid),
          number("TrusteeType", TRUSTEE_IS_UNKNOWN),
          required("dwAccessRights", Kind::number),
          number("AccessMode", GRANT_ACCESS),
          number("dwInheritance", NO_INHERITANCE),
          {"acl", Kind::aclInOut}}},
        {"sswseAddACEOnKernelObjectForUserOrGroup",
         Result::status,
         {required("object", Kind::object), text("username"), required("accessmask", Kind::number)}},
        {"sswseAddACEOnDefaultDACLForSvcUser",
         Result::status,
         {{"token", Kind::token}, optionalText("username"), required("accessmask", Kind::number)}},
        {"sswseGetPredefKey",
         Result::status,
         {required("path", Kind::wideText), result("root", Kind::keyOut), result("subkey", Kind::widePartOut),
          result("node", Kind::wideOut)}},
        {"sswseCheckAccessMask",
         Result::predicate,
         {{"reserved", Kind::hosted},
          {"list", Kind::aceList},
          required("sid", Kind::sid),
          required("mask", Kind::number)}},
        {"setPermissions", Result::legacy, legacyPermissions},
        {"setPermissions2", Result::legacy, legacyPermissions},
    };
    return table;
}

} // namespace cli
