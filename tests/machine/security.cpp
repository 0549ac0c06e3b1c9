// The security of files and keys, written and read back with what is inherited; who has access. An object is a key when
// its name begins with MACHINE.
#include "frame/owned.h"
#include "tests/machine/place.h"
#include "whatif/model/sids.h"
#include "whatif/security/descriptors.h"

#include <aclapi.h>
#include <authz.h>

namespace machine {

namespace {

using std::to_wstring;

SE_OBJECT_TYPE typeOf(const Words& words)
{
    return wcsncmp(words[0], L"MACHINE", 7) == 0 ? SE_REGISTRY_KEY : SE_FILE_OBJECT;
}

// NAME; owner=1 for owner and group as well.
std::wstring readNamed(Place& place, const Words& words)
{
    const SECURITY_INFORMATION owners =
        words.find(L"owner") ? OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION : 0;
    PSID owner = nullptr, group = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    const DWORD error = ON(GetNamedSecurityInfoW)(words[0], typeOf(words), owners | DACL_SECURITY_INFORMATION, &owner,
                                                  &group, nullptr, nullptr, &descriptor);
    const owned::Local<void> release(descriptor);
    const std::wstring text = error ? to_wstring(error) : whatif::textOf(whatif::securityOf(descriptor));
    return error || !owners
               ? text
               : L"O:" + whatif::sidText(owner) + L"G:" + whatif::sidText(group) + text.substr(text.find(L"D:"));
}

// NAME SDDL; protected=1 or 0, left as it is without.
std::wstring writeNamed(Place& place, const Words& words)
{
    whatif::Security security = whatif::securityOf(std::wstring(words[1]));
    const SECURITY_INFORMATION marks[] = {UNPROTECTED_DACL_SECURITY_INFORMATION, PROTECTED_DACL_SECURITY_INFORMATION,
                                          0};
    return to_wstring(ON(SetNamedSecurityInfoW)(
        const_cast<wchar_t*>(words[0]), typeOf(words), DACL_SECURITY_INFORMATION | marks[words.number(L"protected", 2)],
        nullptr, nullptr, security.hasDacl ? reinterpret_cast<PACL>(security.dacl.data()) : nullptr, nullptr));
}

std::wstring readFile(Place& place, const Words& words)
{
    BYTE bytes[4096];
    DWORD needed = 0;
    return ON(GetFileSecurityW)(words[0], DACL_SECURITY_INFORMATION, bytes, words.number(L"size", sizeof bytes),
                                &needed)
               ? whatif::textOf(whatif::securityOf(static_cast<PSECURITY_DESCRIPTOR>(bytes)))
               : said(false);
}

std::wstring writeFile(Place& place, const Words& words)
{
    std::vector<BYTE> bytes =
        whatif::selfRelative(whatif::securityOf(std::wstring(words[1])), DACL_SECURITY_INFORMATION);
    return said(ON(SetFileSecurityW)(words[0], DACL_SECURITY_INFORMATION, bytes.data()));
}

std::wstring createKey(Place& place, const Words& words)
{
    HKEY key = nullptr;
    const LSTATUS status =
        ON(RegCreateKeyExW)(HKEY_LOCAL_MACHINE, words[0], 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    if (status == ERROR_SUCCESS)
        ON(RegCloseKey)(key);
    return to_wstring(status);
}

// KEY NAME TEXT
std::wstring setValue(Place& place, const Words& words)
{
    HKEY key = nullptr;
    if (const LSTATUS status = ON(RegOpenKeyExW)(HKEY_LOCAL_MACHINE, words[0], 0, KEY_SET_VALUE, &key))
        return to_wstring(status);
    const LSTATUS status = ON(RegSetValueExW)(key, words[1], 0, REG_SZ, reinterpret_cast<const BYTE*>(words[2]),
                                              static_cast<DWORD>((wcslen(words[2]) + 1) * sizeof(wchar_t)));
    ON(RegCloseKey)(key);
    return to_wstring(status);
}

std::wstring deleteKey(Place& place, const Words& words)
{
    return to_wstring(ON(RegDeleteKeyW)(HKEY_LOCAL_MACHINE, words[0]));
}

// ACCOUNT SDDL; the mask that is granted, or the error.
std::wstring checkAccess(Place& place, const Words& words)
{
    AUTHZ_RESOURCE_MANAGER_HANDLE manager = nullptr;
    AUTHZ_CLIENT_CONTEXT_HANDLE context = nullptr;
    std::vector<BYTE> user = place.sidOf(words[0]);
    std::vector<BYTE> descriptor = whatif::selfRelative(whatif::securityOf(std::wstring(words[1])),
                                                        OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION);
    AUTHZ_ACCESS_REQUEST request = {};
    request.DesiredAccess = words.number(L"desired", MAXIMUM_ALLOWED);
    DWORD mask = 0;
    DWORD error = 0;
    AUTHZ_ACCESS_REPLY reply = {1, &mask, nullptr, &error};
    std::wstring answer;
    ON(AuthzInitializeResourceManager)(AUTHZ_RM_FLAG_NO_AUDIT, nullptr, nullptr, nullptr, nullptr, &manager);
    if (!ON(AuthzInitializeContextFromSid)(0, user.data(), manager, nullptr, LUID{}, nullptr, &context) ||
        !ON(AuthzAccessCheck)(0, context, &request, nullptr, descriptor.data(), nullptr, 0, &reply, nullptr))
        answer = L"fails with " + said(false);
    else
        answer = error ? to_wstring(error) : L"mask " + to_wstring(mask);
    if (context)
        ON(AuthzFreeContext)(context);
    if (manager)
        ON(AuthzFreeResourceManager)(manager);
    return answer;
}

} // namespace

std::map<std::string, Verb> securityVerbs()
{
    return {
        {"GetNamedSecurityInfo", readNamed}, {"SetNamedSecurityInfo", writeNamed}, {"GetFileSecurity", readFile},
        {"SetFileSecurity", writeFile},      {"RegCreateKeyEx", createKey},        {"RegSetValueEx", setValue},
        {"RegDeleteKey", deleteKey},         {"AuthzAccessCheck", checkAccess},
    };
}

} // namespace machine
