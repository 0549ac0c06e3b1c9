#include "whatif/temporary_file.h"

#include <windows.h>

#include <filesystem>

namespace whatif {

TemporaryFile temporaryFile()
{
    static unsigned count = 0;
    const std::filesystem::path name =
        std::filesystem::temp_directory_path() /
        ("keswsec-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++count) + ".tmp");
    // In memory as long as there is some, deleted when it is closed.
    TemporaryFile file(_wfopen(name.c_str(), L"w+bTD"));
    require(file != nullptr);
    return file;
}

} // namespace whatif
