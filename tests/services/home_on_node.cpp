#include "tests/services/home_on_node.h"

#include "tests/support/guarded_heap.h"
#include "whatif/redirect/active.h"

#include <stdexcept>

namespace services {

namespace {

std::string pathOf(const char* executable)
{
    return std::string("C:\\h1\\bin\\") + executable;
}

} // namespace

HomeOnNode::HomeOnNode(const support::TemporaryHome& home, const char* target, BYTE productType, DWORD major)
    : Nodes(home), library(home), nodename(target), node(target ? remote : local)
{
    local.productType = productType;
    local.major = major;
    local.groups.push_back({L"KES_DBA", L"", L"S-1-5-21-7-7-7-2001", {}});
    local.groups.push_back({L"KES_H1_DBA", L"", L"S-1-5-21-7-7-7-2002", {}});
    whatif::Node& other = target ? local : remote;
    other.accounts.erase(other.accounts.begin()); // svc
    record(node, "KESTEL_HOME_NAME", "WRONG");    // the name is this machine's to tell
    record(local, "KESTEL_HOME_NAME", "H1");
    if (target) // the rest is the target's
        record(local, "KESTEL_HOME_TYPE", "7");
    guarded::sweep(); // there are many homes in a test
}

void HomeOnNode::recordHome(const char* khtype, const char* user, const char* userType)
{
    record(node, "KESTEL_HOME_TYPE", khtype);
    record(node, "KESTEL_SVCUSER_TYPE", userType);
    if (user)
        record(node, "KESTEL_SVCUSER", user);
}

void HomeOnNode::fail(intercept::Fault fault)
{
    interception_.emplace(library.module(), world).start(fault);
}

DWORD HomeOnNode::create(const Wanted& wanted)
{
    SC_HANDLE handle = reinterpret_cast<SC_HANDLE>(1);
    const DWORD status =
        EXPORT(sswseCreateService)(&rec, wanted.service, "Display", wanted.access, wanted.type, wanted.start,
                                   SERVICE_ERROR_IGNORE, pathOf(wanted.executable).c_str(), wanted.loadOrderGroup,
                                   wanted.tag, wanted.dependencies, wanted.startName, "secret", nodename, &handle);
    created = handle != nullptr;
    if (created && !whatif::closeServiceHandle(handle))
        throw std::runtime_error("the library gave a handle that is none");
    return status;
}

DWORD HomeOnNode::update(const char* name, const char* executable)
{
    return EXPORT(sswseUpdateService)(&rec, nodename, name, "ignored", "secret", pathOf(executable).c_str());
}

whatif::Service* HomeOnNode::service(const char* name)
{
    for (whatif::Service& each : node.services)
        if (each.name == whatif::wide(name))
            return &each;
    return nullptr;
}

} // namespace services
