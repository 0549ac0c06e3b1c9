// The machine that the tests run on: Wine, in a prefix of the project's own, or somebody's Windows.
#pragma once

#include <string>

namespace support {

// The call under way, for tests that make thousands: what ends the test program before its tests do names it. Empty
// where the test's name tells enough.
extern std::string underWay;

bool isWine();
std::string release(); // its build, edition and product type

// A skip with its reason: what is real on Windows and not under Wine.
#define NOT_ON_WINE(reason)                                                                                            \
    if (support::isWine())                                                                                             \
    GTEST_SKIP() << "Wine: " << reason

// What everything that the tests make on the machine outside of scratch directories begins with; the process id
// follows.
constexpr wchar_t machinePrefix[] = L"kwt-";
std::wstring machineName(const std::wstring& rest); // "kwt-00004711-rest", of one length in every process

// What stands in the way of tests on this machine, in a line or more; empty when nothing does. `agreed` is whoever
// started the tests.
std::string reasonNotToTest(bool agreed);

// Removes what tests have made on the machine, and says what, a line for each; what could not be removed with its
// error. Of this process, or of every one: then nobody else may be testing.
enum class Whose
{
    ours,
    everyones
};
std::string removeLeftovers(Whose whose);

} // namespace support
