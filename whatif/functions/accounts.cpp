// Names to SIDs and back, and logging on.
// Codes: LookupAccountName, LookupAccountSid, LogonUser; what is found, "Translating Names" of MS-LSAT.
#include "whatif/model/names.h"
#include "whatif/model/sids.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/spelling.h"

#include <lm.h>

#include <algorithm>
#include <cstring>

namespace whatif {

namespace {

// A text result: its buffer and its count, which says how much is needed when it does not fit and how long it is when
// it does.
struct TextResult
{
    LPWSTR buffer;
    LPDWORD count;

    bool fits(const std::wstring& text) const { return buffer && *count > text.size(); }
    void needs(const std::wstring& text) const { *count = static_cast<DWORD>(text.size() + 1); }
    void write(const std::wstring& text) const
    {
        std::copy_n(text.c_str(), text.size() + 1, buffer);
        *count = static_cast<DWORD>(text.size());
    }
};

// On both look-ups an unreachable machine is an RPC failure; a name that is too long for its buffer leaves what is
// needed in every count.
BOOL WINAPI lookupAccountName(LPCWSTR system, LPCWSTR account, PSID sid, LPDWORD sidSize, LPWSTR domainBuffer,
                              LPDWORD domainSize, PSID_NAME_USE use)
{
    Locked world;
    const Node* const node = world->find(system);
    if (!node)
        return failWith(RPC_S_SERVER_UNAVAILABLE);
    const std::optional<Name> found = resolve(*node, textOrEmpty(account));
    if (!found)
        return failWith(ERROR_NONE_MAPPED);
    const std::vector<BYTE> bytes = sidBytes(found->sid);
    const TextResult domain = {domainBuffer, domainSize};
    const bool fits = sid && *sidSize >= bytes.size() && domain.fits(found->domain);
    *sidSize = static_cast<DWORD>(bytes.size());
    *use = found->use;
    if (!fits) {
        domain.needs(found->domain);
        return failWith(ERROR_INSUFFICIENT_BUFFER);
    }
    memcpy(sid, bytes.data(), bytes.size());
    domain.write(found->domain);
    return TRUE;
}

BOOL WINAPI lookupAccountSid(LPCWSTR system, PSID sid, LPWSTR nameBuffer, LPDWORD nameSize, LPWSTR domainBuffer,
                             LPDWORD domainSize, PSID_NAME_USE use)
{
    Locked world;
    const Node* const node = world->find(system);
    if (!node)
        return failWith(RPC_S_SERVER_UNAVAILABLE);
    const std::wstring text = sidText(sid);
    if (text.empty())
        return failWith(ERROR_INVALID_SID);
    const std::optional<Name> found = nameOf(*node, text);
    if (!found)
        return failWith(ERROR_NONE_MAPPED);
    const TextResult name = {nameBuffer, nameSize};
    const TextResult domain = {domainBuffer, domainSize};
    *use = found->use;
    if (!name.fits(found->name) || !domain.fits(found->domain)) {
        name.needs(found->name);
        domain.needs(found->domain);
        return failWith(ERROR_INSUFFICIENT_BUFFER);
    }
    name.write(found->name);
    domain.write(found->domain);
    return TRUE;
}

// ---- logon -------------------------------------------------------------------------------------------------------

const Account* accountBySid(const Node& node, const std::wstring& sid)
{
    for (const Account& account : node.accounts)
        if (account.sid == sid)
            return &account;
    return nullptr;
}

// With "." it is the account database of the node. Without a domain that one comes first: the rule of older
// documentation, unproven for current systems, whose documentation wants "user@domain" then.
const Account* accountToLogOn(const Node& node, const std::wstring& user, const std::wstring& domain)
{
    const std::wstring local = accountDomain(node) + L'\\' + user;
    std::optional<Name> name = resolve(node, domain.empty() || domain == L"." ? local : domain + L'\\' + user);
    if (!name && domain.empty())
        name = resolve(node, user);
    return name ? accountBySid(node, name->sid) : nullptr;
}

bool mayNotLogOn(const Node& node, const Account& account)
{
    const auto denied = node.rights.find(L"SeDenyNetworkLogonRight");
    if (denied == node.rights.end())
        return false;
    const auto isDenied = [&](const std::wstring& sid) {
        return std::find(denied->second.begin(), denied->second.end(), sid) != denied->second.end();
    };
    return isDenied(account.sid) || std::any_of(node.groups.begin(), node.groups.end(), [&](const Group& group) {
               return isDenied(group.sid) &&
                      std::find(group.members.begin(), group.members.end(), account.sid) != group.members.end();
           });
}

// In the order in which the platform finds out: the credentials, then what restricts the account.
DWORD logonError(const Node& node, const Account* account, LPCWSTR password, DWORD logonType)
{
    if (!account || account->use != SidTypeUser || account->password != textOrEmpty(password))
        return ERROR_LOGON_FAILURE;
    if (account->flags & UF_ACCOUNTDISABLE)
        return ERROR_ACCOUNT_DISABLED;
    if (account->flags & UF_LOCKOUT)
        return ERROR_ACCOUNT_LOCKED_OUT;
    if (account->password.empty()) // a blank password is for the console only
        return ERROR_ACCOUNT_RESTRICTION;
    if (logonType == LOGON32_LOGON_NETWORK && mayNotLogOn(node, *account))
        return ERROR_LOGON_TYPE_NOT_GRANTED;
    return ERROR_SUCCESS;
}

// The token is one of this process: its holder can only close it.
BOOL WINAPI logonUser(LPCWSTR user, LPCWSTR domain, LPCWSTR password, DWORD type, DWORD provider, PHANDLE token)
{
    Locked world;
    const Node& node = world->local();
    const Account* const account = accountToLogOn(node, textOrEmpty(user), textOrEmpty(domain));
    const bool ofDomain = domain && *domain && wcscmp(domain, L".") != 0 && !sameName(domain, accountDomain(node));
    const bool deleted = !ofDomain && node.gone.count(std::wstring(L"user ") + textOrEmpty(user));
    if (!account && node.readsMachine && !deleted)
        return LogonUserW(user, domain, password, type, provider, token);
    if (const DWORD error = logonError(node, account, password, type))
        return failWith(error);
    return OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token);
}

} // namespace

std::vector<Replacement> accountReplacements()
{
    return {settingLastError<&lookupAccountName>("LookupAccountNameW"),
            settingLastError<&lookupAccountSid>("LookupAccountSidW"), settingLastError<&logonUser>("LogonUserW")};
}

} // namespace whatif
