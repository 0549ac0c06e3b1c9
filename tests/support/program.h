// keswsec.exe, run as its users run it.
#pragma once

#include <windows.h>

#include <string>

namespace support {

struct Finished
{
    DWORD status = 0;
    std::string output; // standard output and error
};

// The command line behind the program's name, UTF-8, and what it reads from standard input.
Finished runProgram(const std::string& arguments, const std::string& input = "");

} // namespace support
