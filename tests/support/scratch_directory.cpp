#include "tests/support/scratch_directory.h"

#include "tests/support/this_machine.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
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

void expectDocument(const std::string& name, const std::string& written)
{
    constexpr char mark[] = "<!-- written by the tests -->\n";
    constexpr size_t shown = 500;
    const std::string path = projectFile("docs/" + name);
    std::string was = contentsOf(path);
    was.erase(std::remove(was.begin(), was.end(), '\r'), was.end());
    const size_t end = was.find(mark);
    ASSERT_NE(end, std::string::npos);
    const std::string is = was.substr(0, end + strlen(mark)) + written;
    if (getenv("KESWSEC_WRITE_DOCS"))
        std::ofstream(path, std::ios::binary) << is;
    const auto differs = std::mismatch(was.begin(), was.end(), is.begin(), is.end()).first - was.begin();
    const size_t line = was.rfind('\n', static_cast<size_t>(differs)) + 1;
    const size_t heading = was.rfind("\n## ", line) + 1;
    EXPECT_TRUE(getenv("KESWSEC_WRITE_DOCS") || was == is)
        << path << ", " << was.substr(heading, was.find('\n', heading) - heading) << "\n- " << was.substr(line, shown)
        << "\n+ " << is.substr(line, shown) << "\nKESWSEC_WRITE_DOCS=1 ./test --gtest_filter=... writes it anew";
}

} // namespace support
