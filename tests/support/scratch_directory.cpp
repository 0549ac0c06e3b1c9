#include "tests/support/scratch_directory.h"

#include "tests/support/this_machine.h"

#include <windows.h>

#include <fstream>
#include <iterator>

namespace support {

namespace fs = std::filesystem;

ScratchDirectory::ScratchDirectory()
{
    static int made = 0;
    do // what a run that did not come to its end has left is passed over
        path_ = fs::temp_directory_path() / machineName(std::to_wstring(++made));
    while (!fs::create_directories(path_));
}

ScratchDirectory::~ScratchDirectory()
{
    std::error_code ignored; // a file that a module keeps open stays
    fs::remove_all(path_, ignored);
}

fs::path programDirectory()
{
    wchar_t path[MAX_PATH];
    return fs::path(path, path + GetModuleFileNameW(nullptr, path, MAX_PATH)).parent_path();
}

std::string projectFile(const std::string& name)
{
    return (programDirectory().parent_path() / name).generic_string();
}

std::string contentsOf(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace support
