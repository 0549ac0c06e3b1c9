// What the service control manager accepts.
#include "whatif/active.h"
#include "whatif/names.h"
#include "whatif/service_handles.h"

#include <algorithm>

namespace whatif {

namespace {

constexpr DWORD perUser = 0x40 | 0x80; // the template of a service of each user, and its instances
constexpr const wchar_t* starts[] = {L"boot", L"system", L"automatic", L"manual", L"disabled"};
constexpr const wchar_t* sidTypes[] = {L"NONE", L"UNRESTRICTED", L"2", L"RESTRICTED"};

bool isDriver(const Service& service)
{
    return service.type == SERVICE_KERNEL_DRIVER || service.type == SERVICE_FILE_SYSTEM_DRIVER;
}

bool isLocalSystem(const std::wstring& account)
{
    return sameName(account, L"LocalSystem") || sameName(account, L".\\LocalSystem");
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

// A user of the node or its domain, or one of the three built-in service accounts.
bool canRunServices(const std::optional<Name>& account)
{
    return account && (account->use == SidTypeUser || account->sid == L"S-1-5-18" || account->sid == L"S-1-5-19" ||
                       account->sid == L"S-1-5-20");
}

} // namespace

std::wstring startText(DWORD start)
{
    return start <= SERVICE_DISABLED ? starts[start] : std::to_wstring(start);
}

std::wstring sidTypeText(DWORD sidType)
{
    return sidType <= SERVICE_SID_TYPE_RESTRICTED ? sidTypes[sidType] : std::to_wstring(sidType);
}

DWORD checkService(const Node& node, const Service& service)
{
    const bool early = service.start < SERVICE_AUTO_START; // at boot, for drivers only
    const bool interactive = (service.type & SERVICE_INTERACTIVE_PROCESS) != 0;
    if (!isKnownType(service.type) || service.start > SERVICE_DISABLED ||
        service.errorControl > SERVICE_ERROR_CRITICAL || service.binaryPath.empty() || (early && !isDriver(service)) ||
        (interactive && !isLocalSystem(service.account)))
        return ERROR_INVALID_PARAMETER;
    if (isDisplayNameTaken(node, service.displayName, service.name))
        return ERROR_DUPLICATE_SERVICE_NAME;
    return isCircular(node, service, service, node.services.size()) ? ERROR_CIRCULAR_DEPENDENCY : ERROR_SUCCESS;
}

// ".\name" is an account of the node itself, a name alone is none but LocalSystem. A virtual account serves its own
// service only; it need not exist yet.
DWORD checkServiceAccount(const Node& node, const Service& service)
{
    const std::wstring& account = service.account;
    if (isDriver(service) || isLocalSystem(account))
        return ERROR_SUCCESS;
    const auto services = nameOf(node, L"S-1-5-80");
    const std::wstring virtualAccounts = (services ? services->domain : L"NT SERVICE") + L"\\";
    bool good = false;
    if (account.compare(0, 2, L".\\") == 0)
        good = canRunServices(resolve(node, accountDomain(node) + account.substr(1)));
    else if (sameName(account.substr(0, virtualAccounts.size()), virtualAccounts))
        good = sameName(account.substr(virtualAccounts.size()), service.name);
    else if (account.find_first_of(L"\\@") != std::wstring::npos)
        good = canRunServices(resolve(node, account));
    return good ? ERROR_SUCCESS : ERROR_INVALID_SERVICE_ACCOUNT;
}

DWORD assignTag(const Node& node, Service& service)
{
    if (service.loadOrderGroup.empty() || service.start >= SERVICE_AUTO_START)
        return ERROR_INVALID_PARAMETER;
    DWORD tag = 0;
    for (const Service& other : node.services)
        if (sameName(other.loadOrderGroup, service.loadOrderGroup))
            tag = std::max(tag, other.tag);
    service.tag = tag + 1;
    return ERROR_SUCCESS;
}

std::vector<std::wstring> listOf(const wchar_t* names)
{
    std::vector<std::wstring> list;
    for (; names && *names; names += wcslen(names) + 1)
        list.emplace_back(names);
    return list;
}

} // namespace whatif
