#include "services/dependency_list.h"

namespace {

constexpr size_t listCapacity = 5120;
constexpr int longestCharacter = 4; // bytes, in any ANSI code page; no more wide characters either

// Converts the one character at `text`, which is not a NUL, and moves on behind it; reads nothing behind a NUL. The
// code page is the system's, as for all text of this library. The runtime's mbtowc would go by the locale, which is the
// caller's to set, and in the "C" locale takes each byte for a character of Latin 1.
DWORD convertCharacter(const sswseCall& call, const char*& text, wchar_t* list, size_t& used)
{
    DWORD osError = ERROR_NO_UNICODE_TRANSLATION;
    for (int bytes = IsDBCSLeadByte(static_cast<BYTE>(*text)) ? 2 : 1;
         bytes <= longestCharacter && text[bytes - 1] && osError == ERROR_NO_UNICODE_TRANSLATION; ++bytes) {
        const int count = MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, text, bytes, list + used, longestCharacter);
        osError = GetLastError(); // so far it may only be the first part of a character
        if (count > 0) {
            text += bytes;
            used += static_cast<size_t>(count);
            return SSWSE_SUCCESS;
        }
    }
    return sswseFail(call, WSE_MB_TO_WIDE, osError, "MultiByteToWideChar");
}

} // namespace

DWORD sswseDependenciesToWide(const sswseCall& call, const char* dependencies, owned::Heap<wchar_t>& wide)
{
    wide.reset();
    if (!dependencies)
        return SSWSE_SUCCESS;
    // Room behind the end for a character that begins before it.
    owned::Heap<wchar_t> list = owned::allocate<wchar_t>((listCapacity + longestCharacter) * sizeof(wchar_t));
    if (!list)
        return sswseOutOfMemory(call);
    bool nameBegins = true;
    for (size_t used = 0; used < listCapacity;) {
        if (*dependencies) {
            if (convertCharacter(call, dependencies, list.get(), used) != SSWSE_SUCCESS)
                return SSWSE_FAILURE;
            nameBegins = false;
            continue;
        }
        list.get()[used++] = L'\0';
        if (nameBegins) {
            wide = std::move(list);
            return SSWSE_SUCCESS;
        }
        nameBegins = true;
        ++dependencies;
    }
    return sswseBadArgument(call, "Dependencies");
}
