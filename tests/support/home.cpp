#include "tests/support/home.h"

#include <cstring>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace support {

TemporaryHome::TemporaryHome(const std::string& keyFile, const char* build) : LibraryCopy("bin", build)
{
    writeKeyFile(keyFile);
}

void TemporaryHome::writeKeyFile(const std::string& content) const
{
    std::ofstream file(directory() / "KESTEL.KEY", std::ios::binary);
    file << content;
    if (!file.flush())
        throw std::runtime_error("the key file cannot be written");
}

void TemporaryHome::removeKeyFile() const
{
    std::filesystem::remove(directory() / "KESTEL.KEY");
}

RegistryHome::RegistryHome(const std::string& homeKey) : homeKey_(homeKey)
{
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, subkey().c_str());
    if (RegCreateKeyExA(HKEY_LOCAL_MACHINE, subkey().c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key_, nullptr))
        throw std::runtime_error("the home's registry key cannot be created");
}

RegistryHome::~RegistryHome()
{
    RegCloseKey(key_);
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, subkey().c_str());
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, "Software\\Kestel"); // stays when other homes are registered
}

// The platform looks behind a text that is stored without its terminator and adds one that it finds there.
void RegistryHome::set(const char* value, const std::string& bytes, DWORD type) const
{
    const std::string padded = bytes + "x";
    RegSetValueExA(key_, value, 0, type, reinterpret_cast<const BYTE*>(padded.data()),
                   static_cast<DWORD>(bytes.size()));
}

void RegistryHome::setWide(const char* value, const std::wstring& text, DWORD type, DWORD extraBytes) const
{
    const std::wstring name(value, value + strlen(value));
    const std::wstring padded = text + L"xx";
    RegSetValueExW(key_, name.c_str(), 0, type, reinterpret_cast<const BYTE*>(padded.data()),
                   static_cast<DWORD>(text.size() * sizeof(wchar_t)) + extraBytes);
}

void RegistryHome::remove(const char* value) const
{
    RegDeleteValueA(key_, value);
}

std::string RegistryHome::get(const char* value, DWORD* type) const
{
    std::vector<char> bytes(1024);
    DWORD size = static_cast<DWORD>(bytes.size());
    const LSTATUS result = RegQueryValueExA(key_, value, nullptr, type, reinterpret_cast<BYTE*>(bytes.data()), &size);
    return result == ERROR_SUCCESS ? std::string(bytes.data(), size) : "no value";
}

} // namespace support
