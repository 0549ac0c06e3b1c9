#include "whatif/encoding.h"

namespace whatif {

namespace {

std::optional<std::wstring> decode(std::string_view bytes, UINT codePage, DWORD flags)
{
    if (bytes.empty())
        return std::wstring();
    const int size = static_cast<int>(bytes.size());
    const int length = MultiByteToWideChar(codePage, flags, bytes.data(), size, nullptr, 0);
    if (!length)
        return std::nullopt;
    std::wstring text(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(codePage, flags, bytes.data(), size, text.data(), length);
    return text;
}

std::string encode(std::wstring_view text, UINT codePage, DWORD flags, BOOL* replaced)
{
    if (text.empty())
        return {};
    const int size = static_cast<int>(text.size());
    const int length = WideCharToMultiByte(codePage, flags, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string bytes(static_cast<size_t>(length), '\0');
    WideCharToMultiByte(codePage, flags, text.data(), size, bytes.data(), length, nullptr, replaced);
    return bytes;
}

} // namespace

std::string utf8FromWide(std::wstring_view text)
{
    return encode(text, CP_UTF8, 0, nullptr);
}

std::wstring wideFromUtf8(std::string_view text)
{
    return decode(text, CP_UTF8, 0).value_or(std::wstring());
}

std::string utf8FromBytes(std::string_view bytes)
{
    const bool isUtf8 = decode(bytes, CP_UTF8, MB_ERR_INVALID_CHARS).has_value();
    return isUtf8 ? std::string(bytes) : utf8FromAnsi(bytes);
}

std::string utf8FromCodePage(std::string_view text, UINT codePage)
{
    return utf8FromWide(decode(text, codePage, 0).value_or(std::wstring()));
}

std::string utf8FromAnsi(std::string_view text)
{
    return utf8FromCodePage(text, CP_ACP);
}

std::optional<std::string> ansiFromUtf8(std::string_view text)
{
    const bool ansiIsUtf8 = GetACP() == CP_UTF8; // takes neither the flag nor the question for a replacement
    BOOL replaced = FALSE;
    std::string ansi = encode(wideFromUtf8(text), CP_ACP, ansiIsUtf8 ? 0 : static_cast<DWORD>(WC_NO_BEST_FIT_CHARS),
                              ansiIsUtf8 ? nullptr : &replaced);
    if (replaced)
        return std::nullopt;
    return ansi;
}

} // namespace whatif
