// The permission types: for which objects each may be used, whom it gives access, and how much.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>
#include <iterator>

enum class sswseObjectType : uint8_t
{
    file,
    directory,
    registryKey,
    groupsOnly // for permission type 7
};

// In the order in which they are looked up.
enum class sswsePrincipal : uint8_t
{
    administrators,
    localSystem,
    authenticatedUsers,
    everyone,
    meshListeners,
    clxUsers,
    vlmAdmin,
    dbServiceAccounts,
    none
};

inline constexpr DWORD sswseReadAndExecute = 0x1200A9; // FILE_GENERIC_READ and FILE_GENERIC_EXECUTE

struct sswsePrincipalRow
{
    const wchar_t* sid; // string form; NULL: looked up by name
    const char* name;   // the same SID, or a local group of the machine that owns the object
    DWORD mask;
};

inline constexpr sswsePrincipalRow sswsePrincipals[] = {
    {L"S-1-5-32-544", "S-1-5-32-544", GENERIC_ALL},
    {L"S-1-5-18", "S-1-5-18", GENERIC_ALL},
    {L"S-1-5-11", "S-1-5-11", sswseReadAndExecute},
    {L"S-1-1-0", "S-1-1-0", KEY_READ | KEY_CREATE_LINK}, // on registry keys: to read alone would be KEY_READ
    {nullptr, "KES_MESH_LISTENERS", GENERIC_ALL},
    {nullptr, "KES_CLX_USERS", GENERIC_ALL},
    {nullptr, "KES_VLMADMIN", GENERIC_ALL},
    {nullptr, "KES_DBSVCACCTS", GENERIC_ALL},
};
inline constexpr size_t sswsePrincipalCount = std::size(sswsePrincipals);
static_assert(sswsePrincipalCount == static_cast<size_t>(sswsePrincipal::none));
static_assert(sswsePrincipals[static_cast<size_t>(sswsePrincipal::everyone)].mask == 0x20039);

constexpr uint8_t sswseObjectBit(sswseObjectType type)
{
    return static_cast<uint8_t>(1U << static_cast<unsigned>(type));
}

struct sswsePermissionType
{
    uint8_t objects;                          // sswseObjectBit of each object type that it may be used for
    DWORD userMask;                           // what each user gets, behind the principals; 0: users are ignored
    std::array<sswsePrincipal, 4> principals; // in the order of their entries, filled up with `none`

    constexpr bool includes(sswsePrincipal principal) const
    {
        for (const sswsePrincipal included : principals)
            if (included == principal)
                return true;
        return false;
    }
};

// The row of `ptype`; NULL when there is none or it may not be used for objects of type `wtype`.
const sswsePermissionType* sswseFindPermissionType(unsigned wtype, int ptype);
