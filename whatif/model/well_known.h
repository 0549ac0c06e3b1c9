// The names that every machine has, in the words of English releases. A node that reads this machine takes the
// machine's.
#pragma once

#include "whatif/model/names.h"

namespace whatif {

// `domain` NULL: the bare name.
std::optional<Name> resolveWellKnown(const std::wstring* domain, const std::wstring& name);
std::optional<Name> wellKnownNameOf(const std::wstring& sid);

// The account right of that name as Windows spells it; empty when it knows none.
std::wstring accountRight(const std::wstring& name);

} // namespace whatif
