// A described node: a text file (INI, read with the platform's own profile functions, UTF-16 or the ANSI code page).
// docs in examples/; the sections and keys are listed in the .cpp, one table row each.
#pragma once

#include "whatif/node.h"

#include <filesystem>

namespace whatif {

class Registry;

// Reads a node; its registry is written to `registry`. Throws std::runtime_error naming the file and the key.
Node readDescription(const std::filesystem::path& file, Registry& registry);

// Writes the node, registry included, so that reading it gives the same node. What a node that reads this machine has
// not touched is not in it, nor what was deleted from it.
void writeDescription(const std::filesystem::path& file, const Node& node, Registry& registry);

} // namespace whatif
