// INI files as the platform reads them, with an escape so that any text comes back as it was: "%" and two hexadecimal
// digits stand for a character; "%SystemRoot%" and the like need none.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace whatif {

// As they stand in the file, still escaped.
struct IniLine
{
    std::wstring key;
    std::wstring value;
};

struct IniSection
{
    std::wstring name; // not escaped any more
    std::vector<IniLine> lines;
};

// Throws std::runtime_error when there is no such file, or when it has a section twice (the platform would ignore one).
std::vector<IniSection> readIni(const std::filesystem::path& file);

class IniWriter
{
public:
    // A section without lines is written only when it `stays`.
    void section(const std::wstring& name, bool stays = false);
    void line(const std::wstring& key, const std::wstring& value);
    void list(const std::wstring& key, const std::vector<std::wstring>& items); // separated by commas

    // ASCII when that is enough, else UTF-16. Throws std::runtime_error.
    void save(const std::filesystem::path& file) const;

private:
    void escapedLine(const std::wstring& key, const std::wstring& value);

    std::wstring pending_;
    std::wstring text_;
};

std::wstring keyOf(const IniLine& line); // "@" is the empty key
std::wstring unescaped(const std::wstring& text);
std::vector<std::wstring> splitAtCommas(const std::wstring& value);

std::string narrow(const std::wstring& text); // for messages

} // namespace whatif
