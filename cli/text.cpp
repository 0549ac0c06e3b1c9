#include "cli/text.h"

#include <algorithm>
#include <array>
#include <iostream>

namespace cli {

namespace {

std::string secretFromConsole(HANDLE console, DWORD mode, const std::string& prompt)
{
    write(STD_ERROR_HANDLE, prompt);
    std::array<wchar_t, 1024> line{};
    DWORD length = 0;
    SetConsoleMode(console, (mode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT)) | ENABLE_LINE_INPUT);
    ReadConsoleW(console, line.data(), static_cast<DWORD>(line.size()), &length, nullptr);
    SetConsoleMode(console, mode);
    write(STD_ERROR_HANDLE, "\n");
    std::string secret = utf8FromWide({line.data(), length});
    SecureZeroMemory(line.data(), sizeof line);
    return secret;
}

} // namespace

std::string quoted(const std::string& text)
{
    if (!text.empty() && text.find_first_of(" \t\"#") == std::string::npos)
        return text;
    std::string result = "\"";
    for (const char character : text)
        result.append(character == '"' ? 2 : 1, character);
    return result + "\"";
}

void write(DWORD standardHandle, std::string_view text)
{
    HANDLE handle = GetStdHandle(standardHandle);
    DWORD mode = 0;
    DWORD written = 0;
    if (GetConsoleMode(handle, &mode)) {
        const std::wstring wide = wideFromUtf8(text);
        WriteConsoleW(handle, wide.data(), static_cast<DWORD>(wide.size()), &written, nullptr);
    } else {
        WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    }
}

std::string readSecret(const std::string& prompt)
{
    std::string secret;
    HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    if (GetConsoleMode(input, &mode)) {
        secret = secretFromConsole(input, mode, prompt);
    } else {
        std::getline(std::cin, secret);
        secret = utf8FromBytes(secret);
    }
    secret.erase(std::min(secret.find_first_of("\r\n"), secret.size()));
    return secret;
}

} // namespace cli
