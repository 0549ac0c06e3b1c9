#include "cli/progress.h"

#include "cli/text.h"
#include "whatif/redirect/imports.h"

#include <aclapi.h>

#include <atomic>

namespace cli {

namespace {

constexpr ULONGLONG shortestWait = 100; // milliseconds

std::atomic<bool> interrupted;

BOOL WINAPI onControl(DWORD event)
{
    return (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) && !interrupted.exchange(true);
}

} // namespace

// ---- the line ----------------------------------------------------------------------------------------------------

void Progress::begin()
{
    count_ = 0;
    begin_ = last_ = GetTickCount64();
}

void Progress::count()
{
    ++count_;
    if (!show_)
        return;
    const ULONGLONG now = GetTickCount64();
    if (now - last_ < shortestWait)
        return;
    last_ = now;
    std::string text = std::to_string(count_) + " objects, " + std::to_string(1000 * count_ / (now - begin_)) + "/s";
    const size_t size = text.size();
    text.resize(std::max(size, shown_), ' ');
    shown_ = size;
    show_("\r" + text);
}

void Progress::clear()
{
    if (shown_)
        show_("\r" + std::string(shown_, ' ') + "\r");
    shown_ = 0;
}

Progress::Show progressLine(bool quiet)
{
    DWORD mode = 0;
    if (quiet || !GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode))
        return nullptr;
    return [](const std::string& text) { write(STD_ERROR_HANDLE, text); };
}

// ---- Ctrl+C --------------------------------------------------------------------------------------------------------

void watchInterrupt()
{
    SetConsoleCtrlHandler(onControl, TRUE);
}

bool isInterrupted()
{
    return interrupted;
}

void interrupt(bool is)
{
    interrupted = is;
}

// ---- the library's calls ------------------------------------------------------------------------------------------

struct PassingBy::State
{
    State(HMODULE library, Progress& line) : imports(library), progress(line) {}

    whatif::Imports imports;
    Progress& progress;
    std::wstring last;
};

namespace {

PassingBy::State* passing;

// Each object counts once, however often it is asked for in a row. False when it shall not be touched any more.
bool passes(const wchar_t* name)
{
    if (interrupted)
        return false;
    if (name && passing->last != name) {
        passing->last = name;
        passing->progress.count();
    }
    return true;
}

// Stands in for a function that takes an object's name first; `original` is what it goes on to.
template <class Function, Function* function>
struct Passing;

template <class Name, class... Arguments, BOOL(WINAPI* function)(Name, Arguments...)>
struct Passing<BOOL WINAPI(Name, Arguments...), function>
{
    static inline decltype(function) original;
    static BOOL WINAPI call(Name name, Arguments... arguments)
    {
        if (passes(name))
            return original(name, arguments...);
        SetLastError(ERROR_CANCELLED);
        return FALSE;
    }
};

template <class Name, class... Arguments, DWORD(WINAPI* function)(Name, Arguments...)>
struct Passing<DWORD WINAPI(Name, Arguments...), function>
{
    static inline decltype(function) original;
    static DWORD WINAPI call(Name name, Arguments... arguments)
    {
        return passes(name) ? original(name, arguments...) : ERROR_CANCELLED;
    }
};

// A walk of a registry key opens each key below it as itself, not as what it may be a link to.
decltype(RegOpenKeyExW)* openKeyOriginal;

LSTATUS WINAPI openKey(HKEY parent, LPCWSTR name, DWORD options, REGSAM access, PHKEY key)
{
    passing->last.clear(); // keys of the same name are others
    const bool isOfWalk = options == REG_OPTION_OPEN_LINK;
    return !isOfWalk || passes(name) ? openKeyOriginal(parent, name, options, access, key) : ERROR_CANCELLED;
}

// Listings, which come to their end.
decltype(FindFirstFileW)* findFirstOriginal;
decltype(FindNextFileW)* findNextOriginal;
decltype(RegEnumKeyExW)* enumKeyOriginal;

HANDLE WINAPI findFirst(LPCWSTR pattern, LPWIN32_FIND_DATAW entry)
{
    if (!interrupted)
        return findFirstOriginal(pattern, entry);
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
}

BOOL WINAPI findNext(HANDLE listing, LPWIN32_FIND_DATAW entry)
{
    if (!interrupted)
        return findNextOriginal(listing, entry);
    SetLastError(ERROR_NO_MORE_FILES);
    return FALSE;
}

LSTATUS WINAPI enumKey(HKEY key, DWORD index, LPWSTR name, LPDWORD size, LPDWORD reserved, LPWSTR type,
                       LPDWORD typeSize, PFILETIME time)
{
    return interrupted ? ERROR_NO_MORE_ITEMS : enumKeyOriginal(key, index, name, size, reserved, type, typeSize, time);
}

template <class Function>
void redirect(whatif::Imports& imports, const char* name, Function* standIn, Function*& original)
{
    original = reinterpret_cast<Function*>(imports.redirect(name, reinterpret_cast<void*>(standIn)));
}

template <auto function>
void standIn(whatif::Imports& imports, const char* name)
{
    using At = Passing<std::remove_pointer_t<decltype(function)>, function>;
    At::original = reinterpret_cast<decltype(function)>(imports.redirect(name, reinterpret_cast<void*>(&At::call)));
}

} // namespace

PassingBy::PassingBy(HMODULE library, Progress& progress) : state_(std::make_unique<State>(library, progress))
{
    passing = state_.get();
    progress.begin();
    standIn<&GetFileSecurityW>(state_->imports, "GetFileSecurityW");
    standIn<&SetFileSecurityW>(state_->imports, "SetFileSecurityW");
    standIn<&GetNamedSecurityInfoW>(state_->imports, "GetNamedSecurityInfoW");
    standIn<&SetNamedSecurityInfoW>(state_->imports, "SetNamedSecurityInfoW");
    redirect(state_->imports, "RegOpenKeyExW", &openKey, openKeyOriginal);
    redirect(state_->imports, "FindFirstFileW", &findFirst, findFirstOriginal);
    redirect(state_->imports, "FindNextFileW", &findNext, findNextOriginal);
    redirect(state_->imports, "RegEnumKeyExW", &enumKey, enumKeyOriginal);
}

PassingBy::~PassingBy()
{
    state_.reset();
    passing = nullptr;
}

} // namespace cli
