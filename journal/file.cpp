#include "journal/file.h"

#include "whatif/encoding.h"
#include "whatif/spelling.h"

#include <sddl.h>

#include <cstring>

namespace journal {

namespace {

constexpr char name[] = "keswsec";
constexpr wchar_t ownerAndAdministrators[] = L"D:P(A;;FA;;;OW)(A;;FA;;;BA)";
constexpr size_t mostPending = 64 << 10;
constexpr size_t longestPiece = 64 << 20; // far more than a change takes

std::string utf8(const std::wstring& text)
{
    return whatif::utf8FromWide(text);
}

std::string now()
{
    SYSTEMTIME time;
    GetSystemTime(&time);
    char text[32];
    snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", time.wYear, time.wMonth, time.wDay, time.wHour,
             time.wMinute, time.wSecond);
    return text;
}

Json headOf(const Machine& machine)
{
    return {{"journal", name},
            {"version", fileVersion},
            {"time", now()},
            {"computer", utf8(machine.name)},
            {"sid", utf8(machine.sid)}};
}

// How every journal begins; `text` may be the beginning of that.
bool isBeginning(const std::string& text)
{
    static const std::string beginning = std::string(R"({"journal":")") + name + '"';
    const size_t size = std::min(text.size(), beginning.size());
    return text.compare(0, size, beginning, 0, size) == 0;
}

std::string whose(const std::string& computer, const std::string& sid)
{
    return computer + (sid.empty() ? "" : " (" + sid + ")");
}

HANDLE openFile(const std::filesystem::path& file)
{
    SECURITY_ATTRIBUTES attributes = {sizeof attributes, nullptr, FALSE};
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(ownerAndAdministrators, SDDL_REVISION_1,
                                                              &attributes.lpSecurityDescriptor, nullptr))
        return INVALID_HANDLE_VALUE;
    const HANDLE handle = CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, &attributes,
                                      OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    const DWORD error = GetLastError();
    LocalFree(attributes.lpSecurityDescriptor);
    if (handle != INVALID_HANDLE_VALUE && GetFileType(handle) != FILE_TYPE_DISK) { // NUL keeps nothing
        CloseHandle(handle);
        SetLastError(ERROR_BAD_DEVICE);
        return INVALID_HANDLE_VALUE;
    }
    SetLastError(error);
    return handle;
}

bool endsWithLine(HANDLE file)
{
    char last = 0;
    DWORD read = 0;
    LARGE_INTEGER at;
    at.QuadPart = -1;
    return SetFilePointerEx(file, at, nullptr, FILE_END) && ReadFile(file, &last, 1, &read, nullptr) && last == '\n';
}

} // namespace

FileError::FileError(const std::filesystem::path& file, const std::string& what)
    : std::runtime_error(utf8(file.wstring()) + ": " + what)
{
}

// ---- writing -----------------------------------------------------------------------------------------------------

Writer::Writer(const std::filesystem::path& file, const Machine& machine, bool force) : file_(file)
{
    handle_ = openFile(file);
    if (handle_ == INVALID_HANDLE_VALUE)
        throw FileError(file, "cannot be written, error " + std::to_string(GetLastError()));
    LARGE_INTEGER size = {};
    GetFileSizeEx(handle_, &size);
    try {
        if (size.QuadPart) {
            Line line;
            Lines(file, machine, force).next(line);
            torn_ = !endsWithLine(handle_);
        }
        line_.begin = static_cast<std::uint64_t>(size.QuadPart);
        const LARGE_INTEGER begin = size;
        SetFilePointerEx(handle_, begin, nullptr, FILE_BEGIN);
        put((torn_ ? "\n" : "") + lineOf(headOf(machine)) + "\n");
        flush();
        if (error_)
            abandon();
    } catch (...) {
        CloseHandle(handle_);
        throw;
    }
    if (error_) {
        CloseHandle(handle_);
        throw FileError(file, "cannot be written, error " + std::to_string(error_));
    }
}

Writer::~Writer()
{
    if (isOpen_)
        abandon();
    CloseHandle(handle_);
}

void Writer::flush() noexcept
{
    DWORD written = 0;
    const auto size = static_cast<DWORD>(pending_.size());
    if (!error_ && size && !WriteFile(handle_, pending_.data(), size, &written, nullptr))
        error_ = GetLastError();
    if (!error_ && written != size)
        error_ = ERROR_DISK_FULL;
    pending_.clear();
}

void Writer::put(const std::string& text) noexcept
try {
    pending_ += text;
    if (pending_.size() >= mostPending)
        flush();
} catch (...) {
    error_ = ERROR_NOT_ENOUGH_MEMORY;
}

void Writer::begin(const Json& head, const char* list)
{
    LARGE_INTEGER at = {};
    SetFilePointerEx(handle_, at, &at, FILE_CURRENT);
    line_ = {head, static_cast<std::uint64_t>(at.QuadPart), 0};
    error_ = ERROR_SUCCESS;
    isOpen_ = true;
    std::string text = lineOf(head);
    text.back() = ',';
    text += '"' + std::string(list) + "\":[";
    firstItem_ = line_.begin + text.size() + 1;
    put(text);
}

void Writer::add(const Json& item) noexcept
try {
    put((line_.items ? ",\t" : "\t") + lineOf(item));
    line_.items = firstItem_;
} catch (...) {
    error_ = ERROR_NOT_ENOUGH_MEMORY;
}

Line Writer::end()
{
    put("]}\n");
    flush();
    if (!error_ && !FlushFileBuffers(handle_))
        error_ = GetLastError();
    if (error_) {
        const DWORD error = error_;
        abandon();
        throw FileError(file_, "cannot be written, error " + std::to_string(error));
    }
    isOpen_ = false;
    return line_;
}

void Writer::abandon() noexcept
{
    LARGE_INTEGER begin;
    begin.QuadPart = static_cast<LONGLONG>(line_.begin);
    pending_.clear();
    isOpen_ = false;
    SetFilePointerEx(handle_, begin, nullptr, FILE_BEGIN);
    SetEndOfFile(handle_);
}

// ---- reading -----------------------------------------------------------------------------------------------------

Source::Source(const std::filesystem::path& file) : file_(file), stream_(file, std::ios::binary)
{
    if (!stream_)
        throw FileError(file, "cannot be read");
}

char Source::next(std::string& piece)
{
    piece.clear();
    std::streambuf& buffer = *stream_.rdbuf();
    for (int c = buffer.sbumpc(); c != std::char_traits<char>::eof(); c = buffer.sbumpc()) {
        ++offset_;
        if (c == '\t' || c == '\n')
            return static_cast<char>(c);
        piece += static_cast<char>(c);
        if (piece.size() > longestPiece)
            throw FileError(file_, "is no journal of keswsec");
    }
    return 0;
}

void Source::seek(std::uint64_t offset)
{
    stream_.clear();
    stream_.seekg(static_cast<std::streamoff>(offset));
    offset_ = offset;
}

Lines::Lines(const std::filesystem::path& file, const Machine& machine, bool force)
    : source_(file), machine_(machine), force_(force)
{
    std::string beginning;
    const char end = source_.next(beginning);
    if (!isBeginning(beginning) || (end == '\t'))
        throw FileError(file, "is no journal of keswsec");
    source_.seek(0);
}

// A line without items is whole as it is; the head of another one becomes so when its list is closed.
bool Lines::read(Line& line, bool& isWhole)
{
    std::string piece;
    line = {{}, source_.offset(), 0};
    char end = source_.next(piece);
    if (!end && piece.empty())
        return false;
    ++number_;
    if (end == '\t') {
        line.items = source_.offset();
        piece += "]}";
    }
    line.head = Json::parse(piece, nullptr, false);
    while (end == '\t')
        end = source_.next(piece);
    isWhole = end == '\n' && line.head.is_object() && piece.size() >= 2 &&
              (!line.items ||
               (piece.compare(piece.size() - 2, 2, "]}") == 0 && Json::accept(piece.substr(0, piece.size() - 2))));
    return true;
}

void Lines::check(const Json& head)
{
    const int version = head.value("version", 0);
    if (version > fileVersion)
        throw FileError(source_.file(), "was written by a later version (" + std::to_string(version) + ")");
    const std::string computer = head.value("computer", "");
    const std::string sid = head.value("sid", "");
    const std::string ownSid = utf8(machine_.sid);
    computer_ = whatif::wideFromUtf8(computer);
    const bool isSame = whatif::sameName(computer_, machine_.name) && sid == ownSid; // a domain controller has none
    if (!isSame && !force_)
        throw FileError(source_.file(), "is a journal of " + whose(computer, sid) + ", not of " +
                                            whose(utf8(machine_.name), ownSid) + "; --force takes it all the same");
}

bool Lines::next(Line& line)
try {
    size_t broken = 0; // the number of a line that is not whole
    for (bool isWhole = false; read(line, isWhole); broken = number_) {
        if (isWhole && line.head.contains("journal"))
            check(line.head);
        else if (broken)
            break;
        if (isWhole)
            return true;
        ++torn;
    }
    if (broken && broken != number_)
        throw FileError(source_.file(), "is damaged in line " + std::to_string(broken));
    return false;
} catch (const Json::exception&) {
    throw FileError(source_.file(), "is damaged in line " + std::to_string(number_));
}

Items::Items(Source& source, const Line& line) : source_(source), atEnd_(!line.items)
{
    source_.seek(line.items);
}

bool Items::next(Json& item)
{
    if (atEnd_)
        return false;
    begin_ = source_.offset();
    item = take(source_, atEnd_);
    return true;
}

Json Items::at(Source& source, std::uint64_t offset)
{
    bool isLast = false;
    source.seek(offset);
    return take(source, isLast);
}

Json Items::take(Source& source, bool& isLast)
{
    std::string piece;
    isLast = source.next(piece) != '\t';
    const size_t behind = isLast ? 2 : 1; // "]}" or ","
    piece.resize(piece.size() - std::min(piece.size(), behind));
    Json item = Json::parse(piece, nullptr, false);
    if (!item.is_object())
        throw FileError(source.file(), "is damaged at byte " + std::to_string(source.offset()));
    return item;
}

} // namespace journal
