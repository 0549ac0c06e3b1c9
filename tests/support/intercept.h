// Stands between the loaded library and the platform: counts the library's calls, fails the one that a test names, and
// keeps account of what is acquired and released. Sits on top of whatever the imports point at, a what-if node too.
#pragma once

#include "whatif/redirect/imports.h"
#include "whatif/whatif.h"

#include <windows.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace intercept {

// How a platform function says that it failed.
enum class Says
{
    nothing,   // it cannot fail, or its failure has no consequence
    zero,      // 0, FALSE or NULL, and the last error
    allBits,   // INVALID_HANDLE_VALUE, INVALID_FILE_ATTRIBUTES, and the last error
    result,    // its result is the error
    ntStatus,  // its result is an NTSTATUS
    memoryNull // NULL from the heap
};

// The arguments of a call as they are passed.
using Raw = std::array<uintptr_t, 16>;

template <class T>
uintptr_t rawOf(T value)
{
    static_assert(sizeof value <= sizeof(uintptr_t));
    uintptr_t raw = 0;
    memcpy(&raw, &value, sizeof value);
    return raw;
}

// One row per imported platform function.
struct Row
{
    const char* name;
    void* wrapper;
    void** original;   // where the wrapper finds what it stands before
    const char* types; // of the arguments: 'a' text, 'w' wide text, 'i' signed and 'n' other number, 'p' other pointer
    Says says = Says::nothing;
    std::vector<DWORD> codes = {};           // documented failures worth trying; the first is the usual one
    std::string acquires = {};               // the kind of a resource: what it gives goes to that kind's release
    int through = -1;                        // the argument that receives the resource; -1: it is the result
    bool isBuffer = false;                   // the argument is not the address of it, but itself what the call fills
    std::string releases = {};               // the kind of its first argument
    bool releasesThroughAddress = false;     // the first argument is the address of it
    std::vector<std::string> arguments = {}; // words for them, see call_words.h
    std::string result = {};
    void* standIn = nullptr;       // called instead of the platform's function
    bool isFoundAtRunTime = false; // not imported: GetProcAddress finds it
    bool writesBeforeItFails = false;
};

const std::vector<Row>& rows();       // functions that are stood before
const std::set<std::string>& plain(); // functions that are left alone: they cannot fail and own nothing

struct Fault
{
    size_t call = 0; // counted from 1; 0 is none
    DWORD code = 0;
    const char* function = nullptr; // only the calls of this one count; `call` 0 is then every one
    bool argumentLines = false;     // or every call that is made to trace an argument line
    bool texts = false;             // and every call for a message's text
};

// What is called or traced, in words.
struct Line
{
    size_t depth; // routines around it
    std::string text;
    std::string asked;        // in a call: rights, flags and names
    const Row* row = nullptr; // of a call
};

// What one run of a library function did.
struct Trail
{
    struct Call
    {
        const Row* row;
        size_t planLength;    // of the world, before the call
        std::string routines; // that are under way, "|outer|inner"; known when the run is traced
        std::string object;   // the file or directory that the call is about
    };
    std::vector<Call> calls;             // those that can fail, in order, without those for argument lines
    std::set<const Row*> reached;        // whether they can fail or not
    std::vector<std::string> offences;   // wrong-pair or double releases
    std::map<std::string, long> balance; // kind -> acquired and not released
    std::vector<Line> lines;             // when it runs in words; without the heap and argument lines
};

class Interception
{
public:
    Interception(HMODULE library, const whatif::World& world); // that the library's calls act on
    ~Interception();
    Interception(const Interception&) = delete;
    Interception& operator=(const Interception&) = delete;

    void start(Fault fault, bool inWords = false);
    Trail finish(); // argument lines that the library has not released are released here

    // What the caller hands to the library to release, and what the library hands to the caller.
    static void give(const std::string& kind, const void* resource);
    static void take(const std::string& kind, const void* resource);
    // What stays the caller's, too.
    static void lend(const void* resource, const std::string& name);

    // A trace line of the run under way, with its format.
    static void traced(const char* format, const char* line);

    std::vector<std::string> unmatched() const; // imports without a row, and rows of what is not imported

private:
    whatif::Imports imports_;
};

} // namespace intercept
