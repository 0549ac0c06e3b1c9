#include "tests/services/home_on_node.h"

#include "whatif/active.h"
#include "whatif/registry.h"

#include <stdexcept>

namespace services {

namespace {

constexpr wchar_t homeKey[] = L"SOFTWARE\\Kestel\\KEY_keswsec_test";

whatif::Account account(const wchar_t* domain, const wchar_t* name, const wchar_t* sid)
{
    whatif::Account made;
    made.domain = domain;
    made.name = name;
    made.sid = sid;
    made.managed = *name == L'g';
    return made;
}

std::string narrow(const std::wstring& text)
{
    return {text.begin(), text.end()};
}

std::string pathOf(const char* executable)
{
    return std::string("C:\\h1\\bin\\") + executable;
}

ULONG_PTR WINAPI denyWithLastError()
{
    SetLastError(ERROR_ACCESS_DENIED);
    return 0;
}

DWORD WINAPI denyWithResult()
{
    return ERROR_ACCESS_DENIED;
}

DWORD WINAPI denyWithStatus()
{
    return 0xC0000022; // STATUS_ACCESS_DENIED
}

} // namespace

HomeOnNode::HomeOnNode(const support::TemporaryHome& home, const char* target, BYTE productType, DWORD major)
    : library(home), nodename(target), node(target ? world.add(whatif::wide(target)) : world.local()),
      redirection_(home.module(), world)
{
    whatif::Node& local = world.local();
    local.productType = productType;
    local.major = major;
    local.groups.push_back({L"KES_DBA", L"", L"S-1-5-21-7-7-7-2001", {}});
    local.groups.push_back({L"KES_H1_DBA", L"", L"S-1-5-21-7-7-7-2002", {}});
    for (whatif::Node* const each : {&local, world.find(L"DB2")})
        if (each) {
            each->domain = L"CORP";
            each->accounts.push_back(account(L"CORP", L"dbsvc", L"S-1-5-21-8-8-8-1001"));
            each->accounts.push_back(account(L"CORP", L"gmsa$", L"S-1-5-21-8-8-8-1002"));
        }
    node.accounts.push_back(account(L"", L"svc", L"S-1-5-21-9-9-9-1003"));
    set(node, "KESTEL_HOME_NAME", "WRONG"); // the name is this machine's to tell
    set(local, "KESTEL_HOME_NAME", "H1");
    if (target) // the rest is the target's
        set(local, "KESTEL_HOME_TYPE", "7");
}

void HomeOnNode::record(const char* khtype, const char* user, const char* userType)
{
    set(node, "KESTEL_HOME_TYPE", khtype);
    set(node, "KESTEL_SVCUSER_TYPE", userType);
    if (user)
        set(node, "KESTEL_SVCUSER", user);
}

void HomeOnNode::set(whatif::Node& where, const char* value, const char* text)
{
    world.registry().setValue(where, homeKey, whatif::wide(value), whatif::registryText(whatif::wide(text)));
}

DWORD HomeOnNode::create(const Wanted& wanted)
{
    SC_HANDLE handle = reinterpret_cast<SC_HANDLE>(1);
    const DWORD status = EXPORT_OF(library, sswseCreateService)(
        &rec, wanted.service, nullptr, wanted.access, wanted.type, wanted.start, SERVICE_ERROR_IGNORE,
        pathOf(wanted.executable).c_str(), wanted.loadOrderGroup, wanted.tag, wanted.dependencies, wanted.startName,
        "secret", nodename, &handle);
    created = handle != nullptr;
    if (created && !whatif::closeServiceHandle(handle))
        throw std::runtime_error("the library gave a handle that is none");
    return status;
}

DWORD HomeOnNode::update(const char* name, const char* executable)
{
    return EXPORT_OF(library, sswseUpdateService)(&rec, nodename, name, "ignored", "secret",
                                                  pathOf(executable).c_str());
}

DWORD HomeOnNode::remove(const char* name)
{
    return EXPORT_OF(library, sswseDeleteService)(&rec, nodename, name);
}

whatif::Service& HomeOnNode::addService(const char* name)
{
    whatif::Service& added = node.services.emplace_back();
    added.name = added.displayName = whatif::wide(name);
    added.binaryPath = L"C:\\old.exe";
    added.account = L"LocalSystem";
    return added;
}

whatif::Service* HomeOnNode::service(const char* name)
{
    for (whatif::Service& each : node.services)
        if (narrow(each.name) == name)
            return &each;
    return nullptr;
}

Lines HomeOnNode::plan()
{
    Lines lines;
    for (const whatif::Change& change : world.plan())
        lines.push_back(narrow(whatif::textOf(change)));
    world.clearPlan();
    return lines;
}

Denied::Denied(const HomeOnNode& home, const char* function, Says says) : imports_(home.library.module())
{
    void* const stubs[] = {reinterpret_cast<void*>(&denyWithLastError), reinterpret_cast<void*>(&denyWithResult),
                           reinterpret_cast<void*>(&denyWithStatus)};
    if (!imports_.redirect(function, stubs[says]))
        throw std::runtime_error(std::string("the library does not import ") + function);
}

} // namespace services
