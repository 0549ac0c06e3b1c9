#include "whatif/temporary_file.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

namespace whatif {

TemporaryFile temporaryFile()
{
    static unsigned count = 0;
    int descriptor = -1;
    // In memory as long as there is some, deleted when it is closed; never one that somebody else has put there.
    do {
        const std::filesystem::path name =
            std::filesystem::temp_directory_path() /
            ("keswsec-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++count) + ".tmp");
        errno = 0;
        descriptor = _wsopen(name.c_str(), _O_CREAT | _O_EXCL | _O_RDWR | _O_BINARY | _O_TEMPORARY | _O_SHORT_LIVED,
                             _SH_DENYRW, _S_IREAD | _S_IWRITE);
    } while (descriptor < 0 && errno == EEXIST);
    require(descriptor >= 0);
    TemporaryFile file(_fdopen(descriptor, "w+b"));
    require(file != nullptr);
    return file;
}

} // namespace whatif
