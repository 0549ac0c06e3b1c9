#include "whatif/machine/services.h"

#include "frame/owned.h"
#include "whatif/model/service_handles.h"
#include "whatif/model/service_settings.h"

namespace whatif {

namespace {

// Two calls, the first for the size.
template <class Query>
std::vector<BYTE> queried(Query query)
{
    DWORD needed = 0;
    std::vector<BYTE> buffer(1); // which must be there even then
    if (query(buffer.data(), 0, &needed) || GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        return {};
    buffer.resize(needed);
    if (!query(buffer.data(), needed, &needed))
        buffer.clear();
    return buffer;
}

void readSidType(SC_HANDLE handle, Service& service)
{
    SERVICE_SID_INFO info = {};
    DWORD needed = 0;
    if (QueryServiceConfig2W(handle, SERVICE_CONFIG_SERVICE_SID_INFO, reinterpret_cast<LPBYTE>(&info), sizeof info,
                             &needed))
        service.sidType = info.dwServiceSidType;
}

void readSecurity(SC_HANDLE handle, Service& service)
{
    std::vector<BYTE> descriptor = queried([&](BYTE* buffer, DWORD size, DWORD* needed) {
        return QueryServiceObjectSecurity(handle, DACL_SECURITY_INFORMATION, buffer, size, needed);
    });
    service.security = descriptor.empty() ? defaultServiceSecurity : textOf(securityOf(descriptor.data()));
}

std::vector<std::wstring> machineServiceNames()
{
    constexpr DWORD pieceSize = 256 * 1024;
    std::vector<std::wstring> names;
    const owned::ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ENUMERATE_SERVICE));
    std::vector<BYTE> piece(pieceSize);
    DWORD count = 1;
    for (DWORD resume = 0, needed = 1; manager && needed && count;) {
        count = 0;
        if (!EnumServicesStatusExW(manager.get(), SC_ENUM_PROCESS_INFO, SERVICE_TYPE_ALL, SERVICE_STATE_ALL,
                                   piece.data(), pieceSize, &needed, &count, &resume, nullptr) &&
            GetLastError() != ERROR_MORE_DATA)
            break;
        const auto* const rows = reinterpret_cast<const ENUM_SERVICE_STATUS_PROCESSW*>(piece.data());
        for (DWORD i = 0; i < count; ++i)
            names.push_back(rows[i].lpServiceName);
    }
    return names;
}

} // namespace

void readMachineServices(Node& node)
{
    if (node.readsMachine)
        for (const std::wstring& name : machineServiceNames())
            findService(node, name);
}

bool machineLetsOpen(const std::wstring& name, DWORD access)
{
    const owned::ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    return manager && owned::ServiceHandle(OpenServiceW(manager.get(), name.c_str(), access));
}

std::wstring machineServiceOfDisplayName(const std::wstring& displayName)
{
    constexpr DWORD longestName = 256;
    const owned::ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    wchar_t name[longestName + 1];
    DWORD size = longestName + 1;
    return manager && GetServiceKeyNameW(manager.get(), displayName.c_str(), name, &size) ? name : L"";
}

bool readMachineService(const std::wstring& name, Service& service)
{
    const owned::ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager)
        return false;
    owned::ServiceHandle handle(OpenServiceW(manager.get(), name.c_str(), SERVICE_QUERY_CONFIG | READ_CONTROL));
    if (!handle) // the configuration without the security is better than nothing
        handle.reset(OpenServiceW(manager.get(), name.c_str(), SERVICE_QUERY_CONFIG));
    if (!handle)
        return false;
    const std::vector<BYTE> configuration = queried([&](BYTE* buffer, DWORD size, DWORD* needed) {
        return QueryServiceConfigW(handle.get(), reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer), size, needed);
    });
    if (configuration.empty())
        return false;
    service.name = name;
    readConfiguration(*reinterpret_cast<const QUERY_SERVICE_CONFIGW*>(configuration.data()), service);
    readSidType(handle.get(), service);
    readSecurity(handle.get(), service);
    return true;
}

} // namespace whatif
