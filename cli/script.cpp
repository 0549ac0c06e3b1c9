#include "cli/script.h"

#include "cli/text.h"

#include <cstring>
#include <fstream>
#include <sstream>

namespace cli {

namespace {

constexpr const char* blanks = " \t\r";

std::string textOf(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        throw UsageError("cannot read " + utf8FromWide(file.wstring()));
    std::ostringstream text;
    text << stream.rdbuf();
    const std::string bytes = text.str();
    const bool marked = bytes.compare(0, 3, "\xEF\xBB\xBF") == 0;
    return utf8FromBytes(std::string_view(bytes).substr(marked ? 3 : 0));
}

// The word that begins at `at`, which is moved behind it.
std::string takeWord(const std::string& line, size_t& at)
{
    std::string word;
    bool inQuotes = false;
    for (; at < line.size() && (inQuotes || !strchr(blanks, line[at])); ++at) {
        if (line[at] != '"')
            word += line[at];
        else if (inQuotes && at + 1 < line.size() && line[at + 1] == '"')
            word += line[++at];
        else
            inQuotes = !inQuotes;
    }
    if (inQuotes)
        throw UsageError("a quote is not closed");
    return word;
}

ScriptLine parseLine(const std::string& line)
{
    const size_t first = std::min(line.find_first_not_of(blanks), line.size());
    const bool tolerated = first < line.size() && line[first] == '-';
    ScriptLine result;
    if (first < line.size() && line[first] == '#')
        result.comment = line.substr(first, line.find_last_not_of(blanks) + 1 - first);
    const std::vector<std::string> words = splitWords(line.substr(first + (tolerated ? 1 : 0)));
    if (words.empty())
        return result;
    result.call = parseCall(words);
    result.call.failureTolerated = tolerated;
    return result;
}

} // namespace

std::vector<std::string> splitWords(const std::string& line)
{
    std::vector<std::string> words;
    size_t at = 0;
    while ((at = line.find_first_not_of(blanks, at)) != std::string::npos && line[at] != '#')
        words.push_back(takeWord(line, at));
    return words;
}

std::vector<ScriptLine> readScript(const std::filesystem::path& file)
{
    std::vector<ScriptLine> lines;
    std::istringstream text(textOf(file));
    std::string line;
    for (size_t number = 1; std::getline(text, line); ++number) {
        try {
            ScriptLine parsed = parseLine(line);
            if (parsed.call.function || !parsed.comment.empty())
                lines.push_back(std::move(parsed));
        } catch (const UsageError& error) {
            throw UsageError(utf8FromWide(file.wstring()) + ":" + std::to_string(number) + ": " + error.what());
        }
    }
    return lines;
}

} // namespace cli
