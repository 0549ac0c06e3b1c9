// The list of services that a service control manager hands out, in pieces as large as the caller's buffer.
#include "whatif/functions/packed.h"
#include "whatif/machine/services.h"
#include "whatif/model/service_handles.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/spelling.h"

namespace whatif {

namespace {

constexpr DWORD largestPiece = 256 * 1024; // that the protocol lets pass

// Nothing runs on a node. A service that the caller may not query is left out without a word.
bool isListed(const Node& node, const Service& service, DWORD types, DWORD states, LPCWSTR group)
{
    DWORD handle = 0;
    return (service.type & types) && (states & SERVICE_INACTIVE) &&
           mayOpen(node, service, SERVICE_QUERY_STATUS, handle) && (!group || sameName(service.loadOrderGroup, group));
}

size_t sizeIn(const Service& service)
{
    const auto text = [](const std::wstring& words) { return Packed::rounded((words.size() + 1) * sizeof(wchar_t)); };
    return sizeof(ENUM_SERVICE_STATUS_PROCESSW) + text(service.name) + text(service.displayName);
}

void place(const std::vector<const Service*>& services, BYTE* buffer)
{
    Packed block(services.size() * sizeof(ENUM_SERVICE_STATUS_PROCESSW));
    size_t at = 0;
    for (const Service* const service : services) {
        SERVICE_STATUS_PROCESS status = {};
        status.dwServiceType = service->type;
        status.dwCurrentState = SERVICE_STOPPED;
        block.value(at + offsetof(ENUM_SERVICE_STATUS_PROCESSW, ServiceStatusProcess), status);
        block.text(at + offsetof(ENUM_SERVICE_STATUS_PROCESSW, lpServiceName), service->name);
        block.text(at + offsetof(ENUM_SERVICE_STATUS_PROCESSW, lpDisplayName), service->displayName);
        at += sizeof(ENUM_SERVICE_STATUS_PROCESSW);
    }
    if (block.size())
        block.place(buffer);
}

// The handle for the next piece is the place of its first service among all of the node, 0 is the beginning.
BOOL WINAPI enumServices(SC_HANDLE handle, SC_ENUM_TYPE level, DWORD types, DWORD states, LPBYTE buffer, DWORD size,
                         LPDWORD needed, LPDWORD returned, LPDWORD resume, LPCWSTR group)
{
    Locked world;
    const ServiceHandle* const manager = managerOf(handle, SC_MANAGER_ENUMERATE_SERVICE);
    if (!manager)
        return FALSE;
    if (level != SC_ENUM_PROCESS_INFO)
        return failWith(ERROR_INVALID_LEVEL);
    if (!needed || !returned || (size && !buffer))
        return failWith(ERROR_INVALID_ADDRESS);
    if (size > largestPiece)
        return failWith(RPC_X_BAD_STUB_DATA);
    if (!types || (types & ~static_cast<DWORD>(SERVICE_TYPE_ALL)) || !states ||
        (states & ~static_cast<DWORD>(SERVICE_STATE_ALL)))
        return failWith(ERROR_INVALID_PARAMETER);
    Node& node = *manager->node;
    readMachineServices(node);
    std::vector<const Service*> piece;
    size_t used = 0;
    size_t missing = 0;
    DWORD next = 0;
    for (size_t i = resume ? *resume : 0; i < node.services.size(); ++i) {
        Service& service = node.services[i];
        if (service.security.empty())
            service.security = defaultServiceSecurity;
        if (!isListed(node, service, types, states, group))
            continue;
        if (!missing && used + sizeIn(service) <= size) {
            used += sizeIn(service);
            piece.push_back(&service);
            continue;
        }
        if (!missing)
            next = static_cast<DWORD>(i);
        missing += sizeIn(service);
    }
    place(piece, buffer);
    *returned = static_cast<DWORD>(piece.size());
    *needed = static_cast<DWORD>(missing);
    if (resume)
        *resume = next;
    return missing ? failWith(ERROR_MORE_DATA) : TRUE;
}

} // namespace

std::vector<Replacement> serviceListReplacements()
{
    return {settingLastError<&enumServices>("EnumServicesStatusExW")};
}

} // namespace whatif
