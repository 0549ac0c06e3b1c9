#include "tests/support/home.h"

#include <fstream>
#include <stdexcept>

namespace support {

static constexpr char homeKey[] = "Software\\Kestel\\KEY_keswsec_test";

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

RegistryHome::RegistryHome()
{
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, homeKey);
    if (RegCreateKeyExA(HKEY_LOCAL_MACHINE, homeKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key_, nullptr))
        throw std::runtime_error("the home's registry key cannot be created");
}

RegistryHome::~RegistryHome()
{
    RegCloseKey(key_);
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, homeKey);
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, "Software\\Kestel"); // stays when other homes are registered
}

// The platform looks behind a text that is stored without its terminator and adds one that it finds there.
void RegistryHome::set(const char* value, const std::string& bytes) const
{
    const std::string padded = bytes + "x";
    RegSetValueExA(key_, value, 0, REG_SZ, reinterpret_cast<const BYTE*>(padded.data()),
                   static_cast<DWORD>(bytes.size()));
}

std::string RegistryHome::get(const char* value) const
{
    char bytes[1024];
    DWORD size = sizeof bytes;
    const LSTATUS result = RegQueryValueExA(key_, value, nullptr, nullptr, reinterpret_cast<BYTE*>(bytes), &size);
    return result == ERROR_SUCCESS ? std::string(bytes, size) : "no value";
}

} // namespace support
