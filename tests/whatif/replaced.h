// A world that stands in for the machine, and its replacement functions as the library would call them.
#pragma once

#include "whatif/imports.h"
#include "whatif/whatif.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace replaced {

class WhatIf : public testing::Test
{
protected:
    explicit WhatIf(whatif::Base base = whatif::Base::described) : world(base) {}

    template <class Function>
    static Function* at(Function&, const char* name)
    {
        for (const whatif::Replacement& replacement : whatif::allReplacements())
            if (std::string(replacement.name) == name)
                return reinterpret_cast<Function*>(replacement.function);
        return nullptr;
    }

    // Of the call that has just answered; of the type that the platform gives its codes.
    static long errorOf(bool done) { return done ? ERROR_SUCCESS : static_cast<long>(GetLastError()); }

    // The lines of the plan since the last call.
    std::vector<std::wstring> plan()
    {
        std::vector<std::wstring> lines;
        for (const whatif::Change& change : world.plan())
            lines.push_back(whatif::textOf(change));
        world.clearPlan();
        return lines;
    }

    whatif::World world;
    whatif::Node& node = world.local(); // "NODE" where it is described
    HMODULE library = LoadLibraryW(L"keswsec19.dll");
    std::optional<whatif::Redirection> redirection{std::in_place, library, world};
};

// CALL(NetLocalGroupDel)(nullptr, L"x"), EXPORT(sswseTraceOff)(&rec)
#define CALL(name) at(name, #name)
#define EXPORT(name) reinterpret_cast<decltype(&::name)>(reinterpret_cast<void*>(GetProcAddress(library, #name)))

} // namespace replaced
