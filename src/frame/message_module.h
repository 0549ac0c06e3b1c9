// Where the catalogue's texts come from: KESWSECMSG<language>.DLL beside the library, KESWSECMSGUS.DLL, or the library.
#pragma once

#include <windows.h>

// The message module, located and loaded on first use and kept for the life of the process. NULL when the library
// cannot find itself; the next call tries again.
HMODULE sswseMessageModule();

// 2 when a module handle is set, 3 when the library cannot find itself.
[[nodiscard]] DWORD sswseLoadMessageModule();

// The code of the user's default language, a constant text.
const char* sswseGetLanguageCode();

// The same for a given language: the whole id decides before its primary language.
const char* sswseLanguageCodeOf(LANGID language);
