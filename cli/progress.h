// How far a walk over many objects is: on standard error, on one line, when that is a console.
#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <string>

namespace cli {

class Progress
{
public:
    using Show = std::function<void(const std::string& text)>;

    explicit Progress(Show show) : show_(std::move(show)) {}
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void begin(); // a new walk
    void count(); // one object more; shown ten times a second at most
    void clear(); // takes the line away, so that others can be written

    size_t counted() const { return count_; }

private:
    Show show_; // nothing: nothing is shown
    size_t count_ = 0;
    size_t shown_ = 0; // characters on the line
    ULONGLONG begin_ = 0;
    ULONGLONG last_ = 0;
};

// Writes to standard error when that is a console; else, or when it shall be `quiet`, nothing.
Progress::Show progressLine(bool quiet);

// Ctrl+C from now on: the first one is kept, the next one ends the process.
void watchInterrupt();
bool isInterrupted();
void interrupt(bool is = true); // as Ctrl+C does

// The library's calls for objects pass by here while it lives: they are counted, and after Ctrl+C refused with
// ERROR_CANCELLED, and listings end, so that a walk ends between two objects. One at a time.
class PassingBy
{
public:
    PassingBy(HMODULE library, Progress& progress);
    ~PassingBy();
    PassingBy(const PassingBy&) = delete;
    PassingBy& operator=(const PassingBy&) = delete;

    struct State;

private:
    std::unique_ptr<State> state_;
};

} // namespace cli
