#include "whatif/security/descriptors.h"

#include "frame/owned.h"
#include "whatif/model/sids.h"
#include "whatif/redirect/active.h"

#include <sddl.h>

#include <cstring>
#include <memory>
#include <stdexcept>
#include <unordered_map>

namespace whatif {

namespace {

constexpr SECURITY_DESCRIPTOR_CONTROL keptFlags = SE_DACL_PROTECTED | SE_DACL_AUTO_INHERITED;
constexpr wchar_t noDacl[] = L"D:NO_ACCESS_CONTROL";
constexpr wchar_t hexPrefix[] = L"hex:";
constexpr size_t cachedTexts = 4096; // the objects of a tree share a few

// An absolute descriptor that points into `security`.
struct Absolute
{
    SECURITY_DESCRIPTOR descriptor;
    std::vector<BYTE> owner;
    std::vector<BYTE> group;

    Absolute(const Security& security, SECURITY_INFORMATION parts)
    {
        owner = security.owner.empty() ? sidBytes(L"S-1-5-32-544") : security.owner;
        group = security.group.empty() ? owner : security.group;
        InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
        if (parts & OWNER_SECURITY_INFORMATION)
            SetSecurityDescriptorOwner(&descriptor, owner.data(), FALSE);
        if (parts & GROUP_SECURITY_INFORMATION)
            SetSecurityDescriptorGroup(&descriptor, group.data(), FALSE);
        if (!(parts & DACL_SECURITY_INFORMATION))
            return;
        auto* const dacl = reinterpret_cast<PACL>(const_cast<BYTE*>(security.dacl.data()));
        SetSecurityDescriptorDacl(&descriptor, TRUE, security.hasDacl ? dacl : nullptr, FALSE);
        descriptor.Control = static_cast<SECURITY_DESCRIPTOR_CONTROL>(descriptor.Control | security.flags);
    }
};

std::wstring hexOf(const std::vector<BYTE>& bytes)
{
    constexpr wchar_t digits[] = L"0123456789abcdef";
    std::wstring text = hexPrefix;
    for (const BYTE byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::vector<BYTE> bytesOf(const std::wstring& text)
{
    std::vector<BYTE> bytes;
    for (size_t i = wcslen(hexPrefix); i + 1 < text.size(); i += 2)
        bytes.push_back(static_cast<BYTE>(std::stoul(text.substr(i, 2), nullptr, 16)));
    return bytes;
}

[[noreturn]] void refuse(const std::wstring& text)
{
    throw std::runtime_error("not a security descriptor: " + std::string(text.begin(), text.end()));
}

Security parse(const std::wstring& text)
{
    if (text.compare(0, wcslen(hexPrefix), hexPrefix) == 0) {
        std::vector<BYTE> bytes = bytesOf(text);
        if (bytes.size() < sizeof(SECURITY_DESCRIPTOR_RELATIVE) || !IsValidSecurityDescriptor(bytes.data()))
            refuse(text);
        return securityOf(bytes.data());
    }
    const size_t dacl = text.find(L"D:");
    const bool open = dacl != std::wstring::npos && text.compare(dacl, std::wstring::npos, noDacl) == 0;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    // The platform may not know the word for "no DACL".
    const std::wstring known = open ? text.substr(0, dacl) + L"D:" : text;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(known.c_str(), SDDL_REVISION_1, &descriptor, nullptr))
        refuse(text);
    const owned::Local<void> release(descriptor);
    Security security = securityOf(descriptor);
    security.hasDacl = !open && dacl != std::wstring::npos;
    return security;
}

std::wstring sidPart(const wchar_t* name, const std::vector<BYTE>& sid)
{
    return sid.empty() ? L"" : name + sidText(const_cast<BYTE*>(sid.data()));
}

std::wstring format(const Security& security)
{
    const SECURITY_INFORMATION parts = DACL_SECURITY_INFORMATION |
                                       (security.owner.empty() ? 0 : OWNER_SECURITY_INFORMATION) |
                                       (security.group.empty() ? 0 : GROUP_SECURITY_INFORMATION);
    if (!security.hasDacl)
        return sidPart(L"O:", security.owner) + sidPart(L"G:", security.group) + noDacl;
    Absolute absolute(security, parts);
    LPWSTR text = nullptr;
    if (!ConvertSecurityDescriptorToStringSecurityDescriptorW(&absolute.descriptor, SDDL_REVISION_1, parts, &text,
                                                              nullptr))
        return hexOf(selfRelative(security, parts));
    const owned::Local<wchar_t> release(text);
    const Security back = securityOf(std::wstring(text));
    return back.dacl == security.dacl && back.flags == security.flags ? text : hexOf(selfRelative(security, parts));
}

// The ACL without the slack behind its entries, under the revision that they need.
std::vector<BYTE> trimmed(const ACL* acl)
{
    std::vector<BYTE> bytes(sizeof(ACL));
    BYTE revision = ACL_REVISION;
    const auto* const begin = reinterpret_cast<const BYTE*>(acl);
    size_t at = sizeof(ACL);
    for (WORD i = 0; i < acl->AceCount && at + sizeof(ACE_HEADER) <= acl->AclSize; ++i) {
        const auto* const ace = reinterpret_cast<const ACE_HEADER*>(begin + at);
        const WORD size = ace->AceSize;
        if (size < sizeof(ACE_HEADER) || at + size > acl->AclSize)
            break;
        bytes.insert(bytes.end(), begin + at, begin + at + size);
        at += size;
        if (isObjectEntry(ace->AceType))
            revision = ACL_REVISION_DS;
    }
    const ACL header = {revision, 0, static_cast<WORD>(bytes.size()), acl->AceCount, 0};
    memcpy(bytes.data(), &header, sizeof header);
    return bytes;
}

std::string keyOf(const Security& security)
{
    std::string key(security.owner.begin(), security.owner.end());
    key += '|';
    key.append(security.group.begin(), security.group.end());
    key.append(reinterpret_cast<const char*>(&security.flags), sizeof security.flags);
    key += security.hasDacl ? '+' : '-';
    return key.append(security.dacl.begin(), security.dacl.end());
}

template <class Key, class Value, class Make>
const Value& cached(std::unordered_map<Key, Value>& cache, const Key& key, Make make)
{
    const auto found = cache.find(key);
    if (found != cache.end())
        return found->second;
    if (cache.size() >= cachedTexts)
        cache.clear();
    Value value = make(); // may use the cache itself
    return cache.insert_or_assign(key, std::move(value)).first->second;
}

} // namespace

bool isObjectEntry(BYTE type)
{
    return (type >= ACCESS_MIN_MS_OBJECT_ACE_TYPE && type <= ACCESS_MAX_MS_OBJECT_ACE_TYPE) ||
           type == ACCESS_ALLOWED_CALLBACK_OBJECT_ACE_TYPE || type == ACCESS_DENIED_CALLBACK_OBJECT_ACE_TYPE;
}

// Both caches are used under the lock of the active world, or before there is one.
Security securityOf(const std::wstring& text)
{
    static std::unordered_map<std::wstring, Security> cache;
    return cached(cache, text, [&] { return parse(text); });
}

std::wstring textOf(const Security& security)
{
    static std::unordered_map<std::string, std::wstring> cache;
    return cached(cache, keyOf(security), [&] { return format(security); });
}

Security securityOf(PSECURITY_DESCRIPTOR descriptor)
{
    Security security;
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    PSID owner = nullptr;
    PSID group = nullptr;
    PACL dacl = nullptr;
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    GetSecurityDescriptorControl(descriptor, &control, &revision);
    GetSecurityDescriptorOwner(descriptor, &owner, &defaulted);
    GetSecurityDescriptorGroup(descriptor, &group, &defaulted);
    GetSecurityDescriptorDacl(descriptor, &present, &dacl, &defaulted);
    security.flags = control & keptFlags;
    security.hasDacl = present && dacl;
    const ACL empty = {ACL_REVISION, 0, sizeof(ACL), 0, 0};
    security.dacl = trimmed(security.hasDacl ? dacl : &empty);
    if (owner && sidText(owner) != L"S-1-5-32-544")
        security.owner = sidBytes(sidText(owner));
    if (group)
        security.group = sidBytes(sidText(group));
    return security;
}

std::vector<BYTE> selfRelative(const Security& security, SECURITY_INFORMATION parts)
{
    Absolute absolute(security, parts);
    DWORD size = 0;
    MakeSelfRelativeSD(&absolute.descriptor, nullptr, &size);
    std::vector<BYTE> bytes(size);
    if (!MakeSelfRelativeSD(&absolute.descriptor, bytes.data(), &size))
        throw std::runtime_error("a security descriptor cannot be copied");
    return bytes;
}

BOOL handOut(const Security& security, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR buffer, DWORD size,
             LPDWORD needed)
{
    const std::vector<BYTE> bytes = selfRelative(security, parts);
    *needed = static_cast<DWORD>(bytes.size());
    if (!buffer || size < bytes.size())
        return failWith(ERROR_INSUFFICIENT_BUFFER);
    memcpy(buffer, bytes.data(), bytes.size());
    return TRUE;
}

DWORD handOut(const Security& security, SECURITY_INFORMATION parts, PSID* owner, PSID* group, PACL* dacl,
              PSECURITY_DESCRIPTOR* descriptor)
{
    const std::vector<BYTE> bytes = selfRelative(security, parts);
    void* const block = LocalAlloc(LMEM_FIXED, bytes.size());
    if (!block)
        return ERROR_NOT_ENOUGH_MEMORY;
    memcpy(block, bytes.data(), bytes.size());
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    if (owner)
        GetSecurityDescriptorOwner(block, owner, &defaulted);
    if (group)
        GetSecurityDescriptorGroup(block, group, &defaulted);
    if (dacl && (parts & DACL_SECURITY_INFORMATION))
        GetSecurityDescriptorDacl(block, &present, dacl, &defaulted);
    *descriptor = block;
    return ERROR_SUCCESS;
}

} // namespace whatif
