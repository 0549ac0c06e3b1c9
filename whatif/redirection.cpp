#include "whatif/active.h"
#include "whatif/imports.h"

#include <stdexcept>

namespace whatif {

namespace {

World* active = nullptr;

} // namespace

World& activeWorld()
{
    return *active;
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
    for (const auto& table :
         {kernelReplacements(), fileReplacements(), accountReplacements(), policyReplacements(), groupReplacements(),
          memberReplacements(), userReplacements(), serviceReplacements(), serviceConfigReplacements(),
          serviceSecurityReplacements(), registryReplacements(), securityReplacements()})
        for (const Replacement& replacement : table)
            state_->imports.redirect(replacement.name, replacement.function);
}

Redirection::~Redirection()
{
    state_.reset();
    active = nullptr;
}

} // namespace whatif
