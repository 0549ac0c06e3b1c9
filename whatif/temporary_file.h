// A file of its own for what would fill the memory: gone when it is closed.
#pragma once

#include <cstdio>
#include <memory>
#include <stdexcept>

namespace whatif {

struct CloseFile
{
    void operator()(FILE* file) const { fclose(file); }
};
using TemporaryFile = std::unique_ptr<FILE, CloseFile>;

class TemporaryFileError : public std::runtime_error
{
public:
    TemporaryFileError() : std::runtime_error("the directory for temporary files cannot be written") {}
};

inline void require(bool done)
{
    if (!done)
        throw TemporaryFileError();
}

TemporaryFile temporaryFile(); // open for reading and writing; throws TemporaryFileError

} // namespace whatif
