#include "tests/support/library_copy.h"

#include <fstream>
#include <mutex>
#include <stdexcept>

namespace support {

namespace fs = std::filesystem;

namespace {

constexpr char libraryName[] = "keswsec19.dll";
constexpr char homeKey[] = "Software\\Kestel\\KEY_keswsec_test";
HMODULE current;

// Several modules of one name: the platform gives the first one that was loaded.
HMODULE WINAPI moduleByName(const char* name)
{
    return name && std::string(name) == libraryName ? current : GetModuleHandleA(name);
}

// The message modules, which the library keeps: their directory could not be removed.
std::mutex mutex;
std::vector<HMODULE> loaded;

HMODULE WINAPI loadLibrary(LPCSTR path, HANDLE file, DWORD flags)
{
    const std::lock_guard lock(mutex);
    return loaded.emplace_back(LoadLibraryExA(path, file, flags));
}

} // namespace

HMODULE shippedLibrary()
{
    static const HMODULE library = LoadLibraryW((programDirectory() / libraryName).c_str());
    if (!library)
        throw std::runtime_error("the library cannot be loaded");
    return library;
}

LibraryCopy::LibraryCopy(const char* build)
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
    redirect("LoadLibraryExA", &loadLibrary);
}

void LibraryCopy::unload()
{
    imports_.reset();
    FreeLibrary(module_);
    current = nullptr;
    for (const HMODULE module : loaded)
        FreeLibrary(module);
    loaded.clear();
}

void* LibraryCopy::redirectImport(const char* name, void* replacement)
{
    void* const before = imports_->redirect(name, replacement);
    if (!before)
        throw std::runtime_error(std::string("the library does not import ") + name);
    return before;
}

TemporaryHome::TemporaryHome(const std::string& keyFile, const char* build) : LibraryCopy(build)
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

void RegistryHome::set(const char* value, const std::string& text) const
{
    RegSetKeyValueA(key_, nullptr, value, REG_SZ, text.c_str(), static_cast<DWORD>(strlen(text.c_str()) + 1));
}

std::string RegistryHome::get(const char* value) const
{
    char bytes[1024];
    DWORD size = sizeof bytes;
    const LSTATUS result = RegQueryValueExA(key_, value, nullptr, nullptr, reinterpret_cast<BYTE*>(bytes), &size);
    return result == ERROR_SUCCESS ? std::string(bytes, size) : "no value";
}

} // namespace support
