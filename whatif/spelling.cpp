#include "whatif/spelling.h"

namespace whatif {

namespace {

int compare(const std::wstring& a, const std::wstring& b)
{
    return CompareStringOrdinal(a.c_str(), static_cast<int>(a.size()), b.c_str(), static_cast<int>(b.size()), TRUE);
}

} // namespace

std::wstring wide(const char* text)
{
    const int size = text ? MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0) : 0;
    std::wstring result(static_cast<size_t>(size), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text, -1, result.data(), size);
    return result.substr(0, result.find(L'\0'));
}

bool sameName(const std::wstring& a, const std::wstring& b)
{
    return compare(a, b) == CSTR_EQUAL;
}

bool NoCase::operator()(const std::wstring& a, const std::wstring& b) const
{
    return compare(a, b) == CSTR_LESS_THAN;
}

std::wstring upperCase(const std::wstring& text)
{
    std::wstring upper(text.size(), L'\0');
    LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, text.c_str(), static_cast<int>(text.size()), upper.data(),
                  static_cast<int>(upper.size()), nullptr, nullptr, 0);
    return upper;
}

} // namespace whatif
