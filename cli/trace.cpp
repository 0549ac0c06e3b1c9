#include "cli/trace.h"

#include "cli/text.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace cli {

namespace {

constexpr size_t pieceLength = 127;     // a longer argument text without line feeds comes in pieces of this length
constexpr size_t argumentsLength = 511; // what is longer is cut

void hide(std::string& text, const std::string& secret)
{
    for (size_t at = 0; (at = text.find(secret, at)) != std::string::npos; at += 4)
        text.replace(at, secret.size(), "****");
    // The end of the text may be the beginning of a secret that was cut.
    for (size_t length = std::min(secret.size(), text.size()); text.size() >= argumentsLength && length; --length)
        if (text.compare(text.size() - length, length, secret, 0, length) == 0) {
            text.replace(text.size() - length, length, "****");
            break;
        }
}

} // namespace

void Trace::begin(std::vector<std::string> secrets)
{
    secrets_ = std::move(secrets);
}

void Trace::end()
{
    flush();
    secrets_.clear();
}

// Pieces of one text are put together again before they are shown: a secret may lie across a cut.
void Trace::add(const std::string& piece)
{
    if (silent)
        return;
    line_ += piece;
    if (piece.size() != pieceLength)
        flush();
}

void Trace::flush()
{
    if (line_.empty())
        return;
    for (const std::string& secret : secrets_)
        if (!secret.empty())
            hide(line_, secret);
    if (line_.back() != '\n')
        line_ += '\n';
    write(STD_ERROR_HANDLE, utf8FromAnsi(line_));
    line_.clear();
}

void __cdecl traceLine(void* context, const char* format, ...)
{
    Trace& trace = *static_cast<Trace*>(context);
    // The separator asks for a width per star and comes with a single argument: it is shown, not formatted.
    if (strncmp(format, "%**", 3) == 0) {
        trace.add(format + 1);
        return;
    }
    std::array<char, 4096> text{};
    va_list arguments;
    va_start(arguments, format);
    _vsnprintf(text.data(), text.size() - 1, format, arguments);
    va_end(arguments);
    trace.add(text.data());
}

} // namespace cli
