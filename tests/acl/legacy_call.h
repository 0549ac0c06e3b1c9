// Calls of the legacy permission setting.
#pragma once

#include "tests/support/scratch_directory.h"

#include "keswsec.h"

#include <string>
#include <vector>

namespace legacy {

using Function = decltype(setPermissions);

struct Result
{
    DWORD status;
    std::vector<std::string> failed;
    bool hasList;
};

// The list is released as callers do.
Result call(const std::string& name, DWORD isAdmin = 0, Function* function = &setPermissions);

// A file of an otherwise empty scratch directory.
class ScratchFile
{
public:
    ScratchFile();
    std::string name() const { return path_.string(); }
    std::wstring wide() const { return path_.wstring(); }

private:
    support::ScratchDirectory directory_;
    std::filesystem::path path_;
};

} // namespace legacy
