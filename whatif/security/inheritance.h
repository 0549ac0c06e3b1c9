// What new objects inherit.
#pragma once

#include "whatif/security/descriptors.h"

namespace whatif {

// What an object that is created below `parent` gets, when an administrator creates it.
Security inheritedFrom(const Security& parent, bool container, const GENERIC_MAPPING& mapping);

} // namespace whatif
