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

// The registry key of the home, HKEY_LOCAL_MACHINE\Software\Kestel\KEY_keswsec_test; an older one is removed.
class RegistryHome
{
public:
    RegistryHome();
    ~RegistryHome();
    RegistryHome(const RegistryHome&) = delete;
    RegistryHome& operator=(const RegistryHome&) = delete;

    void set(const char* value, const std::string& bytes) const; // a text as it is given, terminated or not
    void remove(const char* value) const { RegDeleteValueA(key_, value); }
    std::string get(const char* value) const;

private:
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
