// The platform's values in text form: SIDs, access-control lists, registry keys, arrays of strings.
#pragma once

#include "cli/functions.h"

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

namespace cli {

struct LocalRelease
{
    void operator()(void* memory) const { LocalFree(memory); }
};
using LocalMemory = std::unique_ptr<void, LocalRelease>;

LocalMemory sidFromText(const std::string& text); // NULL when it is none
std::string textOfSid(PSID sid);

std::vector<char> aclFromSddl(const std::string& sddl); // empty when it is no DACL, or one that stands for everything
std::string sddlOf(PACL acl);

// As whatif.h has them, from what is given; empty when that is no name of an object of the parameter's kind.
std::string objectName(const Parameter& parameter, const std::string& given);

std::string nameOfKey(HKEY key); // of a predefined one

std::vector<std::string> textsOf(char** strings, size_t count, UINT codePage); // UTF-8

} // namespace cli
