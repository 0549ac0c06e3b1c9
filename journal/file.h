// The file of a journal: one JSON object a line, appended and never rewritten.
//
//     {"journal":"keswsec","version":1,"time":"2026-11-22T10:00:00Z","computer":"SRV1","sid":"S-1-5-21-1-2-3"}
//     {"call":1,"function":"sswseCreateOSGroup","arguments":{...},"changes":[CHANGE,CHANGE]}
//     {"done":1,"status":2,"meaning":"success",...,"sids":{},"differences":[{"change":0,...,"found":...}]}
//
// Each program that writes begins with the first line, each call has the second before it is made and the third after
// it. A tab stands before each item of a list and nowhere else, so that a list of any length is read item by item. A
// line that is not whole is the last one, or stands before a first line: what was to follow it was not done.
#pragma once

#include "journal/json.h"
#include "journal/platform.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace journal {

constexpr int fileVersion = 1;

// One clear line: what is wrong with which file.
class FileError : public std::runtime_error
{
public:
    FileError(const std::filesystem::path& file, const std::string& what);
};

struct Line
{
    Json head;               // its list is empty there
    std::uint64_t begin = 0; // offsets
    std::uint64_t items = 0; // of the first item; 0 for none
};

class Writer
{
public:
    // Makes the file, for its owner and administrators only, or goes on with a journal of this machine; of another one
    // with `force`. Throws FileError.
    Writer(const std::filesystem::path& file, const Machine& machine, bool force);
    ~Writer();
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    bool wasTorn() const { return torn_; } // the last line was not whole

    // A line: what it begins with, the name of its list, items, the end. It is on the disk when `end` returns; when it
    // cannot be written nothing is left of it and FileError is thrown.
    void begin(const Json& head, const char* list);
    void add(const Json& item) noexcept;
    Line end();
    void abandon() noexcept;

    const std::filesystem::path& file() const { return file_; }

private:
    void put(const std::string& text) noexcept;
    void flush() noexcept;

    std::filesystem::path file_;
    HANDLE handle_ = INVALID_HANDLE_VALUE;
    Line line_;
    std::string pending_;
    DWORD error_ = ERROR_SUCCESS;
    bool isOpen_ = false; // a line has been begun
    bool torn_ = false;
    std::uint64_t firstItem_ = 0;
};

// Reads pieces, each up to a tab or the end of a line.
class Source
{
public:
    explicit Source(const std::filesystem::path& file);

    char next(std::string& piece); // what has ended it: '\t', '\n', or 0 for the end of the file
    void seek(std::uint64_t offset);
    std::uint64_t offset() const { return offset_; }
    const std::filesystem::path& file() const { return file_; }

private:
    std::filesystem::path file_;
    std::ifstream stream_;
    std::uint64_t offset_ = 0;
};

// The lines of a journal from its first one on, without their items.
class Lines
{
public:
    // Throws FileError for what is no journal of this machine, as Writer does.
    Lines(const std::filesystem::path& file, const Machine& machine, bool force);

    // False at the end. Lines that are not whole are left out and counted.
    bool next(Line& line);
    void seek(const Line& line) { source_.seek(line.begin); }

    const std::wstring& computer() const { return computer_; } // whose lines these are

    size_t torn = 0;

private:
    bool read(Line& line, bool& isWhole);
    void check(const Json& head);

    Source source_;
    const Machine& machine_;
    bool force_;
    std::wstring computer_;
    size_t number_ = 0;
};

// The items of a line.
class Items
{
public:
    Items(Source& source, const Line& line);
    bool next(Json& item);                          // false at the end
    std::uint64_t offset() const { return begin_; } // of the item

    static Json at(Source& source, std::uint64_t offset);

private:
    static Json take(Source& source, bool& isLast);

    Source& source_;
    std::uint64_t begin_ = 0;
    bool atEnd_;
};

} // namespace journal
