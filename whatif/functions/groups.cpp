// Local groups. Error codes are those of current Windows: a missing group is ERROR_NO_SUCH_ALIAS for every function.
// Codes: the NetLocalGroup functions, "Network Management Error Codes"; underneath, MS-SAMR.
#include "whatif/functions/packed.h"
#include "whatif/model/local_groups.h"
#include "whatif/model/sids.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/spelling.h"

#include <algorithm>

namespace whatif {

namespace {

constexpr size_t longestGroupName = 256; // GNLEN

State stateOf(const Group& group)
{
    std::wstring members;
    for (const std::wstring& sid : group.members)
        members += (members.empty() ? L"" : L",") + sid;
    return State::Parts{{L"comment", group.comment}, {L"sid", group.sid}, {L"members", members}};
}

NET_API_STATUS WINAPI localGroupAdd(LPCWSTR server, DWORD level, LPBYTE buffer, LPDWORD wrongField)
{
    Locked world;
    Node* const node = world->find(server);
    if (!node)
        return ERROR_BAD_NETPATH;
    if (level > 1)
        return ERROR_INVALID_LEVEL;
    if (!buffer)
        return ERROR_INVALID_PARAMETER;
    if (wrongField)
        *wrongField = PARM_ERROR_NONE;
    const wchar_t* const given = reinterpret_cast<const LOCALGROUP_INFO_0*>(buffer)->lgrpi0_name;
    const std::wstring comment =
        level == 1 ? textOrEmpty(reinterpret_cast<const LOCALGROUP_INFO_1*>(buffer)->lgrpi1_comment) : L"";
    if (!isAccountName(given, longestGroupName)) {
        if (wrongField)
            *wrongField = LOCALGROUP_NAME_PARMNUM;
        return NERR_BadUsername;
    }
    const std::wstring name = given;
    if (findGroup(*node, name))
        return ERROR_ALIAS_EXISTS;
    const auto other = resolve(*node, accountDomain(*node) + L"\\" + name);
    if (other && other->use == SidTypeUser)
        return NERR_UserExists;
    if (other && other->use == SidTypeGroup) // of a domain controller
        return NERR_GroupExists;
    const std::wstring sid = newSid(*node);
    node->groups.push_back({name, comment, sid, {}});
    world->record(
        {ChangeKind::group, node->name, L"group " + name, L"", {}, State::Parts{{L"comment", comment}, {L"sid", sid}}});
    return NERR_Success;
}

NET_API_STATUS WINAPI localGroupGetInfo(LPCWSTR server, LPCWSTR name, DWORD level, LPBYTE* buffer)
{
    Locked world;
    Node* node = nullptr;
    Group* group = nullptr;
    if (level > 1)
        return ERROR_INVALID_LEVEL;
    if (!buffer)
        return ERROR_INVALID_PARAMETER;
    *buffer = nullptr;
    if (const NET_API_STATUS status = openGroup(*world, server, name, node, group))
        return status;
    Packed block(level == 0 ? sizeof(LOCALGROUP_INFO_0) : sizeof(LOCALGROUP_INFO_1));
    block.text(offsetof(LOCALGROUP_INFO_1, lgrpi1_name), group->name);
    if (level == 1)
        block.text(offsetof(LOCALGROUP_INFO_1, lgrpi1_comment), group->comment);
    return handOut(block, buffer);
}

NET_API_STATUS WINAPI localGroupEnum(LPCWSTR server, DWORD level, LPBYTE* buffer, DWORD, LPDWORD read, LPDWORD total,
                                     PDWORD_PTR)
{
    Locked world;
    Node* const node = world->find(server);
    if (!node)
        return ERROR_BAD_NETPATH;
    if (level > 1)
        return ERROR_INVALID_LEVEL;
    if (!buffer || !read || !total)
        return ERROR_INVALID_PARAMETER;
    const std::vector<Group>& groups = allGroups(*node);
    const size_t size = level == 0 ? sizeof(LOCALGROUP_INFO_0) : sizeof(LOCALGROUP_INFO_1);
    Packed block(groups.size() * size);
    for (size_t i = 0; i < groups.size(); ++i) {
        block.text(i * size + offsetof(LOCALGROUP_INFO_1, lgrpi1_name), groups[i].name);
        if (level == 1)
            block.text(i * size + offsetof(LOCALGROUP_INFO_1, lgrpi1_comment), groups[i].comment);
    }
    const NET_API_STATUS status = handOut(block, buffer);
    *read = *total = status == NERR_Success ? static_cast<DWORD>(groups.size()) : 0;
    return status;
}

// Rights that were given to the group stay with its SID, as they do on Windows.
NET_API_STATUS WINAPI localGroupDel(LPCWSTR server, LPCWSTR name)
{
    Locked world;
    Node* node = nullptr;
    Group* group = nullptr;
    if (const NET_API_STATUS status = openGroup(*world, server, name, node, group))
        return status;
    if (isBuiltIn(group->sid))
        return ERROR_SPECIAL_ACCOUNT;
    const std::wstring sid = group->sid;
    const std::wstring object = L"group " + group->name;
    const State before = stateOf(*group);
    leaveGroups(*world, *node, sid); // may read more groups: `group` is stale from here on
    node->groups.erase(std::find_if(node->groups.begin(), node->groups.end(),
                                    [&](const Group& candidate) { return candidate.sid == sid; }));
    if (node->readsMachine)
        node->gone.insert(object);
    world->record({ChangeKind::group, node->name, object, L"", before, {}});
    return NERR_Success;
}

} // namespace

std::vector<Replacement> groupReplacements()
{
    return {
        returningError<&localGroupAdd>("NetLocalGroupAdd"),
        returningError<&localGroupGetInfo>("NetLocalGroupGetInfo"),
        returningError<&localGroupEnum>("NetLocalGroupEnum"),
        returningError<&localGroupDel>("NetLocalGroupDel"),
    };
}

} // namespace whatif
