#include "whatif/model/registry_value.h"

#include <cstring>
#include <optional>
#include <stdexcept>

namespace whatif {

namespace {

constexpr wchar_t expand[] = L"expand:";
constexpr wchar_t number[] = L"dword:";
constexpr wchar_t hex[] = L"hex(";

bool startsWith(const std::wstring& text, const wchar_t* prefix)
{
    return text.compare(0, wcslen(prefix), prefix) == 0;
}

// The text of a value that is text as it should be: whole characters, one terminator at the end.
std::optional<std::wstring> properText(const RegistryValue& value)
{
    const size_t count = value.data.size() / sizeof(wchar_t);
    std::wstring text(count, L'\0');
    if (count == 0 || value.data.size() % sizeof(wchar_t) != 0)
        return std::nullopt;
    memcpy(text.data(), value.data.data(), value.data.size());
    if (text.find(L'\0') != count - 1)
        return std::nullopt;
    text.pop_back();
    const int length = static_cast<int>(text.size());
    const bool isUnicode = text.empty() || WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.c_str(), length,
                                                               nullptr, 0, nullptr, nullptr);
    return isUnicode ? std::optional(text) : std::nullopt;
}

std::wstring hexText(const RegistryValue& value)
{
    std::wstring text = hex + std::to_wstring(value.type) + L"):";
    for (size_t i = 0; i < value.data.size(); ++i) {
        wchar_t byte[4];
        swprintf(byte, 4, L"%02x", value.data[i]);
        text += (i ? L"," : L"") + std::wstring(byte);
    }
    return text;
}

RegistryValue hexValue(const std::wstring& text)
{
    RegistryValue value;
    size_t used = 0;
    value.type = std::stoul(text.substr(wcslen(hex)), &used);
    size_t at = wcslen(hex) + used;
    if (text.compare(at, 2, L"):") != 0)
        throw std::invalid_argument("hex");
    for (at += 2; at < text.size(); at += used + 1)
        value.data.push_back(static_cast<BYTE>(std::stoul(text.substr(at), &used, 16)));
    return value;
}

} // namespace

RegistryValue registryText(const std::wstring& text, DWORD type)
{
    const auto* const first = reinterpret_cast<const BYTE*>(text.c_str());
    return {type, std::vector<BYTE>(first, first + (text.size() + 1) * sizeof(wchar_t))};
}

RegistryValue registryNumber(DWORD value)
{
    const auto* const first = reinterpret_cast<const BYTE*>(&value);
    return {REG_DWORD, std::vector<BYTE>(first, first + sizeof value)};
}

std::wstring textOf(const RegistryValue& value)
{
    const std::optional<std::wstring> text = properText(value);
    if (value.type == REG_EXPAND_SZ && text)
        return expand + *text;
    if (value.type == REG_SZ && text && !startsWith(*text, expand) && !startsWith(*text, number) &&
        !startsWith(*text, hex))
        return *text;
    if (value.type == REG_DWORD && value.data.size() == sizeof(DWORD)) {
        DWORD word = 0;
        memcpy(&word, value.data.data(), sizeof word);
        return number + std::to_wstring(word);
    }
    return hexText(value);
}

RegistryValue registryValueOf(const std::wstring& text)
try {
    if (startsWith(text, expand))
        return registryText(text.substr(wcslen(expand)), REG_EXPAND_SZ);
    if (startsWith(text, number))
        return registryNumber(std::stoul(text.substr(wcslen(number)), nullptr, 0));
    return startsWith(text, hex) ? hexValue(text) : registryText(text);
} catch (const std::logic_error&) {
    throw std::runtime_error("not a registry value");
}

} // namespace whatif
