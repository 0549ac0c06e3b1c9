// LSA policy: the domain of the accounts, who holds an account right. A right that is already held, or not held,
// changes nothing.
// Codes: LsaOpenPolicy, LsaQueryInformationPolicy, LsaAddAccountRights, LsaRemoveAccountRights,
// LsaEnumerateAccountsWithUserRight; MS-LSAD.
#include "whatif/functions/packed.h"
#include "whatif/machine/accounts.h"
#include "whatif/model/names.h"
#include "whatif/model/sids.h"
#include "whatif/model/well_known.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"

#include <ntsecapi.h>
#include <ntstatus.h>

#include <algorithm>
#include <cstdlib>

namespace whatif {

namespace {

using Sids = std::vector<std::wstring>;

// The addresses of the nodes' places are the handles.
using OpenPolicies = std::map<LSA_HANDLE, std::unique_ptr<Node*>>;

Node* nodeOf(LSA_HANDLE policy)
{
    const OpenPolicies& policies = activeWorld().table<OpenPolicies>();
    const auto found = policies.find(policy);
    return found == policies.end() ? nullptr : *found->second;
}

std::wstring textOf(const LSA_UNICODE_STRING* text)
{
    return text && text->Buffer ? std::wstring(text->Buffer, text->Length / sizeof(wchar_t)) : std::wstring();
}

bool holds(const Sids& sids, const std::wstring& sid)
{
    return std::find(sids.begin(), sids.end(), sid) != sids.end();
}

NTSTATUS WINAPI openPolicy(PLSA_UNICODE_STRING system, PLSA_OBJECT_ATTRIBUTES, ACCESS_MASK, PLSA_HANDLE policy)
{
    Locked world;
    Node* const node = world->find(textOf(system).c_str());
    if (!node)
        return RPC_NT_SERVER_UNAVAILABLE;
    auto place = std::make_unique<Node*>(node);
    *policy = place.get();
    world->table<OpenPolicies>()[*policy] = std::move(place);
    return STATUS_SUCCESS;
}

NTSTATUS WINAPI closePolicy(LSA_HANDLE policy)
{
    Locked world;
    return world->table<OpenPolicies>().erase(policy) ? STATUS_SUCCESS : STATUS_INVALID_HANDLE;
}

void* blockOf(const Packed& packed)
{
    void* const memory = malloc(packed.size());
    if (memory)
        packed.place(memory);
    return memory;
}

NTSTATUS WINAPI freeMemory(PVOID buffer)
{
    free(buffer);
    return STATUS_SUCCESS;
}

// The domain's name is counted, not terminated.
NTSTATUS WINAPI queryInformation(LSA_HANDLE policy, POLICY_INFORMATION_CLASS kind, PVOID* buffer)
{
    Locked world;
    *buffer = nullptr;
    const Node* const node = nodeOf(policy);
    if (!node)
        return STATUS_INVALID_HANDLE;
    if (kind != PolicyAccountDomainInformation)
        return STATUS_NOT_SUPPORTED; // the others are not the node's
    const std::wstring domain = accountDomain(*node);
    const auto* const begin = reinterpret_cast<const BYTE*>(domain.data());
    const auto size = static_cast<USHORT>(domain.size() * sizeof(wchar_t));
    Packed block(sizeof(POLICY_ACCOUNT_DOMAIN_INFO));
    block.value(offsetof(POLICY_ACCOUNT_DOMAIN_INFO, DomainName), LSA_UNICODE_STRING{size, size, nullptr});
    block.data(offsetof(POLICY_ACCOUNT_DOMAIN_INFO, DomainName.Buffer), {begin, begin + size});
    block.data(offsetof(POLICY_ACCOUNT_DOMAIN_INFO, DomainSid), sidBytes(accountDomainSid(*node)));
    *buffer = blockOf(block);
    return *buffer ? STATUS_SUCCESS : STATUS_NO_MEMORY;
}

// The holders as the node keeps them; taken over from this machine when the right is first touched.
NTSTATUS holdersOf(Node& node, const std::wstring& right, Sids*& holders)
{
    auto found = node.rights.find(right);
    if (found == node.rights.end()) {
        Sids sids;
        const NTSTATUS status = node.readsMachine ? machineHolders(right, sids) : STATUS_SUCCESS;
        if (status < 0)
            return status;
        found = node.rights.emplace(right, sids).first;
    }
    holders = &found->second;
    return STATUS_SUCCESS;
}

// The policy keeps an account as long as it holds a right.
bool holdsAnything(const Node& node, const std::wstring& sid)
{
    for (const auto& right : node.rights)
        if (holds(right.second, sid))
            return true;
    Sids rights;
    if (node.readsMachine && machineRights(sid, rights) >= 0)
        return std::any_of(rights.begin(), rights.end(),
                           [&](const std::wstring& right) { return !node.rights.count(right); });
    return false;
}

// The rights asked for, each as Windows spells it; none is changed when one is unknown.
NTSTATUS rightsOf(const LSA_UNICODE_STRING* texts, ULONG count, std::vector<std::wstring>& rights)
{
    for (ULONG i = 0; i < count; ++i) {
        rights.push_back(accountRight(textOf(&texts[i])));
        if (rights.back().empty())
            return STATUS_NO_SUCH_PRIVILEGE;
    }
    return STATUS_SUCCESS;
}

NTSTATUS change(World& world, Node& node, const std::wstring& sid, const std::wstring& right, bool grant)
{
    Sids* holders = nullptr;
    if (const NTSTATUS status = holdersOf(node, right, holders); status < 0)
        return status;
    if (holds(*holders, sid) == grant)
        return STATUS_SUCCESS;
    const std::wstring name = printableName(node, sid);
    if (grant) {
        holders->push_back(sid);
        world.record({ChangeKind::right, node.name, L"right " + right, sid, {}, name});
    } else {
        holders->erase(std::find(holders->begin(), holders->end(), sid));
        world.record({ChangeKind::right, node.name, L"right " + right, sid, name, {}});
    }
    return STATUS_SUCCESS;
}

NTSTATUS changeAll(LSA_HANDLE policy, PSID account, const LSA_UNICODE_STRING* texts, ULONG count, bool grant)
{
    Locked world;
    Node* const node = nodeOf(policy);
    if (!node)
        return STATUS_INVALID_HANDLE;
    const std::wstring sid = sidText(account);
    if (sid.empty())
        return STATUS_INVALID_PARAMETER;
    if (!grant && !holdsAnything(*node, sid))
        return STATUS_OBJECT_NAME_NOT_FOUND;
    std::vector<std::wstring> rights;
    NTSTATUS status = rightsOf(texts, count, rights);
    for (size_t i = 0; i < rights.size() && status >= 0; ++i)
        status = change(*world, *node, sid, rights[i], grant);
    return status;
}

NTSTATUS WINAPI addAccountRights(LSA_HANDLE policy, PSID account, PLSA_UNICODE_STRING rights, ULONG count)
{
    return changeAll(policy, account, rights, count, true);
}

NTSTATUS WINAPI removeAccountRights(LSA_HANDLE policy, PSID account, BOOLEAN all, PLSA_UNICODE_STRING rights,
                                    ULONG count)
{
    // "All rights" deletes the account from the policy: not needed here, and refused rather than half done.
    return all ? STATUS_NOT_SUPPORTED : changeAll(policy, account, rights, count, false);
}

// An array of pointers, the SIDs behind it.
void* blockOf(const Sids& sids)
{
    Packed block(sids.size() * sizeof(LSA_ENUMERATION_INFORMATION));
    for (size_t i = 0; i < sids.size(); ++i)
        block.data(i * sizeof(LSA_ENUMERATION_INFORMATION), sidBytes(sids[i]));
    return blockOf(block);
}

NTSTATUS WINAPI enumerateAccountsWithUserRight(LSA_HANDLE policy, PLSA_UNICODE_STRING text, PVOID* buffer, PULONG count)
{
    Locked world;
    *buffer = nullptr;
    *count = 0;
    Node* const node = nodeOf(policy);
    if (!node)
        return STATUS_INVALID_HANDLE;
    const std::wstring right = accountRight(textOf(text));
    if (right.empty())
        return STATUS_NO_SUCH_PRIVILEGE;
    Sids* holders = nullptr;
    if (const NTSTATUS status = holdersOf(*node, right, holders); status < 0)
        return status;
    if (holders->empty())
        return STATUS_NO_MORE_ENTRIES;
    *buffer = blockOf(*holders);
    if (!*buffer)
        return STATUS_NO_MEMORY;
    *count = static_cast<ULONG>(holders->size());
    return STATUS_SUCCESS;
}

} // namespace

std::vector<Replacement> policyReplacements()
{
    return {returningStatus<&openPolicy>("LsaOpenPolicy"),
            returningStatus<&closePolicy>("LsaClose"),
            returningStatus<&freeMemory>("LsaFreeMemory"),
            returningStatus<&queryInformation>("LsaQueryInformationPolicy"),
            returningStatus<&addAccountRights>("LsaAddAccountRights"),
            returningStatus<&removeAccountRights>("LsaRemoveAccountRights"),
            returningStatus<&enumerateAccountsWithUserRight>("LsaEnumerateAccountsWithUserRight")};
}

} // namespace whatif
