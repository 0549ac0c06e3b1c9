#include "accounts/lsa_policy.h"

#include "frame/text.h"

#include <algorithm>
#include <cwchar>

namespace {

NTSTATUS addRights(LSA_HANDLE policy, PSID sid, LSA_UNICODE_STRING* rights, ULONG count)
{
    return LsaAddAccountRights(policy, sid, rights, count);
}

NTSTATUS removeRights(LSA_HANDLE policy, PSID sid, LSA_UNICODE_STRING* rights, ULONG count)
{
    return LsaRemoveAccountRights(policy, sid, FALSE, rights, count);
}

} // namespace

const sswseRightsChange sswseGrantRights = {addRights, WSE_GRANT_PRIVILEGE, "LsaAddAccountRights", ERROR_SUCCESS};
const sswseRightsChange sswseRevokeRights = {removeRights, WSE_REVOKE_PRIVILEGE, "LsaRemoveAccountRights",
                                             ERROR_FILE_NOT_FOUND};
const sswseRightsChange sswseDenyLogonRights = {addRights, WSE_DENY_LOGON, "LsaAddAccountRights", ERROR_SUCCESS};

LSA_UNICODE_STRING sswseLsaString(const wchar_t* text)
{
    constexpr size_t longest = USHRT_MAX / sizeof(wchar_t) - 1;
    const size_t length = std::min(wcslen(text), longest);
    return {static_cast<USHORT>(length * sizeof(wchar_t)), static_cast<USHORT>((length + 1) * sizeof(wchar_t)),
            const_cast<wchar_t*>(text)};
}

DWORD sswseOpenPolicy(const sswseCall& call, const wchar_t* node, owned::PolicyHandle& policy, ACCESS_MASK access)
{
    LSA_OBJECT_ATTRIBUTES attributes = {};
    LSA_UNICODE_STRING machine = {};
    if (node)
        machine = sswseLsaString(node);
    LSA_HANDLE opened = nullptr;
    const NTSTATUS result = LsaOpenPolicy(node ? &machine : nullptr, &attributes, access, &opened);
    if (result != 0)
        return sswseFail(call, WSE_OPEN_POLICY, LsaNtStatusToWinError(result), "LsaOpenPolicy");
    policy.reset(opened);
    return SSWSE_SUCCESS;
}

DWORD sswseReadAccountDomain(const sswseCall& call, const wchar_t* node,
                             owned::LsaBuffer<POLICY_ACCOUNT_DOMAIN_INFO>& domain)
{
    owned::PolicyHandle policy;
    if (sswseOpenPolicy(call, node, policy, POLICY_VIEW_LOCAL_INFORMATION) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    void* buffer = nullptr;
    const NTSTATUS result = LsaQueryInformationPolicy(policy.get(), PolicyAccountDomainInformation, &buffer);
    domain.reset(static_cast<POLICY_ACCOUNT_DOMAIN_INFO*>(buffer));
    if (result != 0)
        return sswseFail(call, WSE_OPEN_POLICY, LsaNtStatusToWinError(result), "LsaQueryInformationPolicy");
    return SSWSE_SUCCESS;
}

DWORD sswseChangeRights(const sswseCall& call, const sswseRightsChange& change, LSA_HANDLE policy, PSID sid,
                        LSA_UNICODE_STRING* rights, ULONG count)
{
    const NTSTATUS result = change.apply(policy, sid, rights, count);
    const DWORD osError = result == 0 ? ERROR_SUCCESS : LsaNtStatusToWinError(result);
    if (result == 0 || (change.tolerated != ERROR_SUCCESS && osError == change.tolerated))
        return SSWSE_SUCCESS;
    return sswseFail(call, change.messageId, osError, change.apiName);
}

DWORD sswseChangeRight(const sswseCall& call, const sswseRightsChange& change, LSA_HANDLE policy, PSID sid,
                       const char* right)
{
    owned::Heap<wchar_t> name;
    if (sswseToWide(call, right, name) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    LSA_UNICODE_STRING text = sswseLsaString(name.get());
    return sswseChangeRights(call, change, policy, sid, &text, 1);
}
