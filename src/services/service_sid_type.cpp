#include "services/service_sid_type.h"

#include "accounts/home_types.h"
#include "frame/call.h"
#include "services/own_home_user.h"
#include "services/role_table.h"
#include "services/service_manager.h"

#include <cstring>

namespace {

enum class SidType
{
    unrestricted,
    unrestrictedUnlessLocalSystem, // unless the home's service user is LocalSystem
    untouched
};

struct SidTypeRule
{
    const char* khtype;
    const char* svckey; // NULL: any
    SidType sidType;
};

// The first rule that fits decides.
constexpr SidTypeRule rules[] = {
    {sswseHomeType2, nullptr, SidType::unrestricted},
    {sswseHomeType0, "keslsnr.exe", SidType::unrestricted},
    {sswseHomeType0, "kestel.exe-mondb", SidType::unrestrictedUnlessLocalSystem},
    {sswseHomeType0, nullptr, SidType::untouched},
    {sswseHomeType1, nullptr, SidType::unrestrictedUnlessLocalSystem},
};

SidType sidTypeFor(const char* khtype, const char* svckey)
{
    for (const SidTypeRule& rule : rules)
        if (strcmp(rule.khtype, khtype) == 0 && (!rule.svckey || sswseSameServiceKey(rule.svckey, svckey)))
            return rule.sidType;
    return SidType::unrestricted;
}

bool becomesUnrestricted(const sswseCall& call, SidType sidType, const char* nodename)
{
    if (sidType == SidType::unrestrictedUnlessLocalSystem)
        return sswseIsCurKHSvcUserLocalSystem(call.rec, nodename) != SSWSE_YES; // unknown counts as "not LocalSystem"
    return sidType == SidType::unrestricted;
}

} // namespace

DWORD sswseSetSvcTypeUnrestricted(sswseErrRec* err, const char* servicename, const char* svckey, const char* khtype,
                                  const char* nodename, DWORD& sidtypeUR)
{
    sidtypeUR = 0;
    return sswseRunFramed(err, __func__, sswseNoArgs{}, [&](const sswseCall& call) -> DWORD {
        if (!servicename)
            return sswseBadArgument(call, "Service Name");
        if (!svckey)
            return sswseBadArgument(call, "Service Key");
        if (!khtype)
            return sswseBadArgument(call, "Kestel Home Type");
        if (!becomesUnrestricted(call, sidTypeFor(khtype, svckey), nodename))
            return SSWSE_SUCCESS;
        sswseOpenedService opened;
        if (sswseOpenNodeService(call, nodename, servicename, SERVICE_ALL_ACCESS, opened) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        SERVICE_SID_INFO info = {SERVICE_SID_TYPE_UNRESTRICTED};
        if (!ChangeServiceConfig2W(opened.service.get(), SERVICE_CONFIG_SERVICE_SID_INFO, &info))
            return sswseFail(call, WSE_UPDATE_SERVICE, GetLastError(), "ChangeServiceConfig2W");
        sidtypeUR = 1;
        return SSWSE_SUCCESS;
    });
}
