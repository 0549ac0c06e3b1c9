#include "whatif/whatif.h"

#include "whatif/description/description.h"
#include "whatif/description/ini.h"
#include "whatif/machine/accounts.h"
#include "whatif/model/registry.h"
#include "whatif/model/sids.h"
#include "whatif/model/standard_node.h"
#include "whatif/spelling.h"

#include <stdexcept>

namespace whatif {

namespace {

std::wstring computerName()
{
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    return GetComputerNameW(name, &size) ? std::wstring(name, size) : L"LOCALHOST";
}

Node thisMachine()
{
    Node node;
    node.name = computerName();
    node.readsMachine = true;
    OSVERSIONINFOEXW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    if (GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&version))) {
        node.major = version.dwMajorVersion;
        node.minor = version.dwMinorVersion;
        node.productType = version.wProductType;
    }
    const std::optional<Name> computer = machineResolve(node, node.name);
    node.sid = computer && computer->use == SidTypeDomain ? computer->sid : domainSid(node.name);
    return node;
}

} // namespace

struct World::State
{
    Base base = Base::described;
    std::vector<std::unique_ptr<Node>> nodes; // the first is the local one
    bool localDescribed = false;              // by a description, not by the caller
    Registry registry;
    std::wstring unreached;
    std::vector<Change> plan;
    std::map<const char*, std::shared_ptr<void>> tables;
    std::function<void(const Change&)> watcher;
};

World::World(Base base) : state_(std::make_unique<State>())
{
    state_->base = base;
    state_->nodes.push_back(std::make_unique<Node>(base == Base::thisMachine ? thisMachine() : standardNode(L"NODE")));
}

World::~World() = default;

void World::load(const std::filesystem::path& description)
{
    Node node = readDescription(description, state_->registry);
    if (state_->base == Base::described && !state_->localDescribed) {
        local() = std::move(node);
        state_->localDescribed = true;
        return;
    }
    if (find(node.name.c_str()))
        throw std::runtime_error(narrow(description.wstring()) + ": there is already a node of that name");
    state_->nodes.push_back(std::make_unique<Node>(std::move(node)));
}

void World::save(const std::filesystem::path& description) const
{
    writeDescription(description, *state_->nodes.front(), state_->registry);
}

Node& World::local()
{
    return *state_->nodes.front();
}

Node& World::add(const std::wstring& name)
{
    if (Node* const known = find(name.c_str()))
        return *known;
    state_->nodes.push_back(std::make_unique<Node>(standardNode(name)));
    return *state_->nodes.back();
}

Node* World::find(const wchar_t* name)
{
    while (name && *name == L'\\')
        ++name;
    if (!name || !*name)
        return &local();
    const std::wstring given = name;
    const std::wstring computer = given.substr(0, given.find(L'.'));
    for (const auto& node : state_->nodes)
        if (sameName(node->name, given) || sameName(node->name, computer))
            return node.get();
    state_->unreached = given;
    return nullptr;
}

const std::wstring& World::unreached() const
{
    return state_->unreached;
}

Registry& World::registry() const
{
    return state_->registry;
}

std::shared_ptr<void>& World::tableAt(const char* kind)
{
    return state_->tables[kind];
}

const std::vector<Change>& World::plan() const
{
    return state_->plan;
}

void World::record(Change change)
{
    if (state_->watcher)
        state_->watcher(change);
    else
        state_->plan.push_back(std::move(change));
}

void World::watch(std::function<void(const Change&)> watcher)
{
    state_->watcher = std::move(watcher);
}

std::unique_ptr<World> World::copy() const
{
    auto world = std::make_unique<World>(Base::described);
    world->state_->base = state_->base;
    world->state_->localDescribed = state_->localDescribed;
    world->state_->nodes.clear();
    for (const auto& node : state_->nodes) {
        world->state_->nodes.push_back(std::make_unique<Node>(*node));
        world->state_->registry.take(*node, state_->registry);
    }
    return world;
}

void World::clearPlan()
{
    state_->plan.clear();
}

} // namespace whatif
