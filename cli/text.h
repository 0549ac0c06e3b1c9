// Text that the host reads and writes, UTF-8 inside it.
#pragma once

#include "whatif/encoding.h"

namespace cli {

using whatif::ansiFromUtf8;
using whatif::utf8FromAnsi;
using whatif::utf8FromBytes;
using whatif::utf8FromCodePage;
using whatif::utf8FromWide;
using whatif::wideFromUtf8;

// As it can be written on the command line and in a script: in quotes where it needs them.
std::string quoted(const std::string& text);

// Writes UTF-8; a console gets it as wide text, whatever its code page.
void write(DWORD standardHandle, std::string_view text);

// One line from the console without echo, or from standard input. For passwords.
std::string readSecret(const std::string& prompt);

} // namespace cli
