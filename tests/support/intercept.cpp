#include "tests/support/intercept.h"

#include "tests/support/guarded_heap.h"
#include "tests/support/wrapper.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <set>

namespace intercept {

namespace {

struct Run
{
    bool on = false;
    Fault fault;
    size_t counted = 0; // calls that the fault looks at
    Trail trail;
    std::map<uintptr_t, Kind> held;
    size_t (*planLength)() = nullptr;
};

std::recursive_mutex mutex;
Run run;

bool isSuccess(const Row& row, uintptr_t result)
{
    switch (row.says) {
    case Says::zero:
    case Says::memoryNull:
        return result != 0;
    case Says::allBits:
        return result != static_cast<uintptr_t>(-1) && result != 0xFFFFFFFF;
    case Says::result:
    case Says::ntStatus:
        return static_cast<LONG>(result) >= 0 && (row.says == Says::ntStatus || static_cast<DWORD>(result) == 0);
    case Says::nothing:
        break;
    }
    return true;
}

} // namespace

const char* nameOf(Kind kind)
{
    constexpr const char* names[] = {
        "none",       "heap block",     "LocalAlloc block", "registry key", "service handle", "LSA policy",
        "LSA buffer", "network buffer", "password output",  "search",       "handle",         "SID",
        "module"};
    return names[static_cast<size_t>(kind)];
}

const Row& rowOf(void** original)
{
    return *std::find_if(rows().begin(), rows().end(), [original](const Row& row) { return row.original == original; });
}

std::optional<DWORD> enter(const Row& row)
{
    const std::lock_guard lock(mutex);
    if (!run.on || row.says == Says::nothing)
        return std::nullopt;
    run.trail.calls.push_back({&row, run.planLength()});
    const Fault& fault = run.fault;
    if (fault.function && strcmp(fault.function, row.name) != 0)
        return std::nullopt;
    const bool isEveryOne = fault.function && fault.call == 0;
    return ++run.counted == fault.call || isEveryOne ? std::optional(fault.code) : std::nullopt;
}

void releasing(const Row& row, const Raw& arguments)
{
    const uintptr_t resource = arguments[static_cast<size_t>(row.released)];
    if (row.releases == Kind::none || !resource)
        return;
    const std::lock_guard lock(mutex);
    if (!run.on)
        return;
    const auto known = run.held.find(resource);
    if (known == run.held.end())
        run.trail.offences.push_back(std::string(row.name) + ": nothing of that kind is held");
    else if (known->second != row.releases)
        run.trail.offences.push_back(std::string(row.name) + ": releases a " + nameOf(known->second));
    else
        run.held.erase(known);
}

void acquired(const Row& row, uintptr_t result, const Raw& arguments)
{
    if (row.acquires == Kind::none || !isSuccess(row, result))
        return;
    uintptr_t resource = result;
    if (row.through != fromResult) {
        const auto* const place = reinterpret_cast<const uintptr_t*>(arguments[static_cast<size_t>(row.through)]);
        resource = place ? *place : 0;
    }
    const std::lock_guard lock(mutex);
    if (run.on && resource)
        run.held[resource] = row.acquires;
}

Interception::Interception(HMODULE library, size_t (*planLength)()) : imports_(library)
{
    run = {};
    run.planLength = planLength;
    for (const Row& row : rows())
        if (void* const before = imports_.redirect(row.name, row.wrapper))
            *row.original = row.standIn ? row.standIn : before;
}

Interception::~Interception()
{
    run = {};
}

void Interception::start(Fault fault)
{
    const std::lock_guard lock(mutex);
    run.fault = fault;
    run.counted = 0;
    run.trail = {};
    run.held.clear();
    run.on = true;
}

Trail Interception::finish()
{
    const std::lock_guard lock(mutex);
    run.on = false;
    for (const auto& [resource, kind] : run.held)
        ++run.trail.balance[nameOf(kind)];
    return std::move(run.trail);
}

std::vector<std::string> Interception::importsWithoutRow() const
{
    std::set<std::string> known(plain().begin(), plain().end());
    for (const Row& row : rows())
        known.insert(row.name);
    std::vector<std::string> missing;
    for (const std::string& name : imports_.names())
        if (!known.count(name))
            missing.push_back(name);
    return missing;
}

std::vector<std::string> Interception::rowsWithoutImport() const
{
    const std::vector<std::string> names = imports_.names();
    std::vector<std::string> extra;
    for (const Row& row : rows())
        if (!std::count(names.begin(), names.end(), row.name))
            extra.push_back(row.name);
    return extra;
}

} // namespace intercept
