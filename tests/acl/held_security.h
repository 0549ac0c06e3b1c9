// Files whose security the test holds: the platform's file-security functions are redirected for the functions that are
// linked into the test program.
#pragma once

#include "whatif/imports.h"

#include <map>
#include <string>
#include <vector>

namespace acetext {

// "WSE-000053: ..." naming a function of the platform.
const char* failed(const std::string& api);

// What the platform answers for one path.
struct HeldSecurity
{
    enum Form
    {
        list,   // a DACL of `aces`
        absent, // no DACL
        null    // a NULL DACL
    };
    Form form = list;
    std::string aces;
    std::vector<BYTE> descriptor = {}; // given out instead, when there is one
};

std::vector<BYTE> descriptorOf(const HeldSecurity& security); // self-relative: a header of 20 bytes, the DACL

class HeldFiles
{
public:
    HeldFiles();
    ~HeldFiles();
    HeldFiles(const HeldFiles&) = delete;
    HeldFiles& operator=(const HeldFiles&) = delete;

    std::map<std::wstring, HeldSecurity> files; // any other path has an empty DACL
    std::vector<std::wstring> written;          // the paths, in order
    std::map<std::wstring, std::string> result; // what was written last
    BYTE revision = 0;                          // of the list that was written last
    std::vector<std::string> calls;             // of the redirected functions, in order

private:
    whatif::Imports imports_;
};

} // namespace acetext
