#include "whatif/model/open_keys.h"

#include "whatif/whatif.h"

namespace whatif {

using OpenKeys = std::map<HKEY, OpenKey>;

OpenKey* openKeyOf(World& world, HKEY handle)
{
    auto& keys = world.table<OpenKeys>();
    const auto known = keys.find(handle);
    return known == keys.end() ? nullptr : &known->second;
}

void keepOpen(World& world, HKEY handle, const OpenKey& key)
{
    world.table<OpenKeys>()[handle] = key;
}

void forget(World& world, HKEY handle)
{
    world.table<OpenKeys>().erase(handle);
}

LSTATUS placeOf(World& world, HKEY handle, const std::wstring& subkey, Registry::Place& place)
{
    if (const OpenKey* const known = openKeyOf(world, handle))
        place = known->place;
    else if (pathOf(handle, world.local(), place.path))
        place.node = &world.local();
    else
        return ERROR_INVALID_HANDLE;
    if (!subkey.empty())
        place.path += (place.path.empty() ? L"" : L"\\") + subkey;
    while (!place.path.empty() && place.path.back() == L'\\')
        place.path.pop_back();
    return subkey.compare(0, 1, L"\\") == 0 ? ERROR_BAD_PATHNAME : ERROR_SUCCESS;
}

} // namespace whatif
