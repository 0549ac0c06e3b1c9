#include "tests/support/intercept.h"

#include "tests/support/call_words.h"
#include "tests/support/guarded_heap.h"
#include "tests/support/wrapper.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <regex>
#include <set>
#include <stdexcept>
#include <utility>

namespace intercept {

namespace {

struct Run
{
    bool on = false;
    Fault fault;
    size_t counted = 0; // calls that the fault looks at
    Trail trail;
    std::map<uintptr_t, std::string> held;
    std::string object;
    std::map<uintptr_t, std::string> searches; // and what is searched

    // From the trace: what comes between a routine's entry and its next line, beginning with the buffer, is made for
    // its argument line.
    std::vector<std::string> routines;
    bool entered = false;
    bool isArgumentBuffer = false; // the call at hand: other blocks of the line may be of its size
    bool inArgumentLine = false;
    std::vector<uintptr_t> argumentBuffers;

    bool inWords = false;
    Names names;
    std::set<uintptr_t> lent;
    bool isWritten = false;     // the call at hand
    bool lineMayFollow = false; // an argument line, or another piece of it
};

std::recursive_mutex mutex;
Run run;
const whatif::World* world;

constexpr size_t argumentBufferSize = 512;

void writeLine(std::string text)
{
    run.lineMayFollow = false;
    if (run.inWords)
        run.trail.lines.push_back({run.routines.size(), std::move(text), "", nullptr});
}

// A text is converted by two calls, of which the first asks for its length. The pair is not worth its lines when it is
// as always.
bool endsUsualConversion(const std::string& call)
{
    static const std::regex usual(R"(((?:MultiByteToWideChar\(CP_ACP, MB_PRECOMPOSED|WideCharToMultiByte\(CP_ACP, )"
                                  R"(WC_NO_BEST_FIT_CHARS \| WC_COMPOSITECHECK), .*, -1, )out, all(.*))");
    std::smatch parts;
    return !run.trail.lines.empty() && std::regex_match(call, parts, usual) &&
           run.trail.lines.back().text == parts[1].str() + "NULL, 0" + parts[2].str();
}

// What stands for the digits of a handle or a block, in the form that the argument line gives it; NULL for others.
const char* addressForm(const std::string& digits)
{
    for (const int base : {10, 16}) {
        const auto value = static_cast<uintptr_t>(strtoull(digits.c_str(), nullptr, base));
        const bool isOfLibrary = run.held.count(value) || guarded::isBlock(reinterpret_cast<void*>(value));
        if (run.lent.count(value) || (digits.size() >= 5 && isOfLibrary))
            return base == 10 ? "(address, decimal)" : "(address, hex)";
    }
    return nullptr;
}

// A control character cannot be seen.
std::string shown(const std::string& word)
{
    char text[8];
    snprintf(text, sizeof text, "\\x%02x", static_cast<BYTE>(word[0]));
    return word == "\n" ? "\\n" : static_cast<BYTE>(word[0]) < ' ' ? text : word;
}

// The argument line so far: it is traced in pieces of a buffer, which ends where the piece at hand ends.
void writeArgumentLine()
{
    const std::string line = reinterpret_cast<const char*>(run.argumentBuffers.back());
    std::string text = ": ";
    for (size_t at = 0; at < line.size();) {
        const size_t digits = std::min(line.find_first_not_of("0123456789abcdef", at), line.size()) - at;
        const std::string word = line.substr(at, std::max<size_t>(digits, 1));
        const char* const address = addressForm(word);
        text += address ? address : shown(word);
        at += word.size();
    }
    run.trail.lines.back().text = run.routines.back() + text;
}

// With the number of the operating system's error, whose text is the machine's.
std::string firstLine(const std::string& text)
{
    const size_t at = text.find("(OS ");
    const std::string osError = at == std::string::npos ? "" : ' ' + text.substr(at, text.find(')', at) + 1 - at);
    return text.substr(0, text.find_first_of("\r\n")) + osError;
}

void writeCall(const Row& row, const Raw& arguments)
{
    const bool isOfHeap = row.says == Says::memoryNull || row.releases == "heap";
    run.isWritten = run.inWords && !isOfHeap && strcmp(row.name, "IsValidSid") != 0; // which only computes
    if (!run.isWritten)
        return;
    const CallWords words = wordsOf(row, arguments, run.names);
    if (endsUsualConversion(words.all)) {
        run.trail.lines.pop_back();
        run.isWritten = false;
        return;
    }
    writeLine(words.all);
    run.trail.lines.back().asked = words.asked;
    run.trail.lines.back().row = &row;
}

// The error that a call has ended with, if it has.
void writeError(const Row& row, uintptr_t result, DWORD osError)
{
    const bool isResult = row.says == Says::result || row.says == Says::ntStatus;
    char text[32];
    snprintf(text, sizeof text, row.says == Says::ntStatus ? " -> 0x%lX" : " -> %lu",
             isResult ? static_cast<DWORD>(result) : osError);
    run.trail.lines.back().text += text;
}

bool isForArgumentLine(const Row& row, const Raw& arguments)
{
    run.isArgumentBuffer = run.entered && row.says == Says::memoryNull && arguments[0] == argumentBufferSize;
    if (run.isArgumentBuffer)
        run.inArgumentLine = true;
    run.entered = false;
    return run.inArgumentLine;
}

std::string joined(const std::vector<std::string>& routines)
{
    std::string text;
    for (const std::string& routine : routines)
        text += '|' + routine;
    return text;
}

// A call without a path is about what the one before it was about.
void followObject(const Row& row, const Raw& arguments)
{
    static const std::set<std::string> withPath = {"GetFileAttributesW", "GetFileSecurityW", "SetFileSecurityW",
                                                   "FindFirstFileW"};
    if (withPath.count(row.name)) {
        const std::wstring path = reinterpret_cast<const wchar_t*>(arguments[0]);
        run.object.assign(path.begin(), std::find(path.begin(), path.end(), L'*'));
        if (!run.object.empty() && run.object.back() == '\\')
            run.object.pop_back();
    } else if (strcmp(row.name, "FindNextFileW") == 0) {
        run.object = run.searches[arguments[0]];
    }
}

// What is found at run time is stood before as the imports are.
uintptr_t findAtRunTime(const char* name, uintptr_t found)
{
    for (const Row& row : rows())
        if (row.isFoundAtRunTime && strcmp(row.name, name) == 0) {
            *row.original = reinterpret_cast<void*>(found);
            return reinterpret_cast<uintptr_t>(row.wrapper);
        }
    return found;
}

bool isSuccess(const Row& row, uintptr_t result)
{
    const auto number = static_cast<LONG>(result);
    if (row.says == Says::result || row.says == Says::ntStatus)
        return row.says == Says::result ? number == 0 : number >= 0;
    return row.says == Says::nothing || (row.says == Says::allBits ? number != -1 : result != 0);
}

uintptr_t resourceOf(const Row& row, uintptr_t result, const Raw& arguments)
{
    if (row.through < 0)
        return result;
    if (row.isBuffer)
        return arguments[static_cast<size_t>(row.through)];
    const auto* const place = reinterpret_cast<const uintptr_t*>(arguments[static_cast<size_t>(row.through)]);
    return place ? *place : 0;
}

void nameResult(const Row& row, uintptr_t result, const Raw& arguments)
{
    const std::string name = resultOf(row, arguments, run.names);
    if (const uintptr_t resource = name.empty() ? 0 : resourceOf(row, result, arguments))
        run.names[resource] = name;
}

} // namespace

const Row& rowOf(void** original)
{
    return *std::find_if(rows().begin(), rows().end(), [original](const Row& row) { return row.original == original; });
}

std::optional<DWORD> enter(const Row& row, const Raw& arguments)
{
    const std::lock_guard lock(mutex);
    run.isWritten = false;
    if (run.on)
        run.trail.reached.insert(&row);
    if (!run.on)
        return std::nullopt;
    const bool isForLine = row.says == Says::nothing ? run.inArgumentLine : isForArgumentLine(row, arguments);
    if (!isForLine)
        writeCall(row, arguments);
    if (row.says == Says::nothing)
        return std::nullopt;
    if (isForLine) {
        if (!run.fault.argumentLines)
            return std::nullopt;
        run.inArgumentLine = row.says != Says::memoryNull; // without a buffer there is no line
        return row.codes.front();
    }
    followObject(row, arguments);
    run.trail.calls.push_back({&row, world->plan().size(), joined(run.routines), run.object});
    const Fault& fault = run.fault;
    const bool isCounted = !fault.function || strcmp(fault.function, row.name) == 0;
    const bool isEveryOne = fault.function && fault.call == 0;
    if (isCounted && (++run.counted == fault.call || isEveryOne)) {
        if (std::exchange(run.isWritten, false))
            writeError(row, fault.code, fault.code);
        return fault.code;
    }
    if (fault.texts && strcmp(row.name, "FormatMessageA") == 0)
        return row.codes.front();
    return std::nullopt;
}

bool releasing(const Row& row, const Raw& arguments)
{
    uintptr_t resource = arguments[0];
    if (resource && row.releasesThroughAddress)
        resource = *reinterpret_cast<const uintptr_t*>(resource);
    const std::lock_guard lock(mutex);
    if (!run.on || row.releases.empty() || !resource)
        return true;
    run.names.erase(resource);
    const auto known = run.held.find(resource);
    if (known != run.held.end() && known->second == row.releases) {
        run.held.erase(known);
        return true;
    }
    run.trail.offences.push_back(std::string(row.name) + " of " +
                                 (known == run.held.end() ? "what is not held" : known->second));
    return false;
}

uintptr_t finished(const Row& row, uintptr_t result, const Raw& arguments)
{
    const DWORD osError = GetLastError();
    if (std::exchange(run.isWritten, false) && !isSuccess(row, result))
        writeError(row, result, osError);
    if (result && strcmp(row.name, "GetProcAddress") == 0)
        return findAtRunTime(reinterpret_cast<const char*>(arguments[1]), result);
    if (run.inWords && row.says != Says::nothing && isSuccess(row, result))
        nameResult(row, result, arguments);
    if (row.acquires.empty() || !isSuccess(row, result))
        return result;
    const uintptr_t resource = resourceOf(row, result, arguments);
    const std::lock_guard lock(mutex);
    if (std::exchange(run.isArgumentBuffer, false) && run.on && resource)
        run.argumentBuffers.push_back(resource);
    else if (run.on && resource)
        run.held[resource] = row.acquires;
    if (row.acquires == "search")
        run.searches[resource] = run.object;
    return result;
}

Interception::Interception(HMODULE library, const whatif::World& acted) : imports_(library)
{
    run = {};
    world = &acted;
    for (const Row& row : rows())
        if (void* const before = imports_.redirect(row.name, row.wrapper)) {
            if (before == row.wrapper) // which would call itself
                throw std::logic_error(std::string("two rows for ") + row.name);
            *row.original = row.standIn ? row.standIn : before;
        }
}

Interception::~Interception()
{
    run = {};
}

void Interception::start(Fault fault, bool inWords)
{
    const std::lock_guard lock(mutex);
    run = {};
    run.inWords = inWords;
    run.fault = fault;
    run.on = true;
}

Trail Interception::finish()
{
    const std::lock_guard lock(mutex);
    run.on = false;
    for (const auto& [resource, kind] : run.held)
        ++run.trail.balance[kind];
    for (const uintptr_t buffer : run.argumentBuffers)
        guarded::release(reinterpret_cast<void*>(buffer));
    return std::move(run.trail);
}

void Interception::give(const std::string& kind, const void* resource)
{
    run.held[reinterpret_cast<uintptr_t>(resource)] = kind;
    run.names[reinterpret_cast<uintptr_t>(resource)] = "given " + kind;
}

void Interception::take(const std::string& kind, const void* resource)
{
    const auto known = run.held.find(reinterpret_cast<uintptr_t>(resource));
    if (known == run.held.end() || known->second != kind)
        run.trail.offences.push_back("the caller is given a " + kind + " that is none");
    else
        run.held.erase(known);
}

void Interception::lend(const void* resource, const std::string& name)
{
    run.names[reinterpret_cast<uintptr_t>(resource)] = name;
    run.lent.insert(reinterpret_cast<uintptr_t>(resource));
}

void Interception::traced(const char* format, const char* line)
{
    constexpr char entering[] = "Entering... ";
    const std::lock_guard lock(mutex);
    if (!run.on)
        return;
    run.inArgumentLine = false;
    run.entered = strncmp(line, entering, strlen(entering)) == 0;
    if (run.entered) {
        const std::string routine(line + strlen(entering), strcspn(line + strlen(entering), "("));
        writeLine(routine);
        run.routines.push_back(routine);
        run.lineMayFollow = true;
    } else if (strncmp(line, "Exiting... ", strlen("Exiting... ")) == 0 && !run.routines.empty()) {
        run.routines.pop_back();
        run.lineMayFollow = false;
    } else if (run.inWords && run.lineMayFollow && strcmp(format, "%s") == 0) {
        writeArgumentLine();
    } else if (format[1] != '*') { // the separator
        writeLine(*line == '\n' ? "! " + firstLine(line + 1)
                                : '"' + firstLine(line) + (line[strlen(line) - 1] == '\n' ? "\\n\"" : "\""));
    }
}

std::vector<std::string> Interception::unmatched() const
{
    const std::vector<std::string> imports = imports_.names();
    std::set<std::string> known = plain();
    std::vector<std::string> names;
    for (const Row& row : rows()) {
        known.insert(row.name);
        if (!row.isFoundAtRunTime && !std::count(imports.begin(), imports.end(), row.name))
            names.emplace_back(row.name);
    }
    std::copy_if(imports.begin(), imports.end(), std::back_inserter(names),
                 [&known](const std::string& name) { return !known.count(name); });
    return names;
}

} // namespace intercept
