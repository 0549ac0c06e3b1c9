#include "accounts/principal_names.h"

#include "accounts/account_names.h"
#include "accounts/lsa_policy.h"
#include "frame/text.h"

#include <cwchar>
#include <iterator>

namespace {

constexpr wchar_t localSystemSid[] = L"S-1-5-18";

constexpr struct
{
    const wchar_t* name;
    const wchar_t* sid;
} knownNames[] = {
    {sswseLocalSystem, localSystemSid},
    {L".\\LocalSystem", localSystemSid},
    {L"NT AUTHORITY\\SYSTEM", localSystemSid},
    {L"NT AUTHORITY\\LocalService", L"S-1-5-19"},
    {L"NT AUTHORITY\\NetworkService", L"S-1-5-20"},
};

bool isSame(const wchar_t* text, size_t length, const wchar_t* other, size_t otherLength)
{
    return CompareStringOrdinal(text, static_cast<int>(length), other, static_cast<int>(otherLength), TRUE) ==
           CSTR_EQUAL;
}

bool isSame(const wchar_t* text, const wchar_t* other)
{
    return isSame(text, wcslen(text), other, wcslen(other));
}

bool isSidText(const wchar_t* name)
{
    constexpr wchar_t start[] = L"S-1-";
    constexpr size_t length = std::size(start) - 1;
    return wcslen(name) >= length && isSame(name, length, start, length);
}

// The machine may go by its computer name or, when it is another one, by a DNS name that begins with it.
bool isMachine(const wchar_t* machine, const wchar_t* domain, size_t length)
{
    while (*machine == L'\\')
        ++machine;
    const wchar_t* const dot = wcschr(machine, L'.');
    return isSame(domain, length, machine, wcslen(machine)) ||
           (dot && isSame(domain, length, machine, static_cast<size_t>(dot - machine)));
}

// Whether it is the machine's name and LocalSystem. 2, or 3 with WSE-000019.
DWORD isLocalSystemOf(const sswseCall& call, const wchar_t* machine, const wchar_t* name, bool& answer)
{
    answer = false;
    const wchar_t* const separator = wcschr(name, L'\\');
    if (!separator || !isSame(separator + 1, sswseLocalSystem))
        return SSWSE_SUCCESS;
    wchar_t computer[MAX_COMPUTERNAME_LENGTH + 1];
    if (!machine && sswseComputerName(call, computer) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    answer = isMachine(machine ? machine : computer, name, static_cast<size_t>(separator - name));
    return SSWSE_SUCCESS;
}

// The string form of the SID that a name stands for without a look-up; stays NULL for other names.
DWORD findKnownSid(const sswseCall& call, const wchar_t* machine, const wchar_t* name, const wchar_t** sidText)
{
    for (const auto& known : knownNames)
        if (isSame(name, known.name))
            *sidText = known.sid;
    bool isLocalSystem = false;
    if (!*sidText && isLocalSystemOf(call, machine, name, isLocalSystem) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    if (isLocalSystem)
        *sidText = localSystemSid;
    return SSWSE_SUCCESS;
}

// Both texts, the first of which need not be terminated.
DWORD join(const sswseCall& call, const wchar_t* first, size_t length, const wchar_t* second,
           owned::Heap<wchar_t>& joined)
{
    joined = owned::allocate<wchar_t>((length + wcslen(second) + 1) * sizeof(wchar_t));
    if (!joined)
        return sswseOutOfMemory(call);
    wmemcpy(joined.get(), first, length);
    wcscpy(joined.get() + length, second);
    return SSWSE_SUCCESS;
}

// A text that is no SID counts for `lookupError` as a name that nobody has.
DWORD convertSid(const sswseCall& call, const wchar_t* sidText, owned::Heap<void>& sid, DWORD& lookupError)
{
    owned::Local<void> converted;
    if (sswseSidFromString(call, sidText, converted) == SSWSE_SUCCESS)
        return sswseCopySid(call, converted.get(), sid);
    lookupError = ERROR_NONE_MAPPED;
    return SSWSE_FAILURE;
}

DWORD lookUp(const sswseCall& call, const wchar_t* machine, const wchar_t* name, owned::Heap<void>& sid,
             DWORD& lookupError)
{
    sswseAccount account;
    const DWORD status = sswseLookupAccount(call, machine, name, "LookUpAccountName", account);
    sid = std::move(account.sid);
    lookupError = account.osError;
    return status;
}

// `name` begins at the backslash.
DWORD lookUpInAccountDomain(const sswseCall& call, const wchar_t* machine, const wchar_t* name, owned::Heap<void>& sid,
                            DWORD& lookupError)
{
    owned::LsaBuffer<POLICY_ACCOUNT_DOMAIN_INFO> domain;
    if (sswseReadAccountDomain(call, machine, domain) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    const LSA_UNICODE_STRING& text = domain->DomainName;
    owned::Heap<wchar_t> qualified;
    const DWORD status = join(call, text.Buffer, text.Length / sizeof(wchar_t), name, qualified);
    return status == SSWSE_SUCCESS ? lookUp(call, machine, qualified.get(), sid, lookupError) : status;
}

// Answers the spellings of its own; `isPlain` tells that the name is none and is to be looked up as it is.
DWORD resolveSpelling(const sswseCall& call, const wchar_t* name, const wchar_t* machine, owned::Heap<void>& sid,
                      DWORD& lookupError, bool& isPlain)
{
    isPlain = false;
    if (isSidText(name)) {
        owned::Heap<wchar_t> capital; // the platform documents the form with a capital only
        const DWORD status = join(call, L"S", 1, name + 1, capital);
        return status == SSWSE_SUCCESS ? convertSid(call, capital.get(), sid, lookupError) : status;
    }
    const wchar_t* known = nullptr;
    if (findKnownSid(call, machine, name, &known) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    if (known)
        return convertSid(call, known, sid, lookupError);
    if (wcsncmp(name, L".\\", 2) == 0)
        return lookUpInAccountDomain(call, machine, name + 1, sid, lookupError);
    isPlain = true;
    return SSWSE_SUCCESS;
}

} // namespace

DWORD sswseSidOfPrincipal(const sswseCall& call, const char* username, const wchar_t* machine, owned::Heap<void>& sid)
{
    owned::Heap<wchar_t> name;
    if (sswseToWide(call, username, name) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    DWORD lookupError = ERROR_SUCCESS;
    bool isPlain = false;
    const DWORD status = resolveSpelling(call, name.get(), machine, sid, lookupError, isPlain);
    return isPlain ? sswseSidOfNameOnNode(call, username, machine, sid) : status;
}

DWORD sswseSidOfPrincipal(const sswseCall& call, const wchar_t* username, const wchar_t* machine,
                          owned::Heap<void>& sid, DWORD* lookupError)
{
    DWORD osError = ERROR_SUCCESS;
    bool isPlain = false;
    DWORD status = resolveSpelling(call, username, machine, sid, osError, isPlain);
    if (isPlain)
        status = lookUp(call, machine, username, sid, osError);
    if (lookupError)
        *lookupError = osError;
    return status;
}
