#include "whatif/security/object_security.h"

#include "whatif/model/names.h"
#include "whatif/model/sids.h"
#include "whatif/security/inheritance.h"
#include "whatif/spelling.h"
#include "whatif/whatif.h"

namespace whatif {

namespace {

// ---- what an object has that nobody described or changed ---------------------------------------------------------

// Where inheritance begins on a fresh server: the root of a drive, and the protected keys of the machine.
constexpr wchar_t driveSecurity[] =
    L"D:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;BU)(A;CI;LC;;;BU)(A;CIIO;DC;;;BU)(A;OICIIO;GA;;;CO)";

constexpr struct
{
    const wchar_t* name;
    const wchar_t* security;
} keySecurity[] = {
    {L"registry HKLM", L"D:(A;CI;KA;;;BA)(A;CI;KA;;;SY)(A;CI;KR;;;WD)(A;CI;KR;;;RC)"},
    {L"registry HKU", L"D:(A;CI;KR;;;WD)(A;CI;KR;;;RC)(A;CI;KA;;;BA)(A;CI;KA;;;SY)"},
    {L"registry HKLM\\SOFTWARE",
     L"D:PAI(A;CI;KR;;;BU)(A;CI;KA;;;BA)(A;CI;KA;;;SY)(A;CIIO;KA;;;CO)(A;CI;KR;;;S-1-15-2-1)"},
    {L"registry HKLM\\SYSTEM",
     L"D:PAI(A;CI;KR;;;BU)(A;CI;KA;;;BA)(A;CI;KA;;;SY)(A;CIIO;KA;;;CO)(A;CI;KR;;;S-1-15-2-1)"},
};

// The security with which the object came to be. Nothing is passed on when a file's is written, so that those below it
// that nobody has touched have what its first one passed on; keys pass theirs on, and one that nobody has touched has
// what its parent's passes on now, or did when the key was made.
Security originalSecurity(const Object& object)
{
    for (const auto* held : {&object.node->securityBefore, &object.node->security}) {
        if (const std::wstring* const found = held->find(object.name))
            return securityOf(*found);
    }
    for (const auto& row : keySecurity)
        if (!isFile(object) && sameName(object.name, row.name))
            return securityOf(std::wstring(row.security));
    Object parent;
    if (!parentOf(object, parent))
        return securityOf(std::wstring(driveSecurity));
    Security above;
    if (isFile(object) || readSecurity(parent, above) != ERROR_SUCCESS)
        above = originalSecurity(parent);
    return inheritedFrom(above, object.container, *object.rights);
}

// ---- the real machine --------------------------------------------------------------------------------------------

constexpr SECURITY_INFORMATION keptParts =
    OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;

DWORD readRealFile(const Object& object, std::vector<BYTE>& descriptor)
{
    DWORD needed = 0;
    DWORD error = ERROR_SUCCESS;
    do {
        descriptor.resize(needed);
        const bool done = GetFileSecurityW(object.real.c_str(), keptParts, descriptor.data(), needed, &needed);
        error = done ? ERROR_SUCCESS : GetLastError();
    } while (error == ERROR_INSUFFICIENT_BUFFER && needed > descriptor.size());
    return error;
}

DWORD readRealKey(const Object& object, std::vector<BYTE>& descriptor)
{
    owned::RegistryKey key;
    if (const DWORD error = openRealKey(object, READ_CONTROL, key))
        return error;
    DWORD size = 0;
    LSTATUS status = ERROR_INSUFFICIENT_BUFFER;
    while (status == ERROR_INSUFFICIENT_BUFFER && size >= descriptor.size()) {
        descriptor.resize(size);
        status = RegGetKeySecurity(key.get(), keptParts, descriptor.data(), &size);
    }
    return static_cast<DWORD>(status);
}

// ERROR_FILE_NOT_FOUND also for a key that only the node has.
DWORD readReal(const Object& object, Security& security)
{
    std::vector<BYTE> descriptor;
    const DWORD error = isFile(object) ? readRealFile(object, descriptor) : readRealKey(object, descriptor);
    if (error == ERROR_SUCCESS)
        security = securityOf(descriptor.data());
    return error;
}

bool realAllows(const Object& object, DWORD access)
{
    if (!isFile(object)) {
        owned::RegistryKey key;
        return openRealKey(object, access, key) != ERROR_ACCESS_DENIED;
    }
    const owned::Handle file(
        owned::orNull(CreateFileW(object.real.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                  nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)));
    return file || GetLastError() != ERROR_ACCESS_DENIED;
}

} // namespace

bool machineDecides(const Object& object)
{
    return object.node->readsMachine && !object.node->security.count(object.name);
}

DWORD readSecurity(const Object& object, Security& security)
{
    if (const std::wstring* const held = object.node->security.find(object.name)) {
        security = securityOf(*held);
        mapGenericRights(security, *object.rights);
        return ERROR_SUCCESS;
    }
    if (object.node->readsMachine) {
        const DWORD error = readReal(object, security);
        if (error != ERROR_FILE_NOT_FOUND || isFile(object))
            return error;
    }
    security = originalSecurity(object);
    return ERROR_SUCCESS;
}

Security told(const Object& object, const Security& security)
{
    Security whole = security;
    if (whole.group.empty())
        whole.group = sidBytes(accountDomainSid(*object.node) + L"-513");
    return whole;
}

bool callerGets(const Object& object, const Security& before, DWORD access)
{
    return machineDecides(object) ? realAllows(object, access) : administratorGets(before, access, *object.rights);
}

Security asWritten(const Security& before, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR descriptor,
                   const GENERIC_MAPPING& mapping)
{
    constexpr SECURITY_DESCRIPTOR_CONTROL asked = SE_DACL_AUTO_INHERIT_REQ | SE_DACL_AUTO_INHERITED;
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    GetSecurityDescriptorControl(descriptor, &control, &revision);
    Security after = securityOf(descriptor);
    if ((control & asked) != asked)
        after.flags &= static_cast<SECURITY_DESCRIPTOR_CONTROL>(~SE_DACL_AUTO_INHERITED);
    mapGenericRights(after, mapping);
    if (!(parts & OWNER_SECURITY_INFORMATION))
        after.owner = before.owner;
    if (!(parts & GROUP_SECURITY_INFORMATION))
        after.group = before.group;
    if (parts & DACL_SECURITY_INFORMATION)
        return after;
    Security withoutList = before;
    withoutList.owner = after.owner;
    withoutList.group = after.group;
    return withoutList;
}

void writeSecurity(World& world, const Object& object, const Security& before, const Security& after)
{
    const std::wstring textBefore = textOf(before);
    const std::wstring textAfter = textOf(after);
    if (textBefore == textAfter)
        return;
    Texts& passedOn = object.node->securityBefore;
    if (object.container && isFile(object) && !passedOn.count(object.name))
        passedOn[object.name] = textBefore;
    object.node->security[object.name] = textAfter;
    world.record({ChangeKind::security, object.node->name, object.name, L"", textBefore, textAfter});
}

} // namespace whatif
