// The service control manager: opening it, opening, creating and deleting services. A service marked for deletion stays
// until its last handle is closed; until then it can still be opened, but neither be created again nor be changed.
// Codes: OpenSCManager, OpenService, CreateService, DeleteService; what the protocol lets pass, MS-SCMR.
#include "whatif/model/service_handles.h"
#include "whatif/model/service_rules.h"
#include "whatif/model/service_settings.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/security/access.h"
#include "whatif/spelling.h"

namespace whatif {

namespace {

constexpr size_t longestName = 256;
const GENERIC_MAPPING managerRights = {
    STANDARD_RIGHTS_READ | SC_MANAGER_ENUMERATE_SERVICE | SC_MANAGER_QUERY_LOCK_STATUS,
    STANDARD_RIGHTS_WRITE | SC_MANAGER_CREATE_SERVICE | SC_MANAGER_MODIFY_BOOT_CONFIG,
    STANDARD_RIGHTS_EXECUTE | SC_MANAGER_CONNECT | SC_MANAGER_LOCK, SC_MANAGER_ALL_ACCESS};

// Of a handle whose object's list lets it have everything.
DWORD ownerAccess(DWORD access, const GENERIC_MAPPING& mapping)
{
    return access & MAXIMUM_ALLOWED ? mapping.GenericAll : mapped(access, mapping);
}

SC_HANDLE WINAPI openManager(LPCWSTR machine, LPCWSTR database, DWORD access)
{
    Locked world;
    Node* const node = world->find(machine);
    if (!node)
        return failWith<SC_HANDLE>(RPC_S_SERVER_UNAVAILABLE);
    if (database && sameName(database, SERVICES_FAILED_DATABASEW))
        return failWith<SC_HANDLE>(ERROR_DATABASE_DOES_NOT_EXIST);
    if (database && !sameName(database, SERVICES_ACTIVE_DATABASEW))
        return failWith<SC_HANDLE>(ERROR_INVALID_NAME);
    return openHandle({node, L"", ownerAccess(access, managerRights) | SC_MANAGER_CONNECT});
}

DWORD checkName(LPCWSTR name)
{
    if (!name)
        return ERROR_INVALID_ADDRESS;
    return *name && wcslen(name) <= longestName && !wcspbrk(name, L"/\\") ? ERROR_SUCCESS : ERROR_INVALID_NAME;
}

SC_HANDLE WINAPI openService(SC_HANDLE manager, LPCWSTR name, DWORD access)
{
    Locked world;
    const ServiceHandle* const opened = managerOf(manager, SC_MANAGER_CONNECT);
    if (!opened)
        return nullptr;
    if (const DWORD error = checkName(name))
        return failWith<SC_HANDLE>(error);
    const Service* const service = findService(*opened->node, name);
    if (!service)
        return failWith<SC_HANDLE>(ERROR_SERVICE_DOES_NOT_EXIST);
    DWORD handle = 0;
    if (!mayOpen(*opened->node, *service, access, handle))
        return failWith<SC_HANDLE>(ERROR_ACCESS_DENIED);
    return openHandle({opened->node, service->name, handle});
}

// ---- creating ----------------------------------------------------------------------------------------------------

DWORD checkNew(Node& node, const Service& wanted, bool hasPassword)
{
    const Service* const existing = findService(node, wanted.name);
    if (existing)
        return existing->deleted ? ERROR_SERVICE_MARKED_FOR_DELETE : ERROR_SERVICE_EXISTS;
    if (const DWORD error = checkService(node, wanted))
        return error;
    if (isDisplayNameTaken(node, wanted.displayName, wanted.name))
        return ERROR_DUPLICATE_SERVICE_NAME;
    return checkServiceAccount(node, wanted, hasPassword);
}

void recordCreation(World& world, const Node& node, const Service& service)
{
    const std::wstring object = L"service " + service.name;
    world.record({ChangeKind::service, node.name, object, L"", {}, createdState(service)});
    if (!service.password.empty())
        world.record({ChangeKind::serviceSetting, node.name, object, L"password", {}, {}});
}

SC_HANDLE WINAPI createService(SC_HANDLE manager, LPCWSTR name, LPCWSTR displayName, DWORD access, DWORD type,
                               DWORD start, DWORD errorControl, LPCWSTR binaryPath, LPCWSTR loadOrderGroup, LPDWORD tag,
                               LPCWSTR dependencies, LPCWSTR account, LPCWSTR password)
{
    Locked world;
    const ServiceHandle* const opened = managerOf(manager, SC_MANAGER_CREATE_SERVICE);
    if (!opened)
        return nullptr;
    Node& node = *opened->node;
    if (!passes({binaryPath, loadOrderGroup, dependencies, account, password}))
        return failWith<SC_HANDLE>(RPC_X_BAD_STUB_DATA);
    if (const DWORD wrong = checkName(name))
        return failWith<SC_HANDLE>(wrong);
    if (!binaryPath)
        return failWith<SC_HANDLE>(ERROR_INVALID_ADDRESS);
    if (displayName && wcslen(displayName) > longestName)
        return failWith<SC_HANDLE>(ERROR_INVALID_NAME);
    Service wanted;
    wanted.name = name;
    wanted.displayName = displayName && *displayName ? displayName : name;
    wanted.type = type;
    wanted.start = start;
    wanted.errorControl = errorControl;
    wanted.binaryPath = binaryPath;
    wanted.loadOrderGroup = textOrEmpty(loadOrderGroup);
    wanted.dependencies = namesIn(dependencies);
    wanted.account = account && *account ? account : defaultAccount(type);
    if (!ignoresPassword(node, wanted))
        wanted.password = textOrEmpty(password);
    wanted.security = defaultServiceSecurity;
    DWORD error = tag ? assignTag(node, wanted) : ERROR_SUCCESS;
    if (!error)
        error = checkNew(node, wanted, password != nullptr);
    if (error)
        return failWith<SC_HANDLE>(error);
    if (tag)
        *tag = wanted.tag;
    node.services.push_back(wanted);
    recordCreation(*world, node, wanted);
    return openHandle({&node, wanted.name, ownerAccess(access, serviceRights)});
}

BOOL WINAPI deleteService(SC_HANDLE handle)
{
    Locked world;
    Node* node = nullptr;
    Service* const service = serviceOf(handle, DELETE, node);
    if (!service)
        return FALSE;
    if (service->deleted)
        return failWith(ERROR_SERVICE_MARKED_FOR_DELETE);
    service->deleted = true;
    if (node->readsMachine)
        node->gone.insert(L"service " + service->name);
    world->record({ChangeKind::service, node->name, L"service " + service->name, L"", fullState(*service), {}});
    return TRUE;
}

} // namespace

BOOL WINAPI closeServiceHandle(SC_HANDLE handle)
{
    Locked world;
    return closeHandle(handle);
}

std::vector<Replacement> serviceReplacements()
{
    return {
        settingLastError<&openManager>("OpenSCManagerW"),
        settingLastError<&openService>("OpenServiceW"),
        settingLastError<&createService>("CreateServiceW"),
        settingLastError<&deleteService>("DeleteService"),
        settingLastError<&closeServiceHandle>("CloseServiceHandle"),
    };
}

} // namespace whatif
