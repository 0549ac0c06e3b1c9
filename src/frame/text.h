// Multibyte (ANSI code page) and wide text: conversion, and copies into fixed buffers.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

// Converted text in a block of its own. `length` counts the terminating NUL: wide characters, respectively bytes. A
// NULL source gives NULL, length 0 and 2. Status 2 or 3; the record is not touched. After a 3 a NULL block with a
// length other than 0 means that memory for it was exhausted.
[[nodiscard]] DWORD sswseMbToWide(const char* source, owned::Heap<wchar_t>& wide, size_t* length);
[[nodiscard]] DWORD sswseWideToMb(const wchar_t* source, owned::Heap<char>& multibyte, size_t* length);

// To the OEM code page, characters that merely look alike included; `source` is not NULL.
[[nodiscard]] DWORD sswseWideToOem(const wchar_t* source, owned::Heap<char>& oem, size_t* length);

// The same as the first two with the message: 2, or 3 with WSE-00006 respectively WSE-00007. `length` may be
// NULL.
[[nodiscard]] DWORD sswseToWide(const sswseCall& call, const char* source, owned::Heap<wchar_t>& wide,
                                size_t* length = nullptr);
[[nodiscard]] DWORD sswseToMultibyte(const sswseCall& call, const wchar_t* source, owned::Heap<char>& multibyte,
                                     size_t* length = nullptr);
// Whether the second would succeed, without the text.
[[nodiscard]] DWORD sswseRequireMultibyte(const sswseCall& call, const wchar_t* source);

// "software\Kestel\" + text and the like: appends within the array. 2, or 3 with WSE-000053 "strcat_s" and ERANGE.
[[nodiscard]] DWORD sswseAppend(const sswseCall& call, char* destination, size_t size, const char* text);

// Copies text of at most size - 1 characters. 2, or 3 with WSE-000053 "strcpy_s" and ERANGE when it does not fit.
[[nodiscard]] DWORD sswseCopy(const sswseCall& call, char* destination, size_t size, const char* text);

// The first backslash that is a character of its own, not the second byte of one; NULL when there is none.
const char* sswseFindBackslash(const char* text);
