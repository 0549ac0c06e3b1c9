// Local groups, their members, local users, and who holds which account right.
#include "journal/kinds.h"

#include "whatif/model/sids.h"

#include <ntstatus.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace journal {

namespace {

struct ReleaseBuffer
{
    void operator()(void* buffer) const { NetApiBufferFree(buffer); }
};
template <class Record>
using Buffer = std::unique_ptr<Record, ReleaseBuffer>;

bool isNoGroup(NET_API_STATUS status)
{
    return status == ERROR_NO_SUCH_ALIAS || status == NERR_GroupNotFound;
}

std::wstring done(const wchar_t* function, NET_API_STATUS status)
{
    return status == NERR_Success ? std::wstring() : problemOf(function, status);
}

// The SIDs of the members.
NET_API_STATUS membersOf(const Machine& machine, const Change& what, std::vector<std::wstring>& sids)
{
    LPBYTE bytes = nullptr;
    DWORD read = 0;
    DWORD total = 0;
    std::wstring server;
    const NET_API_STATUS status =
        machine.platform.NetLocalGroupGetMembers(machine.server(what.node, server), nameOf(what.object).c_str(), 0,
                                                 &bytes, MAX_PREFERRED_LENGTH, &read, &total, nullptr);
    const Buffer<LOCALGROUP_MEMBERS_INFO_0> members(reinterpret_cast<LOCALGROUP_MEMBERS_INFO_0*>(bytes));
    for (DWORD i = 0; status == NERR_Success && members && i < read; ++i)
        sids.push_back(whatif::sidText(members.get()[i].lgrmi0_sid));
    return status;
}

// Of the node's own account: the bare name may be that of one in a domain. The computer's name is the domain of its own
// accounts but on a domain controller, where these are those of the domain.
std::wstring ownSidOf(const Machine& machine, const Change& what)
{
    const bool isDomain = !machine.sidOf(what.node, what.node).empty();
    return machine.sidOf(what.node, (isDomain ? what.node + L"\\" : L"") + nameOf(what.object));
}

// Somebody who is there is told as the change tells it.
State somebody(const Change& what, bool there)
{
    if (!there)
        return {};
    return what.after.there ? what.after : what.before;
}

} // namespace

// ---- groups ------------------------------------------------------------------------------------------------------

// A group that has no SID is none, whatever the platform says of it.
Reading readGroup(const Machine& machine, const Change& what)
{
    const std::wstring name = nameOf(what.object);
    const std::wstring sid = ownSidOf(machine, what);
    if (sid.empty())
        return GetLastError() == ERROR_NONE_MAPPED ? Reading()
                                                   : Reading{{}, problemOf(L"LookupAccountNameW", GetLastError())};
    LPBYTE bytes = nullptr;
    std::wstring server;
    NET_API_STATUS status =
        machine.platform.NetLocalGroupGetInfo(machine.server(what.node, server), name.c_str(), 1, &bytes);
    const Buffer<LOCALGROUP_INFO_1> info(reinterpret_cast<LOCALGROUP_INFO_1*>(bytes));
    if (isNoGroup(status))
        return {};
    std::vector<std::wstring> members;
    if (status != NERR_Success || !info)
        return {{}, problemOf(L"NetLocalGroupGetInfo", status)};
    status = membersOf(machine, what, members);
    if (status != NERR_Success)
        return {{}, problemOf(L"NetLocalGroupGetMembers", status)};
    std::wstring all;
    for (const std::wstring& member : members)
        all += (all.empty() ? L"" : L",") + member;
    const wchar_t* const comment = info->lgrpi1_comment ? info->lgrpi1_comment : L"";
    return {State::Parts{{L"comment", comment}, {L"sid", sid}, {L"members", all}}, L""};
}

std::wstring writeGroup(const Machine& machine, const Change& what, const State& /*found*/, const State& /*wanted*/)
{
    std::wstring server;
    return done(L"NetLocalGroupDel",
                machine.platform.NetLocalGroupDel(machine.server(what.node, server), nameOf(what.object).c_str()));
}

Reading readMember(const Machine& machine, const Change& what)
{
    std::vector<std::wstring> members;
    const NET_API_STATUS status = membersOf(machine, what, members);
    if (status != NERR_Success && !isNoGroup(status))
        return {{}, problemOf(L"NetLocalGroupGetMembers", status)};
    return {somebody(what, std::count(members.begin(), members.end(), what.attribute) != 0), L""};
}

std::wstring writeMember(const Machine& machine, const Change& what, const State& /*found*/, const State& wanted)
{
    std::vector<BYTE> sid = whatif::sidBytes(what.attribute);
    LOCALGROUP_MEMBERS_INFO_0 member = {sid.data()};
    std::wstring server;
    const auto change =
        wanted.there ? machine.platform.NetLocalGroupAddMembers : machine.platform.NetLocalGroupDelMembers;
    return done(wanted.there ? L"NetLocalGroupAddMembers" : L"NetLocalGroupDelMembers",
                change(machine.server(what.node, server), nameOf(what.object).c_str(), 0,
                       reinterpret_cast<LPBYTE>(&member), 1));
}

// ---- users -------------------------------------------------------------------------------------------------------

Reading readUser(const Machine& machine, const Change& what)
{
    const std::wstring sid = ownSidOf(machine, what);
    if (!sid.empty())
        return {State::Parts{{L"sid", sid}}, L""};
    return GetLastError() == ERROR_NONE_MAPPED ? Reading()
                                               : Reading{{}, problemOf(L"LookupAccountNameW", GetLastError())};
}

std::wstring writeUser(const Machine& machine, const Change& what, const State& /*found*/, const State& /*wanted*/)
{
    std::wstring server;
    return done(L"NetUserDel",
                machine.platform.NetUserDel(machine.server(what.node, server), nameOf(what.object).c_str()));
}

// ---- rights ------------------------------------------------------------------------------------------------------

namespace {

LSA_UNICODE_STRING lsaText(std::wstring& text)
{
    const auto size = static_cast<USHORT>(text.size() * sizeof(wchar_t));
    return {size, size, text.data()};
}

class Policy
{
public:
    Policy(const Machine& machine, const std::wstring& node, ACCESS_MASK access) : platform_(machine.platform)
    {
        std::wstring server;
        LSA_OBJECT_ATTRIBUTES attributes = {};
        std::wstring name = machine.server(node, server) ? server : L"";
        LSA_UNICODE_STRING system = lsaText(name);
        status = platform_.LsaOpenPolicy(name.empty() ? nullptr : &system, &attributes, access, &handle);
    }
    ~Policy()
    {
        if (status >= 0)
            platform_.LsaClose(handle);
    }
    Policy(const Policy&) = delete;
    Policy& operator=(const Policy&) = delete;

    NTSTATUS status = 0;
    LSA_HANDLE handle = nullptr;

private:
    const Platform& platform_;
};

std::wstring lsaProblem(const wchar_t* function, NTSTATUS status)
{
    return problemOf(function, LsaNtStatusToWinError(status));
}

} // namespace

Reading readRight(const Machine& machine, const Change& what)
{
    const Policy policy(machine, what.node, POLICY_LOOKUP_NAMES | POLICY_VIEW_LOCAL_INFORMATION);
    if (policy.status < 0)
        return {{}, lsaProblem(L"LsaOpenPolicy", policy.status)};
    std::wstring right = nameOf(what.object);
    LSA_UNICODE_STRING text = lsaText(right);
    void* buffer = nullptr;
    ULONG count = 0;
    const NTSTATUS status = machine.platform.LsaEnumerateAccountsWithUserRight(policy.handle, &text, &buffer, &count);
    if (status == STATUS_NO_MORE_ENTRIES)
        return {};
    if (status < 0)
        return {{}, lsaProblem(L"LsaEnumerateAccountsWithUserRight", status)};
    const auto* const holders = static_cast<const LSA_ENUMERATION_INFORMATION*>(buffer);
    const bool holds = std::any_of(holders, holders + count,
                                   [&](const auto& holder) { return whatif::sidText(holder.Sid) == what.attribute; });
    machine.platform.LsaFreeMemory(buffer);
    return {somebody(what, holds), L""};
}

std::wstring writeRight(const Machine& machine, const Change& what, const State& /*found*/, const State& wanted)
{
    const Policy policy(machine, what.node, POLICY_LOOKUP_NAMES | POLICY_CREATE_ACCOUNT);
    if (policy.status < 0)
        return lsaProblem(L"LsaOpenPolicy", policy.status);
    std::vector<BYTE> sid = whatif::sidBytes(what.attribute);
    std::wstring right = nameOf(what.object);
    LSA_UNICODE_STRING text = lsaText(right);
    const NTSTATUS status = wanted.there
                                ? machine.platform.LsaAddAccountRights(policy.handle, sid.data(), &text, 1)
                                : machine.platform.LsaRemoveAccountRights(policy.handle, sid.data(), FALSE, &text, 1);
    return status < 0 ? lsaProblem(wanted.there ? L"LsaAddAccountRights" : L"LsaRemoveAccountRights", status) : L"";
}

} // namespace journal
