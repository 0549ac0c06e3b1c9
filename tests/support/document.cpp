#include "tests/support/document.h"

#include "tests/support/scratch_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

Lines linesOf(const std::string& text)
{
    std::istringstream stream(text);
    Lines lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

// Under which headings, and the lines there: "- " as they were, "+ " as they are.
std::string firstDifference(const Lines& before, const Lines& after)
{
    const auto [was, is] = std::mismatch(before.begin(), before.end(), after.begin(), after.end());
    if (was == before.end() && is == after.end())
        return "";
    std::string headings;
    for (auto line = before.begin(); line != was; ++line)
        if (line->rfind("##", 0) == 0)
            headings = *line;
        else if (line->find_first_not_of(" |") == 0 && line->back() == ':')
            headings = headings.substr(0, headings.find(": ")) + ": " + *line;
    std::string difference = "line " + std::to_string(was - before.begin() + 1) + ", " + headings;
    for (auto line = was; line != before.end() && line < was + 3; ++line)
        difference += "\n- " + *line;
    for (auto line = is; line != after.end() && line < is + 3; ++line)
        difference += "\n+ " + *line;
    return difference;
}

} // namespace

void support::expectDocument(const std::string& name, const std::string& written)
{
    const std::string path = projectFile("docs/" + name);
    const std::string begin = "<!-- written by the tests -->\n";
    std::string document = contentsOf(path);
    document.erase(std::remove(document.begin(), document.end(), '\r'), document.end());
    const size_t at = document.find(begin);
    ASSERT_NE(at, std::string::npos);
    const std::string now = document.substr(0, at + begin.size()) + written;
    if (getenv("KESWSEC_WRITE_DOCS"))
        std::ofstream(path, std::ios::binary) << now;
    else if (const std::string difference = firstDifference(linesOf(document), linesOf(now)); !difference.empty())
        ADD_FAILURE() << path << ", " << difference
                      << "\nKESWSEC_WRITE_DOCS=1 ./test --gtest_filter=... writes it anew";
}
