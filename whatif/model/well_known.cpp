#include "whatif/model/well_known.h"

#include "whatif/spelling.h"

namespace whatif {

namespace {

constexpr wchar_t ntAuthority[] = L"NT AUTHORITY";
constexpr wchar_t ntService[] = L"NT SERVICE";

constexpr struct
{
    const wchar_t* domain;
    const wchar_t* name;
    const wchar_t* sid;
    const wchar_t* otherName;
} wellKnown[] = {
    {L"", L"NULL SID", L"S-1-0-0", nullptr},
    {L"", L"Everyone", L"S-1-1-0", nullptr},
    {L"", L"LOCAL", L"S-1-2-0", nullptr},
    {L"", L"CONSOLE LOGON", L"S-1-2-1", nullptr},
    {L"", L"CREATOR OWNER", L"S-1-3-0", nullptr},
    {L"", L"CREATOR GROUP", L"S-1-3-1", nullptr},
    {L"", L"OWNER RIGHTS", L"S-1-3-4", nullptr},
    {ntAuthority, L"DIALUP", L"S-1-5-1", nullptr},
    {ntAuthority, L"NETWORK", L"S-1-5-2", nullptr},
    {ntAuthority, L"BATCH", L"S-1-5-3", nullptr},
    {ntAuthority, L"INTERACTIVE", L"S-1-5-4", nullptr},
    {ntAuthority, L"SERVICE", L"S-1-5-6", nullptr},
    {ntAuthority, L"ANONYMOUS LOGON", L"S-1-5-7", nullptr},
    {ntAuthority, L"PROXY", L"S-1-5-8", nullptr},
    {ntAuthority, L"ENTERPRISE DOMAIN CONTROLLERS", L"S-1-5-9", nullptr},
    {ntAuthority, L"SELF", L"S-1-5-10", nullptr},
    {ntAuthority, L"Authenticated Users", L"S-1-5-11", nullptr},
    {ntAuthority, L"RESTRICTED", L"S-1-5-12", nullptr},
    {ntAuthority, L"TERMINAL SERVER USER", L"S-1-5-13", nullptr},
    {ntAuthority, L"REMOTE INTERACTIVE LOGON", L"S-1-5-14", nullptr},
    {ntAuthority, L"This Organization", L"S-1-5-15", nullptr},
    {ntAuthority, L"IUSR", L"S-1-5-17", nullptr},
    {ntAuthority, L"SYSTEM", L"S-1-5-18", nullptr},
    {ntAuthority, L"LOCAL SERVICE", L"S-1-5-19", L"LocalService"},
    {ntAuthority, L"NETWORK SERVICE", L"S-1-5-20", L"NetworkService"},
    {ntAuthority, L"WRITE RESTRICTED", L"S-1-5-33", nullptr},
    {ntService, L"ALL SERVICES", L"S-1-5-80-0", nullptr},
};

constexpr const wchar_t* accountRights[] = {
    L"SeNetworkLogonRight",
    L"SeInteractiveLogonRight",
    L"SeRemoteInteractiveLogonRight",
    L"SeBatchLogonRight",
    L"SeServiceLogonRight",
    L"SeDenyNetworkLogonRight",
    L"SeDenyInteractiveLogonRight",
    L"SeDenyRemoteInteractiveLogonRight",
    L"SeDenyBatchLogonRight",
    L"SeDenyServiceLogonRight",
    L"SeAssignPrimaryTokenPrivilege",
    L"SeAuditPrivilege",
    L"SeBackupPrivilege",
    L"SeChangeNotifyPrivilege",
    L"SeCreateGlobalPrivilege",
    L"SeCreatePagefilePrivilege",
    L"SeCreatePermanentPrivilege",
    L"SeCreateSymbolicLinkPrivilege",
    L"SeCreateTokenPrivilege",
    L"SeDebugPrivilege",
    L"SeDelegateSessionUserImpersonatePrivilege",
    L"SeEnableDelegationPrivilege",
    L"SeImpersonatePrivilege",
    L"SeIncreaseBasePriorityPrivilege",
    L"SeIncreaseQuotaPrivilege",
    L"SeIncreaseWorkingSetPrivilege",
    L"SeLoadDriverPrivilege",
    L"SeLockMemoryPrivilege",
    L"SeMachineAccountPrivilege",
    L"SeManageVolumePrivilege",
    L"SeProfileSingleProcessPrivilege",
    L"SeRelabelPrivilege",
    L"SeRemoteShutdownPrivilege",
    L"SeRestorePrivilege",
    L"SeSecurityPrivilege",
    L"SeShutdownPrivilege",
    L"SeSyncAgentPrivilege",
    L"SeSystemEnvironmentPrivilege",
    L"SeSystemProfilePrivilege",
    L"SeSystemtimePrivilege",
    L"SeTakeOwnershipPrivilege",
    L"SeTcbPrivilege",
    L"SeTimeZonePrivilege",
    L"SeTrustedCredManAccessPrivilege",
    L"SeUndockPrivilege",
};

} // namespace

std::optional<Name> resolveWellKnown(const std::wstring* domain, const std::wstring& name)
{
    for (const auto& row : wellKnown)
        if ((!domain || sameName(row.domain, *domain)) &&
            (sameName(row.name, name) || (row.otherName && sameName(row.otherName, name))))
            return Name{row.sid, row.domain, row.name, SidTypeWellKnownGroup};
    return std::nullopt;
}

std::optional<Name> wellKnownNameOf(const std::wstring& sid)
{
    for (const auto& row : wellKnown)
        if (sid == row.sid)
            return Name{sid, row.domain, row.name, SidTypeWellKnownGroup};
    return std::nullopt;
}

std::wstring accountRight(const std::wstring& name)
{
    for (const wchar_t* const right : accountRights)
        if (sameName(right, name))
            return right;
    return {};
}

} // namespace whatif
