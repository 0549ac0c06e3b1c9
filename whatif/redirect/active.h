// What every replacement function begins with: the world it stands in, locked while it runs.
//
//     Locked world;
//     Node* const node = world->find(machine);
//     if (!node)
//         return failWith(RPC_S_SERVER_UNAVAILABLE);
//     ...
//     world->record({ChangeKind::group, node->name, L"group " + name, L"", {}, stateOf(group)});
//
// Replacement functions call the real platform freely: only the library's imports are redirected. They must not let an
// exception out.
#pragma once

#include "whatif/whatif.h"

namespace whatif {

// The world of the current Redirection.
World& activeWorld();

class Locked
{
public:
    Locked() : world_(activeWorld()) { world_.mutex.lock(); }
    ~Locked() // keeps the last error that the function has set
    {
        const DWORD error = GetLastError();
        world_.mutex.unlock();
        SetLastError(error);
    }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

    World* operator->() const { return &world_; }
    World& operator*() const { return world_; }

private:
    World& world_;
};

// Sets the last error; for functions whose result is a BOOL, or a handle with `failWith<HANDLE>`.
template <class Result = BOOL>
Result failWith(DWORD error)
{
    SetLastError(error);
    return Result();
}

} // namespace whatif
