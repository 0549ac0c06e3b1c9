#include "whatif/model/standard_node.h"

#include "whatif/model/names.h"

#include <lm.h>

namespace whatif {

namespace {

constexpr struct
{
    const wchar_t* name;
    const wchar_t* sid;
} builtinGroups[] = {
    {L"Administrators", L"S-1-5-32-544"},
    {L"Users", L"S-1-5-32-545"},
    {L"Guests", L"S-1-5-32-546"},
    {L"Power Users", L"S-1-5-32-547"},
    {L"Backup Operators", L"S-1-5-32-551"},
    {L"Replicator", L"S-1-5-32-552"},
    {L"Remote Desktop Users", L"S-1-5-32-555"},
    {L"Network Configuration Operators", L"S-1-5-32-556"},
    {L"Performance Monitor Users", L"S-1-5-32-558"},
    {L"Performance Log Users", L"S-1-5-32-559"},
    {L"Distributed COM Users", L"S-1-5-32-562"},
    {L"Cryptographic Operators", L"S-1-5-32-569"},
    {L"Event Log Readers", L"S-1-5-32-573"},
    {L"Remote Management Users", L"S-1-5-32-580"},
};

Account user(const Node& node, const wchar_t* name, const wchar_t* rid, DWORD flags)
{
    Account account;
    account.name = name;
    account.sid = accountDomainSid(node) + rid;
    account.flags = flags;
    return account;
}

} // namespace

void addStandardAccounts(Node& node)
{
    node.sid = accountDomainSid(node);
    node.accounts = {
        user(node, L"Administrator", L"-500", UF_SCRIPT | UF_NORMAL_ACCOUNT | UF_DONT_EXPIRE_PASSWD),
        user(node, L"Guest", L"-501",
             UF_SCRIPT | UF_NORMAL_ACCOUNT | UF_DONT_EXPIRE_PASSWD | UF_ACCOUNTDISABLE | UF_PASSWD_NOTREQD)};
    for (const auto& row : builtinGroups)
        node.groups.push_back({row.name, L"", row.sid, {}});
    node.groups[0].members = {node.accounts[0].sid};
    node.groups[1].members = {L"S-1-5-4", L"S-1-5-11"}; // INTERACTIVE, Authenticated Users
    node.groups[2].members = {node.accounts[1].sid};
    node.rights[L"SeServiceLogonRight"] = {L"S-1-5-80-0"}; // all services
    node.rights[L"SeCreateSymbolicLinkPrivilege"] = {L"S-1-5-32-544"};
    node.rights[L"SeIncreaseBasePriorityPrivilege"] = {L"S-1-5-32-544"};
}

Node standardNode(const std::wstring& name)
{
    Node node;
    node.name = name;
    addStandardAccounts(node);
    return node;
}

} // namespace whatif
