// The functions that calls name. None of the services is started; calls name a handle by the word that it was opened
// as. An object is a key when its name begins with MACHINE.
#include "frame/owned.h"
#include "tests/machine/place.h"
#include "whatif/model/sids.h"
#include "whatif/security/descriptors.h"

#include <authz.h>

#include <algorithm>

namespace machine {

namespace {

using std::to_wstring;
using whatif::sidBytes;
using whatif::sidText;

// The error of the call that has just answered.
std::wstring said(bool done)
{
    return to_wstring(replaced::errorOf(done));
}

std::wstring textOrError(bool done, void* descriptor)
{
    return done ? whatif::textOf(whatif::securityOf(static_cast<PSECURITY_DESCRIPTOR>(descriptor))) : said(false);
}

std::vector<BYTE> descriptorOf(const wchar_t* sddl, SECURITY_INFORMATION parts = DACL_SECURITY_INFORMATION)
{
    return whatif::selfRelative(whatif::securityOf(std::wstring(sddl)), parts);
}

// ---- names and users ------------------------------------------------------------------------------------------------

std::wstring lookUpName(Place& place, const Words& words)
{
    BYTE sid[SECURITY_MAX_SID_SIZE];
    wchar_t domain[256];
    DWORD sizes[] = {sizeof sid, 256};
    SID_NAME_USE use;
    return ON(LookupAccountNameW)(nullptr, words[0], sid, &sizes[0], domain, &sizes[1], &use) ? sidText(sid)
                                                                                              : said(false);
}

std::wstring lookUpSid(Place& place, const Words& words)
{
    wchar_t name[256];
    wchar_t domain[256];
    DWORD sizes[] = {256, 256};
    SID_NAME_USE use;
    return ON(LookupAccountSidW)(nullptr, sidBytes(words[0]).data(), name, &sizes[0], domain, &sizes[1], &use)
               ? std::wstring(domain) + L"\\" + name + L" " + to_wstring(use)
               : said(false);
}

std::wstring addUser(Place& place, const Words& words)
{
    wchar_t password[] = L"Kwt-4711-kwt-4711";
    USER_INFO_1 info = {};
    info.usri1_name = const_cast<wchar_t*>(words[0]);
    info.usri1_password = password;
    info.usri1_priv = words.number(L"privilege", USER_PRIV_USER);
    info.usri1_flags = UF_SCRIPT | UF_DONT_EXPIRE_PASSWD | UF_PASSWD_CANT_CHANGE;
    return to_wstring(ON(NetUserAdd)(words.find(L"server"), 1, reinterpret_cast<BYTE*>(&info), nullptr));
}

LSA_UNICODE_STRING lsaText(const wchar_t* text)
{
    const auto size = static_cast<USHORT>(wcslen(text) * sizeof(wchar_t));
    return {size, size, const_cast<wchar_t*>(text)};
}

// ACCOUNT RIGHT...
template <bool grants>
std::wstring changeRights(Place& place, const Words& words)
{
    std::vector<BYTE> sid = sidBytes(place.sidOf(words[0]));
    std::vector<LSA_UNICODE_STRING> rights;
    for (size_t i = 1; i < words.given.size(); ++i)
        rights.push_back(lsaText(words[i]));
    const ULONG count = static_cast<ULONG>(rights.size());
    return to_wstring(LsaNtStatusToWinError(
        grants ? ON(LsaAddAccountRights)(place.policy, sid.data(), rights.data(), count)
               : ON(LsaRemoveAccountRights)(place.policy, sid.data(), FALSE, rights.data(), count)));
}

// RIGHT ACCOUNT
std::wstring holdersOfRight(Place& place, const Words& words)
{
    std::vector<BYTE> sid = sidBytes(place.sidOf(words[1]));
    LSA_UNICODE_STRING right = lsaText(words[0]);
    void* block = nullptr;
    ULONG count = 0;
    const NTSTATUS status = ON(LsaEnumerateAccountsWithUserRight)(place.policy, &right, &block, &count);
    const auto* const holders = static_cast<const LSA_ENUMERATION_INFORMATION*>(block);
    const bool held =
        std::any_of(holders, holders + count, [&](const auto& each) { return EqualSid(each.Sid, sid.data()); });
    if (block)
        ON(LsaFreeMemory)(block);
    return held ? L"held" : status < 0 ? to_wstring(LsaNtStatusToWinError(status)) : L"not held";
}

// ---- groups ---------------------------------------------------------------------------------------------------------

struct Block
{
    ~Block() { NetApiBufferFree(bytes); }

    // What it lists, whose order is nobody's promise.
    template <class Record, class NameOf>
    std::wstring listed(NET_API_STATUS status, NameOf nameOf) const
    {
        const auto* const records = reinterpret_cast<const Record*>(bytes);
        std::vector<std::wstring> names(read);
        std::transform(records, records + read, names.begin(), nameOf);
        std::sort(names.begin(), names.end());
        std::wstring text;
        for (const std::wstring& name : names)
            text += (text.empty() ? L"" : L", ") + name;
        return status ? to_wstring(status) : text.empty() ? L"none" : text;
    }

    BYTE* bytes = nullptr;
    DWORD read = 0;
    DWORD total = 0;
};

std::wstring addGroup(Place& place, const Words& words)
{
    wchar_t comment[] = L"made by a test";
    LOCALGROUP_INFO_1 info = {const_cast<wchar_t*>(words[0]), comment};
    return to_wstring(ON(NetLocalGroupAdd)(nullptr, 1, reinterpret_cast<BYTE*>(&info), nullptr));
}

std::wstring groupInfo(Place& place, const Words& words)
{
    Block block;
    const NET_API_STATUS status = ON(NetLocalGroupGetInfo)(nullptr, words[0], 1, &block.bytes);
    block.read = status ? 0 : 1;
    return block.listed<LOCALGROUP_INFO_1>(
        status, [](const auto& info) { return std::wstring(info.lgrpi1_name) + L": " + info.lgrpi1_comment; });
}

// GROUP NAME... or GROUP SID: a member has its name or its SID as the only field of its record.
template <bool adds>
std::wstring changeMembers(Place& place, const Words& words)
{
    const auto function = adds ? ON(NetLocalGroupAddMembers) : ON(NetLocalGroupDelMembers);
    std::vector<BYTE> sid = sidBytes(words[1]);
    std::vector<const void*> members(words.given.size() - 1);
    for (size_t i = 0; i < members.size(); ++i)
        members[i] = sid.empty() ? static_cast<const void*>(words[i + 1]) : sid.data();
    return to_wstring(function(nullptr, words[0], sid.empty() ? 3 : 0, reinterpret_cast<BYTE*>(members.data()),
                               static_cast<DWORD>(members.size())));
}

std::wstring members(Place& place, const Words& words)
{
    const DWORD level = words.number(L"level", 3);
    Block block;
    const NET_API_STATUS status = ON(NetLocalGroupGetMembers)(nullptr, words[0], level, &block.bytes,
                                                              MAX_PREFERRED_LENGTH, &block.read, &block.total, nullptr);
    if (level == 3)
        return block.listed<LOCALGROUP_MEMBERS_INFO_3>(status,
                                                       [](const auto& member) { return member.lgrmi3_domainandname; });
    return block.listed<LOCALGROUP_MEMBERS_INFO_1>(status, [](const auto& member) {
        return member.lgrmi1_name + (L" " + to_wstring(member.lgrmi1_sidusage)) + L" " + sidText(member.lgrmi1_sid);
    });
}

std::wstring groupsOfUser(Place& place, const Words& words)
{
    Block block;
    const NET_API_STATUS status = ON(NetUserGetLocalGroups)(
        nullptr, words[0], 0, words.number(L"flags", 0), &block.bytes, MAX_PREFERRED_LENGTH, &block.read, &block.total);
    return block.listed<LOCALGROUP_USERS_INFO_0>(status, [](const auto& group) { return group.lgrui0_name; });
}

// ---- services -------------------------------------------------------------------------------------------------------

// NULL when it is not given; names are separated by commas.
std::optional<std::wstring> dependenciesOf(const Words& words)
{
    const wchar_t* const text = words.find(L"dependencies");
    if (!text)
        return std::nullopt;
    std::wstring list = std::wstring(text) + L'\0';
    std::replace(list.begin(), list.end(), L',', L'\0');
    return list;
}

std::wstring keptOrClosed(Place& place, const Words& words, SC_HANDLE handle)
{
    const std::wstring answer = said(handle);
    if (handle && words.find(L"as"))
        place.services[words.find(L"as")] = handle;
    else
        ON(CloseServiceHandle)(handle);
    return answer;
}

// NAME; it is deleted again when nobody keeps its handle.
std::wstring createService(Place& place, const Words& words)
{
    const auto dependencies = dependenciesOf(words);
    const SC_HANDLE service = ON(CreateServiceW)(
        place.manager, words[0], words.find(L"display"), SERVICE_ALL_ACCESS,
        words.number(L"type", SERVICE_WIN32_OWN_PROCESS), words.number(L"start", SERVICE_DEMAND_START),
        SERVICE_ERROR_NORMAL, L"C:\\kwt\\kwt.exe -x", nullptr, nullptr, dependencies ? dependencies->c_str() : nullptr,
        words.find(L"account"), words.find(L"password"));
    if (service && !words.find(L"as"))
        ON(DeleteService)(service);
    return keptOrClosed(place, words, service);
}

std::wstring configuration(Place& place, const Words& words)
{
    std::vector<BYTE> block(8192);
    auto& config = *reinterpret_cast<QUERY_SERVICE_CONFIGW*>(block.data());
    DWORD needed = 0;
    if (!ON(QueryServiceConfigW)(place.services[words[0]], &config, static_cast<DWORD>(block.size()), &needed))
        return said(false);
    std::wstring text;
    for (const DWORD number : {config.dwServiceType, config.dwStartType, config.dwErrorControl, config.dwTagId})
        text += to_wstring(number) + L" ";
    for (const wchar_t* const each :
         {config.lpBinaryPathName, config.lpLoadOrderGroup, config.lpServiceStartName, config.lpDisplayName})
        text += std::wstring(L"[") + (each ? each : L"") + L"]";
    for (const wchar_t* each = config.lpDependencies; each && *each; each += wcslen(each) + 1)
        text += std::wstring(L" after ") + each;
    return text;
}

std::wstring changeService(Place& place, const Words& words)
{
    const auto dependencies = dependenciesOf(words);
    return said(ON(ChangeServiceConfigW)(place.services[words[0]], SERVICE_NO_CHANGE, SERVICE_NO_CHANGE,
                                         SERVICE_NO_CHANGE, nullptr, nullptr, nullptr,
                                         dependencies ? dependencies->c_str() : nullptr, words.find(L"account"),
                                         words.find(L"password"), words.find(L"display")));
}

std::wstring changeSidType(Place& place, const Words& words)
{
    SERVICE_SID_INFO info = {words.number(L"type", SERVICE_SID_TYPE_NONE)};
    const DWORD level = words.number(L"level", SERVICE_CONFIG_SERVICE_SID_INFO);
    const std::wstring answer = said(ON(ChangeServiceConfig2W)(place.services[words[0]], level, &info));
    DWORD needed = 0;
    ON(QueryServiceConfig2W)
    (place.services[words[0]], SERVICE_CONFIG_SERVICE_SID_INFO, reinterpret_cast<BYTE*>(&info), sizeof info, &needed);
    return answer + L", is " + to_wstring(info.dwServiceSidType);
}

std::wstring closeService(Place& place, const Words& words)
{
    const SC_HANDLE service = place.services[words[0]];
    place.services.erase(words[0]);
    return said(ON(CloseServiceHandle)(service));
}

// ---- security -------------------------------------------------------------------------------------------------------

SE_OBJECT_TYPE typeOf(const Words& words)
{
    return wcsncmp(words[0], L"MACHINE", 7) == 0 ? SE_REGISTRY_KEY : SE_FILE_OBJECT;
}

// NAME; owner=1 for owner and group as well.
std::wstring readNamed(Place& place, const Words& words)
{
    const SECURITY_INFORMATION owners =
        words.find(L"owner") ? OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION : 0;
    PSID owner = nullptr, group = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD error = ON(GetNamedSecurityInfoW)(words[0], typeOf(words), owners | DACL_SECURITY_INFORMATION, &owner,
                                                  &group, nullptr, nullptr, &descriptor);
    const owned::Local<void> release(descriptor);
    const std::wstring text = error ? to_wstring(error) : textOrError(true, descriptor);
    return error || !owners ? text : L"O:" + sidText(owner) + L"G:" + sidText(group) + text.substr(text.find(L"D:"));
}

// NAME SDDL; protected=1 or 0, left as it is without.
std::wstring writeNamed(Place& place, const Words& words)
{
    whatif::Security security = whatif::securityOf(std::wstring(words[1]));
    const SECURITY_INFORMATION marks[] = {UNPROTECTED_DACL_SECURITY_INFORMATION, PROTECTED_DACL_SECURITY_INFORMATION,
                                          0};
    return to_wstring(ON(SetNamedSecurityInfoW)(
        const_cast<wchar_t*>(words[0]), typeOf(words), DACL_SECURITY_INFORMATION | marks[words.number(L"protected", 2)],
        nullptr, nullptr, security.hasDacl ? reinterpret_cast<PACL>(security.dacl.data()) : nullptr, nullptr));
}

std::wstring readFile(Place& place, const Words& words)
{
    BYTE bytes[4096];
    DWORD size = words.number(L"size", sizeof bytes);
    return textOrError(ON(GetFileSecurityW)(words[0], DACL_SECURITY_INFORMATION, bytes, size, &size), bytes);
}

std::wstring readService(Place& place, const Words& words)
{
    BYTE bytes[4096];
    DWORD size = sizeof bytes;
    return textOrError(
        ON(QueryServiceObjectSecurity)(place.services[words[0]], DACL_SECURITY_INFORMATION, bytes, size, &size), bytes);
}

std::wstring createKey(Place& place, const Words& words)
{
    HKEY key = nullptr;
    const LSTATUS status =
        ON(RegCreateKeyExW)(HKEY_LOCAL_MACHINE, words[0], 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    if (status == ERROR_SUCCESS)
        ON(RegCloseKey)(key);
    return to_wstring(status);
}

// KEY NAME TEXT
std::wstring setValue(Place& place, const Words& words)
{
    HKEY key = nullptr;
    if (const LSTATUS status = ON(RegOpenKeyExW)(HKEY_LOCAL_MACHINE, words[0], 0, KEY_SET_VALUE, &key))
        return to_wstring(status);
    const LSTATUS status = ON(RegSetValueExW)(key, words[1], 0, REG_SZ, reinterpret_cast<const BYTE*>(words[2]),
                                              static_cast<DWORD>((wcslen(words[2]) + 1) * sizeof(wchar_t)));
    ON(RegCloseKey)(key);
    return to_wstring(status);
}

// ACCOUNT SDDL; the mask that is granted, or the error.
std::wstring checkAccess(Place& place, const Words& words)
{
    AUTHZ_RESOURCE_MANAGER_HANDLE manager = nullptr;
    AUTHZ_CLIENT_CONTEXT_HANDLE context = nullptr;
    std::vector<BYTE> user = sidBytes(place.sidOf(words[0]));
    std::vector<BYTE> descriptor = descriptorOf(words[1], OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION);
    AUTHZ_ACCESS_REQUEST request = {};
    request.DesiredAccess = words.number(L"desired", MAXIMUM_ALLOWED);
    DWORD mask = 0;
    DWORD error = 0;
    AUTHZ_ACCESS_REPLY reply = {1, &mask, nullptr, &error};
    std::wstring answer;
    ON(AuthzInitializeResourceManager)(AUTHZ_RM_FLAG_NO_AUDIT, nullptr, nullptr, nullptr, nullptr, &manager);
    if (!ON(AuthzInitializeContextFromSid)(0, user.data(), manager, nullptr, LUID{}, nullptr, &context) ||
        !ON(AuthzAccessCheck)(0, context, &request, nullptr, descriptor.data(), nullptr, 0, &reply, nullptr))
        answer = L"fails with " + said(false);
    else
        answer = error ? to_wstring(error) : L"mask " + to_wstring(mask);
    if (context)
        ON(AuthzFreeContext)(context);
    if (manager)
        ON(AuthzFreeResourceManager)(manager);
    return answer;
}

} // namespace

const std::map<std::string, Verb> verbs = {
    {"LookupAccountName", lookUpName},
    {"LookupAccountSid", lookUpSid},
    {"NetUserAdd", addUser},
    {"NetUserDel", [](Place& place, const Words& words) { return to_wstring(ON(NetUserDel)(nullptr, words[0])); }},
    {"LsaAddAccountRights", changeRights<true>},
    {"LsaRemoveAccountRights", changeRights<false>},
    {"LsaEnumerateAccountsWithUserRight", holdersOfRight},
    {"NetLocalGroupAdd", addGroup},
    {"NetLocalGroupDel",
     [](Place& place, const Words& words) { return to_wstring(ON(NetLocalGroupDel)(nullptr, words[0])); }},
    {"NetLocalGroupGetInfo", groupInfo},
    {"NetLocalGroupAddMembers", changeMembers<true>},
    {"NetLocalGroupDelMembers", changeMembers<false>},
    {"NetLocalGroupGetMembers", members},
    {"NetUserGetLocalGroups", groupsOfUser},
    {"OpenSCManager",
     [](Place& place, const Words& words) {
         return keptOrClosed(place, words, ON(OpenSCManagerW)(words.find(L"machine"), nullptr, SC_MANAGER_CONNECT));
     }},
    {"CreateService", createService},
    {"OpenService",
     [](Place& place, const Words& words) {
         const DWORD access = words.number(L"access", SERVICE_QUERY_CONFIG);
         return keptOrClosed(place, words, ON(OpenServiceW)(place.manager, words[0], access));
     }},
    {"QueryServiceConfig", configuration},
    {"ChangeServiceConfig", changeService},
    {"ChangeServiceConfig2", changeSidType},
    {"QueryServiceObjectSecurity", readService},
    {"SetServiceObjectSecurity",
     [](Place& place, const Words& words) {
         return said(ON(SetServiceObjectSecurity)(place.services[words[0]], DACL_SECURITY_INFORMATION,
                                                  descriptorOf(words[1]).data()));
     }},
    {"DeleteService",
     [](Place& place, const Words& words) { return said(ON(DeleteService)(place.services[words[0]])); }},
    {"CloseServiceHandle", closeService},
    {"GetNamedSecurityInfo", readNamed},
    {"SetNamedSecurityInfo", writeNamed},
    {"GetFileSecurity", readFile},
    {"SetFileSecurity",
     [](Place& place, const Words& words) {
         return said(ON(SetFileSecurityW)(words[0], DACL_SECURITY_INFORMATION, descriptorOf(words[1]).data()));
     }},
    {"RegCreateKeyEx", createKey},
    {"RegSetValueEx", setValue},
    {"RegDeleteKey",
     [](Place& place, const Words& words) { return to_wstring(ON(RegDeleteKeyW)(HKEY_LOCAL_MACHINE, words[0])); }},
    {"AuthzAccessCheck", checkAccess},
};

} // namespace machine
