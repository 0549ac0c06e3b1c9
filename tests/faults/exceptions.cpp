// What need not be as it is otherwise when a platform call fails, and why. A row that no run needs, or a routine, call
// or error in it, fails the test.
#include "tests/faults/driver.h"

#include <lm.h>
#include <ntstatus.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace faults {

namespace {

template <class... Codes>
std::vector<DWORD> only(Codes... codes)
{
    return {static_cast<DWORD>(codes)...};
}

const std::vector<DWORD> any;

} // namespace

const std::vector<Exception>& exceptions()
{
    using E = Exception;
    static constexpr char rewriting[] = "sswseRevokeACLOnObjectForUser, sswseCopyPermissionsFromParentToChildren";
    static constexpr char checking[] = "sswseCheckACLOnObjectForUser, sswseCheckACLsOnReg, sswseCheckACLsOnObject";
    constexpr DWORD same = E::asWhenNothingFails;
    static const std::vector<Exception> table = {
        // accounts
        {E::otherError, "sswseIsPasswordValid, sswseAddAceToACL", "NetValidatePasswordPolicy, SetEntriesInAclA", any,
         "The thread's last error is reported, not the result."},
        {E::noFailure, "sswseConvertUnameToSID", "malloc>LookupAccountNameW", any,
         "An account that vanishes between size query and look-up: the message, and a SID that is not valid.", same, "",
         E::own},
        {E::noFailure, "sswseCreateKestelSVCUser", "NetUserAdd", only(NERR_UserExists), "The account exists.",
         SSWSE_ACCOUNT_EXISTS},
        {E::saysNothing, "sswseIsManagedSVCAccount", "LoadLibraryA", any,
         "A system without the library that knows managed accounts."},
        {E::noFailure, "sswseIsManagedSVCAccount", nullptr, any,
         "What cannot be asked is taken for no managed account.", SSWSE_NO},
        {E::noFailure, "sswseIsGroupManagedSVCAccount", "GetVersionExA, LoadLibraryA, GetProcAddress", any,
         "A system that does not know managed accounts has none.", SSWSE_NO},
        {E::noFailure, "sswseIsGroupManagedSVCAccount", "NetQueryServiceAccount", any,
         "A managed account whose state is not told counts as installed."},
        {E::noFailure,
         "sswseCheckUserExists, sswseCheckUserPrivileges, sswseCheckOSGroup, sswseCheckUserInGroup, "
         "sswseIsSvcUserVirtualAccount",
         "LookupAccountNameW, LsaEnumerateAccountsWithUserRight, NetLocalGroupGetInfo, NetUserGetLocalGroups, "
         "RegQueryValueExW",
         only(ERROR_NONE_MAPPED, STATUS_NO_MORE_ENTRIES, NERR_GroupNotFound, ERROR_NO_SUCH_ALIAS, NERR_UserNotFound,
              ERROR_FILE_NOT_FOUND),
         "There is no such account, holder, group or value.", SSWSE_NO, "", E::own},
        {E::noFailure, "sswseRevokePrivilegesFromUser", "LsaRemoveAccountRights", only(STATUS_OBJECT_NAME_NOT_FOUND),
         "An account without any right has this one neither.", same, "next"},
        {E::saysNothing, "sswseGetBuiltinAccName, sswseIsNameBuiltinAcc", "", any,
         "Another text than a built-in name is told by the empty record."},
        // groups
        {E::noFailure, nullptr, "NetLocalGroupAdd, NetLocalGroupAddMembers",
         only(ERROR_ALIAS_EXISTS, ERROR_MEMBER_IN_ALIAS), "What is there counts as made.", same, "next"},
        {E::noFailure,
         "sswseDeleteOSGroup, sswseRemoveUserFromGroup, sswseDeleteSVCSidsFromKESHomeGroups, "
         "sswseMigrateDBServiceSidsForUpgrade, sswseMigrateDBServiceSidsForDowngrade",
         "NetLocalGroupDel, NetLocalGroupDelMembers",
         only(NERR_GroupNotFound, ERROR_NO_SUCH_ALIAS, ERROR_MEMBER_NOT_IN_ALIAS, ERROR_NO_SUCH_MEMBER),
         "What is not there counts as removed.", same, "next"},
        {E::noFailure,
         "sswseAddUserToGroup|sswseCheckOSGroup, sswseMigrateDBServiceSidsForUpgrade|sswseCheckOSGroup, "
         "sswseMigrateDBServiceSidsForDowngrade|sswseCheckOSGroup, sswseCheckUserInGroup|sswseIsNameBuiltinAcc, "
         "sswseGetKestelHomeName|sswseGetKestelHomeKey",
         nullptr, any,
         "After a failed check the group is created, the user's groups are asked, the environment tells the name."},
        {E::otherError,
         "sswseAddUserToGroup|sswseCreateOSGroup, sswseMigrateDBServiceSidsForDowngrade|sswseCreateOSGroup",
         "NetLocalGroupAdd", only(ERROR_ALIAS_EXISTS),
         "The group that counts as created is not there: the next step's error."},
        {E::noFailure, "sswseIsAdministrator, sswseCheckUserInGroup", "NetUserGetLocalGroups, NetLocalGroupGetMembers",
         only(ERROR_ACCESS_DENIED),
         "The direct groups are read instead of the nested ones, and the user's groups instead of the members."},
        {E::noFailure, "sswseAddSvcToVAGroups|sswseAddUserToGroup", "NetLocalGroupAddMembers",
         only(ERROR_MEMBER_IN_ALIAS), "A member counts as added; the home's group is met again in the row.", same,
         "|KES_h1_SVCACCTS: member"},
        {E::otherError, "sswseCheckUserPrivileges|sswseConvertUnameToSID", "malloc>LookupAccountNameW", any,
         "An account that vanishes between size query and look-up: the SID that is not valid is reported."},
        // home
        {E::otherError, nullptr, "CreateFileA, ReadFile, GetEnvironmentVariableA", {}, "WSE-000052 names no error."},
        {E::saysNothing, "sswseGetKestelHomeKey", "ReadFile", {}, "A key file that cannot be read says nothing."},
        {E::noFailure, "sswseGetKestelHomeKey", "CreateFileA", {}, "Without a key file the environment tells."},
        {E::noFailure, "sswseSetUnameForKhome|sswseCheckOSGroup", nullptr, any,
         "A name that may be a group is taken for none; the message tells.", same, "|KESTEL_SVCUSER_"},
        {E::noFailure, "sswseSetKestelHomeType", "RegFlushKey", any, "The type is stored, if not on disk yet."},
        // services
        {E::noFailure, "sswseDecideSvcUser", nullptr, any, "The decision's status does not count: another account.",
         same, "some|, manual|: account|password set|member added|KESTEL Group"},
        {E::noFailure, "sswseSetSvcTypeUnrestricted", nullptr, any,
         "The status does not count: the account joins the groups, not the SID.", same, "|SID type|member added"},
        {E::noFailure, "sswseSetACLOnService, sswseAddSvcToSVCSIDSGrp", nullptr, any, "The status does not count.",
         same, "|: security|KES_h1_SVCSIDS"},
        {E::noFailure, "sswseDeleteService", "NetUserGetLocalGroups", any, "What cannot be read stays.", same,
         "|member removed"},
        {E::noFailure, "sswseDeleteService", "NetLocalGroupDelMembers", any, "What cannot be removed stays.", same,
         "next"},
        {E::noFailure, "sswseGetAllServicesForUser, sswseGetAllServicesInKHForUser",
         "OpenServiceW, QueryServiceConfigW, LookupAccountNameW",
         only(ERROR_ACCESS_DENIED, ERROR_SERVICE_DOES_NOT_EXIST, ERROR_NONE_MAPPED),
         "What may not be read or is gone, and whose account is gone, is not listed.", same, "", E::own},
        {E::noFailure, "sswseChangeServicesPwdForUser, sswseChangeServicesPwdInKHForUser",
         "OpenServiceW, ChangeServiceConfigW, LookupAccountNameW",
         only(ERROR_SERVICE_DOES_NOT_EXIST, ERROR_SERVICE_MARKED_FOR_DELETE, ERROR_NONE_MAPPED),
         "What is gone, or whose account is gone, needs no password.", same, "some"},
        {E::goesOn, "sswseChangeServicesPwdForUser, sswseChangeServicesPwdInKHForUser",
         "OpenServiceW, QueryServiceConfigW, ChangeServiceConfigW", any,
         "What fails is listed; the others get the password.", same, "some", E::own},
        {E::noFailure, "sswseDeleteSVCSidsFromKESHomeGroups", "NetLocalGroupGetMembers", only(ERROR_NO_SUCH_ALIAS),
         "A group that is not there has no members.", same, "some"},
        {E::noFailure, "sswseMigrateDBServiceSidsForUpgrade, sswseMigrateDBServiceSidsForDowngrade",
         "OpenServiceW, NetLocalGroupGetMembers", only(ERROR_SERVICE_DOES_NOT_EXIST, ERROR_NO_SUCH_ALIAS),
         "A service or group that is not there leaves nothing to move.", same, "some"},
        // access
        {E::noFailure,
         "sswseUpdateAclOnFile, updateAclOnFile, sswseCheckAccessMask, sswseRevokeACLOnObjectForUser, "
         "sswseCopyPermissionsFromParentToChildren, sswseAddFullPermForSVCSIDSGroup, "
         "sswseAddACEOnKernelObjectForUserOrGroup, sswseAddACEOnDefaultDACLForSvcUser, "
         "sswseCheckACLOnObjectForUser, sswseCheckACLsOnReg",
         "IsValidSid", any, "An entry whose SID is not valid is nobody's.", SSWSE_NO, "|: security", E::own},
        {E::noFailure, "sswseCheckIfVlfsAndMountPoint", "GetVolumePathNameW, GetVolumeInformationW", any,
         "A volume that cannot be asked is none of the cluster's.", same, "some"},
        {E::noFailure, "sswseUpdateAclOnTree", "FindFirstFileW, FindNextFileW, GetFileAttributesW", any,
         "What cannot be listed is left alone.", same, "some"},
        {E::noFailure, "sswseUpdateAclOnTree|sswseUpdateAclOnFile", nullptr, any,
         "A file that fails ends the listing, its directory counts as done.", same, "later"},
        {E::noFailure,
         "sswseRevokeACLOnObjectForUser, sswseCopyPermissionsFromParentToChildren, sswseCheckACLOnObjectForUser, "
         "sswseCheckACLsOnObject",
         "GetFileAttributesW", any, "What may be a directory is listed."},
        {E::noFailure, rewriting, "FindFirstFileW, FindNextFileW, GetFileSecurityW",
         only(ERROR_FILE_NOT_FOUND, ERROR_NO_MORE_FILES), "There is nothing more to list; a child has gone.", same,
         "some"},
        {E::noFailure, "updateAclOnDirectory", "FindFirstFileW, FindNextFileW",
         only(ERROR_FILE_NOT_FOUND, ERROR_NO_MORE_FILES), "There is nothing more to list.", same, "some"},
        {E::goesOn, rewriting, nullptr, any, "The first failure is told; the other children are done all the same.",
         same, "some"},
        {E::noFailure, checking,
         "FindFirstFileW, FindNextFileW, GetFileSecurityW, GetNamedSecurityInfoW, RegOpenKeyExW, RegGetKeySecurity, "
         "RegEnumKeyExW",
         only(ERROR_FILE_NOT_FOUND, ERROR_NO_MORE_FILES, ERROR_KEY_DELETED),
         "There is nothing more to list; what has gone is passed over.", same, "", E::own},
        {E::noFailure, "sswseCheckACLsOnReg, sswseCheckACLsOnObject",
         "FindFirstFileW, FindNextFileW, GetNamedSecurityInfoW, RegOpenKeyExW, RegGetKeySecurity, RegEnumKeyExW, "
         "GetSecurityDescriptorDacl, AuthzAccessCheck",
         only(ERROR_ACCESS_DENIED, ERROR_INVALID_SECURITY_DESCR, ERROR_INVALID_PARAMETER, ERROR_INVALID_ACL),
         "What cannot be read below is a finding.", SSWSE_NO, "", E::own},
        {E::noFailure, "sswseCheckACLsOnObject", "LookupAccountSidW", only(ERROR_NONE_MAPPED),
         "Who is not known any more may have been a user."},
        {E::noFailure, "sswseCheckACLsOnObject", "NetLocalGroupGetMembers", only(ERROR_NO_SUCH_ALIAS),
         "A group that has gone lists nobody.", same, "", E::own},
        {E::saysNothing, "updateAclOnDirectory", "FindFirstFileW, FindNextFileW, GetFileAttributesW", any,
         "What cannot be listed is in the fail list, and not in the trace."},
        {E::goesOn, "updateAclOnFile, updateAclOnDirectory", nullptr, any,
         "What fails is listed, and nothing else; the walk goes on.", same, "some", E::listed},
        {E::noFailure, "isOnNTFSVolume", nullptr, {}, "The volume is asked and the answer not looked at."},
        {E::noFailure, "createAuthenticatedUsersAce, createLocalAdministratorsAce, createLocalSystemAce", nullptr, any,
         "An entry that cannot be made is left out.", same, "|: security"},
        {E::goesOn, "createLocalAdministratorsAce", nullptr, any,
         "Objects without that entry may be out of reach: they are listed.", same, "some|: security", E::own},
        // frame
        {E::noFailure, "sswseIsOSWinPDC", nullptr, any,
         "A system that does not tell its version is taken for no domain controller, and an old one: the account gets "
         "the rights, not the service's SID.",
         same, "|member added|granted*"},
        {E::noFailure,
         "sswseAddSvcToVAGroups|sswseIsOSVistaOrAbove, sswseAddSvcToSVCSIDSGrp|sswseIsOSVistaOrAbove, "
         "sswseDeleteService|sswseIsOSVistaOrAbove",
         nullptr, any, "For an old one here too: the account joins the groups, and none are left.", same,
         "|member added*|member removed|granted*"},
        {E::noFailure, nullptr,
         "FormatMessageA, LoadLibraryExA, GetModuleHandleA, GetModuleHandleA>GetModuleFileNameA, "
         "GetModuleFileNameA>CreateFileA, CreateFileA>CreateFileA",
         any, "A text that cannot be had is a blank, a module that cannot be had the library itself."},
    };
    return table;
}

namespace {

std::vector<std::string> split(const std::string& words, const std::string& separator)
{
    std::vector<std::string> parts;
    for (size_t begin = 0, end = 0; begin < words.size(); begin = end + separator.size()) {
        end = std::min(words.size(), words.find(separator, begin));
        parts.push_back(words.substr(begin, end - begin));
    }
    return parts;
}

// The routines, functions and codes of a row.
std::array<std::vector<std::string>, 3> listsOf(const Exception& exception)
{
    std::vector<std::string> codes;
    for (const DWORD code : exception.codes)
        codes.push_back(std::to_string(code));
    const auto names = [](const char* list) { return split(list ? list : "", ", "); };
    return {names(exception.routines), names(exception.functions), codes};
}

const Words anything = {"anything"}; // of a row without lists

// The lines without those with one of the words; of lines with a "word*" what comes behind it is left out.
Plan without(const Plan& plan, const std::vector<std::string>& words)
{
    Plan left;
    for (const std::string& line : plan) {
        size_t end = line.size();
        for (const std::string& word : words) {
            const bool isPrefix = word.back() == '*';
            const size_t at = line.find(isPrefix ? word.substr(0, word.size() - 1) : word);
            if (at != std::string::npos)
                end = isPrefix ? std::min(end, at) : 0;
        }
        if (end > 0)
            left.push_back(line.substr(0, end));
    }
    return left;
}

// Whether `plan` is `whole` with some of its lines missing, none of them among the first ones.
bool isPart(const Plan& plan, const Plan& whole, size_t first)
{
    size_t next = 0;
    for (const std::string& line : whole)
        if (next < plan.size() && plan[next] == line)
            ++next;
        else if (next < first)
            return false;
    return next == plan.size();
}

} // namespace

Words wordsOf(const Exception& exception)
{
    Words words;
    for (const std::vector<std::string>& list : listsOf(exception))
        words.insert(list.begin(), list.end());
    return words.empty() ? anything : words;
}

Words wordsFor(const Exception& exception, const char* function, const Failing* failing)
{
    const bool isOfScenario = exception.functions && !*exception.functions;
    if (isOfScenario != !failing)
        return {};
    const std::string path = '|' + std::string(function) + (failing ? failing->call.routines : "") + '|';
    const auto applies = [&](const std::string& word) {
        return path.find('|' + word + '|') != std::string::npos ||
               (failing && (word == failing->call.row->name || word == failing->afterOther ||
                            word == std::to_string(failing->code)));
    };
    Words words;
    for (const std::vector<std::string>& list : listsOf(exception)) {
        const size_t before = words.size();
        std::copy_if(list.begin(), list.end(), std::inserter(words, words.end()), applies);
        if (!list.empty() && words.size() == before)
            return {};
    }
    return words.empty() ? anything : words;
}

bool isPlanAsExpected(const Plan& plan, const Plan& whole, size_t before, bool goesOn, const std::string& mode)
{
    std::vector<std::string> words = split(mode, "|");
    const std::string kind = words.empty() ? "" : words.front();
    if (!words.empty())
        words.erase(words.begin());
    const auto at = whole.begin() + static_cast<ptrdiff_t>(before);
    const Plan common(whole.begin(), at);
    if (kind == "some" || kind == "later")
        return (kind == "some" || before > 0) &&
               isPart(without(plan, words), without(whole, words), without(common, words).size());
    if (!goesOn)
        return without(plan, words) == without(common, words);
    Plan expected = whole;
    if (kind == "next" && plan.size() < whole.size()) // else there was nothing to do
        expected.erase(expected.begin() + static_cast<ptrdiff_t>(before));
    return without(plan, words) == without(expected, words);
}

} // namespace faults
