// A fresh copy of the library as it ships: loaded from a directory of its own, so that it finds there what a test puts
// beside it, with process-wide state of its own, and with imports that a test can redirect. Homes of the test's own.
#pragma once

#include "keswsec.h"
#include "tests/support/scratch_directory.h"
#include "whatif/redirect/imports.h"

#include <memory>

namespace support {

// The library beside the test program, loaded once and kept: the objects that are linked into the program take their
// messages from it.
HMODULE shippedLibrary();

// One at a time: the copy that was made last is the one that finds itself by its name.
class LibraryCopy
{
public:
    // Below the test program's directory "checked" is the build with traps for undefined behaviour.
    explicit LibraryCopy(const char* build = "");
    ~LibraryCopy();
    LibraryCopy(const LibraryCopy&) = delete;
    LibraryCopy& operator=(const LibraryCopy&) = delete;

    void reload(); // process-wide state as it is at first; what was redirected is no longer

    const std::filesystem::path& directory() const { return folder_; } // where the copy lies
    HMODULE module() const { return module_; }

    // A function of the public header: EXPORT_OF(library, sswseTraceOn)(&rec, ...).
    template <class Function>
    Function* function(Function&, const char* name) const
    {
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
    }

    // Stands `replacement` in for an imported function and gives the original.
    template <class Function>
    Function* redirect(const char* name, Function* replacement)
    {
        return reinterpret_cast<Function*>(redirectImport(name, reinterpret_cast<void*>(replacement)));
    }

private:
    void* redirectImport(const char* name, void* replacement);
    void load();
    void unload();

    const ScratchDirectory scratch_;
    const std::filesystem::path folder_ = scratch_.path() / "bin";
    HMODULE module_ = nullptr;
    std::unique_ptr<whatif::Imports> imports_;
};

#define EXPORT_OF(library, name) ((library).function(name, #name))

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

    void set(const char* value, const std::string& text) const;
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
