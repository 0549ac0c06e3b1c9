#include "whatif/model/service_rules.h"

#include "whatif/model/names.h"
#include "whatif/model/service_settings.h"
#include "whatif/spelling.h"

#include <algorithm>

namespace whatif {

namespace {

constexpr DWORD perUser = 0x40 | 0x80; // the template of a service of each user, and its instances

bool isDriver(DWORD type)
{
    return type == SERVICE_KERNEL_DRIVER || type == SERVICE_FILE_SYSTEM_DRIVER;
}

bool isLocalSystem(const Node& node, const std::wstring& account)
{
    return sameName(account, L"LocalSystem") || sameName(account, L".\\LocalSystem") ||
           sameName(account, node.name + L"\\LocalSystem");
}

bool isKnownType(DWORD type)
{
    const DWORD process = type & ~(SERVICE_INTERACTIVE_PROCESS | perUser);
    return type == SERVICE_KERNEL_DRIVER || type == SERVICE_FILE_SYSTEM_DRIVER ||
           process == SERVICE_WIN32_OWN_PROCESS || process == SERVICE_WIN32_SHARE_PROCESS;
}

// Whether a service depends on itself, through others.
bool isCircular(const Node& node, const Service& start, const Service& at, size_t depth)
{
    for (const std::wstring& name : at.dependencies) {
        if (sameName(name, start.name))
            return true;
        for (const Service& next : node.services)
            if (depth && sameName(next.name, name) && isCircular(node, start, next, depth - 1))
                return true;
    }
    return false;
}

bool isServiceBuiltin(const std::wstring& sid)
{
    return sid == L"S-1-5-18" || sid == L"S-1-5-19" || sid == L"S-1-5-20";
}

// A user of the node or its domain, or one of the three built-in service accounts. Windows documents these three in
// English only, "NT AUTHORITY\LocalService" for one; that it takes their names in its own language, which are what the
// library passes, is not evidenced.
bool canRunServices(const std::optional<Name>& account)
{
    return account && (account->use == SidTypeUser || isServiceBuiltin(account->sid));
}

// ".\name" is an account of the node itself, a name alone is none but LocalSystem.
std::optional<Name> accountOf(const Node& node, const std::wstring& account)
{
    if (account.compare(0, 2, L".\\") == 0)
        return resolve(node, accountDomain(node) + account.substr(1));
    return account.find_first_of(L"\\@") == std::wstring::npos ? std::nullopt : resolve(node, account);
}

// Virtual accounts came with release 6.1.
bool isVirtual(const Node& node, const std::wstring& account)
{
    const auto services = nameOf(node, L"S-1-5-80");
    const std::wstring domain = (services ? services->domain : L"NT SERVICE") + L"\\";
    return std::make_pair(node.major, node.minor) >= std::make_pair<DWORD, DWORD>(6, 1) &&
           sameName(account.substr(0, domain.size()), domain);
}

bool isManaged(const Node& node, const std::optional<Name>& name)
{
    return name && std::any_of(node.accounts.begin(), node.accounts.end(),
                               [&](const Account& account) { return account.managed && account.sid == name->sid; });
}

} // namespace

bool passes(const GivenTexts& given)
{
    constexpr size_t mostDependencies = 4096 / sizeof(wchar_t);
    size_t dependencies = 1; // with all terminators, like the other lengths
    for (const std::wstring& name : namesIn(given.dependencies))
        dependencies += name.size() + 1;
    const auto fits = [](LPCWSTR text, size_t most) { return !text || wcslen(text) + 1 <= most; };
    return dependencies <= mostDependencies && fits(given.binaryPath, 32768) && fits(given.loadOrderGroup, 257) &&
           fits(given.account, 2048) && fits(given.password, 514 / sizeof(wchar_t));
}

DWORD checkService(const Node& node, const Service& service)
{
    const bool early = service.start < SERVICE_AUTO_START; // at boot, for drivers only
    const bool interactive = (service.type & SERVICE_INTERACTIVE_PROCESS) != 0;
    if (!isKnownType(service.type) || service.start > SERVICE_DISABLED ||
        service.errorControl > SERVICE_ERROR_CRITICAL || service.binaryPath.empty() ||
        (early && !isDriver(service.type)) || (interactive && !isLocalSystem(node, service.account)))
        return ERROR_INVALID_PARAMETER;
    return isCircular(node, service, service, node.services.size()) ? ERROR_CIRCULAR_DEPENDENCY : ERROR_SUCCESS;
}

std::wstring defaultAccount(DWORD type)
{
    return isDriver(type) ? L"" : L"LocalSystem";
}

// A virtual account serves its own service only; it need not exist yet. It and a managed account must come without a
// password.
DWORD checkServiceAccount(const Node& node, const Service& service, bool hasPassword)
{
    const std::wstring& account = service.account;
    if (isDriver(service.type) || isLocalSystem(node, account))
        return ERROR_SUCCESS;
    const auto name = accountOf(node, account);
    const bool good = isVirtual(node, account)
                          ? !hasPassword && sameName(account.substr(account.find(L'\\') + 1), service.name)
                          : canRunServices(name) && !(hasPassword && isManaged(node, name));
    return good ? ERROR_SUCCESS : ERROR_INVALID_SERVICE_ACCOUNT;
}

bool ignoresPassword(const Node& node, const Service& service)
{
    const auto name = accountOf(node, service.account);
    return isDriver(service.type) || isLocalSystem(node, service.account) || (name && isServiceBuiltin(name->sid));
}

DWORD assignTag(const Node& node, Service& service)
{
    if (service.loadOrderGroup.empty())
        return ERROR_INVALID_PARAMETER;
    DWORD tag = 0;
    for (const Service& other : node.services)
        if (sameName(other.loadOrderGroup, service.loadOrderGroup))
            tag = std::max(tag, other.tag);
    service.tag = tag + 1;
    return ERROR_SUCCESS;
}

} // namespace whatif
