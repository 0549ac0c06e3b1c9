#include "frame/text.h"

#include <cerrno>
#include <cstring>

namespace {

constexpr UINT gb18030 = 54936;

// These two code pages allow no flag.
DWORD flagsFor(UINT codePage, DWORD flags)
{
    return codePage == CP_UTF8 || codePage == gb18030 ? 0 : flags;
}

// No replacement by characters that merely look alike; composed before converting.
constexpr DWORD exactAnsi = WC_NO_BEST_FIT_CHARS | WC_COMPOSITECHECK;

// The platform's two-call conversion: `convert(destination, size)` answers the size with no destination, and converts.
template <class Char, class Convert>
DWORD convertInto(owned::Heap<Char>& result, size_t* length, Convert convert)
{
    result.reset();
    *length = 0;
    const int needed = convert(nullptr, 0);
    if (needed == 0)
        return SSWSE_FAILURE;
    *length = static_cast<size_t>(needed); // tells, without a block, what memory was exhausted for
    result = owned::allocate<Char>(*length * sizeof(Char));
    if (!result) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return SSWSE_FAILURE;
    }
    const int converted = convert(result.get(), needed);
    if (converted == 0) {
        SecureZeroMemory(result.get(), *length * sizeof(Char)); // it may be half a password
        return SSWSE_FAILURE;
    }
    *length = static_cast<size_t>(converted);
    result.get()[converted - 1] = 0; // half a character at the end may have swallowed the terminator
    return SSWSE_SUCCESS;
}

// The conversion with its length, which a caller may do without, and its message.
template <class Source, class Char>
DWORD convertAndReport(const sswseCall& call, DWORD (*convert)(const Source*, owned::Heap<Char>&, size_t*),
                       const Source* source, owned::Heap<Char>& result, size_t* length, DWORD messageId,
                       const char* apiName)
{
    size_t count = 0;
    if (convert(source, result, length ? length : &count) != SSWSE_SUCCESS)
        return sswseFail(call, messageId, GetLastError(), apiName);
    return SSWSE_SUCCESS;
}

} // namespace

DWORD sswseMbToWide(const char* source, owned::Heap<wchar_t>& wide, size_t* length)
{
    const DWORD flags = flagsFor(GetACP(), MB_PRECOMPOSED);
    if (source)
        return convertInto(wide, length, [source, flags](wchar_t* destination, int size) {
            return MultiByteToWideChar(CP_ACP, flags, source, -1, destination, size);
        });
    wide.reset();
    *length = 0;
    return SSWSE_SUCCESS;
}

DWORD sswseWideToMb(const wchar_t* source, owned::Heap<char>& multibyte, size_t* length)
{
    const DWORD flags = flagsFor(GetACP(), exactAnsi);
    if (source)
        return convertInto(multibyte, length, [source, flags](char* destination, int size) {
            return WideCharToMultiByte(CP_ACP, flags, source, -1, destination, size, nullptr, nullptr);
        });
    multibyte.reset();
    *length = 0;
    return SSWSE_SUCCESS;
}

DWORD sswseWideToOem(const wchar_t* source, owned::Heap<char>& oem, size_t* length)
{
    const DWORD flags = flagsFor(GetOEMCP(), WC_COMPOSITECHECK);
    return convertInto(oem, length, [source, flags](char* destination, int size) {
        return WideCharToMultiByte(CP_OEMCP, flags, source, -1, destination, size, nullptr, nullptr);
    });
}

DWORD sswseToWide(const sswseCall& call, const char* source, owned::Heap<wchar_t>& wide, size_t* length)
{
    return convertAndReport(call, sswseMbToWide, source, wide, length, WSE_MB_TO_WIDE, "MultiByteToWideChar");
}

DWORD sswseToMultibyte(const sswseCall& call, const wchar_t* source, owned::Heap<char>& multibyte, size_t* length)
{
    return convertAndReport(call, sswseWideToMb, source, multibyte, length, WSE_WIDE_TO_MB, "WideCharToMultiByte");
}

DWORD sswseRequireMultibyte(const sswseCall& call, const wchar_t* source)
{
    if (source &&
        WideCharToMultiByte(CP_ACP, flagsFor(GetACP(), exactAnsi), source, -1, nullptr, 0, nullptr, nullptr) == 0)
        return sswseFail(call, WSE_WIDE_TO_MB, GetLastError(), "WideCharToMultiByte");
    return SSWSE_SUCCESS;
}

// The runtime's own bounded copies end the process on an overflow; these report it instead.
DWORD sswseAppend(const sswseCall& call, char* destination, size_t size, const char* text)
{
    const size_t used = strlen(destination);
    if (strlen(text) >= size - used)
        return sswseApiFailed(call, ERANGE, "strcat_s");
    strcpy(destination + used, text);
    return SSWSE_SUCCESS;
}

DWORD sswseCopy(const sswseCall& call, char* destination, size_t size, const char* text)
{
    if (strlen(text) >= size)
        return sswseApiFailed(call, ERANGE, "strcpy_s");
    strcpy(destination, text);
    return SSWSE_SUCCESS;
}

const char* sswseFindBackslash(const char* text)
{
    for (; *text; ++text) {
        if (*text == '\\')
            return text;
        if (IsDBCSLeadByte(static_cast<BYTE>(*text)) && text[1])
            ++text;
    }
    return nullptr;
}
