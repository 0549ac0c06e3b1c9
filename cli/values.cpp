#include "cli/values.h"

#include "cli/text.h"
#include "whatif/whatif.h"

#include <sddl.h>

namespace cli {

LocalMemory sidFromText(const std::string& text)
{
    PSID sid = nullptr;
    return LocalMemory(ConvertStringSidToSidA(text.c_str(), &sid) ? sid : nullptr);
}

std::string textOfSid(PSID sid)
{
    char* text = nullptr;
    if (!IsValidSid(sid) || !ConvertSidToStringSidA(sid, &text))
        return "not a valid SID";
    const LocalMemory owner(text);
    return text;
}

std::vector<char> aclFromSddl(const std::string& sddl)
{
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorA(sddl.c_str(), SDDL_REVISION_1, &descriptor, nullptr))
        return {};
    const LocalMemory owner(descriptor);
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL acl = nullptr;
    if (!GetSecurityDescriptorDacl(descriptor, &present, &acl, &defaulted) || !present || !acl)
        return {};
    const char* bytes = reinterpret_cast<const char*>(acl);
    return std::vector<char>(bytes, bytes + acl->AclSize);
}

std::string sddlOf(PACL acl)
{
    SECURITY_DESCRIPTOR descriptor;
    char* text = nullptr;
    if (!InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) ||
        !SetSecurityDescriptorDacl(&descriptor, TRUE, acl, FALSE) ||
        !ConvertSecurityDescriptorToStringSecurityDescriptorA(&descriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION,
                                                              &text, nullptr))
        return "not a valid access-control list";
    const LocalMemory owner(text);
    return text;
}

std::string objectName(const Parameter& parameter, const std::string& given)
{
    const std::string name = (parameter.kind == Kind::token ? "token of " : "") + given;
    return whatif::namesObject(wideFromUtf8(name)) ? name : "";
}

std::string nameOfKey(HKEY key)
{
    static const std::pair<HKEY, const char*> names[] = {
        {HKEY_LOCAL_MACHINE, "HKEY_LOCAL_MACHINE"}, {HKEY_CURRENT_CONFIG, "HKEY_CURRENT_CONFIG"},
        {HKEY_CLASSES_ROOT, "HKEY_CLASSES_ROOT"},   {HKEY_USERS, "HKEY_USERS"},
        {HKEY_CURRENT_USER, "HKEY_CURRENT_USER"},   {HKEY_PERFORMANCE_DATA, "HKEY_PERFORMANCE_DATA"},
    };
    for (const auto& [known, name] : names)
        if (known == key)
            return name;
    return "unknown key";
}

std::vector<std::string> textsOf(char** strings, size_t count, UINT codePage)
{
    std::vector<std::string> texts;
    for (size_t i = 0; strings && i < count; ++i)
        texts.push_back(strings[i] ? utf8FromCodePage(strings[i], codePage) : "");
    return texts;
}

} // namespace cli
