#include "services/dependency_list.h"

#include <cstring>

namespace {

constexpr size_t listCapacity = 5120;
constexpr int longestCharacter = 4; // wide characters, with room to spare

// Bytes of the character that begins with this one.
size_t characterLength(BYTE lead)
{
    if (GetACP() != CP_UTF8)
        return IsDBCSLeadByte(lead) ? 2 : 1;
    return lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// Converts the one character at `text`, which is not a NUL, and moves on behind it; reads nothing behind a NUL. The
// code page is the system's, as for all text of this library. The runtime's mbtowc would go by the locale, which is the
// caller's to set, and in the "C" locale takes each byte for a character of Latin 1.
DWORD convertCharacter(const sswseCall& call, const char*& text, wchar_t* list, size_t& used)
{
    const size_t bytes = characterLength(static_cast<BYTE>(*text));
    if (strnlen(text, bytes) < bytes)
        return sswseFail(call, WSE_MB_TO_WIDE, ERROR_NO_UNICODE_TRANSLATION, "MultiByteToWideChar");
    const int count =
        MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, text, static_cast<int>(bytes), list + used, longestCharacter);
    if (count == 0)
        return sswseFail(call, WSE_MB_TO_WIDE, GetLastError(), "MultiByteToWideChar");
    text += bytes;
    used += static_cast<size_t>(count);
    return SSWSE_SUCCESS;
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
