#include "whatif/description/ini.h"

#include "whatif/node.h"
#include "whatif/spelling.h"

#include <algorithm>
#include <cwctype>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <utility>

namespace whatif {

namespace {

// The profile functions return lists of terminated strings and say "size - 2" when the buffer was too small.
template <class Read>
std::vector<std::wstring> readStrings(Read read)
{
    std::vector<wchar_t> buffer(4096);
    DWORD length = read(buffer.data(), static_cast<DWORD>(buffer.size()));
    while (length >= buffer.size() - 2) {
        buffer.resize(buffer.size() * 2);
        length = read(buffer.data(), static_cast<DWORD>(buffer.size()));
    }
    std::vector<std::wstring> strings;
    for (size_t at = 0; at < length; at += strings.back().size() + 1)
        strings.emplace_back(&buffer[at]);
    return strings;
}

bool isEscape(const std::wstring& text, size_t at)
{
    return text[at] == L'%' && at + 2 < text.size() && iswxdigit(text[at + 1]) && iswxdigit(text[at + 2]);
}

std::wstring escape(wchar_t character)
{
    wchar_t text[4];
    swprintf(text, 4, L"%%%02x", static_cast<unsigned>(character));
    return text;
}

// The platform strips blanks and a pair of quotes from the ends, and reads some characters at the start of a line, so
// these are escaped besides what is `special` in the place where the text stands.
std::wstring escaped(const std::wstring& text, const wchar_t* special)
{
    std::wstring result;
    for (size_t i = 0; i < text.size(); ++i) {
        const wchar_t c = text[i];
        const bool atEnd = i == 0 || i + 1 == text.size();
        const bool escapes = c < L' ' || isEscape(text, i) || wcschr(special, c) || (atEnd && wcschr(L" \"'", c)) ||
                             (i == 0 && wcschr(L"[;#", c));
        result += escapes ? escape(c) : std::wstring(1, c);
    }
    return result;
}

} // namespace

std::string narrow(const std::wstring& text)
{
    const int length = static_cast<int>(text.size());
    std::string result(
        static_cast<size_t>(WideCharToMultiByte(CP_ACP, 0, text.c_str(), length, nullptr, 0, nullptr, nullptr)), '\0');
    WideCharToMultiByte(CP_ACP, 0, text.c_str(), length, result.data(), static_cast<int>(result.size()), nullptr,
                        nullptr);
    return result;
}

std::wstring unescaped(const std::wstring& text)
{
    std::wstring result;
    for (size_t i = 0; i < text.size(); ++i) {
        if (!isEscape(text, i)) {
            result += text[i];
            continue;
        }
        result += static_cast<wchar_t>(std::stoul(text.substr(i + 1, 2), nullptr, 16));
        i += 2;
    }
    return result;
}

std::wstring keyOf(const IniLine& line)
{
    return line.key == L"@" ? L"" : unescaped(line.key);
}

std::vector<std::wstring> splitAtCommas(const std::wstring& value)
{
    std::vector<std::wstring> items;
    for (size_t start = 0; start < value.size();) {
        const size_t end = std::min(value.find(L',', start), value.size());
        const size_t first = std::min(value.find_first_not_of(L' ', start), end);
        const size_t last = value.find_last_not_of(L' ', end - 1);
        if (first < end)
            items.push_back(unescaped(value.substr(first, last - first + 1)));
        start = end + 1;
    }
    return items;
}

std::vector<IniSection> readIni(const std::filesystem::path& file)
{
    // The profile functions look for a name without a directory in the Windows directory.
    const std::wstring path = std::filesystem::absolute(file).make_preferred().wstring();
    if (!std::filesystem::exists(path))
        throw std::runtime_error(narrow(file.wstring()) + ": there is no such file");
    std::vector<IniSection> sections;
    std::set<std::wstring, NoCase> seen;
    const auto names = readStrings(
        [&](wchar_t* buffer, DWORD size) { return GetPrivateProfileSectionNamesW(buffer, size, path.c_str()); });
    for (const std::wstring& name : names) {
        if (!seen.insert(name).second)
            throw std::runtime_error(narrow(file.wstring() + L": [" + name + L"] is there twice"));
        IniSection section = {unescaped(name), {}};
        for (const std::wstring& line : readStrings([&](wchar_t*buffer, DWORD size) {
                 return GetPrivateProfileSectionW(name.c_str(), buffer, size, path.c_str());
             })) {
            const size_t equals = line.find(L'=');
            section.lines.push_back(
                {line.substr(0, equals), equals == std::wstring::npos ? L"" : line.substr(equals + 1)});
        }
        sections.push_back(section);
    }
    return sections;
}

void IniWriter::section(const std::wstring& name, bool stays)
{
    pending_ = (text_.empty() ? L"[" : L"\r\n[") + escaped(name, L"]") + L"]\r\n";
    if (stays)
        text_ += std::exchange(pending_, L"");
}

void IniWriter::escapedLine(const std::wstring& key, const std::wstring& value)
{
    const std::wstring name = key.empty() ? L"@" : key == L"@" ? escape(L'@') : escaped(key, L"=");
    text_ += std::exchange(pending_, L"") + name + L'=' + value + L"\r\n";
}

void IniWriter::line(const std::wstring& key, const std::wstring& value)
{
    escapedLine(key, escaped(value, L""));
}

void IniWriter::list(const std::wstring& key, const std::vector<std::wstring>& items)
{
    std::wstring value;
    for (const std::wstring& item : items)
        value += (value.empty() ? L"" : L", ") + escaped(item, L",");
    escapedLine(key, value);
}

void IniWriter::save(const std::filesystem::path& file) const
{
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    if (std::all_of(text_.begin(), text_.end(), [](wchar_t c) { return c < 0x80; })) {
        std::transform(text_.begin(), text_.end(), std::ostreambuf_iterator<char>(stream),
                       [](wchar_t c) { return static_cast<char>(c); });
    } else {
        const std::wstring marked = L'\xFEFF' + text_;
        stream.write(reinterpret_cast<const char*>(marked.data()),
                     static_cast<std::streamsize>(marked.size() * sizeof(wchar_t)));
    }
    stream.close();
    if (!stream)
        throw std::runtime_error(narrow(file.wstring()) + ": cannot be written");
}

} // namespace whatif
