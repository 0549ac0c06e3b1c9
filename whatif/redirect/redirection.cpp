// The one redirection of the process, and the tables of replacements together.
#include "whatif/redirect/active.h"
#include "whatif/redirect/imports.h"

#include <stdexcept>

namespace whatif {

namespace {

World* active = nullptr;

} // namespace

World& activeWorld()
{
    return *active;
}

void breakOff() noexcept
{
    if (active)
        active->isBroken = true;
}

std::vector<Replacement> allReplacements()
{
    std::vector<Replacement> all;
    for (const auto& table :
         {kernelReplacements(), fileReplacements(), accountReplacements(), policyReplacements(), groupReplacements(),
          memberReplacements(), userReplacements(), serviceReplacements(), serviceListReplacements(),
          serviceConfigReplacements(), serviceSecurityReplacements(), registryReplacements(), keySecurityReplacements(),
          securityReplacements(), kernelObjectReplacements(), tokenReplacements(), authorizationReplacements()})
        all.insert(all.end(), table.begin(), table.end());
    return all;
}

struct Redirection::State
{
    explicit State(HMODULE library) : imports(library) {}
    Imports imports;
};

Redirection::Redirection(HMODULE library, World& world)
{
    if (active)
        throw std::logic_error("only one redirection at a time");
    state_ = std::make_unique<State>(library);
    active = &world;
    for (const Replacement& replacement : allReplacements())
        state_->imports.redirect(replacement.name, replacement.function);
}

Redirection::~Redirection()
{
    state_.reset();
    active = nullptr;
}

} // namespace whatif
