// A home's text values, given to callers in their own buffers.
#pragma once

#include "frame/record.h"

// A value, and what messages call the buffer that receives it: when it is too small, and when it is missing.
struct sswseHomeValueNames
{
    const char* value;
    const char* shortBuffer;
    const char* noBuffer;
};

// Copies the value. 2, with the stored size in `*outlen` (may be NULL), which counts a stored terminator; 3 with
// WSE-000048, or with WSE-000033 when the buffer is not larger than the stored size.
[[nodiscard]] DWORD sswseCopyHomeValue(const sswseCall& call, HKEY key, const sswseHomeValueNames& names, char* text,
                                       size_t size, size_t* outlen);

// The same for the home at `khomepath`, whose key file names the registry key; with a node name the drive's colon in
// `khomepath` is overwritten with "$". Also 3 with WSE-000044; 4 for a NULL path or buffer; 6 when the key file or the
// key cannot be opened.
[[nodiscard]] DWORD sswseCopyHomeValueOfPath(const sswseCall& call, char* khomepath, const sswseHomeValueNames& names,
                                             char* text, size_t size, size_t* outlen, const char* nodename);
