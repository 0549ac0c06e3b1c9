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
    {directories, GENERIC_ALL, systemAndReaders},
    {directories, GENERIC_ALL, system},
    {directories, GENERIC_ALL, systemAndReaders},
    {directories, GENERIC_ALL, system},
    {directories, GENERIC_ALL, {P::administrators, P::localSystem, P::meshListeners, P::authenticatedUsers}},
    {directories, GENERIC_ALL, {P::administrators, P::localSystem, P::meshListeners, P::clxUsers}},
    {files, GENERIC_ALL, system},
    {groupsOnly, 0, {P::administrators, P::localSystem, P::vlmAdmin, P::dbServiceAccounts}},
    {keys, 0, ofKeys},
    {keys, GENERIC_ALL, ofKeys},
    {files, sswseReadAndExecute, {P::none, P::none, P::none, P::none}}, // only the users
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
