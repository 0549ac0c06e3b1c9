// Homes of the test's own: a directory with the library and its key file, and a registry key.
#pragma once

#include "tests/support/library_copy.h"

#include <string>

namespace support {

// A home directory with bin\keswsec19.dll, loaded, and bin\KESTEL.KEY.
class TemporaryHome : public LibraryCopy
{
public:
    explicit TemporaryHome(const std::string& keyFile = "SOFTWARE\\KESTEL\\KEY_keswsec_test\r\n",
                           const char* build = "");

    std::string path() const { return directory().parent_path().string(); }
    void writeKeyFile(const std::string& content) const;
    void removeKeyFile() const;
};

// The registry key of a home, HKEY_LOCAL_MACHINE\Software\Kestel\<home key>; an older one of that name is removed.
class RegistryHome
{
public:
    explicit RegistryHome(const std::string& homeKey = "KEY_keswsec_test");
    ~RegistryHome();
    RegistryHome(const RegistryHome&) = delete;
    RegistryHome& operator=(const RegistryHome&) = delete;

    const std::string& homeKey() const { return homeKey_; }
    std::string subkey() const { return "Software\\Kestel\\" + homeKey_; }

    // The text as it is given, with or without a terminator.
    void set(const char* value, const std::string& bytes, DWORD type = REG_SZ) const;
    void setWide(const char* value, const std::wstring& text, DWORD type = REG_SZ, DWORD extraBytes = 0) const;
    void remove(const char* value) const;
    std::string get(const char* value, DWORD* type = nullptr) const;

private:
    std::string homeKey_;
    HKEY key_ = nullptr;
};

// An environment variable for as long as it lives; NULL for not set.
class EnvironmentVariable
{
public:
    EnvironmentVariable(const char* name, const char* value) : name_(name) { SetEnvironmentVariableA(name, value); }
    ~EnvironmentVariable() { SetEnvironmentVariableA(name_, nullptr); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    const char* name_;
};

} // namespace support
