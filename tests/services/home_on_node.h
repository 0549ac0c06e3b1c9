// A home on described nodes: this machine "NODE", where the library is, and the remote "DB2". One of the two is the
// target of the calls. Both know the accounts of the domain CORP; the user "svc" is the target's alone. On this machine
// the administrators' groups exist, which services let in.
#pragma once

#include "tests/support/home.h"
#include "whatif/whatif.h"

#include <string>
#include <vector>

namespace services {

constexpr char remote[] = "DB2";

using Lines = std::vector<std::string>;

// The arguments of a creation; the path is that of an executable of the home.
struct Wanted
{
    const char* service = "Service1";
    const char* executable = "kestel.exe";
    DWORD access = SERVICE_ALL_ACCESS;
    DWORD type = SERVICE_WIN32_OWN_PROCESS;
    DWORD start = SERVICE_DEMAND_START;
    const char* loadOrderGroup = nullptr;
    DWORD* tag = nullptr;
    const char* dependencies = nullptr;
    const char* startName = nullptr;
};

class HomeOnNode
{
public:
    // `nodename` NULL: this machine is the target.
    explicit HomeOnNode(const support::TemporaryHome& library, const char* nodename = nullptr,
                        BYTE productType = VER_NT_SERVER, DWORD major = 10);

    // What the target's registry says of the home; NULL for no user.
    void record(const char* khtype, const char* user, const char* userType = " ");
    void set(whatif::Node& node, const char* value, const char* text);

    DWORD create(const Wanted& wanted); // "secret" is the password; `created` tells whether there was a handle
    DWORD update(const char* service, const char* executable);
    DWORD remove(const char* service);

    // A service that was there before.
    whatif::Service& addService(const char* name);
    whatif::Service* service(const char* name);

    Lines plan(); // since the last call

    sswseErrRec rec = {};
    bool created = false;
    const support::TemporaryHome& library;
    const char* nodename;
    whatif::World world{whatif::Base::described};
    whatif::Node& node; // the target

private:
    whatif::Redirection redirection_;
};

// A platform function that denies its service, for as long as this lives.
class Denied
{
public:
    enum Says
    {
        zero,    // and the last error
        result,  // its result is the error
        ntStatus // its result is an NTSTATUS
    };
    Denied(const HomeOnNode& home, const char* function, Says says);

private:
    whatif::Imports imports_;
};

} // namespace services
