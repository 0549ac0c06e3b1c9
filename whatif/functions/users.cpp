// Local users and the password policy.
// Codes: NetUserAdd, NetUserDel, USER_INFO_1, NetValidatePasswordPolicy.
#include "whatif/functions/packed.h"
#include "whatif/model/local_groups.h"
#include "whatif/model/sids.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/spelling.h"

#include <algorithm>

namespace whatif {

namespace {

constexpr size_t longestUserName = 20; // LM20_UNLEN

NET_API_STATUS wrong(LPDWORD wrongField, DWORD field, NET_API_STATUS status)
{
    if (wrongField)
        *wrongField = field;
    return status;
}

// What stands in the way of a new user of that name.
NET_API_STATUS checkFree(Node& node, const std::wstring& name)
{
    if (findGroup(node, name))
        return ERROR_ALIAS_EXISTS;
    const auto other = resolve(node, accountDomain(node) + L"\\" + name);
    if (other && other->use == SidTypeGroup) // of a domain controller
        return NERR_GroupExists;
    return other && other->use == SidTypeUser ? NERR_UserExists : NERR_Success;
}

NET_API_STATUS WINAPI userAdd(LPCWSTR server, DWORD level, LPBYTE buffer, LPDWORD wrongField)
{
    Locked world;
    Node* const node = world->find(server);
    if (!node)
        return ERROR_BAD_NETPATH;
    if (level < 1 || level > 4)
        return ERROR_INVALID_LEVEL;
    if (!buffer)
        return ERROR_INVALID_PARAMETER;
    const auto& info = *reinterpret_cast<const USER_INFO_1*>(buffer); // what all these levels begin with
    if (!isAccountName(info.usri1_name, longestUserName))
        return wrong(wrongField, USER_NAME_PARMNUM, NERR_BadUsername);
    if (info.usri1_priv != USER_PRIV_USER)
        return wrong(wrongField, USER_PRIV_PARMNUM, ERROR_INVALID_PARAMETER);
    wrong(wrongField, PARM_ERROR_NONE, NERR_Success);
    const std::wstring name = info.usri1_name;
    if (const NET_API_STATUS status = checkFree(*node, name))
        return status;
    const std::wstring password = textOrEmpty(info.usri1_password);
    if (password.size() < node->minimumPasswordLength && !(info.usri1_flags & UF_PASSWD_NOTREQD))
        return wrong(wrongField, USER_PASSWORD_PARMNUM, NERR_PasswordTooShort);
    Account account;
    account.name = name;
    account.sid = newSid(*node);
    account.password = password;
    // UF_SCRIPT is documented as one that must be set. The library leaves it out; that Windows accepts this is not
    // evidenced.
    account.flags = info.usri1_flags;
    node->accounts.push_back(account);
    world->record({ChangeKind::user, node->name, L"user " + name, L"", {}, State::Parts{{L"sid", account.sid}}});
    if (!password.empty())
        world->record({ChangeKind::user, node->name, L"user " + name, L"password", {}, {}});
    return NERR_Success;
}

// The rights that were given to the user stay with the SID, as they do on Windows.
NET_API_STATUS WINAPI userDel(LPCWSTR server, LPCWSTR name)
{
    Locked world;
    Node* const node = world->find(server);
    if (!node)
        return ERROR_BAD_NETPATH;
    if (!name)
        return ERROR_INVALID_PARAMETER;
    const auto user = resolve(*node, accountDomain(*node) + L"\\" + name);
    if (!user || user->use != SidTypeUser)
        return NERR_UserNotFound;
    if (isBuiltIn(user->sid))
        return ERROR_SPECIAL_ACCOUNT;
    leaveGroups(*world, *node, user->sid);
    node->accounts.erase(std::remove_if(node->accounts.begin(), node->accounts.end(),
                                        [&](const Account& account) { return account.sid == user->sid; }),
                         node->accounts.end());
    if (node->readsMachine)
        node->gone.insert(L"user " + user->name);
    world->record({ChangeKind::user, node->name, L"user " + user->name, L"", State::Parts{{L"sid", user->sid}}, {}});
    return NERR_Success;
}

// ---- password policy ---------------------------------------------------------------------------------------------

using Validate = NET_API_STATUS(WINAPI*)(LPCWSTR, LPVOID, NET_VALIDATE_PASSWORD_TYPE, LPVOID, LPVOID*);
using FreeOutput = NET_API_STATUS(WINAPI*)(LPVOID*);

template <class Function>
Function machineFunction(const char* name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"netapi32.dll"), name)));
}

// What the real machine's policy says: its rules go further than a length.
NET_API_STATUS askMachine(NET_VALIDATE_PASSWORD_TYPE type, LPVOID input, NET_API_STATUS& verdict)
{
    const auto validate = machineFunction<Validate>("NetValidatePasswordPolicy");
    const auto release = machineFunction<FreeOutput>("NetValidatePasswordPolicyFree");
    if (!validate || !release)
        return ERROR_CALL_NOT_IMPLEMENTED;
    void* output = nullptr;
    const NET_API_STATUS status = validate(nullptr, nullptr, type, input, &output);
    if (status == NERR_Success && output) {
        verdict = static_cast<const NET_VALIDATE_OUTPUT_ARG*>(output)->ValidationStatus;
        release(&output);
    }
    return status;
}

NET_API_STATUS judge(const Node& node, const wchar_t* password)
{
    return (password ? wcslen(password) : 0) < node.minimumPasswordLength ? NERR_PasswordTooShort : NERR_Success;
}

NET_API_STATUS WINAPI validatePasswordPolicy(LPCWSTR server, LPVOID qualifier, NET_VALIDATE_PASSWORD_TYPE type,
                                             LPVOID input, LPVOID* output)
{
    Locked world;
    const Node* const node = world->find(server);
    if (!node)
        return RPC_S_SERVER_UNAVAILABLE;
    if (qualifier || !input || !output)
        return ERROR_INVALID_PARAMETER;
    *output = nullptr;
    NET_API_STATUS verdict = NERR_Success;
    if (node->readsMachine) {
        if (const NET_API_STATUS status = askMachine(type, input, verdict))
            return status;
    } else if (type == NetValidatePasswordChange) {
        verdict = judge(*node, static_cast<const NET_VALIDATE_PASSWORD_CHANGE_INPUT_ARG*>(input)->ClearPassword);
    } else if (type == NetValidatePasswordReset) {
        verdict = judge(*node, static_cast<const NET_VALIDATE_PASSWORD_RESET_INPUT_ARG*>(input)->ClearPassword);
    } else if (type != NetValidateAuthentication) {
        return ERROR_INVALID_PARAMETER;
    }
    Packed block(sizeof(NET_VALIDATE_OUTPUT_ARG));
    block.value(offsetof(NET_VALIDATE_OUTPUT_ARG, ValidationStatus), verdict);
    return handOut(block, reinterpret_cast<LPBYTE*>(output));
}

NET_API_STATUS WINAPI validatePasswordPolicyFree(LPVOID* output)
{
    return output ? NetApiBufferFree(*output) : ERROR_INVALID_PARAMETER;
}

} // namespace

std::vector<Replacement> userReplacements()
{
    return {
        returningError<&userAdd>("NetUserAdd"),
        returningError<&userDel>("NetUserDel"),
        returningError<&validatePasswordPolicy>("NetValidatePasswordPolicy"),
        returningError<&validatePasswordPolicyFree>("NetValidatePasswordPolicyFree"),
    };
}

} // namespace whatif
