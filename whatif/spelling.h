// Texts as Windows reads and compares them.
#pragma once

#include <windows.h>

#include <string>

namespace whatif {

// Text of the ANSI code page; NULL is empty.
std::wstring wide(const char* text);

inline std::wstring textOrEmpty(const wchar_t* text)
{
    return text ? text : L"";
}

// Names compared as Windows compares them, and the order that goes with it.
bool sameName(const std::wstring& a, const std::wstring& b);
struct NoCase
{
    bool operator()(const std::wstring& a, const std::wstring& b) const;
};

std::wstring upperCase(const std::wstring& text);

} // namespace whatif
