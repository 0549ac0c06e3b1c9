#include "tests/acl/ace_text.h"

#include "frame/owned.h"

#include <sddl.h>

#include <cstring>
#include <stdexcept>

namespace acetext {

namespace {

BYTE typeNamed(const std::string& name)
{
    if (name[0] == 'T')
        return static_cast<BYTE>(std::stoi(name.substr(1)));
    const BYTE base = name.back() == 'D' ? ACCESS_DENIED_ACE_TYPE : ACCESS_ALLOWED_ACE_TYPE;
    return name[0] == 'O' ? static_cast<BYTE>(base + ACCESS_ALLOWED_OBJECT_ACE_TYPE) : base;
}

Ace aceOf(const std::string& text)
{
    if (text[0] == '#') {
        Ace bytes;
        for (size_t i = 1; i + 1 < text.size(); i += 2)
            bytes.push_back(static_cast<BYTE>(std::stoi(text.substr(i, 2), nullptr, 16)));
        return bytes;
    }
    const size_t end = text.find(';');
    const size_t rights = text.find(';', end + 1) + 1;
    const size_t rightsEnd = text.find(';', rights);
    // Not every platform takes a mask of 0.
    const std::string sddl = "D:(A" + text.substr(end, rights - end) + "0x1" + text.substr(rightsEnd) + ")";
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorA(sddl.c_str(), SDDL_REVISION_1, &descriptor, nullptr))
        throw std::runtime_error("not understood: " + sddl);
    const owned::Local<void> owner(descriptor);
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL acl = nullptr;
    GetSecurityDescriptorDacl(descriptor, &present, &acl, &defaulted);
    Ace ace = acesOf(acl).at(0);
    ace[0] = typeNamed(text.substr(0, end));
    const DWORD mask = std::stoul(text.substr(rights, rightsEnd - rights), nullptr, 16);
    memcpy(&ace[4], &mask, sizeof mask);
    return ace;
}

std::string textOf(const Ace& ace)
{
    constexpr size_t sidOffset = 8;
    char* sid = nullptr;
    const bool hasSid = ace.size() >= sidOffset + 8 &&
                        ace.size() == sidOffset + 8 + ace[sidOffset + 1] * sizeof(DWORD) &&
                        ConvertSidToStringSidA(const_cast<BYTE*>(&ace[sidOffset]), &sid);
    const owned::Local<char> owner(sid);
    std::string text = "(#";
    for (size_t i = 0; i < (hasSid ? sidOffset : ace.size()); ++i)
        for (const int digit : {ace[i] >> 4, ace[i] & 15})
            text += "0123456789abcdef"[digit];
    return text + (hasSid ? std::string(" ") + sid : "") + ")";
}

} // namespace

std::vector<Ace> acesOf(const std::string& text)
{
    std::vector<Ace> aces;
    for (size_t begin = 0; begin < text.size(); begin = text.find(')', begin) + 1)
        aces.push_back(aceOf(text.substr(begin + 1, text.find(')', begin) - begin - 1)));
    return aces;
}

std::vector<Ace> acesOf(const ACL* acl)
{
    std::vector<Ace> aces;
    void* place = nullptr;
    for (DWORD i = 0; acl && GetAce(const_cast<PACL>(acl), i, &place); ++i) {
        const auto* const bytes = static_cast<const BYTE*>(place);
        aces.emplace_back(bytes, bytes + static_cast<const ACE_HEADER*>(place)->AceSize);
    }
    return aces;
}

std::string textOf(const std::vector<Ace>& aces)
{
    std::string text;
    for (const Ace& ace : aces)
        text += textOf(ace);
    return text;
}

std::string canonical(const std::string& text)
{
    return textOf(acesOf(text));
}

std::vector<BYTE> aclOf(const std::string& text)
{
    std::vector<BYTE> bytes(sizeof(ACL));
    const std::vector<Ace> aces = acesOf(text);
    for (const Ace& ace : aces)
        bytes.insert(bytes.end(), ace.begin(), ace.end());
    const ACL header = {ACL_REVISION, 0, static_cast<WORD>(bytes.size()), static_cast<WORD>(aces.size()), 0};
    memcpy(bytes.data(), &header, sizeof header);
    return bytes;
}

std::vector<ACCESS_ALLOWED_ACE*> pointersTo(std::vector<Ace>& aces)
{
    std::vector<ACCESS_ALLOWED_ACE*> pointers;
    for (Ace& ace : aces)
        pointers.push_back(reinterpret_cast<ACCESS_ALLOWED_ACE*>(ace.data()));
    return pointers;
}

} // namespace acetext
