// The members of local groups. A list of members is taken as a whole or not at all.
// Codes: NetLocalGroupAddMembers, NetLocalGroupDelMembers, NetLocalGroupGetMembers, NetUserGetLocalGroups.
#include "whatif/functions/packed.h"
#include "whatif/model/local_groups.h"
#include "whatif/model/names.h"
#include "whatif/model/sids.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/spelling.h"

#include <algorithm>

namespace whatif {

namespace {

// The SIDs that a list of members names; what is not known ends it with ERROR_NO_SUCH_MEMBER.
NET_API_STATUS readMembers(const Node& node, DWORD level, LPBYTE buffer, DWORD count, std::vector<std::wstring>& sids)
{
    if (level != 0 && level != 3)
        return ERROR_INVALID_LEVEL;
    if (count && !buffer)
        return ERROR_INVALID_PARAMETER;
    for (DWORD i = 0; i < count; ++i) {
        std::wstring sid;
        if (level == 0) {
            sid = sidText(reinterpret_cast<const LOCALGROUP_MEMBERS_INFO_0*>(buffer)[i].lgrmi0_sid);
        } else {
            const auto name = resolve(
                node, textOrEmpty(reinterpret_cast<const LOCALGROUP_MEMBERS_INFO_3*>(buffer)[i].lgrmi3_domainandname));
            sid = name ? name->sid : L"";
        }
        if (sid.empty())
            return ERROR_NO_SUCH_MEMBER;
        sids.push_back(sid);
    }
    return NERR_Success;
}

// Users, well-known identities and the groups of a domain can be members; the node's own groups cannot.
NET_API_STATUS checkNewMember(const Node& node, const std::wstring& sid)
{
    const auto known = nameOf(node, sid);
    if (!known)
        return isOfDomain(accountDomainSid(node), sid) ? ERROR_NO_SUCH_MEMBER : NERR_Success;
    const bool ownGroup =
        known->use == SidTypeAlias && (isOfDomain(accountDomainSid(node), sid) || isOfDomain(L"S-1-5-32", sid));
    const bool noAccount = known->use == SidTypeDomain || known->use == SidTypeComputer;
    return ownGroup || noAccount ? ERROR_INVALID_MEMBER : NERR_Success;
}

// What a call on a group with a list of members is about.
struct Request
{
    Node* node = nullptr;
    Group* group = nullptr;
    std::vector<std::wstring> sids;
};

NET_API_STATUS openMembers(World& world, LPCWSTR server, LPCWSTR name, DWORD level, LPBYTE buffer, DWORD count,
                           Request& request)
{
    if (const NET_API_STATUS status = openGroup(world, server, name, request.node, request.group))
        return status;
    return readMembers(*request.node, level, buffer, count, request.sids);
}

NET_API_STATUS WINAPI localGroupAddMembers(LPCWSTR server, LPCWSTR name, DWORD level, LPBYTE buffer, DWORD count)
{
    Locked world;
    Request request;
    if (const NET_API_STATUS status = openMembers(*world, server, name, level, buffer, count, request))
        return status;
    const auto& [node, group, added] = request;
    std::vector<std::wstring> members = group->members;
    for (const std::wstring& sid : added) {
        if (const NET_API_STATUS status = checkNewMember(*node, sid))
            return status;
        if (std::count(members.begin(), members.end(), sid))
            return ERROR_MEMBER_IN_ALIAS;
        members.push_back(sid);
    }
    group->members = members;
    for (const std::wstring& sid : added)
        world->record({ChangeKind::member, node->name, L"group " + group->name, sid, {}, printableName(*node, sid)});
    return NERR_Success;
}

NET_API_STATUS WINAPI localGroupDelMembers(LPCWSTR server, LPCWSTR name, DWORD level, LPBYTE buffer, DWORD count)
{
    Locked world;
    Request request;
    if (const NET_API_STATUS status = openMembers(*world, server, name, level, buffer, count, request))
        return status;
    const auto& [node, group, removed] = request;
    std::vector<std::wstring> members = group->members;
    for (const std::wstring& sid : removed) {
        const auto found = std::find(members.begin(), members.end(), sid);
        if (found == members.end())
            return ERROR_MEMBER_NOT_IN_ALIAS;
        members.erase(found);
    }
    group->members = members;
    for (const std::wstring& sid : removed)
        world->record({ChangeKind::member, node->name, L"group " + group->name, sid, printableName(*node, sid), {}});
    return NERR_Success;
}

constexpr size_t memberSize[] = {sizeof(LOCALGROUP_MEMBERS_INFO_0), sizeof(LOCALGROUP_MEMBERS_INFO_1),
                                 sizeof(LOCALGROUP_MEMBERS_INFO_2), sizeof(LOCALGROUP_MEMBERS_INFO_3)};

// Levels 1 and 2 differ in the name only: the plain one, or the qualified one.
void packMember(Packed& block, size_t at, DWORD level, const Node& node, const std::wstring& sid)
{
    if (level == 3) {
        block.text(at, printableName(node, sid));
        return;
    }
    block.data(at + offsetof(LOCALGROUP_MEMBERS_INFO_1, lgrmi1_sid), sidBytes(sid));
    if (level == 0)
        return;
    const auto known = nameOf(node, sid);
    block.value(at + offsetof(LOCALGROUP_MEMBERS_INFO_1, lgrmi1_sidusage), known ? known->use : SidTypeUnknown);
    block.text(at + offsetof(LOCALGROUP_MEMBERS_INFO_1, lgrmi1_name),
               level == 1 && known ? known->name : printableName(node, sid));
}

Packed packMembers(const Node& node, const Group& group, DWORD level, size_t first, size_t count)
{
    Packed block(count * memberSize[level]);
    for (size_t i = 0; i < count; ++i)
        packMember(block, i * memberSize[level], level, node, group.members[first + i]);
    return block;
}

// The handle for the next piece is the place of its first member; one is in each piece, however small it is to be.
NET_API_STATUS WINAPI localGroupGetMembers(LPCWSTR server, LPCWSTR name, DWORD level, LPBYTE* buffer, DWORD preferred,
                                           LPDWORD read, LPDWORD total, PDWORD_PTR resume)
{
    Locked world;
    Node* node = nullptr;
    Group* group = nullptr;
    if (level > 3)
        return ERROR_INVALID_LEVEL;
    if (!buffer || !read || !total)
        return ERROR_INVALID_PARAMETER;
    *buffer = nullptr;
    *read = *total = 0;
    if (const NET_API_STATUS status = openGroup(*world, server, name, node, group))
        return status;
    const size_t first = std::min<size_t>(resume ? *resume : 0, group->members.size());
    const size_t left = group->members.size() - first;
    size_t count = std::min(left, node->memberPiece);
    while (count > 1 && packMembers(*node, *group, level, first, count).size() > preferred)
        count /= 2;
    const Packed block = packMembers(*node, *group, level, first, count);
    if (const NET_API_STATUS status = handOut(block, buffer))
        return status;
    *read = static_cast<DWORD>(count);
    *total = static_cast<DWORD>(left);
    if (resume)
        *resume = count < left ? first + count : 0;
    return count < left ? ERROR_MORE_DATA : NERR_Success;
}

// Whether there is somebody who can be asked about the accounts of a domain.
bool knowsDomain(const Node& node, const std::wstring& domain)
{
    const auto found = resolve(node, domain);
    return namesDomain(domain, node.domain) || (found && found->use == SidTypeDomain);
}

NET_API_STATUS WINAPI userGetLocalGroups(LPCWSTR server, LPCWSTR name, DWORD level, DWORD flags, LPBYTE* buffer, DWORD,
                                         LPDWORD read, LPDWORD total)
{
    Locked world;
    if (level != 0)
        return ERROR_INVALID_LEVEL;
    if (!name || !buffer || !read || !total || (flags & ~static_cast<DWORD>(LG_INCLUDE_INDIRECT)))
        return ERROR_INVALID_PARAMETER;
    *buffer = nullptr;
    *read = *total = 0;
    Node* const node = world->find(server);
    if (!node)
        return RPC_S_SERVER_UNAVAILABLE;
    // A name without domain, "name@domain" included, is looked for on the server alone, not in its domain. That
    // services and other well-known identities are found like users is an assumption, groups are not.
    const wchar_t* const separator = wcschr(name, L'\\');
    const auto account = resolve(*node, separator ? std::wstring(name) : accountDomain(*node) + L"\\" + name);
    if (!account && separator && !knowsDomain(*node, {name, separator}))
        return NERR_DCNotFound;
    if (!account || (account->use != SidTypeUser && account->use != SidTypeWellKnownGroup))
        return NERR_UserNotFound;
    const std::vector<std::wstring> groups = groupsOf(*node, account->sid, (flags & LG_INCLUDE_INDIRECT) != 0);
    Packed block(groups.size() * sizeof(LOCALGROUP_USERS_INFO_0));
    for (size_t i = 0; i < groups.size(); ++i)
        block.text(i * sizeof(LOCALGROUP_USERS_INFO_0), groups[i]);
    const NET_API_STATUS status = handOut(block, buffer);
    if (status == NERR_Success)
        *read = *total = static_cast<DWORD>(groups.size());
    return status;
}

} // namespace

std::vector<Replacement> memberReplacements()
{
    return {
        returningError<&localGroupAddMembers>("NetLocalGroupAddMembers"),
        returningError<&localGroupDelMembers>("NetLocalGroupDelMembers"),
        returningError<&localGroupGetMembers>("NetLocalGroupGetMembers"),
        returningError<&userGetLocalGroups>("NetUserGetLocalGroups"),
    };
}

} // namespace whatif
