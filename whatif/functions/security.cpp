// Access-control lists with names in them, and the security of files, directories and registry keys.
// Codes: SetEntriesInAcl, GetFileSecurity, SetFileSecurity, GetNamedSecurityInfo, SetNamedSecurityInfo; how entries are
// passed on, "Automatic Propagation of Inheritable ACEs".
#include "whatif/model/names.h"
#include "whatif/model/sids.h"
#include "whatif/redirect/active.h"
#include "whatif/redirect/guarded.h"
#include "whatif/security/explicit_entries.h"
#include "whatif/security/inheritance.h"
#include "whatif/security/object_security.h"
#include "whatif/spelling.h"

#include <accctrl.h>
#include <aclapi.h>

#include <cstring>

namespace whatif {

namespace {

// ---- names in lists ----------------------------------------------------------------------------------------------

std::wstring textOf(const char* name)
{
    return wide(name);
}

std::wstring textOf(const wchar_t* name)
{
    return textOrEmpty(name);
}

// Names are the node's. Both forms of an entry are laid out alike.
template <class Explicit>
DWORD WINAPI setEntriesInAcl(ULONG count, Explicit* entries, PACL before, PACL* after)
{
    Locked world;
    std::vector<EXPLICIT_ACCESS_A> bySid(entries ? count : 0);
    std::vector<std::vector<BYTE>> sids;
    for (size_t i = 0; i < bySid.size(); ++i) {
        static_assert(sizeof bySid[i] == sizeof entries[i]);
        memcpy(&bySid[i], &entries[i], sizeof entries[i]);
        if (entries[i].Trustee.TrusteeForm != TRUSTEE_IS_NAME)
            continue;
        const auto name = resolve(world->local(), textOf(entries[i].Trustee.ptstrName));
        if (!name)
            return ERROR_NONE_MAPPED;
        sids.push_back(sidBytes(name->sid));
        bySid[i].Trustee.TrusteeForm = TRUSTEE_IS_SID;
        bySid[i].Trustee.ptstrName = reinterpret_cast<LPSTR>(sids.back().data());
    }
    return mergeEntries(bySid, before, after);
}

// ---- files -------------------------------------------------------------------------------------------------------

BOOL WINAPI getFileSecurity(LPCWSTR name, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR descriptor, DWORD size,
                            LPDWORD needed)
{
    Locked world;
    Object object;
    Security security;
    if (!name || !needed)
        return failWith(ERROR_INVALID_PARAMETER);
    if (parts & SACL_SECURITY_INFORMATION)
        return failWith(ERROR_PRIVILEGE_NOT_HELD);
    DWORD error = fileObject(*world, name, object);
    if (!error)
        error = readSecurity(object, security);
    if (!error && !machineDecides(object) && !administratorGets(security, READ_CONTROL, fileRights))
        error = ERROR_ACCESS_DENIED;
    if (error)
        return failWith(error);
    return handOut(told(object, security), parts, descriptor, size, needed);
}

// Nothing is passed on to what lies below: this function never does.
BOOL WINAPI setFileSecurity(LPCWSTR name, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR descriptor)
{
    Locked world;
    Object object;
    Security before;
    if (!name)
        return failWith(ERROR_INVALID_PARAMETER);
    if (!descriptor || !IsValidSecurityDescriptor(descriptor))
        return failWith(ERROR_INVALID_SECURITY_DESCR);
    if (parts & SACL_SECURITY_INFORMATION)
        return failWith(ERROR_PRIVILEGE_NOT_HELD);
    DWORD error = fileObject(*world, name, object);
    if (!error)
        error = readSecurity(object, before);
    if (!error && !callerGets(object, before, accessToWrite(parts)))
        error = ERROR_ACCESS_DENIED;
    if (error)
        return failWith(error);
    writeSecurity(*world, object, before, asWritten(before, parts, descriptor, fileRights));
    return TRUE;
}

// ---- objects by name ---------------------------------------------------------------------------------------------

// The entries that are the object's own, and behind them those that it inherits.
Security withInherited(const Security& own, const Object& object, const Security* parent)
{
    Security merged = own;
    keepEntries(merged, false);
    merged.flags = SE_DACL_AUTO_INHERITED;
    if (parent) {
        Security inherited = inheritedFrom(*parent, object.container, *object.rights);
        keepEntries(inherited, true);
        appendEntries(merged, inherited);
    }
    return merged;
}

struct Secured
{
    Object object;
    Security security;
};

// What lies below and is not protected.
std::vector<Secured> heirsOf(World& world, const Object& object)
{
    std::vector<Secured> heirs;
    for (const Object& child : childrenOf(world, object)) {
        Secured heir = {child, {}};
        if (readSecurity(child, heir.security) == ERROR_SUCCESS && heir.security.hasDacl &&
            !(heir.security.flags & SE_DACL_PROTECTED))
            heirs.push_back(std::move(heir));
    }
    return heirs;
}

// The object's security, and below it the entries that are passed on. Those below are read first: what nobody has
// touched follows its parent.
void writeAndPassOn(World& world, const Secured& before, const Security& after)
{
    const std::vector<Secured> heirs = heirsOf(world, before.object);
    writeSecurity(world, before.object, before.security, after);
    for (const Secured& heir : heirs) {
        const Security inherited = withInherited(heir.security, heir.object, &after);
        if (textOf(heir.security) != textOf(inherited))
            writeAndPassOn(world, heir, inherited);
    }
}

DWORD findObject(World& world, const std::wstring& name, SE_OBJECT_TYPE type, Object& object)
{
    if (type == SE_FILE_OBJECT)
        return fileObject(world, name, object);
    return type == SE_REGISTRY_KEY ? keyObject(world, name, object) : ERROR_NOT_SUPPORTED;
}

// Neither asked to protect nor to unprotect, an object stays what it was.
bool becomesProtected(SECURITY_INFORMATION parts, const Security& before)
{
    if (parts & PROTECTED_DACL_SECURITY_INFORMATION)
        return true;
    return !(parts & UNPROTECTED_DACL_SECURITY_INFORMATION) && (before.flags & SE_DACL_PROTECTED);
}

Security namedSecurity(const Object& object, const Security& before, SECURITY_INFORMATION parts, PACL dacl)
{
    SECURITY_DESCRIPTOR descriptor;
    InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&descriptor, TRUE, dacl, FALSE);
    Security after = securityOf(&descriptor);
    after.owner = before.owner;
    after.group = before.group;
    mapGenericRights(after, *object.rights);
    if (becomesProtected(parts, before)) {
        after.flags = SE_DACL_PROTECTED | SE_DACL_AUTO_INHERITED;
        return after;
    }
    Object parent;
    Security above;
    const bool inherits = parentOf(object, parent) && readSecurity(parent, above) == ERROR_SUCCESS;
    return dacl ? withInherited(after, object, inherits ? &above : nullptr) : after;
}

DWORD WINAPI getNamedSecurityInfo(LPCWSTR name, SE_OBJECT_TYPE type, SECURITY_INFORMATION parts, PSID* owner,
                                  PSID* group, PACL* dacl, PACL*, PSECURITY_DESCRIPTOR* descriptor)
{
    Locked world;
    Object object;
    Security security;
    if (!name || !descriptor)
        return ERROR_INVALID_PARAMETER;
    if (parts & SACL_SECURITY_INFORMATION)
        return ERROR_PRIVILEGE_NOT_HELD;
    if (const DWORD error = findObject(*world, name, type, object))
        return error;
    if (const DWORD error = readSecurity(object, security))
        return error;
    if (!machineDecides(object) && !administratorGets(security, accessToRead(parts), *object.rights))
        return ERROR_ACCESS_DENIED;
    return handOut(told(object, security), parts, owner, group, dacl, descriptor);
}

DWORD WINAPI setNamedSecurityInfo(LPWSTR name, SE_OBJECT_TYPE type, SECURITY_INFORMATION parts, PSID owner, PSID group,
                                  PACL dacl, PACL)
{
    Locked world;
    Object object;
    Security before;
    if (!name || (dacl && !IsValidAcl(dacl)))
        return name ? ERROR_INVALID_ACL : ERROR_INVALID_PARAMETER;
    if (((parts & OWNER_SECURITY_INFORMATION) && sidText(owner).empty()) ||
        ((parts & GROUP_SECURITY_INFORMATION) && sidText(group).empty()))
        return ERROR_INVALID_SID;
    if (parts & SACL_SECURITY_INFORMATION)
        return ERROR_PRIVILEGE_NOT_HELD;
    if (const DWORD error = findObject(*world, name, type, object))
        return error;
    if (const DWORD error = readSecurity(object, before))
        return error;
    if (!callerGets(object, before, READ_CONTROL | accessToWrite(parts)))
        return ERROR_ACCESS_DENIED;
    Security after = parts & DACL_SECURITY_INFORMATION ? namedSecurity(object, before, parts, dacl) : before;
    if (parts & OWNER_SECURITY_INFORMATION)
        after.owner = sidBytes(sidText(owner));
    if (parts & GROUP_SECURITY_INFORMATION)
        after.group = sidBytes(sidText(group));
    if (parts & DACL_SECURITY_INFORMATION)
        writeAndPassOn(*world, {object, before}, after);
    else
        writeSecurity(*world, object, before, after);
    return ERROR_SUCCESS;
}

} // namespace

std::vector<Replacement> securityReplacements()
{
    return {
        returningError<&setEntriesInAcl<EXPLICIT_ACCESS_A>>("SetEntriesInAclA"),
        returningError<&setEntriesInAcl<EXPLICIT_ACCESS_W>>("SetEntriesInAclW"),
        settingLastError<&getFileSecurity>("GetFileSecurityW"),
        settingLastError<&setFileSecurity>("SetFileSecurityW"),
        returningError<&getNamedSecurityInfo>("GetNamedSecurityInfoW"),
        returningError<&setNamedSecurityInfo>("SetNamedSecurityInfoW"),
    };
}

} // namespace whatif
