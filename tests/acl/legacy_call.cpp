#include "tests/acl/legacy_call.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace legacy {

Result call(const std::string& name, DWORD isAdmin, Function* function)
{
    char marker = 0;
    char* markers = &marker;
    char** list = &markers; // is overwritten at once
    DWORD count = 99;
    Result result = {function(name.c_str(), isAdmin, &list, &count), {}, list != nullptr};
    EXPECT_NE(list, &markers);
    EXPECT_EQ(result.hasList, count != 0);
    for (DWORD i = 0; i < count; ++i)
        result.failed.emplace_back(list[i]);
    sswseFreeArrayofStrings(list, count);
    return result;
}

ScratchFile::ScratchFile() : path_(directory_.path() / "file.txt")
{
    std::ofstream(path_) << "x";
}

} // namespace legacy
