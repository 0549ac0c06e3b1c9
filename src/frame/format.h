// Bounded formatting into fixed buffers, by the platform runtime's printf rules ("%Iu", "%ls").
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr uint32_t sswseFormatOverflow = 0xFFFFFFFF;

// Writes at most `capacity` bytes and returns how many, or sswseFormatOverflow when the text did not fit.
// A text that fills the capacity is not terminated: the caller forces the NUL.
__attribute__((format(ms_printf, 3, 4))) uint32_t sswseFormat(char* destination, size_t capacity, const char* format,
                                                              ...);

// The same into a whole array, always terminated: at most N - 1 characters of text.
template <size_t N, class... Arguments>
uint32_t sswseFormatText(char (&destination)[N], const char* format, Arguments... arguments)
{
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
    const uint32_t written = sswseFormat(destination, N - 1, format, arguments...);
#pragma GCC diagnostic pop
    destination[N - 1] = '\0';
    return written;
}
