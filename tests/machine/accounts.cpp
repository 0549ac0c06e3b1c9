// Users and their rights, local groups and their members, names and SIDs.
#include "tests/machine/place.h"
#include "whatif/model/sids.h"

#include <lm.h>
#include <ntsecapi.h>

#include <algorithm>

namespace machine {

namespace {

using std::to_wstring;

std::wstring lookUpName(Place& place, const Words& words)
{
    BYTE sid[SECURITY_MAX_SID_SIZE];
    wchar_t domain[256];
    DWORD sizes[] = {sizeof sid, 256};
    SID_NAME_USE use;
    return ON(LookupAccountNameW)(nullptr, words[0], sid, &sizes[0], domain, &sizes[1], &use)
               ? whatif::sidText(sid)
               : to_wstring(GetLastError());
}

std::wstring lookUpSid(Place& place, const Words& words)
{
    std::vector<BYTE> sid = whatif::sidBytes(words[0]);
    wchar_t name[256];
    wchar_t domain[256];
    DWORD sizes[] = {256, 256};
    SID_NAME_USE use;
    return ON(LookupAccountSidW)(nullptr, sid.data(), name, &sizes[0], domain, &sizes[1], &use)
               ? std::wstring(domain) + L"\\" + name + L" " + to_wstring(use)
               : to_wstring(GetLastError());
}

// ---- users ---------------------------------------------------------------------------------------------------------

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

struct Policy
{
    explicit Policy(Place& where) : place(where)
    {
        LSA_OBJECT_ATTRIBUTES attributes = {};
        ON(LsaOpenPolicy)(nullptr, &attributes, POLICY_ALL_ACCESS, &handle);
    }
    ~Policy() { ON(LsaClose)(handle); }

    Place& place;
    LSA_HANDLE handle = nullptr;
};

LSA_UNICODE_STRING lsaText(const wchar_t* text)
{
    const auto size = static_cast<USHORT>(wcslen(text) * sizeof(wchar_t));
    return {size, size, const_cast<wchar_t*>(text)};
}

// ACCOUNT RIGHT...
template <bool grants>
std::wstring changeRights(Place& place, const Words& words)
{
    const Policy policy(place);
    std::vector<BYTE> sid = place.sidOf(words[0]);
    std::vector<LSA_UNICODE_STRING> rights;
    for (size_t i = 1; i < words.given.size(); ++i)
        rights.push_back(lsaText(words[i]));
    const ULONG count = static_cast<ULONG>(rights.size());
    const NTSTATUS status = grants ? ON(LsaAddAccountRights)(policy.handle, sid.data(), rights.data(), count)
                                   : ON(LsaRemoveAccountRights)(policy.handle, sid.data(), FALSE, rights.data(), count);
    return to_wstring(LsaNtStatusToWinError(status));
}

// RIGHT ACCOUNT
std::wstring holdersOfRight(Place& place, const Words& words)
{
    const Policy policy(place);
    std::vector<BYTE> sid = place.sidOf(words[1]);
    LSA_UNICODE_STRING right = lsaText(words[0]);
    void* block = nullptr;
    ULONG count = 0;
    const NTSTATUS status = ON(LsaEnumerateAccountsWithUserRight)(policy.handle, &right, &block, &count);
    const auto* const holders = static_cast<const LSA_ENUMERATION_INFORMATION*>(block);
    const bool held =
        std::any_of(holders, holders + count, [&](const auto& each) { return EqualSid(each.Sid, sid.data()); });
    if (block)
        ON(LsaFreeMemory)(block);
    return held ? L"held" : status < 0 ? to_wstring(LsaNtStatusToWinError(status)) : L"not held";
}

// ---- groups --------------------------------------------------------------------------------------------------------

std::wstring addGroup(Place& place, const Words& words)
{
    wchar_t comment[] = L"made by a test";
    LOCALGROUP_INFO_1 info = {const_cast<wchar_t*>(words[0]), comment};
    return to_wstring(ON(NetLocalGroupAdd)(nullptr, 1, reinterpret_cast<BYTE*>(&info), nullptr));
}

std::wstring groupInfo(Place& place, const Words& words)
{
    BYTE* block = nullptr;
    if (const NET_API_STATUS status = ON(NetLocalGroupGetInfo)(nullptr, words[0], 1, &block))
        return to_wstring(status);
    const auto* const info = reinterpret_cast<const LOCALGROUP_INFO_1*>(block);
    const std::wstring said = std::wstring(info->lgrpi1_name) + L": " + info->lgrpi1_comment;
    NetApiBufferFree(block);
    return said;
}

// GROUP NAME... or GROUP SID: a member has its name or its SID as the only field of its record.
template <bool adds>
std::wstring changeMembers(Place& place, const Words& words)
{
    const auto function = adds ? ON(NetLocalGroupAddMembers) : ON(NetLocalGroupDelMembers);
    std::vector<BYTE> sid = whatif::sidBytes(words[1]);
    std::vector<const void*> members(words.given.size() - 1);
    for (size_t i = 0; i < members.size(); ++i)
        members[i] = sid.empty() ? static_cast<const void*>(words[i + 1]) : sid.data();
    return to_wstring(function(nullptr, words[0], sid.empty() ? 3 : 0, reinterpret_cast<BYTE*>(members.data()),
                               static_cast<DWORD>(members.size())));
}

// The order is nobody's promise.
std::wstring listed(NET_API_STATUS status, std::vector<std::wstring> names)
{
    std::sort(names.begin(), names.end());
    std::wstring text;
    for (const std::wstring& name : names)
        text += (text.empty() ? L"" : L", ") + name;
    return status ? to_wstring(status) : text.empty() ? L"none" : text;
}

std::wstring members(Place& place, const Words& words)
{
    const DWORD level = words.number(L"level", 3);
    BYTE* block = nullptr;
    DWORD read = 0;
    DWORD total = 0;
    std::vector<std::wstring> names;
    const NET_API_STATUS status =
        ON(NetLocalGroupGetMembers)(nullptr, words[0], level, &block, MAX_PREFERRED_LENGTH, &read, &total, nullptr);
    const auto* const named = reinterpret_cast<const LOCALGROUP_MEMBERS_INFO_3*>(block);
    const auto* const full = reinterpret_cast<const LOCALGROUP_MEMBERS_INFO_1*>(block);
    for (DWORD i = 0; i < read; ++i)
        names.push_back(level == 3 ? named[i].lgrmi3_domainandname
                                   : std::wstring(full[i].lgrmi1_name) + L" " + to_wstring(full[i].lgrmi1_sidusage) +
                                         L" " + whatif::sidText(full[i].lgrmi1_sid));
    NetApiBufferFree(block);
    return listed(status, names);
}

std::wstring groupsOfUser(Place& place, const Words& words)
{
    BYTE* block = nullptr;
    DWORD read = 0;
    DWORD total = 0;
    std::vector<std::wstring> names;
    const NET_API_STATUS status = ON(NetUserGetLocalGroups)(nullptr, words[0], 0, words.number(L"flags", 0), &block,
                                                            MAX_PREFERRED_LENGTH, &read, &total);
    for (DWORD i = 0; i < read; ++i)
        names.push_back(reinterpret_cast<const LOCALGROUP_USERS_INFO_0*>(block)[i].lgrui0_name);
    NetApiBufferFree(block);
    return listed(status, names);
}

} // namespace

std::map<std::string, Verb> accountVerbs()
{
    return {
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
    };
}

} // namespace machine
