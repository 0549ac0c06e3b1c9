// A scratch tree, and a copy of the library whose file security is held and some of whose platform functions fail.
#pragma once

#include "tests/acl/held_security.h"
#include "tests/acl/legacy_call.h"
#include "tests/support/library_copy.h"

#include <gmock/gmock.h>

#include <map>

namespace legacy {

// Calls of platform functions that fail, by function and path ("FindFirstFileW" by directory), and the paths of those
// that did, in order.
struct Failing
{
    std::map<std::pair<std::string, std::wstring>, DWORD> calls;
    std::vector<std::wstring> order;
    std::map<HANDLE, std::wstring> searches;

    bool now(const char* function, const std::wstring& path);
};

class LegacyTree : public testing::Test
{
protected:
    LegacyTree();

    // Makes a file, or a directory where the name ends in a backslash, below the root; answers its path.
    std::wstring make(const std::wstring& relative) const;

    Result call(const std::filesystem::path& path, DWORD isAdmin = 0) const;

    support::LibraryCopy library;
    acetext::HeldFiles held;
    Failing failures;
    const support::ScratchDirectory scratch;
    const std::filesystem::path root = scratch.path() / "root";
};

} // namespace legacy
