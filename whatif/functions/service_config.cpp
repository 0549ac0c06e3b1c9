// The configuration of a service: reading it, changing it, its SID type.
// Codes: QueryServiceConfig, ChangeServiceConfig, ChangeServiceConfig2; what the protocol lets pass, MS-SCMR.
#include "whatif/functions/packed.h"
#include "whatif/model/service_handles.h"
#include "whatif/model/service_rules.h"
#include "whatif/model/service_settings.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/spelling.h"

namespace whatif {

namespace {

// The texts of a list, each with its terminator, and the terminator of the list.
std::vector<BYTE> listBytes(const std::vector<std::wstring>& names)
{
    std::wstring list;
    for (const std::wstring& name : names)
        list.append(name.c_str(), name.size() + 1);
    const auto* const begin = reinterpret_cast<const BYTE*>(list.c_str());
    return {begin, begin + (list.size() + 1) * sizeof(wchar_t)};
}

Packed configurationOf(const Service& service)
{
    Packed block(sizeof(QUERY_SERVICE_CONFIGW));
    block.value(offsetof(QUERY_SERVICE_CONFIGW, dwServiceType), service.type);
    block.value(offsetof(QUERY_SERVICE_CONFIGW, dwStartType), service.start);
    block.value(offsetof(QUERY_SERVICE_CONFIGW, dwErrorControl), service.errorControl);
    block.value(offsetof(QUERY_SERVICE_CONFIGW, dwTagId), service.tag);
    block.text(offsetof(QUERY_SERVICE_CONFIGW, lpBinaryPathName), service.binaryPath);
    block.text(offsetof(QUERY_SERVICE_CONFIGW, lpLoadOrderGroup), service.loadOrderGroup);
    block.data(offsetof(QUERY_SERVICE_CONFIGW, lpDependencies), listBytes(service.dependencies));
    block.text(offsetof(QUERY_SERVICE_CONFIGW, lpServiceStartName), service.account);
    block.text(offsetof(QUERY_SERVICE_CONFIGW, lpDisplayName), service.displayName);
    return block;
}

// What the protocol lets pass, as the size of a buffer and as the size that is needed.
constexpr DWORD largestConfiguration = 8 * 1024;

BOOL WINAPI queryConfig(SC_HANDLE handle, LPQUERY_SERVICE_CONFIGW buffer, DWORD size, LPDWORD needed)
{
    Locked world;
    Node* node = nullptr;
    const Service* const service = serviceOf(handle, SERVICE_QUERY_CONFIG, node);
    if (!service)
        return FALSE;
    if (!needed)
        return failWith(ERROR_INVALID_ADDRESS);
    const Packed block = configurationOf(*service);
    if (size > largestConfiguration || block.size() > largestConfiguration)
        return failWith(RPC_X_BAD_STUB_DATA);
    *needed = static_cast<DWORD>(block.size());
    if (!buffer || size < block.size())
        return failWith(ERROR_INSUFFICIENT_BUFFER);
    block.place(buffer);
    return TRUE;
}

// ---- changing ----------------------------------------------------------------------------------------------------

void recordDifferences(World& world, const Node& node, const Service& before, const Service& after, bool hasPassword)
{
    const std::wstring object = L"service " + after.name;
    for (const ServiceSetting& setting : serviceSettings())
        if (setting.text(before) != setting.text(after))
            world.record({ChangeKind::serviceSetting, node.name, object, setting.name, setting.text(before),
                          setting.text(after)});
    if (hasPassword && before.password != after.password)
        world.record({ChangeKind::serviceSetting, node.name, object, L"password", {}, {}});
}

void change(DWORD& field, DWORD given)
{
    if (given != SERVICE_NO_CHANGE)
        field = given;
}

void change(std::wstring& field, LPCWSTR given)
{
    if (given)
        field = given;
}

BOOL WINAPI changeConfig(SC_HANDLE handle, DWORD type, DWORD start, DWORD errorControl, LPCWSTR binaryPath,
                         LPCWSTR loadOrderGroup, LPDWORD tag, LPCWSTR dependencies, LPCWSTR account, LPCWSTR password,
                         LPCWSTR displayName)
{
    Locked world;
    Node* node = nullptr;
    Service* const service = serviceOf(handle, SERVICE_CHANGE_CONFIG, node);
    if (!service)
        return FALSE;
    if (!passes({binaryPath, loadOrderGroup, dependencies, account, password}))
        return failWith(RPC_X_BAD_STUB_DATA);
    if (service->deleted)
        return failWith(ERROR_SERVICE_MARKED_FOR_DELETE);
    Service wanted = *service;
    change(wanted.type, type);
    change(wanted.start, start);
    change(wanted.errorControl, errorControl);
    change(wanted.binaryPath, binaryPath);
    change(wanted.loadOrderGroup, loadOrderGroup);
    if (dependencies)
        wanted.dependencies = namesIn(dependencies);
    const bool newAccount = account && *account;
    if (newAccount) {
        if (!sameName(wanted.account, account)) // whose password nobody has changed, with NULL
            wanted.password.clear();
        wanted.account = account;
    }
    if (!ignoresPassword(*node, wanted))
        change(wanted.password, password);
    change(wanted.displayName, displayName);
    DWORD error = tag ? assignTag(*node, wanted) : ERROR_SUCCESS;
    if (!error)
        error = checkService(*node, wanted);
    if (!error && displayName && isDisplayNameTaken(*node, wanted.displayName, wanted.name))
        error = ERROR_DUPLICATE_SERVICE_NAME;
    if (!error && newAccount)
        error = checkServiceAccount(*node, wanted, password != nullptr);
    if (error)
        return failWith(error);
    if (tag)
        *tag = wanted.tag;
    recordDifferences(*world, *node, *service, wanted, password != nullptr);
    *service = wanted;
    return TRUE;
}

// Only the SID type is known here, and that not before services had SIDs.
BOOL WINAPI changeConfig2(SC_HANDLE handle, DWORD level, LPVOID info)
{
    Locked world;
    Node* node = nullptr;
    Service* const service = serviceOf(handle, SERVICE_CHANGE_CONFIG, node);
    if (!service)
        return FALSE;
    if (level != SERVICE_CONFIG_SERVICE_SID_INFO || node->major < 6)
        return failWith(ERROR_INVALID_LEVEL);
    if (!info) // documented: nothing is changed
        return TRUE;
    const DWORD sidType = static_cast<const SERVICE_SID_INFO*>(info)->dwServiceSidType;
    if (sidType != SERVICE_SID_TYPE_NONE && sidType != SERVICE_SID_TYPE_UNRESTRICTED &&
        sidType != SERVICE_SID_TYPE_RESTRICTED)
        return failWith(ERROR_INVALID_PARAMETER);
    if (service->deleted)
        return failWith(ERROR_SERVICE_MARKED_FOR_DELETE);
    if (service->sidType == sidType)
        return TRUE;
    world->record({ChangeKind::serviceSetting, node->name, L"service " + service->name, sidTypeSetting,
                   sidTypeText(service->sidType), sidTypeText(sidType)});
    service->sidType = sidType;
    return TRUE;
}

BOOL WINAPI queryConfig2(SC_HANDLE handle, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed)
{
    Locked world;
    Node* node = nullptr;
    const Service* const service = serviceOf(handle, SERVICE_QUERY_CONFIG, node);
    if (!service)
        return FALSE;
    if (level != SERVICE_CONFIG_SERVICE_SID_INFO || node->major < 6)
        return failWith(ERROR_INVALID_LEVEL);
    if (!needed)
        return failWith(ERROR_INVALID_ADDRESS);
    *needed = sizeof(SERVICE_SID_INFO);
    if (!buffer || size < sizeof(SERVICE_SID_INFO))
        return failWith(ERROR_INSUFFICIENT_BUFFER);
    reinterpret_cast<SERVICE_SID_INFO*>(buffer)->dwServiceSidType = service->sidType;
    return TRUE;
}

} // namespace

std::vector<Replacement> serviceConfigReplacements()
{
    return {
        settingLastError<&queryConfig>("QueryServiceConfigW"),
        settingLastError<&changeConfig>("ChangeServiceConfigW"),
        settingLastError<&queryConfig2>("QueryServiceConfig2W"),
        settingLastError<&changeConfig2>("ChangeServiceConfig2W"),
    };
}

} // namespace whatif
