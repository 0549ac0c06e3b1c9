#include "tests/support/call_words.h"

#include "cli/values.h"
#include "whatif/description/ini.h"
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
    std::string name;
    DWORD value;
};

template <class... Values>
std::vector<Constant> named(const char* names, Values... values)
{
    std::vector<Constant> all;
    std::istringstream words(names);
    for (const DWORD value : {static_cast<DWORD>(values)...})
        std::getline(words >> std::ws, all.emplace_back(Constant{"", value}).name, ',');
    return all;
}

#define NAMED(...) named(#__VA_ARGS__, __VA_ARGS__)

// Whole values come before the bits that they are made of.
const std::map<std::string, std::vector<Constant>>& constants()
{
    static const std::map<std::string, std::vector<Constant>> all = {
        {"codepage", NAMED(CP_ACP, CP_OEMCP)},
        {"towide", NAMED(MB_PRECOMPOSED, MB_ERR_INVALID_CHARS)},
        {"fromwide", NAMED(WC_NO_BEST_FIT_CHARS, WC_COMPOSITECHECK)},
        {"format", NAMED(FORMAT_MESSAGE_ALLOCATE_BUFFER, FORMAT_MESSAGE_FROM_SYSTEM, FORMAT_MESSAGE_FROM_HMODULE)},
        {"loading", NAMED(LOAD_LIBRARY_AS_DATAFILE, LOAD_LIBRARY_AS_IMAGE_RESOURCE)},
        {"fileaccess", NAMED(GENERIC_READ, GENERIC_WRITE, READ_CONTROL, WRITE_DAC)},
        {"share", NAMED(FILE_SHARE_READ, FILE_SHARE_WRITE, FILE_SHARE_DELETE)},
        {"disposition", NAMED(OPEN_EXISTING, CREATE_ALWAYS)},
        {"attributes", NAMED(FILE_ATTRIBUTE_NORMAL)},
        {"wellknown", NAMED(WinLocalSystemSid, WinLocalServiceSid, WinNetworkServiceSid, WinBuiltinAdministratorsSid,
                            WinAuthenticatedUserSid, WinWorldSid)},
        {"token", NAMED(TOKEN_QUERY, TOKEN_ADJUST_DEFAULT)},
        {"tokenclass", NAMED(TokenUser, TokenOwner, TokenDefaultDacl)},
        {"logon", NAMED(LOGON32_LOGON_NETWORK)},
        {"provider", NAMED(LOGON32_PROVIDER_DEFAULT)},
        {"policy", NAMED(POLICY_ALL_ACCESS, POLICY_VIEW_LOCAL_INFORMATION, POLICY_LOOKUP_NAMES, POLICY_CREATE_ACCOUNT)},
        {"policyclass", NAMED(PolicyAccountDomainInformation)},
        {"manageraudit", NAMED(AUTHZ_RM_FLAG_NO_AUDIT)},
        {"contextgroups", NAMED(AUTHZ_SKIP_TOKEN_GROUPS)},
        {"nested", NAMED(LG_INCLUDE_INDIRECT)},
        {"length", NAMED(MAX_PREFERRED_LENGTH)},
        {"privilege", NAMED(USER_PRIV_USER)},
        {"userflags", NAMED(UF_SCRIPT, UF_NORMAL_ACCOUNT, UF_DONT_EXPIRE_PASSWD, UF_PASSWD_CANT_CHANGE)},
        {"validation", NAMED(NetValidateAuthentication, NetValidatePasswordChange)},
        {"key", NAMED(KEY_ALL_ACCESS, KEY_READ, KEY_WRITE, KEY_QUERY_VALUE, KEY_SET_VALUE, KEY_ENUMERATE_SUB_KEYS,
                      READ_CONTROL, WRITE_DAC)},
        {"keyoptions", NAMED(REG_OPTION_NON_VOLATILE)},
        {"linkoption", NAMED(REG_OPTION_OPEN_LINK)},
        {"valuetype", NAMED(REG_SZ, REG_EXPAND_SZ, REG_DWORD)},
        {"manager",
         NAMED(SC_MANAGER_ALL_ACCESS, SC_MANAGER_CONNECT, SC_MANAGER_CREATE_SERVICE, SC_MANAGER_ENUMERATE_SERVICE)},
        {"service", NAMED(SERVICE_ALL_ACCESS, SERVICE_QUERY_CONFIG, SERVICE_CHANGE_CONFIG, SERVICE_START, SERVICE_STOP,
                          SERVICE_QUERY_STATUS, DELETE, READ_CONTROL, WRITE_DAC)},
        {"information", NAMED(SC_ENUM_PROCESS_INFO)},
        {"servicestate", NAMED(SERVICE_STATE_ALL, SERVICE_ACTIVE, SERVICE_INACTIVE)},
        {"servicetype", NAMED(SERVICE_WIN32, SERVICE_NO_CHANGE, SERVICE_WIN32_OWN_PROCESS, SERVICE_KERNEL_DRIVER)},
        {"starttype", NAMED(SERVICE_NO_CHANGE, SERVICE_DEMAND_START)},
        {"errorcontrol", NAMED(SERVICE_NO_CHANGE, SERVICE_ERROR_NORMAL)},
        {"configuration", NAMED(SERVICE_CONFIG_SERVICE_SID_INFO)},
        {"sidtype", NAMED(SERVICE_SID_TYPE_UNRESTRICTED, SERVICE_SID_TYPE_RESTRICTED)},
        {"security", NAMED(OWNER_SECURITY_INFORMATION, GROUP_SECURITY_INFORMATION, DACL_SECURITY_INFORMATION,
                           PROTECTED_DACL_SECURITY_INFORMATION, UNPROTECTED_DACL_SECURITY_INFORMATION)},
        {"control", NAMED(SE_DACL_AUTO_INHERIT_REQ, SE_DACL_AUTO_INHERITED, SE_DACL_PROTECTED)},
        {"object", NAMED(SE_FILE_OBJECT, SE_SERVICE, SE_REGISTRY_KEY, SE_KERNEL_OBJECT)},
        {"desired", NAMED(MAXIMUM_ALLOWED)},
        {"atend", NAMED(MAXDWORD)},
        {"aclclass", NAMED(AclSizeInformation)},
        {"aclrevision", NAMED(ACL_REVISION, ACL_REVISION_DS)},
        {"revision", NAMED(SECURITY_DESCRIPTOR_REVISION)},
        {"boolean", NAMED(FALSE, TRUE)},
        {"inheritance", NAMED(NO_INHERITANCE, OBJECT_INHERIT_ACE, CONTAINER_INHERIT_ACE, INHERIT_ONLY_ACE)},
        {"groupattributes", NAMED(SE_GROUP_ENABLED)},
        {"mode", NAMED(GRANT_ACCESS, SET_ACCESS, DENY_ACCESS, REVOKE_ACCESS)},
        {"form", NAMED(TRUSTEE_IS_SID, TRUSTEE_IS_NAME)},
        {"trustee", NAMED(TRUSTEE_IS_UNKNOWN, TRUSTEE_IS_USER, TRUSTEE_IS_GROUP)},
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

// With its lengths, unless they are those of the whole text without and with its end.
std::string quoted(const LSA_UNICODE_STRING& text)
{
    const size_t length = wcslen(text.Buffer) * sizeof(wchar_t);
    const bool isWhole = text.Length == length && text.MaximumLength == length + sizeof(wchar_t);
    return quoted(text.Buffer) +
           (isWhole ? "" : ' ' + std::to_string(text.Length) + '/' + std::to_string(text.MaximumLength));
}

std::string sidWords(PSID sid)
{
    return sid ? cli::textOfSid(sid) : "NULL";
}

std::string descriptorWords(PSECURITY_DESCRIPTOR descriptor)
{
    PSID owner = nullptr;
    BOOL defaulted = FALSE;
    GetSecurityDescriptorOwner(descriptor, &owner, &defaulted);
    const std::string rest =
        whatif::narrow(textOf(whatif::securityOf(descriptor))); // where the administrators need not be named
    return (owner && rest.rfind("O:", 0) != 0 ? "O:BA" : "") + rest;
}

std::string aclWords(const ACL* acl)
{
    const auto* const bytes = reinterpret_cast<const BYTE*>(acl);
    whatif::Security security;
    if (!acl)
        return "NULL";
    security.dacl.assign(bytes, bytes + acl->AclSize);
    return whatif::narrow(textOf(security)).substr(strlen("D:"));
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
           constantWords("inheritance", entry.grfInheritance) + ", " + constantWords("form", trustee.TrusteeForm) +
           ", " + constantWords("trustee", trustee.TrusteeType) + ", " +
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

    std::string argument(size_t i) const
    {
        std::string kind = i < row_.arguments.size() ? row_.arguments[i] : "";
        kind.erase(0, kind.rfind('+', 0) == 0);
        const auto domain = constants().find(kind);
        if (domain != constants().end())
            return constantWords(domain->second, number(i));
        const auto found = kinds().find(kind);
        return found == kinds().end() ? byType(i) : found->second(*this, i);
    }

    // "service {1}{ of 0}": what is in braces is an argument with what comes before it, or nothing.
    std::string result() const
    {
        const std::string& form = row_.result;
        std::string text;
        for (size_t at = 0; at < form.size(); ++at) {
            if (form[at] != '{') {
                text += form[at];
                continue;
            }
            const size_t end = form.find('}', at);
            const auto i = static_cast<size_t>(form[end - 1] - '0');
            std::string word = argument(i);
            if (word.front() == '"')
                word = word.substr(1, word.size() - 2);
            constexpr char manager[] = "service manager"; // or it " of DB2"
            if (word.rfind(manager, 0) == 0)
                word = word == manager ? "NULL" : word.substr(strlen("service manager of "));
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

    // Of what its descriptor is of.
    std::string list(size_t i) const
    {
        for (const auto& [address, name] : names_) {
            BOOL isPresent = FALSE;
            BOOL isDefault = FALSE;
            ACL* dacl = nullptr;
            if (name.rfind("security of ", 0) == 0 && raw_[i] &&
                GetSecurityDescriptorDacl(reinterpret_cast<void*>(address), &isPresent, &dacl, &isDefault) &&
                dacl == as<ACL*>(i))
                return "list" + name.substr(strlen("security"));
        }
        return byType(i);
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
        {"zeroes", // of the platform's attributes for a policy
         [](D d, size_t i) -> std::string {
             const LSA_OBJECT_ATTRIBUTES none = {};
             return d.raw_[i] && memcmp(d.as<void*>(i), &none, sizeof none) == 0 ? "{0}" : "in";
         }},
        {"at",
         [](D d, size_t i) {
             const auto known = d.names_.find(*d.as<uintptr_t*>(i));
             return known == d.names_.end() ? "out" : known->second;
         }},
        {"list", [](D d, size_t i) { return d.list(i); }},
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
        {"descriptor", [](D d, size_t i) { return descriptorWords(d.as<PSECURITY_DESCRIPTOR>(i)); }},
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
                 return '{' + sidWords(group.Sid) + ", " + constantWords("groupattributes", group.Attributes) + '}';
             });
         }},
        {"request",
         [](D d, size_t i) {
             return '{' + constantWords("desired", d.as<AUTHZ_ACCESS_REQUEST*>(i)->DesiredAccess) + '}';
         }},
    };
    return all;
}

} // namespace

CallWords wordsOf(const Row& row, const Raw& arguments, const Names& names)
{
    const Describing describing(row, arguments, names);
    CallWords words = {std::string(row.name) + '(', ""};
    for (size_t i = 0; row.types[i]; ++i) {
        const std::string argument = describing.argument(i);
        words.all += (i ? ", " : "") + argument;
        if (i < row.arguments.size() && row.arguments[i][0] == '+')
            words.asked += (words.asked.empty() ? "" : ", ") + argument;
    }
    words.all += ')';
    return words;
}

std::string resultOf(const Row& row, const Raw& arguments, const Names& names)
{
    return Describing(row, arguments, names).result();
}

} // namespace intercept
