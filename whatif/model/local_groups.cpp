#include "whatif/model/local_groups.h"

#include "whatif/functions/packed.h"
#include "whatif/machine/groups.h"
#include "whatif/model/sids.h"
#include "whatif/spelling.h"
#include "whatif/whatif.h"

#include <algorithm>

namespace whatif {

namespace {

// Copies a group of the real machine into the node, unless it was deleted there.
Group* readMachineGroup(Node& node, const std::wstring& name)
{
    Group group;
    if (!node.readsMachine || node.gone.count(L"group " + name) || !readMachineGroup(name, group))
        return nullptr;
    const auto known = resolve(node, name);
    if (!known || known->use != SidTypeAlias)
        return nullptr;
    group.sid = known->sid;
    node.groups.push_back(group);
    return &node.groups.back();
}

// Which of the machine's groups an account is in through a group of its domain only the machine can tell.
std::set<std::wstring, NoCase> throughDomainGroups(const Node& node, const std::wstring& sid)
{
    const std::wstring account = printableName(node, sid);
    const auto direct = machineGroupsOf(account, 0);
    const auto all = machineGroupsOf(account, LG_INCLUDE_INDIRECT);
    std::set<std::wstring, NoCase> names(all.begin(), all.end());
    for (const std::wstring& name : direct)
        names.erase(name);
    return names;
}

void readAllMachineGroups(Node& node)
{
    for (const std::wstring& name : machineGroupNames())
        findGroup(node, name);
}

bool isMember(const Group& group, const std::set<std::wstring>& holders)
{
    return std::any_of(group.members.begin(), group.members.end(),
                       [&](const std::wstring& member) { return holders.count(member) != 0; });
}

} // namespace

Group* findGroup(Node& node, const std::wstring& name)
{
    for (Group& group : node.groups)
        if (sameName(group.name, name))
            return &group;
    return readMachineGroup(node, name);
}

NET_API_STATUS openGroup(World& world, LPCWSTR server, LPCWSTR name, Node*& node, Group*& group)
{
    node = world.find(server);
    if (!node)
        return ERROR_BAD_NETPATH;
    if (!name)
        return ERROR_INVALID_PARAMETER;
    group = findGroup(*node, name);
    return group ? NERR_Success : ERROR_NO_SUCH_ALIAS;
}

const std::vector<Group>& allGroups(Node& node)
{
    if (node.readsMachine)
        readAllMachineGroups(node);
    return node.groups;
}

std::vector<std::wstring> groupsOf(Node& node, const std::wstring& sid, bool indirect)
{
    std::set<std::wstring> holders = {sid};
    std::set<std::wstring, NoCase> others; // groups that only the machine knows the way to
    if (node.readsMachine) {
        readAllMachineGroups(node);
        if (indirect)
            others = throughDomainGroups(node, sid);
    }
    if (indirect)
        for (const Account& account : node.accounts)
            if (account.sid == sid)
                holders.insert(account.memberOf.begin(), account.memberOf.end());
    std::vector<std::wstring> names;
    for (const Group& group : node.groups)
        if (isMember(group, holders) || others.count(group.name))
            names.push_back(group.name);
    return names;
}

std::set<std::wstring> withAllGroups(Node& node, std::set<std::wstring> sids)
{
    if (node.readsMachine)
        readAllMachineGroups(node);
    size_t before = 0;
    while (before != sids.size()) {
        before = sids.size();
        for (const Account& account : node.accounts)
            if (sids.count(account.sid))
                sids.insert(account.memberOf.begin(), account.memberOf.end());
        for (const Group& group : node.groups)
            if (isMember(group, sids))
                sids.insert(group.sid);
    }
    return sids;
}

void leaveGroups(World& world, Node& node, const std::wstring& sid)
{
    if (node.readsMachine)
        readAllMachineGroups(node);
    const std::wstring name = printableName(node, sid);
    for (Group& group : node.groups) {
        const auto found = std::find(group.members.begin(), group.members.end(), sid);
        if (found == group.members.end())
            continue;
        group.members.erase(found);
        world.record({ChangeKind::member, node.name, L"group " + group.name, sid, name, {}});
    }
}

bool isAccountName(const wchar_t* name, size_t longest)
{
    if (!name || !*name || wcslen(name) > longest || name[wcsspn(name, L". ")] == L'\0' ||
        name[wcslen(name) - 1] == L'.')
        return false;
    const std::wstring text = name;
    return text.find_first_of(L"\"/\\[]:;|=,+*?<>") == std::wstring::npos &&
           std::none_of(text.begin(), text.end(), [](wchar_t c) { return c < L' '; });
}

bool isBuiltIn(const std::wstring& sid)
{
    constexpr unsigned firstOwnRid = 1000;
    return isOfDomain(L"S-1-5-32", sid) || std::stoul(sid.substr(sid.rfind(L'-') + 1)) < firstOwnRid;
}

NET_API_STATUS handOut(const Packed& block, LPBYTE* buffer)
{
    *buffer = nullptr;
    if (block.size() == 0)
        return NERR_Success;
    void* memory = nullptr;
    const NET_API_STATUS status = NetApiBufferAllocate(static_cast<DWORD>(block.size()), &memory);
    if (status == NERR_Success) {
        block.place(memory);
        *buffer = static_cast<LPBYTE>(memory);
    }
    return status;
}

} // namespace whatif
