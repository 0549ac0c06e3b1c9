// Takes the SIDs of services out of a home's own groups, those of services that exist no longer too.
#include "frame/call.h"
#include "groups/member_sids.h"
#include "home/home_group.h"
#include "home/home_name.h"
#include "services/role_table.h"

namespace {

// All are read before the first one goes: removals move the others.
DWORD removeServices(const sswseCall& call, const char* groupname, const char* nodename)
{
    sswseGroupNames group;
    sswseSidList services;
    DWORD status = sswseNameGroup(call, groupname, nodename, group);
    if (status == SSWSE_SUCCESS)
        status = sswseReadServiceMembers(call, group, services);
    for (DWORD i = 0; status == SSWSE_SUCCESS && i < services.count; ++i)
        status = sswseRemoveMemberSid(call, group, services.entries[i]);
    return status;
}

} // namespace

DWORD WINAPI sswseDeleteSVCSidsFromKESHomeGroups(sswseErrRec* err, const char* khomepath, const char* nodename)
{
    const auto args = sswseArgs("khomepath=%s\nnodename=%s", khomepath, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        char homename[512];
        DWORD status = sswseNameOfHome(call, khomepath, nodename, homename);
        if (status != SSWSE_SUCCESS)
            return status;
        const auto leave = [&](const char* suffix) {
            char group[512];
            sswseHomeGroup(group, homename, suffix);
            return removeServices(call, group, nodename);
        };
        status = leave(sswseServiceSidsSuffix);
        return status == SSWSE_SUCCESS ? sswseForEachName(sswseAllHomeGroupSuffixes(), leave) : status;
    });
}
