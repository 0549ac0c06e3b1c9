// keswsec.exe, run as its users run it.
#pragma once

#include "cli/text.h"
#include "tests/support/scratch_directory.h"

#include <mutex>
#include <stdexcept>

namespace support {

struct Finished
{
    int status = 0;
    std::string output; // standard output and error
};

// A command line behind the program's name, UTF-8.
inline Finished runProgram(const std::string& arguments)
{
    static std::mutex mutex; // this process's own output is the pipe for a moment
    const std::wstring program = (programDirectory() / "keswsec.exe").wstring();
    const std::wstring line = L"\"\"" + program + L"\" " + cli::wideFromUtf8(arguments) + L" 2>&1\"";
    std::unique_lock lock(mutex);
    FILE* const pipe = _wpopen(line.c_str(), L"rb");
    lock.unlock();
    if (!pipe)
        throw std::runtime_error("keswsec.exe cannot be started");
    Finished result;
    for (int byte = fgetc(pipe); byte != EOF; byte = fgetc(pipe))
        result.output += static_cast<char>(byte);
    result.status = _pclose(pipe);
    return result;
}

} // namespace support
