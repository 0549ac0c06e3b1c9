// What each exported function takes and gives back: the one table behind parsing, calling, printing and --list.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cli {

enum class Kind
{
    text,         // const char*; NULL when it is left out
    secret,       // the same, never shown
    writableText, // char* that the function may change
    wideText,     // const wchar_t*
    number,       // 32 bits
    byte,
    names,        // NUL-separated list ended by an empty name; NULL when it is left out
    strings,      // char**; followed by the count
    stringsCount, // int
    inserts,      // the variable arguments: texts
    sid,          // PSID, given in its string form
    object,       // HANDLE of a kernel object, given by its name: opened and closed by the host
    token,        // HANDLE of a token, given by its process: the same; NULL when it is left out
    aclInOut,     // PACL*, given and shown as SDDL
    aceList,      // AceListNode*, given as SDDL
    textOut,      // buffer; followed by its size and the length
    size,         // of the buffer before it
    length,       // size_t*: what is reported for the buffer
    wideOut,      // buffer of wideOutSize characters
    widePartOut,  // wchar_t**: set to a place within another argument
    numberOut,    // DWORD*
    numberInOut,  // DWORD*; NULL when it is left out
    sidOut,       // PSID*: released by the host
    stringsOut,   // char***: released by the host; followed by the count
    oemStrings,   // the same in the OEM code page
    count,        // int* or DWORD*
    keyOut,       // HKEY*: a predefined key
    serviceOut,   // SC_HANDLE*: closed by the host
    traceLine,    // the host's own trace callback
    traceContext, // and its context
    hosted        // handled by the host, never given
};

// Numbers that have names, which stand behind a prefix in keswsec.h.
struct NumberNames
{
    const char* prefix;
    std::vector<std::pair<const char*, DWORD>> names;
};

struct Parameter
{
    const char* name = nullptr; // as in keswsec.h
    Kind kind = Kind::hosted;
    bool required = false;
    DWORD preset = 0;                   // of a number that is left out
    const NumberNames* names = nullptr; // by which a number may be given, with or without their prefix, in any case
};

enum class Result
{
    status,    // 2: success
    predicate, // 1: yes, 0: no
    silentNo,  // 1: yes, 3 with an empty record: no
    switching, // 1: success, 0: failure
    legacy,    // 0: done; without a record
    nothing,   // void; fills the record and nothing else
    memory     // void, without a record; called by the host for what functions return
};

constexpr DWORD defaultBufferSize = 1024;
constexpr size_t mostInserts = 3;   // of a message
constexpr size_t wideOutSize = 260; // characters

struct Function
{
    const char* name;
    const char* summary; // what it does, for --list
    Result result;
    std::vector<Parameter> parameters; // those after the error record
};

struct Area
{
    const char* name; // as in keswsec.h
    std::vector<Function> functions;
};

const std::vector<Area>& areas();
const std::vector<Function>& functions();            // of all areas
const Function* findFunction(std::string_view name); // with or without the prefix
std::string shortName(const Function& function);     // without it

bool takesArgument(const Parameter& parameter); // is given as name=value
bool takesRecord(const Function& function);
bool isRepeated(const Parameter& parameter); // its name may be given several times

struct Verdict
{
    std::string meaning;
    bool good; // success or yes
};
Verdict verdictOf(const Function& function, DWORD status, bool messageLeft);

const DWORD* findNumber(const NumberNames& names, const std::string& name); // NULL: none of them
std::string listOf(const NumberNames& names);                               // "FILE, DIRECTORY"

std::string usageOf(const Function& function);       // one line: name and arguments
std::string overview();                              // usage and summary of every function, by area
std::string descriptionOf(const Function& function); // the same of one, and a line for each argument and result

} // namespace cli
