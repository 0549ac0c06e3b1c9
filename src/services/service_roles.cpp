#include "services/service_roles.h"

#include "accounts/home_types.h"
#include "accounts/privileges.h"
#include "frame/call.h"
#include "frame/os_version.h"
#include "frame/owned.h"
#include "home/home_group.h"
#include "services/role_table.h"

#include <cstring>

namespace {

// The name that joins groups: the service's SID name or its account.
DWORD memberName(const sswseCall& call, bool useSid, const char* svcname, const char* svcuser, char (&member)[512])
{
    if (!useSid) {
        sswseFormatText(member, "%s", svcuser);
        return SSWSE_SUCCESS;
    }
    return sswseGetServiceSidName(call.rec, svcname, member, sizeof member - 1, nullptr);
}

bool isServiceBuiltin(const sswseCall& call, const char* svcuser)
{
    DWORD kind = 0;
    return sswseIsNameBuiltinAcc(call.rec, svcuser, &kind) == SSWSE_YES &&
           (kind == SSWSE_BUILTIN_LOCAL_SERVICE || kind == SSWSE_BUILTIN_NETWORK_SERVICE);
}

// A home's own groups, and who joins them.
struct HomeMember
{
    char homename[512];
    char member[512];
};

DWORD findHomeMember(const sswseCall& call, const char* svcname, const char* svcuser, HomeMember& who)
{
    const DWORD status = sswseGetKestelHomeName(call.rec, who.homename, sizeof who.homename, nullptr);
    if (status != SSWSE_SUCCESS)
        return status;
    return memberName(call, sswseIsOSVistaOrAbove(call.rec) == SSWSE_YES, svcname, svcuser, who.member);
}

DWORD joinHomeGroup(const sswseCall& call, const HomeMember& who, const char* suffix, const char* nodename)
{
    char group[512];
    sswseHomeGroup(group, who.homename, suffix);
    return sswseAddUserToGroup(call.rec, who.member, group, nodename);
}

} // namespace

DWORD sswseAddSvcToGroups(sswseErrRec* err, const char* svcname, const char* khtype, int index, const char* svcuser,
                          const char* nodename, DWORD sidtypeUR)
{
    const auto args = sswseArgs("svcname = %s\nkhtype = %s\nindex = %d\nsvcuser = %s\nnodename = %s\nsidtypeUR = %d",
                                svcname, khtype, index, svcuser, nodename, sidtypeUR);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!svcname)
            return sswseBadArgument(call, "Service Name", SSWSE_FAILURE);
        const sswseRoleTable* const table = sswseRoleTableOf(khtype);
        if (!table || sswseIsOSWinPDC(call.rec) == SSWSE_YES)
            return SSWSE_SUCCESS;
        const bool useSid = sidtypeUR == 1;
        // Home type "0" does not ask: its listener joins groups as LocalService.
        if (!useSid && strcmp(khtype, sswseHomeType0) != 0 && isServiceBuiltin(call, svcuser))
            return SSWSE_SUCCESS;
        char member[512];
        if (memberName(call, useSid, svcname, svcuser, member) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        return sswseForEachName(sswseRoleAt(*table, index).groups, [&](const char* group) {
            return sswseAddUserToGroup(call.rec, member, group, nodename);
        });
    });
}

DWORD sswseGrantPrivsToSvc(sswseErrRec* err, const char* svcname, const char* khtype, int index, const char* svcuser,
                           const char* nodename)
{
    const auto args = sswseArgs("svcname = %s\nkhtype = %s\nindex = %d   \nsvcuser = %s\nnodename = %s", svcname,
                                khtype, index, svcuser, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!khtype)
            return sswseBadArgument(call, "KestelHome Type", SSWSE_FAILURE);
        const sswseRoleTable* const table = sswseRoleTableOf(khtype);
        if (!table)
            return SSWSE_SUCCESS;
        PSID found = nullptr;
        const DWORD status = sswseIsOSVistaOrAbove(call.rec) == SSWSE_YES
                                 ? sswseGetServiceSID(call.rec, svcname, &found, nodename)
                                 : sswseConvertUnameToSID(call.rec, svcuser, &found);
        const owned::Heap<void> sid(found);
        if (status != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        return sswseForEachName(sswseRoleAt(*table, index).privileges, [&](const char* privilege) {
            return sswseGrantPrivilegesToSid(call.rec, sid.get(), privilege, nodename);
        });
    });
}

DWORD sswseAddSvcToVAGroups(sswseErrRec* err, const char* svcname, const char* khtype, const char* svcuser, int index,
                            const char* nodename)
{
    // "\nodename" for the node's name: deliberate.
    const auto args =
        sswseArgs("svcname = %s\nkhtype = %s\nsvcuser = %s\nodename = %s", svcname, khtype, svcuser, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!svcname)
            return sswseBadArgument(call, "Service Name", SSWSE_FAILURE);
        if (!khtype)
            return sswseBadArgument(call, "Home Type", SSWSE_FAILURE);
        HomeMember who;
        // "kestel.exe" meets this group again in its row: deliberate, joining twice is no error.
        if (findHomeMember(call, svcname, svcuser, who) != SSWSE_SUCCESS ||
            joinHomeGroup(call, who, sswseServiceAccountsSuffix, nodename) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        const sswseRoleTable* const table = sswseRoleTableOf(khtype);
        if (!table)
            return sswseFail(call, WSE_UNSUPPORTED_HOME_TYPE, 0, "");
        return sswseForEachName(sswseRoleAt(*table, index).vagroups, [&](const char* entry) {
            const char* const suffix = sswseHomeGroupSuffix(entry);
            return suffix ? joinHomeGroup(call, who, suffix, nodename)
                          : sswseAddUserToGroup(call.rec, who.member, entry, nodename);
        });
    });
}

DWORD sswseAddSvcToSVCSIDSGrp(sswseErrRec* err, const char* svcname, const char* khtype, const char* svcuser,
                              const char* nodename)
{
    // "\nodename" for the node's name: deliberate.
    const auto args =
        sswseArgs("svcname = %s\nkhtype = %s\nsvcuser = %s\nodename = %s", svcname, khtype, svcuser, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!svcname || !khtype) // one label for both: deliberate
            return sswseBadArgument(call, "Service Name", SSWSE_FAILURE);
        if (strcmp(khtype, sswseHomeType2) != 0)
            return SSWSE_SUCCESS;
        HomeMember who;
        if (findHomeMember(call, svcname, svcuser, who) != SSWSE_SUCCESS ||
            joinHomeGroup(call, who, sswseServiceSidsSuffix, nodename) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        return SSWSE_SUCCESS;
    });
}
