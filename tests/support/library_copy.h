// A fresh copy of the library as it ships: loaded from a directory of its own, so that it finds there what a test puts
// beside it, with process-wide state of its own, and with imports that a test can redirect.
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
    // Where it lies below a directory of its own, and below the test program's directory what is copied: "checked" is
    // the build with traps for undefined behaviour.
    explicit LibraryCopy(const char* folder = "", const char* build = "");
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

    ScratchDirectory scratch_;
    std::filesystem::path folder_;
    HMODULE module_ = nullptr;
    std::unique_ptr<whatif::Imports> imports_;
};

#define EXPORT_OF(library, name) ((library).function(name, #name))

} // namespace support
