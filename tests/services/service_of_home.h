// A home of one of the nodes, the target of the calls. On this machine the administrators' groups exist, which services
// let in.
#pragma once

#include "tests/support/guarded_heap.h"
#include "tests/support/node_test.h"
#include "whatif/model/registry.h"

class ServiceOfHome : public support::NodeTest
{
protected:
    ServiceOfHome()
    {
        local.groups.push_back({L"KES_DBA", L"", L"S-1-5-21-7-7-7-2001", {}});
        local.groups.push_back({L"KES_H1_DBA", L"", L"S-1-5-21-7-7-7-2002", {}});
    }

    // What the target's registry says of the home; NULL for none.
    void recordHome(whatif::Node& target, const char* khtype, const char* user, const char* userType = " ")
    {
        world.registry().remove({&target, L"SOFTWARE\\Kestel\\KEY_keswsec_test"});
        if (&target != &local)
            record(local, "KESTEL_HOME_TYPE", "7");
        record(target, "KESTEL_HOME_NAME", "WRONG"); // the name is this machine's to tell, the rest the target's
        record(local, "KESTEL_HOME_NAME", "H1");
        if (khtype)
            record(target, "KESTEL_HOME_TYPE", khtype);
        record(target, "KESTEL_SVCUSER_TYPE", userType);
        if (user)
            record(target, "KESTEL_SVCUSER", user);
        guarded::sweep(); // there are many homes in a test
    }

    static std::string creating(const std::string& service, const std::string& executable)
    {
        return "CreateService servicename=" + service + " displayname=Display errorcontrol=0 starttype=3 binpath=\"" +
               "C:\\h1\\bin\\" + executable + "\" password=secret";
    }

    static std::string updating(const std::string& service, const std::string& executable)
    {
        return "UpdateService servicename=" + service + " username=ignored password=secret binpath=\"C:\\h1\\bin\\" +
               executable + '"';
    }
};
