// A home of one of the nodes, the target of the calls. The user "svc" is the target's alone. On this machine the
// administrators' groups exist, which services let in.
#pragma once

#include "tests/support/node_test.h"

namespace services {

using support::failing;
using support::Lines;
using support::messageOf;

constexpr char remoteName[] = "DB2";

// The arguments of a creation; the path is that of an executable of the home.
struct Wanted
{
    const char* executable = "kestel.exe";
    const char* service = "Service1";
    DWORD access = SERVICE_ALL_ACCESS;
    DWORD type = SERVICE_WIN32_OWN_PROCESS;
    DWORD start = SERVICE_DEMAND_START;
    const char* loadOrderGroup = nullptr;
    DWORD* tag = nullptr;
    const char* dependencies = nullptr;
    const char* startName = nullptr;
};

class HomeOnNode : public support::Nodes
{
public:
    // `nodename` NULL: this machine is the target.
    explicit HomeOnNode(const support::TemporaryHome& library, const char* nodename = nullptr,
                        BYTE productType = VER_NT_SERVER, DWORD major = 10);

    // What the target's registry says of the home; NULL for no user.
    void recordHome(const char* khtype, const char* user, const char* userType = " ");
    void fail(intercept::Fault fault);

    DWORD create(const Wanted& wanted); // "secret" is the password; `created` tells whether there was a handle
    DWORD update(const char* service, const char* executable);

    whatif::Service* service(const char* name);

    sswseErrRec rec = {};
    bool created = false;
    const support::TemporaryHome& library;
    const char* nodename;
    whatif::Node& node; // the target

private:
    std::optional<intercept::Interception> interception_;
};

class ServiceOnNode : public testing::Test, protected support::WithHome
{
};

} // namespace services
