#include "whatif/security/access.h"

#include "whatif/model/sids.h"

namespace whatif {

const GENERIC_MAPPING fileRights = {FILE_GENERIC_READ, FILE_GENERIC_WRITE, FILE_GENERIC_EXECUTE, FILE_ALL_ACCESS};
const GENERIC_MAPPING keyRights = {KEY_READ, KEY_WRITE, KEY_EXECUTE, KEY_ALL_ACCESS};
const GENERIC_MAPPING serviceRights = {STANDARD_RIGHTS_READ | SERVICE_QUERY_CONFIG | SERVICE_QUERY_STATUS |
                                           SERVICE_INTERROGATE | SERVICE_ENUMERATE_DEPENDENTS,
                                       STANDARD_RIGHTS_WRITE | SERVICE_CHANGE_CONFIG,
                                       STANDARD_RIGHTS_EXECUTE | SERVICE_START | SERVICE_STOP | SERVICE_PAUSE_CONTINUE |
                                           SERVICE_USER_DEFINED_CONTROL,
                                       SERVICE_ALL_ACCESS};

namespace {

const Sid& ownerRights()
{
    static const Sid sid = sidBytes(L"S-1-3-4");
    return sid;
}

bool isOwner(const Security& security, const Identities& who)
{
    static const Sid administrators = sidBytes(L"S-1-5-32-544");
    return who.has(security.owner.empty() ? administrators : security.owner);
}

bool works(const Entry& entry)
{
    return !(entry.header.AceFlags & INHERIT_ONLY_ACE) && !entry.sid.empty();
}

// Conditions are not evaluated, and what is unknown neither gives a right nor fails to take one.
bool gives(const Entry& entry)
{
    return entry.header.AceType == ACCESS_ALLOWED_ACE_TYPE;
}

bool takes(const Entry& entry)
{
    return entry.header.AceType == ACCESS_DENIED_ACE_TYPE || entry.header.AceType == ACCESS_DENIED_CALLBACK_ACE_TYPE;
}

} // namespace

const Identities& administrator()
{
    static const Identities who = {{sidBytes(L"S-1-5-32-544"), sidBytes(L"S-1-5-32-545"), sidBytes(L"S-1-1-0"),
                                    sidBytes(L"S-1-5-11"), sidBytes(L"S-1-5-4"), sidBytes(L"S-1-2-0")},
                                   {}};
    return who;
}

DWORD granted(const Security& security, const Identities& who, const GENERIC_MAPPING* mapping)
{
    if (!security.hasDacl)
        return STANDARD_RIGHTS_ALL | SPECIFIC_RIGHTS_ALL;
    const bool owner = isOwner(security, who);
    bool namesOwner = false;
    DWORD given = 0;
    DWORD taken = 0;
    forEachEntry(security.dacl,
                 [&](const Entry& entry, size_t) { namesOwner |= works(entry) && entry.sid == ownerRights(); });
    if (owner && !namesOwner)
        given = READ_CONTROL | WRITE_DAC;
    forEachEntry(security.dacl, [&](const Entry& entry, size_t) {
        if (!works(entry))
            return;
        const DWORD mask = mapping ? mapped(entry.mask, *mapping) : entry.mask;
        const bool meant = who.has(entry.sid) || (owner && entry.sid == ownerRights());
        if (meant && gives(entry))
            given |= mask & ~taken;
        else if ((meant || who.denyOnly.count(entry.sid)) && takes(entry))
            taken |= mask & ~given;
    });
    return given;
}

bool opens(const Security& security, const Identities& who, DWORD access, const GENERIC_MAPPING& mapping, DWORD& handle)
{
    const DWORD wanted = mapped(access, mapping) & ~static_cast<DWORD>(MAXIMUM_ALLOWED | ACCESS_SYSTEM_SECURITY);
    const DWORD given = granted(security, who, &mapping);
    handle = access & MAXIMUM_ALLOWED ? wanted | (given & mapping.GenericAll) : wanted;
    return (wanted & ~given) == 0 && (handle || !(access & MAXIMUM_ALLOWED));
}

bool administratorGets(const Security& security, DWORD access, const GENERIC_MAPPING& mapping)
{
    DWORD handle = 0;
    return opens(security, administrator(), access, mapping, handle);
}

DWORD accessToRead(SECURITY_INFORMATION parts)
{
    return READ_CONTROL | (parts & SACL_SECURITY_INFORMATION ? ACCESS_SYSTEM_SECURITY : 0);
}

DWORD accessToWrite(SECURITY_INFORMATION parts)
{
    return (parts & (OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION) ? WRITE_OWNER : 0) |
           (parts & DACL_SECURITY_INFORMATION ? WRITE_DAC : 0) |
           (parts & SACL_SECURITY_INFORMATION ? ACCESS_SYSTEM_SECURITY : 0);
}

} // namespace whatif
