// Texts collected for a caller, who takes them as an array in an output pair `char*** list, int* count` and releases it
// with sswseFreeArrayofStrings.
#pragma once

#include "frame/owned.h"
#include "frame/record.h"

// Grows by itself; what is not handed out is released with it.
using sswseStringList = owned::Blocks<char>;

// Appends a text: the block itself, which becomes the list's (NULL is taken for exhausted memory), or a wide text
// converted. 2, or 3 with WSE-00002, the second also with WSE-00007; the list is then as it was.
[[nodiscard]] DWORD sswseAddString(const sswseCall& call, sswseStringList& list, owned::Heap<char> text);
[[nodiscard]] DWORD sswseAddString(const sswseCall& call, sswseStringList& list, const wchar_t* text);

// Appends a copy of a wide text to a list of the library's own. False when memory is exhausted.
bool sswseAppendCopy(owned::Blocks<wchar_t>& list, const wchar_t* text);

// The caller's pair of pointers; both NULL when no list is wanted.
struct sswseStringsOut
{
    char*** list;
    int* count;

    bool wanted() const { return list != nullptr; }
};

// NULL and 0: what a caller finds unless a list is handed out. The first thing a function does, before it checks.
sswseStringsOut sswseClearStrings(char*** list, int* count);

// 2, or 4 with WSE-000012 naming the pointer that alone is NULL.
[[nodiscard]] DWORD sswseCheckStringsOut(const sswseCall& call, const sswseStringsOut& out, const char* listName,
                                         const char* countName);

// Moves the texts to the caller; an empty list stays NULL and 0. Nothing when none is wanted.
void sswseHandOutStrings(sswseStringList& list, const sswseStringsOut& out);
