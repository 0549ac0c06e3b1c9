// The local security policy of this machine or of a node, and changes to the rights that an account holds in it.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

// The text is not copied. One longer than the record can carry is cut to what it can; no machine or right is named so.
LSA_UNICODE_STRING sswseLsaString(const wchar_t* text);

// Opens the policy of `node` (NULL: local), usually for all access. 2, or 3 with WSE-000025.
[[nodiscard]] DWORD sswseOpenPolicy(const sswseCall& call, const wchar_t* node, owned::PolicyHandle& policy,
                                    ACCESS_MASK access = POLICY_ALL_ACCESS);

// The domain of the node's own accounts: its own name, on a domain controller that of the domain. The name in it need
// not be terminated. 2, or 3 with WSE-000025.
[[nodiscard]] DWORD sswseReadAccountDomain(const sswseCall& call, const wchar_t* node,
                                           owned::LsaBuffer<POLICY_ACCOUNT_DOMAIN_INFO>& domain);

// One way of changing rights, and how its failure is told.
struct sswseRightsChange
{
    NTSTATUS (*apply)(LSA_HANDLE policy, PSID sid, LSA_UNICODE_STRING* rights, ULONG count);
    DWORD messageId;
    const char* apiName;
    DWORD tolerated; // the Windows error that is no failure; ERROR_SUCCESS when every error is one
};

extern const sswseRightsChange sswseGrantRights;     // WSE-000041
extern const sswseRightsChange sswseRevokeRights;    // WSE-000040; an account that holds no right at all is no failure
extern const sswseRightsChange sswseDenyLogonRights; // grants as well, with WSE-000026

// Changes several rights in one step. 2, or 3 with the change's message.
[[nodiscard]] DWORD sswseChangeRights(const sswseCall& call, const sswseRightsChange& change, LSA_HANDLE policy,
                                      PSID sid, LSA_UNICODE_STRING* rights, ULONG count);

// The same for one right named in multibyte text: 3 also with WSE-00006.
[[nodiscard]] DWORD sswseChangeRight(const sswseCall& call, const sswseRightsChange& change, LSA_HANDLE policy,
                                     PSID sid, const char* right);
