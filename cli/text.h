// Text at the host's edges: UTF-8 inside the host and in what it prints, UTF-16 from Windows, the ANSI code page in the
// library's interface.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace cli {

std::string utf8FromWide(std::wstring_view text);
std::wstring wideFromUtf8(std::string_view text);
// Text that arrives as bytes (a script, a pipe): UTF-8 when it is that, otherwise the ANSI code page.
std::string utf8FromBytes(std::string_view bytes);
std::string utf8FromCodePage(std::string_view text, UINT codePage);
std::string utf8FromAnsi(std::string_view text);
// Nothing when the ANSI code page has no such character.
std::optional<std::string> ansiFromUtf8(std::string_view text);

// As it can be written on the command line and in a script: in quotes where it needs them.
std::string quoted(const std::string& text);

// Writes UTF-8; a console gets it as wide text, whatever its code page.
void write(DWORD standardHandle, std::string_view text);

// One line from the console without echo, or from standard input. For passwords.
std::string readSecret(const std::string& prompt);

} // namespace cli
