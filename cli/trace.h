// The library's trace on standard error, with the passwords of the current call taken out.
#pragma once

#include <string>
#include <vector>

namespace cli {

class Trace
{
public:
    // Around a call: what must not be shown while it runs.
    void begin(std::vector<std::string> secrets);
    void end();

    void add(const std::string& piece);

    bool silent = false; // while a call is played

private:
    void flush();

    std::vector<std::string> secrets_;
    std::string line_;
};

// For sswseTraceOn; `context` is a Trace.
void __cdecl traceLine(void* context, const char* format, ...);

} // namespace cli
