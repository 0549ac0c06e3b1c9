#include "tests/support/library_copy.h"

#include <stdexcept>
#include <string>

namespace support {

namespace fs = std::filesystem;

namespace {

constexpr char libraryName[] = "keswsec19.dll";
HMODULE current;

// Several modules of one name: the platform gives the first one that was loaded.
HMODULE WINAPI moduleByName(const char* name)
{
    return name && std::string(name) == libraryName ? current : GetModuleHandleA(name);
}

} // namespace

HMODULE shippedLibrary()
{
    static const HMODULE library = LoadLibraryW((programDirectory() / libraryName).c_str());
    if (!library)
        throw std::runtime_error("the library cannot be loaded");
    return library;
}

LibraryCopy::LibraryCopy(const char* folder, const char* build)
    : folder_(*folder ? scratch_.path() / folder : scratch_.path())
{
    shippedLibrary(); // the first of its name, which is what everyone else in this process finds
    fs::create_directories(folder_);
    fs::copy_file(programDirectory() / build / libraryName, folder_ / libraryName);
    load();
}

LibraryCopy::~LibraryCopy()
{
    unload();
}

void LibraryCopy::reload()
{
    unload();
    load();
}

void LibraryCopy::load()
{
    module_ = LoadLibraryW((folder_ / libraryName).c_str());
    if (!module_)
        throw std::runtime_error("the library cannot be loaded");
    current = module_;
    imports_ = std::make_unique<whatif::Imports>(module_);
    redirect("GetModuleHandleA", &moduleByName);
}

void LibraryCopy::unload()
{
    imports_.reset();
    FreeLibrary(module_);
    current = nullptr;
}

void* LibraryCopy::redirectImport(const char* name, void* replacement)
{
    void* const before = imports_->redirect(name, replacement);
    if (!before)
        throw std::runtime_error(std::string("the library does not import ") + name);
    return before;
}

} // namespace support
