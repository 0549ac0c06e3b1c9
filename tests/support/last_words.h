// What is said when the test program ends before its tests do.
#pragma once

#include <string>

namespace support {

// The call under way, for tests that make thousands; empty where the test's name tells enough.
extern std::string underWay;

} // namespace support
