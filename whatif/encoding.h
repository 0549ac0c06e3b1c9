// Text at the edges: UTF-8 in files and in what is printed, UTF-16 from Windows, the ANSI code page in the library's
// interface.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace whatif {

std::string utf8FromWide(std::wstring_view text);
std::wstring wideFromUtf8(std::string_view text);
// Text that arrives as bytes (a script, a pipe): UTF-8 when it is that, otherwise the ANSI code page.
std::string utf8FromBytes(std::string_view bytes);
std::string utf8FromCodePage(std::string_view text, UINT codePage);
std::string utf8FromAnsi(std::string_view text);
// Nothing when the ANSI code page has no such character.
std::optional<std::string> ansiFromUtf8(std::string_view text);

} // namespace whatif
