#include "tests/support/call_words.h"

#include "whatif/model/sids.h"
#include "whatif/security/descriptors.h"

#include <aclapi.h>
#include <authz.h>
#include <lm.h>
#include <ntsecapi.h>

#include <cstring>
#include <sstream>

namespace intercept {

namespace {

struct Constant
{
    const char* name;
    DWORD value;
};

#define NAMED(constant)                                                                                                \
    {                                                                                                                  \
#constant, static_cast < DWORD>(constant)                                                                      \
    }

// Whole values come before the bits that they are made of.
const std::map<std::string, std::vector<Constant>>& constants()
{
    static const std::map<std::string, std::vector<Constant>> all = {
        {"codepage", {NAMED(CP_ACP), NAMED(CP_OEMCP)}},
        {"towide", {NAMED(MB_PRECOMPOSED), NAMED(MB_ERR_INVALID_CHARS)}},
        {"fromwide", {NAMED(WC_NO_BEST_FIT_CHARS), NAMED(WC_COMPOSITECHECK)}},
        {"format",
         {NAMED(FORMAT_MESSAGE_ALLOCATE_BUFFER), NAMED(FORMAT_MESSAGE_FROM_SYSTEM),
          NAMED(FORMAT_MESSAGE_FROM_HMODULE)}},
        {"loading", {NAMED(LOAD_LIBRARY_AS_DATAFILE), NAMED(LOAD_LIBRARY_AS_IMAGE_RESOURCE)}},
        {"fileaccess", {NAMED(GENERIC_READ), NAMED(GENERIC_WRITE), NAMED(READ_CONTROL), NAMED(WRITE_DAC)}},
        {"share", {NAMED(FILE_SHARE_READ), NAMED(FILE_SHARE_WRITE), NAMED(FILE_SHARE_DELETE)}},
        {"disposition", {NAMED(OPEN_EXISTING), NAMED(CREATE_ALWAYS)}},
        {"attributes", {NAMED(FILE_ATTRIBUTE_NORMAL)}},
        {"wellknown",
         {NAMED(WinLocalSystemSid), NAMED(WinLocalServiceSid), NAMED(WinNetworkServiceSid),
          NAMED(WinBuiltinAdministratorsSid), NAMED(WinAuthenticatedUserSid), NAMED(WinWorldSid)}},
        {"token", {NAMED(TOKEN_QUERY), NAMED(TOKEN_ADJUST_DEFAULT)}},
        {"tokenclass", {NAMED(TokenUser), NAMED(TokenOwner), NAMED(TokenDefaultDacl)}},
        {"logon", {NAMED(LOGON32_LOGON_NETWORK)}},
        {"provider", {NAMED(LOGON32_PROVIDER_DEFAULT)}},
        {"policy",
         {NAMED(POLICY_ALL_ACCESS), NAMED(POLICY_VIEW_LOCAL_INFORMATION), NAMED(POLICY_LOOKUP_NAMES),
          NAMED(POLICY_CREATE_ACCOUNT)}},
        {"policyclass", {NAMED(PolicyAccountDomainInformation)}},
        {"manageraudit", {NAMED(AUTHZ_RM_FLAG_NO_AUDIT)}},
        {"contextgroups", {NAMED(AUTHZ_SKIP_TOKEN_GROUPS)}},
        {"nested", {NAMED(LG_INCLUDE_INDIRECT)}},
        {"length", {NAMED(MAX_PREFERRED_LENGTH)}},
        {"privilege", {NAMED(USER_PRIV_USER)}},
        {"userflags",
         {NAMED(UF_SCRIPT), NAMED(UF_NORMAL_ACCOUNT), NAMED(UF_DONT_EXPIRE_PASSWD), NAMED(UF_PASSWD_CANT_CHANGE)}},
        {"validation", {NAMED(NetValidateAuthentication), NAMED(NetValidatePasswordChange)}},
        {"key",
         {NAMED(KEY_ALL_ACCESS), NAMED(KEY_READ), NAMED(KEY_WRITE), NAMED(KEY_QUERY_VALUE), NAMED(KEY_SET_VALUE),
          NAMED(KEY_ENUMERATE_SUB_KEYS), NAMED(READ_CONTROL), NAMED(WRITE_DAC)}},
        {"keyoptions", {NAMED(REG_OPTION_NON_VOLATILE)}},
        {"valuetype", {NAMED(REG_SZ), NAMED(REG_EXPAND_SZ), NAMED(REG_DWORD)}},
        {"manager",
         {NAMED(SC_MANAGER_ALL_ACCESS), NAMED(SC_MANAGER_CONNECT), NAMED(SC_MANAGER_CREATE_SERVICE),
          NAMED(SC_MANAGER_ENUMERATE_SERVICE)}},
        {"service",
         {NAMED(SERVICE_ALL_ACCESS), NAMED(SERVICE_QUERY_CONFIG), NAMED(SERVICE_CHANGE_CONFIG), NAMED(SERVICE_START),
          NAMED(SERVICE_STOP), NAMED(SERVICE_QUERY_STATUS), NAMED(DELETE), NAMED(READ_CONTROL), NAMED(WRITE_DAC)}},
        {"information", {NAMED(SC_ENUM_PROCESS_INFO)}},
        {"servicestate", {NAMED(SERVICE_STATE_ALL), NAMED(SERVICE_ACTIVE), NAMED(SERVICE_INACTIVE)}},
        {"servicetype",
         {NAMED(SERVICE_WIN32), NAMED(SERVICE_NO_CHANGE), NAMED(SERVICE_WIN32_OWN_PROCESS),
          NAMED(SERVICE_KERNEL_DRIVER)}},
        {"starttype", {NAMED(SERVICE_NO_CHANGE), NAMED(SERVICE_DEMAND_START)}},
        {"errorcontrol", {NAMED(SERVICE_NO_CHANGE), NAMED(SERVICE_ERROR_NORMAL)}},
        {"configuration", {NAMED(SERVICE_CONFIG_SERVICE_SID_INFO)}},
        {"sidtype", {NAMED(SERVICE_SID_TYPE_UNRESTRICTED), NAMED(SERVICE_SID_TYPE_RESTRICTED)}},
        {"security",
         {NAMED(OWNER_SECURITY_INFORMATION), NAMED(GROUP_SECURITY_INFORMATION), NAMED(DACL_SECURITY_INFORMATION),
          NAMED(PROTECTED_DACL_SECURITY_INFORMATION), NAMED(UNPROTECTED_DACL_SECURITY_INFORMATION)}},
        {"control", {NAMED(SE_DACL_AUTO_INHERIT_REQ), NAMED(SE_DACL_AUTO_INHERITED), NAMED(SE_DACL_PROTECTED)}},
        {"object", {NAMED(SE_FILE_OBJECT), NAMED(SE_SERVICE), NAMED(SE_REGISTRY_KEY), NAMED(SE_KERNEL_OBJECT)}},
        {"desired", {NAMED(MAXIMUM_ALLOWED)}},
        {"atend", {NAMED(MAXDWORD)}},
        {"aclclass", {NAMED(AclSizeInformation)}},
        {"mode", {NAMED(GRANT_ACCESS), NAMED(SET_ACCESS), NAMED(DENY_ACCESS), NAMED(REVOKE_ACCESS)}},
        {"form", {NAMED(TRUSTEE_IS_SID), NAMED(TRUSTEE_IS_NAME)}},
        {"trustee", {NAMED(TRUSTEE_IS_UNKNOWN), NAMED(TRUSTEE_IS_USER), NAMED(TRUSTEE_IS_GROUP)}},
    };
    return all;
}

#undef NAMED

std::string hex(DWORD value)
{
    char text[16];
    snprintf(text, sizeof text, value > 9 ? "0x%lX" : "%lu", value);
    return text;
}

// A constant that is meant as a whole, or the bits one by one.
std::string constantWords(const std::vector<Constant>& names, DWORD value)
{
    for (const Constant& each : names)
        if (each.value == value)
            return each.name;
    std::string words;
    for (const Constant& each : names)
        if (each.value && (value & each.value) == each.value) {
            words += (words.empty() ? "" : " | ") + std::string(each.name);
            value &= ~each.value;
        }
    return value || words.empty() ? words + (words.empty() ? "" : " | ") + hex(value) : words;
}

std::string constantWords(const char* domain, DWORD value)
{
    return constantWords(constants().at(domain), value);
}

template <class Char>
std::string quoted(const Char* text)
{
    return text ? '"' + std::string(text, text + std::char_traits<Char>::length(text)) + '"' : "NULL";
}

std::string quoted(const LSA_UNICODE_STRING& text)
{
    return quoted(std::wstring(text.Buffer, text.Length / sizeof(wchar_t)).c_str());
}

std::string sidWords(PSID sid)
{
    const std::wstring text = whatif::sidText(sid);
    return sid ? text.empty() ? "an invalid SID" : std::string(text.begin(), text.end()) : "NULL";
}

std::string sddl(const whatif::Security& security)
{
    const std::wstring text = textOf(security);
    return {text.begin(), text.end()};
}

std::string aclWords(const ACL* acl)
{
    const auto* const bytes = reinterpret_cast<const BYTE*>(acl);
    whatif::Security security;
    if (!acl)
        return "NULL";
    security.dacl.assign(bytes, bytes + acl->AclSize);
    return sddl(security).substr(strlen("D:"));
}

std::string aceWords(const ACE_HEADER* ace)
{
    std::vector<BYTE> bytes(sizeof(ACL) + ace->AceSize);
    auto* const acl = reinterpret_cast<ACL*>(bytes.data());
    const DWORD revision = whatif::isObjectEntry(ace->AceType) ? ACL_REVISION_DS : ACL_REVISION;
    InitializeAcl(acl, static_cast<DWORD>(bytes.size()), revision);
    AddAce(acl, revision, MAXDWORD, const_cast<ACE_HEADER*>(ace), ace->AceSize);
    return aclWords(acl);
}

template <class Entry>
std::string entryWords(const Entry& entry)
{
    const auto& trustee = entry.Trustee;
    return '{' + hex(entry.grfAccessPermissions) + ", " + constantWords("mode", entry.grfAccessMode) + ", " +
           hex(entry.grfInheritance) + ", " + constantWords("form", trustee.TrusteeForm) + ", " +
           constantWords("trustee", trustee.TrusteeType) + ", " +
           (trustee.TrusteeForm == TRUSTEE_IS_SID ? sidWords(trustee.ptstrName) : quoted(trustee.ptstrName)) + '}';
}

std::string userWords(const USER_INFO_1& user)
{
    return '{' + quoted(user.usri1_name) + ", " + (user.usri1_password ? "****" : "NULL") + ", " +
           constantWords("privilege", user.usri1_priv) + ", " + quoted(user.usri1_home_dir) + ", " +
           quoted(user.usri1_comment) + ", " + constantWords("userflags", user.usri1_flags) + ", " +
           quoted(user.usri1_script_path) + '}';
}

// The words for an argument, by the kind that the table below gives it.
class Describing
{
public:
    Describing(const Row& row, const Raw& arguments, const Names& names) : row_(row), raw_(arguments), names_(names) {}

    std::string argument(const std::string& kind, size_t i) const
    {
        const auto domain = constants().find(kind);
        if (domain != constants().end())
            return constantWords(domain->second, number(i));
        const auto found = kinds().find(kind);
        return found == kinds().end() ? byType(i) : found->second(*this, i);
    }

    // "service {1}{ of 0}": what is in braces is an argument with what comes before it, or nothing.
    std::string result(const std::string& form, const std::vector<std::string>& kinds) const
    {
        std::string text;
        for (size_t at = 0; at < form.size(); ++at) {
            if (form[at] != '{') {
                text += form[at];
                continue;
            }
            const size_t end = form.find('}', at);
            const auto i = static_cast<size_t>(form[end - 1] - '0');
            std::string word = argument(i < kinds.size() ? kinds[i] : "_", i);
            if (word.front() == '"')
                word = word.substr(1, word.size() - 2);
            if (word != "NULL")
                text += form.substr(at + 1, end - at - 2) + word;
            at = end;
        }
        return text;
    }

private:
    using Kind = std::string (*)(const Describing&, size_t);

    template <class T>
    T as(size_t i) const
    {
        return reinterpret_cast<T>(raw_[i]);
    }
    DWORD number(size_t i) const { return static_cast<DWORD>(raw_[i]); }

    size_t length(size_t i) const
    {
        return row_.types[i] == 'a' ? strlen(as<const char*>(i)) : wcslen(as<const wchar_t*>(i));
    }

    std::string byType(size_t i) const
    {
        static const Names predefined = {
            {rawOf(HKEY_LOCAL_MACHINE), "HKEY_LOCAL_MACHINE"}, {rawOf(HKEY_USERS), "HKEY_USERS"},
            {rawOf(HKEY_CLASSES_ROOT), "HKEY_CLASSES_ROOT"},   {rawOf(HKEY_CURRENT_USER), "HKEY_CURRENT_USER"},
            {rawOf(GetCurrentProcess()), "this process"},      {0, "NULL"}};
        switch (row_.types[i]) {
        case 'a':
            return quoted(as<const char*>(i));
        case 'w':
            return quoted(as<const wchar_t*>(i));
        case 'i':
            return std::to_string(static_cast<int>(number(i)));
        case 'n':
            return std::to_string(number(i));
        default:
            break;
        }
        for (const Names* const names : {&predefined, &names_})
            if (const auto known = names->find(raw_[i]); known != names->end())
                return known->second;
        return "out";
    }

    // `count` of what is at `first`.
    template <class T, class Words>
    static std::string listed(const T* first, size_t count, Words words)
    {
        std::string text;
        for (size_t i = 0; i < count; ++i)
            text += (i ? ", " : "") + words(first[i]);
        return text;
    }

    std::string data(size_t i) const
    {
        const bool isWide = row_.name[strlen(row_.name) - 1] == 'W';
        if (number(3) == REG_DWORD)
            return std::to_string(*as<const DWORD*>(i));
        return isWide ? quoted(as<const wchar_t*>(i)) : quoted(as<const char*>(i));
    }

    static const std::map<std::string, Kind>& kinds();

    const Row& row_;
    const Raw& raw_;
    const Names& names_;
};

const std::map<std::string, Describing::Kind>& Describing::kinds()
{
    using D = const Describing&;
    static const std::map<std::string, Kind> all = {
        {"in", [](D d, size_t i) -> std::string { return d.raw_[i] ? "in" : "NULL"; }},
        {"hex", [](D d, size_t i) { return hex(d.number(i)); }},
        {"secret", [](D d, size_t i) -> std::string { return d.raw_[i] ? "****" : "NULL"; }},
        {"ansi", [](D d, size_t i) { return quoted(d.as<const char*>(i)); }},
        {"wide", [](D d, size_t i) { return quoted(d.as<const wchar_t*>(i)); }},
        {"counted", // followed by the number of its characters
         [](D d, size_t i) {
             const auto count = static_cast<int>(d.number(i + 1));
             return count < 0 ? d.byType(i)
                              : quoted(std::string(d.as<const char*>(i)).substr(0, d.number(i + 1)).c_str());
         }},
        {"size", [](D d, size_t i) { return d.raw_[i] ? std::to_string(*d.as<const DWORD*>(i)) : "NULL"; }},
        {"room", // for the text, which may be a path of this machine
         [](D d, size_t i) {
             const bool isWhole = static_cast<int>(d.number(3)) < 0 && d.number(i) == d.length(2) + 1;
             return isWhole ? "all" : std::to_string(d.number(i));
         }},
        {"twice", // what the call before has left at the address that follows
         [](D d, size_t i) {
             const DWORD size = d.number(i);
             return size && size == 2 * *d.as<const DWORD*>(i + 1) ? "twice the need" : std::to_string(size);
         }},
        {"pathroom", [](D d, size_t i) { return "its length + " + std::to_string(d.number(i) - d.length(0)); }},
        {"names", // each with its end, an empty one behind the last
         [](D d, size_t i) -> std::string {
             std::string text;
             for (auto name = d.as<const wchar_t*>(i); name && *name; name += wcslen(name) + 1)
                 text += (text.empty() ? "" : " ") + quoted(name);
             return d.raw_[i] ? '{' + text + '}' : "NULL";
         }},
        {"version",
         [](D d, size_t i) { return '{' + std::to_string(d.as<OSVERSIONINFOA*>(i)->dwOSVersionInfoSize) + '}'; }},
        {"sid", [](D d, size_t i) { return sidWords(d.as<PSID>(i)); }},
        {"authority", [](D d, size_t i) { return hex(d.as<SID_IDENTIFIER_AUTHORITY*>(i)->Value[5]); }},
        {"lsa", [](D d, size_t i) { return d.raw_[i] ? quoted(*d.as<LSA_UNICODE_STRING*>(i)) : "NULL"; }},
        {"rights", // followed by their number
         [](D d, size_t i) {
             return listed(d.as<LSA_UNICODE_STRING*>(i), d.number(i + 1),
                           [](const LSA_UNICODE_STRING& right) { return quoted(right); });
         }},
        {"group",
         [](D d, size_t i) {
             const auto& group = *d.as<LOCALGROUP_INFO_1*>(i);
             return '{' + quoted(group.lgrpi1_name) + ", " + quoted(group.lgrpi1_comment) + '}';
         }},
        {"members", // of the level before them, followed by their number
         [](D d, size_t i) {
             if (d.number(i - 1) == 0)
                 return listed(d.as<LOCALGROUP_MEMBERS_INFO_0*>(i), d.number(i + 1),
                               [](const auto& member) { return sidWords(member.lgrmi0_sid); });
             return listed(d.as<LOCALGROUP_MEMBERS_INFO_3*>(i), d.number(i + 1),
                           [](const auto& member) { return quoted(member.lgrmi3_domainandname); });
         }},
        {"user", [](D d, size_t i) { return userWords(*d.as<USER_INFO_1*>(i)); }},
        {"password", // to be validated
         [](D d, size_t i) -> std::string {
             const auto& input = *d.as<NET_VALIDATE_PASSWORD_CHANGE_INPUT_ARG*>(i);
             return std::string("{") + (input.ClearPassword ? "****" : "NULL") + ", " + quoted(input.UserAccountName) +
                    ", PasswordMatch " + std::to_string(input.PasswordMatch) + '}';
         }},
        {"data", [](D d, size_t i) { return d.data(i); }},
        {"sidinfo",
         [](D d, size_t i) { return constantWords("sidtype", d.as<SERVICE_SID_INFO*>(i)->dwServiceSidType); }},
        {"acl", [](D d, size_t i) { return aclWords(d.as<ACL*>(i)); }},
        {"ace", [](D d, size_t i) { return aceWords(d.as<ACE_HEADER*>(i)); }},
        {"descriptor", [](D d, size_t i) { return sddl(whatif::securityOf(d.as<PSECURITY_DESCRIPTOR>(i))); }},
        {"entries", // behind their number
         [](D d, size_t i) {
             return d.row_.name[strlen(d.row_.name) - 1] == 'W'
                        ? listed(d.as<EXPLICIT_ACCESSW*>(i), d.number(i - 1), entryWords<EXPLICIT_ACCESSW>)
                        : listed(d.as<EXPLICIT_ACCESSA*>(i), d.number(i - 1), entryWords<EXPLICIT_ACCESSA>);
         }},
        {"defaultdacl", [](D d, size_t i) { return aclWords(d.as<TOKEN_DEFAULT_DACL*>(i)->DefaultDacl); }},
        {"groups", // followed by their number
         [](D d, size_t i) {
             return listed(d.as<SID_AND_ATTRIBUTES*>(i), d.number(i + 1), [](const SID_AND_ATTRIBUTES& group) {
                 return '{' + sidWords(group.Sid) + ", " + hex(group.Attributes) + '}';
             });
         }},
        {"request",
         [](D d, size_t i) {
             return '{' + constantWords("desired", d.as<AUTHZ_ACCESS_REQUEST*>(i)->DesiredAccess) + '}';
         }},
    };
    return all;
}

// What types do not tell. "_" is an argument whose type does, as do those behind the last one; "+" stands before what
// an administrator wants to know of.
struct Described
{
    const char* function;
    const char* arguments;
    const char* result = "";
};

const Described& describedFor(const Row& row)
{
    static const Described none = {"", ""};
    static const Described all[] = {
        {"MultiByteToWideChar", "codepage towide counted _ _ room"},
        {"WideCharToMultiByte", "codepage fromwide _ _ _ room"},
        {"FormatMessageA", "format _ hex hex _ _ in"},
        {"GetModuleHandleA", "_", "{0}"},
        {"LoadLibraryA", "+_", "{0}"},
        {"LoadLibraryExA", "_ _ +loading", "{0}"},
        {"GetProcAddress", "_ +_"},
        {"CreateFileA", "_ +fileaccess share _ disposition attributes", "{0}"},
        {"GetEnvironmentVariableA", "+_"},
        {"GetComputerNameW", "_ size"},
        {"GetVersionExA", "version"},
        {"GetVersionExW", "version"},
        {"ConvertStringSidToSidA", "_", "SID {0}"},
        {"ConvertStringSidToSidW", "_", "SID {0}"},
        {"CopySid", "_ _ sid"},
        {"CreateWellKnownSid", "wellknown sid _ size"},
        {"LookupAccountNameW", "_ _ _ size _ size"},
        {"LookupAccountSidW", "_ sid _ size _ size"},
        {"OpenProcessToken", "_ +token", "token of {0}"},
        {"GetTokenInformation", "_ +tokenclass"},
        {"SetTokenInformation", "_ +tokenclass defaultdacl"},
        {"LogonUserW", "_ _ secret +logon provider", "token of {0}"},
        {"LsaOpenPolicy", "lsa in +policy", "policy{ of 0}"},
        {"LsaQueryInformationPolicy", "_ +policyclass", "account domain"},
        {"LsaAddAccountRights", "_ sid +rights"},
        {"LsaRemoveAccountRights", "_ sid _ +rights"},
        {"LsaEnumerateAccountsWithUserRight", "_ +lsa", "accounts with {1}"},
        {"NetLocalGroupAdd", "_ _ group"},
        {"NetLocalGroupEnum", "_ _ _ length", "groups"},
        {"NetLocalGroupGetInfo", "_ _ _ _", "group {1}"},
        {"NetLocalGroupAddMembers", "_ _ _ members"},
        {"NetLocalGroupDelMembers", "_ _ _ members"},
        {"NetLocalGroupGetMembers", "_ _ _ _ length", "members of {1}"},
        {"NetUserGetLocalGroups", "_ _ _ +nested _ length", "groups of {1}"},
        {"NetUserAdd", "_ _ +user"},
        {"NetValidatePasswordPolicy", "_ _ validation password", "verdict"},
        {"NetIsServiceAccount", "wide wide"},
        {"NetQueryServiceAccount", "wide wide", "managed account {1}"},
        {"RegConnectRegistryA", "", "{1}{ of 0}"},
        {"RegConnectRegistryW", "", "{1}{ of 0}"},
        {"RegOpenKeyExA", "_ _ _ +key", "{0}\\{1}"},
        {"RegOpenKeyExW", "_ _ _ +key", "{0}\\{1}"},
        {"RegCreateKeyExA", "_ _ _ ansi keyoptions +key", "{0}\\{1}"},
        {"RegQueryValueExA", "_ +_ _ _ _ size"},
        {"RegQueryValueExW", "_ +_ _ _ _ size"},
        {"RegSetValueExA", "_ +_ _ valuetype data"},
        {"RegSetValueExW", "_ +_ _ valuetype data"},
        {"RegEnumKeyExW", "_ _ _ size"},
        {"RegGetKeySecurity", "_ +security _ size"},
        {"OpenSCManagerW", "_ _ +manager", "service manager{ of 0}"},
        {"OpenServiceW", "_ _ +service", "service {1}"},
        {"EnumServicesStatusExW", "_ information +servicetype +servicestate _ _ _ _ size"},
        {"CreateServiceW", "_ _ _ +service servicetype starttype errorcontrol _ _ _ names _ secret", "service {1}"},
        {"ChangeServiceConfigW", "_ servicetype starttype errorcontrol _ _ _ names _ secret"},
        {"ChangeServiceConfig2W", "_ configuration +sidinfo"},
        {"QueryServiceConfigW", "_ _ twice"},
        {"QueryServiceObjectSecurity", "_ +security"},
        {"SetServiceObjectSecurity", "_ +security descriptor"},
        {"FindFirstFileW", "_", "search for {0}"},
        {"FindFirstFileA", "_", "search for {0}"},
        {"GetVolumePathNameW", "_ _ pathroom"},
        {"AllocateAndInitializeSid", "authority", "SID"},
        {"AddAce", "_ _ atend ace"},
        {"GetAclInformation", "_ _ _ aclclass"},
        {"GetFileSecurityW", "_ +security"},
        {"SetFileSecurityW", "_ +security descriptor"},
        {"GetNamedSecurityInfoW", "_ object +security", "security of {0}"},
        {"SetNamedSecurityInfoW", "wide object +security sid sid acl acl"},
        {"SetEntriesInAclA", "_ entries acl", "merged list"},
        {"SetEntriesInAclW", "_ entries acl", "merged list"},
        {"GetSecurityInfo", "_ object +security", "security of {0}"},
        {"SetSecurityInfo", "_ object +security sid sid acl acl"},
        {"SetSecurityDescriptorDacl", "_ _ acl"},
        {"SetSecurityDescriptorControl", "_ control control"},
        {"AuthzInitializeResourceManager", "manageraudit", "authorization"},
        {"AuthzInitializeContextFromSid", "contextgroups sid", "context of {1}"},
        {"AuthzAddSidsToContext", "_ groups", "{0} and groups"},
        {"AuthzAccessCheck", "_ _ +request _ descriptor"},
    };
    for (const Described& each : all)
        if (strcmp(each.function, row.name) == 0)
            return each;
    return none;
}

std::vector<std::string> kindsOf(const Described& described)
{
    std::istringstream words(described.arguments);
    return {std::istream_iterator<std::string>(words), {}};
}

} // namespace

CallWords wordsOf(const Row& row, const Raw& arguments, const Names& names)
{
    const Describing describing(row, arguments, names);
    const std::vector<std::string> kinds = kindsOf(describedFor(row));
    CallWords words = {std::string(row.name) + '(', ""};
    for (size_t i = 0; row.types[i]; ++i) {
        const std::string kind = i < kinds.size() ? kinds[i] : "_";
        const bool isAsked = kind.front() == '+';
        const std::string argument = describing.argument(kind.substr(isAsked), i);
        words.all += (i ? ", " : "") + argument;
        if (isAsked)
            words.asked += (words.asked.empty() ? "" : ", ") + argument;
    }
    words.all += ')';
    return words;
}

std::string resultOf(const Row& row, const Raw& arguments, const Names& names)
{
    const Described& described = describedFor(row);
    std::vector<std::string> kinds = kindsOf(described);
    for (std::string& kind : kinds)
        kind = kind.substr(kind.front() == '+');
    return Describing(row, arguments, names).result(described.result, kinds);
}

} // namespace intercept
