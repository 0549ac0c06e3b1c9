#include "whatif/model/service_handles.h"

#include "whatif/machine/services.h"
#include "whatif/model/sids.h"
#include "whatif/redirect/active.h"
#include "whatif/security/access.h"
#include "whatif/spelling.h"

#include <algorithm>

namespace whatif {

const wchar_t defaultServiceSecurity[] =
    L"D:(A;;CCLCSWRPWPDTLOCRRC;;;SY)(A;;CCDCLCSWRPWPDTLOCRSDRCWDWO;;;BA)(A;;CCLCSWLOCRRC;;;IU)(A;;CCLCSWLOCRRC;;;SU)";

namespace {

// The addresses of the records are the handles.
using OpenHandles = std::map<SC_HANDLE, std::unique_ptr<ServiceHandle>>;

OpenHandles& openHandles()
{
    return activeWorld().table<OpenHandles>();
}

const ServiceHandle* find(SC_HANDLE handle)
{
    const auto found = openHandles().find(handle);
    return found == openHandles().end() ? failWith<const ServiceHandle*>(ERROR_INVALID_HANDLE) : found->second.get();
}

const ServiceHandle* withAccess(const ServiceHandle* handle, DWORD access)
{
    return (handle->access & access) == access ? handle : failWith<const ServiceHandle*>(ERROR_ACCESS_DENIED);
}

bool isOpen(const Node& node, const std::wstring& service)
{
    return std::any_of(openHandles().begin(), openHandles().end(), [&](const auto& entry) {
        return entry.second->node == &node && sameName(entry.second->service, service);
    });
}

// The service database drops what is marked for deletion with the last handle to it.
void dropDeleted(Node& node, const std::wstring& service)
{
    if (isOpen(node, service))
        return;
    node.services.erase(std::remove_if(node.services.begin(), node.services.end(),
                                       [&](const Service& candidate) {
                                           return candidate.deleted && sameName(candidate.name, service);
                                       }),
                        node.services.end());
}

} // namespace

SC_HANDLE openHandle(const ServiceHandle& handle)
{
    auto record = std::make_unique<ServiceHandle>(handle);
    const auto value = reinterpret_cast<SC_HANDLE>(record.get());
    openHandles()[value] = std::move(record);
    return value;
}

bool closeHandle(SC_HANDLE handle)
{
    const ServiceHandle* const open = find(handle);
    if (!open)
        return false;
    const ServiceHandle closed = *open;
    openHandles().erase(handle);
    if (!closed.service.empty())
        dropDeleted(*closed.node, closed.service);
    return true;
}

const ServiceHandle* managerOf(SC_HANDLE handle, DWORD access)
{
    const ServiceHandle* const open = find(handle);
    if (!open)
        return nullptr;
    return open->service.empty() ? withAccess(open, access) : failWith<const ServiceHandle*>(ERROR_INVALID_HANDLE);
}

Service* serviceOf(SC_HANDLE handle, DWORD access, Node*& node)
{
    const ServiceHandle* const open = find(handle);
    if (!open || !withAccess(open, access))
        return nullptr;
    Service* const service = open->service.empty() ? nullptr : findService(*open->node, open->service);
    if (!service)
        return failWith<Service*>(ERROR_INVALID_HANDLE);
    node = open->node;
    return service;
}

Service* findService(Node& node, const std::wstring& name)
{
    for (Service& service : node.services)
        if (sameName(service.name, name)) {
            if (service.security.empty())
                service.security = defaultServiceSecurity;
            return &service;
        }
    Service read;
    if (!node.readsMachine || node.gone.count(L"service " + name) || !readMachineService(name, read))
        return nullptr;
    node.services.push_back(read);
    return &node.services.back();
}

Security serviceSecurity(const Service& service)
{
    Security security = securityOf(service.security);
    if (security.owner.empty())
        security.owner = sidBytes(L"S-1-5-18");
    return security;
}

bool mayOpen(const Node& node, const Service& service, DWORD access, DWORD& handle)
{
    const bool opened = opens(serviceSecurity(service), administrator(), access, serviceRights, handle);
    Service real;
    if (node.readsMachine && !node.gone.count(L"service " + service.name) && readMachineService(service.name, real) &&
        real.security == service.security)
        return machineLetsOpen(service.name, access);
    return opened;
}

bool isDisplayNameTaken(const Node& node, const std::wstring& displayName, const std::wstring& service)
{
    const auto taken = [&](const Service& other) {
        return !sameName(other.name, service) &&
               (sameName(other.displayName, displayName) || sameName(other.name, displayName));
    };
    if (std::any_of(node.services.begin(), node.services.end(), taken))
        return true;
    const std::wstring real = node.readsMachine ? machineServiceOfDisplayName(displayName) : L"";
    return !real.empty() && !sameName(real, service) && !node.gone.count(L"service " + real);
}

} // namespace whatif
