// A home's registry key on this machine or on a node, and the text values kept there.
#pragma once

#include "frame/registry.h"

// Builds "software\Kestel\" + home key. 2, or 3 with WSE-000053 "strcat_s" or WSE-00006.
[[nodiscard]] DWORD sswseMakeHomeSubkey(const sswseCall& call, const char* homeKey, sswseSubkey& subkey);

// Opens "Software\Kestel\" + home key in the multibyte dialect; `openFailure` is 6, also for more than 259 characters.
[[nodiscard]] DWORD sswseOpenHomeA(const sswseCall& call, const char* homeKey, const char* nodename, REGSAM access,
                                   sswseMachineKey& opened);

// A text value as it is stored: the type is not looked at, and a text that is not terminated gets its NUL here.
struct sswseHomeValue
{
    char text[512]; // one more than the platform is told
    DWORD stored;   // bytes in the registry, which count a stored terminator
};

// 2, or 3 with WSE-000048 "RegQueryValueEx" naming the value, also when it has more than 511 bytes.
[[nodiscard]] DWORD sswseReadHomeValueA(const sswseCall& call, HKEY key, const char* value, sswseHomeValue& read);

// The name of a value in both dialects: messages name the multibyte text.
struct sswseValueName
{
    const wchar_t* wide;
    const char* text;
};

// The same for a home's wide text, whose key is opened here, converted to multibyte, with the length counting its
// terminator: 3 also with what opening in the wide dialect leaves, WSE-00002 and WSE-00007. With `absent`, a value that
// is not there is no failure: *absent becomes true and the status is 2.
[[nodiscard]] DWORD sswseReadValueOfHomeW(const sswseCall& call, const char* homeKey, const char* nodename,
                                          const sswseValueName& value, owned::Heap<char>& text, size_t* length,
                                          bool* absent = nullptr);
