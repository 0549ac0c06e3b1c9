// The what-if node: stands in for the machine behind an unmodified, loaded library.
//
//     whatif::World world(whatif::Base::described);
//     world.load(L"examples/server.ini");
//     whatif::Redirection redirection(library, world);   // until it goes out of scope
//     ... call the library's exports ...
//     for (const whatif::Change& change : world.plan()) ...
#pragma once

#include "whatif/node.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>

namespace whatif {

enum class Base
{
    described, // the local node is what its description says and nothing else; without one, a fresh machine "NODE"
    // What the local node does not hold is read from the real machine. What the caller may write there, to registry and
    // groups, is not asked: it is judged as an administrator's.
    thisMachine
};

class Registry; // the nodes' registries: scratch keys of the real one

// The local node, the nodes reached by their names, and what has been changed on them. The replacement functions lock
// `mutex` while they run, so several threads may call the library on one world.
class World
{
public:
    explicit World(Base base);
    ~World(); // removes the scratch registry keys
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    // Adds a described node; in a described world the first one is the local node, further ones are reached by name.
    // Throws std::runtime_error naming the file and the line or key that cannot be read.
    void load(const std::filesystem::path& description);
    // Writes the local node (registry included) back as a description that `load` reads.
    void save(const std::filesystem::path& description) const;

    Node& local();
    Node& add(const std::wstring& name); // a further node, as a fresh machine is; or the existing one of that name
    // NULL or "" is the local one; leading backslashes are ignored, and so is a DNS domain: "db2.example.com" is DB2.
    Node* find(const wchar_t* name);
    const std::wstring& unreached() const; // the last one that was asked for and is not there; empty for none
    Registry& registry() const;

    // What an area of functions keeps for this world, its open handles above all; made on first use.
    template <class Table>
    Table& table()
    {
        static constexpr char kind = 0; // its address tells the tables apart
        std::shared_ptr<void>& place = tableAt(&kind);
        if (!place)
            place = std::make_shared<Table>();
        return *static_cast<Table*>(place.get());
    }

    const std::vector<Change>& plan() const;
    void record(Change change);
    void clearPlan();
    // Gets each change from then on, which is no longer kept in the plan.
    void watch(std::function<void(const Change&)> watcher);

    // The nodes and their registries as they are now, without the plan.
    std::unique_ptr<World> copy() const;

    std::recursive_mutex mutex;
    bool isBroken = false; // something was not done for want of memory, or of room for temporary files

private:
    std::shared_ptr<void>& tableAt(const char* kind);

    struct State;
    std::unique_ptr<State> state_;
};

// Closes a service handle that the redirected library has returned.
BOOL WINAPI closeServiceHandle(SC_HANDLE service);

// Kernel objects and tokens have names here: "event NAME", "mutex NAME", "semaphore NAME", "section NAME", "process
// ID", "token of process ID", "token of this process".
bool namesObject(const std::wstring& text);
HANDLE openMachineObject(const std::wstring& object, DWORD access); // NULL with the last error set
// The same for the redirected library: of the local node.
HANDLE openObject(const std::wstring& object, DWORD access);
BOOL WINAPI closeObject(HANDLE handle);

// Redirects the library's imports, and what it resolves at run time, to the world. One at a time per process.
class Redirection
{
public:
    Redirection(HMODULE library, World& world);
    ~Redirection();
    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace whatif
