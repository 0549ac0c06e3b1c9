// A directory of the test's own, removed with all that is in it; other files, and documents that tests write.
#pragma once

#include <filesystem>
#include <string>

namespace support {

class ScratchDirectory
{
public:
    ScratchDirectory();
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

// The current one while it lives, for relative paths.
class CurrentDirectory : public ScratchDirectory
{
public:
    CurrentDirectory() { std::filesystem::current_path(path()); }
    ~CurrentDirectory() { std::filesystem::current_path(before_); }

private:
    const std::filesystem::path before_ = std::filesystem::current_path();
};

// The directory of the test program, where the build puts the library.
std::filesystem::path programDirectory();

// A file of the project, "examples/server.ini": the build folder lies in the project's own.
std::string projectFile(const std::string& name);

std::string contentsOf(const std::filesystem::path& file);

// The last part of a document in docs/, behind its mark, is this. With KESWSEC_WRITE_DOCS set in the environment it is
// written anew.
void expectDocument(const std::string& name, const std::string& written);

} // namespace support
