// The nodes, and the functions that stand in for the platform's as the library would call them.
#pragma once

#include "tests/support/node_test.h"
#include "whatif/redirect/imports.h"

namespace replaced {

template <class Function>
Function* at(Function&, const char* name)
{
    for (const whatif::Replacement& replacement : whatif::allReplacements())
        if (std::string(replacement.name) == name)
            return reinterpret_cast<Function*>(replacement.function);
    return nullptr;
}

// CALL(NetLocalGroupDel)(nullptr, L"x")
#define CALL(name) replaced::at(name, #name)

// Of the call that has just answered; of the type that the platform gives its codes.
inline long errorOf(bool done)
{
    return done ? ERROR_SUCCESS : static_cast<long>(GetLastError());
}

} // namespace replaced
