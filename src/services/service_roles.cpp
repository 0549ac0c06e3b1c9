#include "services/service_roles.h"

#include "accounts/privileges.h"
#include "frame/call.h"
#include "frame/os_version.h"
#include "frame/owned.h"
#include "services/home_group.h"
#include "services/role_table.h"

#include <cstring>

namespace {

constexpr char homeTemplate[] = "KES_HN_"; // a group of each home: the home's name takes the place of "HN"
constexpr size_t templateSuffix = 6;       // where the role begins, with its "_"

// The name that joins groups: the service's SID name or its account.
DWORD memberName(const sswseCall& call, bool useSid, const char* svcname, const char* svcuser, char (&member)[512])
{
    if (!useSid) {
        sswseFormatText(member, "%s", svcuser);
        return SSWSE_SUCCESS;
    }
    return sswseGetServiceSidName(call.rec, svcname, member, sizeof member - 1, nullptr);
}

bool hasServiceSids(const sswseCall& call)
{
    return sswseIsOSVistaOrAbove(call.rec) == SSWSE_YES;
}

bool isServiceBuiltin(const sswseCall& call, const char* svcuser)
{
    DWORD kind = 0;
    return sswseIsNameBuiltinAcc(call.rec, svcuser, &kind) == SSWSE_YES &&
           (kind == SSWSE_BUILTIN_LOCAL_SERVICE || kind == SSWSE_BUILTIN_NETWORK_SERVICE);
}

DWORD readHomeName(const sswseCall& call, char (&homename)[512])
{
    return sswseGetKestelHomeName(call.rec, homename, sizeof homename, nullptr);
}

// Virtual-account groups: a per-home template stands for the home's own group.
DWORD addToVAGroup(const sswseCall& call, const char* member, const char* entry, const char* homename,
                   const char* nodename)
{
    if (!strstr(entry, homeTemplate))
        return sswseAddUserToGroup(call.rec, member, entry, nodename);
    char group[512];
    sswseHomeGroup(group, homename, entry + templateSuffix);
    return sswseAddUserToGroup(call.rec, member, group, nodename);
}

} // namespace

DWORD sswseAddSvcToGroups(sswseErrRec* err, const char* svcname, const char* khtype, int index, const char* svcuser,
                          const char* nodename, DWORD sidtypeUR)
{
    const auto arguments =
        sswseArgs("svcname = %s\nkhtype = %s\nindex = %d\nsvcuser = %s\nnodename = %s\nsidtypeUR = %d", svcname, khtype,
                  index, svcuser, nodename, sidtypeUR);
    return sswseRunFramed(err, __func__, arguments, [&](const sswseCall& call) -> DWORD {
        if (!svcname)
            return sswseBadArgument(call, "Service Name", SSWSE_FAILURE);
        const sswseRoleTable* const table = sswseRoleTableOf(khtype);
        if (!table || sswseIsOSWinPDC(call.rec) == SSWSE_YES)
            return SSWSE_SUCCESS;
        const bool useSid = sidtypeUR == 1;
        // Home type "0" does not ask: its listener joins groups as LocalService.
        if (!useSid && strcmp(khtype, "0") != 0 && isServiceBuiltin(call, svcuser))
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
    const auto arguments = sswseArgs("svcname = %s\nkhtype = %s\nindex = %d   \nsvcuser = %s\nnodename = %s", svcname,
                                     khtype, index, svcuser, nodename);
    return sswseRunFramed(err, __func__, arguments, [&](const sswseCall& call) -> DWORD {
        if (!khtype)
            return sswseBadArgument(call, "KestelHome Type", SSWSE_FAILURE);
        const sswseRoleTable* const table = sswseRoleTableOf(khtype);
        if (!table)
            return SSWSE_SUCCESS;
        PSID found = nullptr;
        const DWORD status = hasServiceSids(call) ? sswseGetServiceSID(call.rec, svcname, &found, nodename)
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
    const auto arguments =
        sswseArgs("svcname = %s\nkhtype = %s\nsvcuser = %s\nodename = %s", svcname, khtype, svcuser, nodename);
    return sswseRunFramed(err, __func__, arguments, [&](const sswseCall& call) -> DWORD {
        if (!svcname)
            return sswseBadArgument(call, "Service Name", SSWSE_FAILURE);
        if (!khtype)
            return sswseBadArgument(call, "Home Type", SSWSE_FAILURE);
        char homename[512];
        char member[512];
        if (readHomeName(call, homename) != SSWSE_SUCCESS ||
            memberName(call, hasServiceSids(call), svcname, svcuser, member) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        char accounts[512];
        sswseHomeGroup(accounts, homename, "_SVCACCTS");
        // "kestel.exe" meets this group again in its row: deliberate, joining twice is no error.
        if (sswseAddUserToGroup(call.rec, member, accounts, nodename) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        const sswseRoleTable* const table = sswseRoleTableOf(khtype);
        if (!table)
            return sswseFail(call, WSE_UNSUPPORTED_HOME_TYPE, 0, "");
        return sswseForEachName(sswseRoleAt(*table, index).vagroups, [&](const char* entry) {
            return addToVAGroup(call, member, entry, homename, nodename);
        });
    });
}

DWORD sswseAddSvcToSVCSIDSGrp(sswseErrRec* err, const char* svcname, const char* khtype, const char* svcuser,
                              const char* nodename)
{
    const auto arguments =
        sswseArgs("svcname = %s\nkhtype = %s\nsvcuser = %s\nodename = %s", svcname, khtype, svcuser, nodename);
    return sswseRunFramed(err, __func__, arguments, [&](const sswseCall& call) -> DWORD {
        if (!svcname || !khtype) // one label for both: deliberate
            return sswseBadArgument(call, "Service Name", SSWSE_FAILURE);
        if (strcmp(khtype, "2") != 0)
            return SSWSE_SUCCESS;
        char homename[512];
        char member[512];
        if (readHomeName(call, homename) != SSWSE_SUCCESS ||
            memberName(call, hasServiceSids(call), svcname, svcuser, member) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        char group[512];
        sswseHomeGroup(group, homename, "_SVCSIDS");
        return sswseAddUserToGroup(call.rec, member, group, nodename) == SSWSE_SUCCESS ? SSWSE_SUCCESS : SSWSE_FAILURE;
    });
}
