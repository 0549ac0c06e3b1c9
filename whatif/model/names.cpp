// Decided from the documentation of the look-up functions and of the translation protocol behind them:
// - "LocalSystem" is a name of the service control manager only and does not resolve; "NT AUTHORITY\SYSTEM" does.
//   LocalService and NetworkService resolve as documented for services, and with the blank of their account names.
// - "NT SERVICE\name" resolves for every service that exists, whatever its SID type, and for no other; a SID of a
//   deleted service has no name any more. A service's bare name does not resolve.
// - ".\name" is no documented form (only LogonUser and the service control manager know it) and does not resolve.
// - A domain of accounts has a name and DNS names, which are taken to be those that begin with that name and a dot. It
//   resolves by either, alone and before an account; it has a domain name only.
#include "whatif/model/names.h"

#include "whatif/machine/accounts.h"
#include "whatif/model/sids.h"
#include "whatif/model/well_known.h"
#include "whatif/spelling.h"

namespace whatif {

namespace {

constexpr wchar_t ntService[] = L"NT SERVICE";
constexpr wchar_t ntServiceSid[] = L"S-1-5-80";
constexpr wchar_t builtin[] = L"BUILTIN";
constexpr wchar_t builtinSid[] = L"S-1-5-32";

std::optional<Name> domainName(const std::wstring& sid, const std::wstring& name)
{
    return Name{sid, name, L"", SidTypeDomain};
}

// ---- what the node holds -----------------------------------------------------------------------------------------

Name nameOfAccount(const Node& node, const Account& account)
{
    return {account.sid, account.domain.empty() ? accountDomain(node) : account.domain, account.name, account.use};
}

Name nameOfGroup(const Node& node, const Group& group)
{
    return {group.sid, isOfDomain(builtinSid, group.sid) ? builtin : accountDomain(node), group.name, SidTypeAlias};
}

// The localized name of the domain of service SIDs.
std::wstring serviceDomain(const Node& node)
{
    const std::optional<Name> real = node.readsMachine ? machineNameOf(node, ntServiceSid) : std::nullopt;
    return real ? real->domain : ntService;
}

std::optional<Name> resolveService(const Node& node, const std::wstring& name)
{
    for (const Service& service : node.services)
        if (sameName(service.name, name))
            return Name{serviceSid(service.name), serviceDomain(node), service.name, SidTypeWellKnownGroup};
    if (node.readsMachine && !node.gone.count(L"service " + name) && machineHasService(name))
        return Name{serviceSid(name), serviceDomain(node), name, SidTypeWellKnownGroup};
    return std::nullopt;
}

// A domain of accounts other than the node's own.
bool isOfDomainNamed(const Account& account, const std::wstring& domain)
{
    return !account.domain.empty() && namesDomain(domain, account.domain);
}

std::optional<Name> resolveDomain(const Node& node, const std::wstring& name)
{
    if (sameName(name, builtin))
        return domainName(builtinSid, builtin);
    if (sameName(name, ntService))
        return domainName(ntServiceSid, ntService);
    if (sameName(name, accountDomain(node)))
        return domainName(accountDomainSid(node), accountDomain(node));
    for (const Account& account : node.accounts)
        if (isOfDomainNamed(account, name))
            return domainName(account.sid.substr(0, account.sid.rfind(L'-')), account.domain);
    return std::nullopt;
}

// "user@domain"
bool isPrincipalName(const Account& account, const std::wstring& name)
{
    const std::wstring start = account.name + L'@';
    return name.size() > start.size() && sameName(name.substr(0, start.size()), start) &&
           isOfDomainNamed(account, name.substr(start.size()));
}

// `domain` NULL: the bare name, to be found in any domain. The node's own accounts come before those of domains.
std::optional<Name> resolveAccount(const Node& node, const std::wstring* domain, const std::wstring& name)
{
    const auto isWithin = [&](const Name& candidate) { return !domain || sameName(candidate.domain, *domain); };
    for (const Group& group : node.groups)
        if (sameName(group.name, name) && isWithin(nameOfGroup(node, group)))
            return nameOfGroup(node, group);
    for (const bool ofDomain : {false, true})
        for (const Account& account : node.accounts)
            if (account.domain.empty() != ofDomain &&
                ((sameName(account.name, name) &&
                  (isWithin(nameOfAccount(node, account)) || isOfDomainNamed(account, *domain))) ||
                 (!domain && isPrincipalName(account, name))))
                return nameOfAccount(node, account);
    return std::nullopt;
}

// What only a described node answers by itself.
std::optional<Name> resolveDescribed(const Node& node, const std::wstring* domain, const std::wstring& name)
{
    if (const auto found = resolveWellKnown(domain, name))
        return found;
    return domain ? std::nullopt : resolveDomain(node, name);
}

// Service SIDs and their domain came with release 6.0.
bool isUnknown(const Node& node, const std::wstring& sid)
{
    const std::wstring of = ntServiceSid;
    return node.major < 6 && (sid == of || sid.compare(0, of.size() + 1, of + L'-') == 0);
}

std::optional<Name> find(const Node& node, const std::wstring& name)
{
    const size_t separator = name.find(L'\\');
    const bool qualified = separator != std::wstring::npos;
    const std::wstring domain = qualified ? name.substr(0, separator) : L"";
    const std::wstring account = qualified ? name.substr(separator + 1) : name;
    const std::wstring* const within = qualified ? &domain : nullptr;
    // The platform takes an absent name for the domain of built-in groups.
    if (name.empty())
        return domainName(builtinSid, builtin);
    if (account.empty() || domain == L".")
        return std::nullopt;
    if (qualified && sameName(domain, serviceDomain(node)))
        if (const auto found = resolveService(node, account))
            return found;
    if (!node.readsMachine)
        if (const auto found = resolveDescribed(node, within, account))
            return found;
    if (const auto found = resolveAccount(node, within, account))
        return found;
    return node.readsMachine ? machineResolve(node, name) : std::nullopt;
}

} // namespace

std::optional<Name> resolve(const Node& node, const std::wstring& name)
{
    const std::optional<Name> found = find(node, name);
    return found && isUnknown(node, found->sid) ? std::nullopt : found;
}

std::optional<Name> nameOf(const Node& node, const std::wstring& sid)
{
    if (isUnknown(node, sid))
        return std::nullopt;
    if (sid == ntServiceSid)
        return domainName(sid, serviceDomain(node));
    if (sid.compare(0, wcslen(ntServiceSid), ntServiceSid) == 0)
        for (const Service& service : node.services)
            if (serviceSid(service.name) == sid)
                return Name{sid, serviceDomain(node), service.name, SidTypeWellKnownGroup};
    for (const Group& group : node.groups)
        if (group.sid == sid)
            return nameOfGroup(node, group);
    for (const Account& account : node.accounts)
        if (account.sid == sid)
            return nameOfAccount(node, account);
    if (node.readsMachine)
        return machineNameOf(node, sid);
    if (const auto found = wellKnownNameOf(sid))
        return found;
    if (sid == builtinSid)
        return domainName(sid, builtin);
    if (sid == accountDomainSid(node))
        return domainName(sid, accountDomain(node));
    return std::nullopt;
}

std::wstring printableName(const Node& node, const std::wstring& sid)
{
    const std::optional<Name> found = nameOf(node, sid);
    if (!found)
        return sid;
    if (found->name.empty())
        return found->domain;
    return found->domain.empty() ? found->name : found->domain + L'\\' + found->name;
}

bool namesDomain(const std::wstring& text, const std::wstring& domain)
{
    return sameName(text.substr(0, domain.size()), domain) &&
           (text.size() == domain.size() || text[domain.size()] == L'.');
}

std::wstring accountDomain(const Node& node)
{
    return node.productType == VER_NT_DOMAIN_CONTROLLER && !node.domain.empty() ? node.domain : node.name;
}

std::wstring accountDomainSid(const Node& node)
{
    return node.sid.empty() ? domainSid(accountDomain(node)) : node.sid;
}

std::wstring callerSid(const Node& node)
{
    return node.readsMachine ? machineUser() : accountDomainSid(node) + L"-500";
}

std::wstring newSid(Node& node)
{
    std::wstring sid;
    do
        sid = accountDomainSid(node) + L'-' + std::to_wstring(node.nextRid++);
    while (nameOf(node, sid));
    return sid;
}

} // namespace whatif
