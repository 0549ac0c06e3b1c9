#include "acl/permission_types.h"

namespace {

using P = sswsePrincipal;

constexpr uint8_t directories = sswseObjectBit(sswseObjectType::directory);
constexpr uint8_t files = sswseObjectBit(sswseObjectType::file) | directories;
constexpr uint8_t keys = sswseObjectBit(sswseObjectType::registryKey);
constexpr uint8_t groupsOnly = sswseObjectBit(sswseObjectType::groupsOnly);

constexpr std::array<P, 4> system = {P::administrators, P::localSystem, P::none, P::none};
constexpr std::array<P, 4> systemAndReaders = {P::administrators, P::localSystem, P::authenticatedUsers, P::none};
constexpr std::array<P, 4> ofKeys = {P::administrators, P::everyone, P::none, P::none}; // without the local system

constexpr sswsePermissionType permissionTypes[] = {
    /* 0 */ {directories, GENERIC_ALL, systemAndReaders},
    /* 1 */ {directories, GENERIC_ALL, system},
    /* 2 */ {directories, GENERIC_ALL, systemAndReaders},
    /* 3 */ {directories, GENERIC_ALL, system},
    /* 4 */ {directories, GENERIC_ALL, {P::administrators, P::localSystem, P::meshListeners, P::authenticatedUsers}},
    /* 5 */ {directories, GENERIC_ALL, {P::administrators, P::localSystem, P::meshListeners, P::clxUsers}},
    /* 6 */ {files, GENERIC_ALL, system},
    /* 7 */ {groupsOnly, 0, {P::administrators, P::localSystem, P::vlmAdmin, P::dbServiceAccounts}},
    /* 8 */ {keys, 0, ofKeys},
    /* 9 */ {keys, GENERIC_ALL, ofKeys},
    /* 10 */ {files, sswseReadAndExecute, {P::none, P::none, P::none, P::none}}, // only the users
};
static_assert(std::size(permissionTypes) == 11);

} // namespace

const sswsePermissionType* sswseFindPermissionType(unsigned wtype, int ptype)
{
    if (wtype > static_cast<unsigned>(sswseObjectType::groupsOnly) || ptype < 0 ||
        static_cast<size_t>(ptype) >= std::size(permissionTypes))
        return nullptr;
    const sswsePermissionType& row = permissionTypes[ptype];
    return row.objects & sswseObjectBit(static_cast<sswseObjectType>(wtype)) ? &row : nullptr;
}
