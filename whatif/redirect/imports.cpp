#include "whatif/redirect/imports.h"

#include <stdexcept>

namespace whatif {

namespace {

template <class T>
T* at(HMODULE module, DWORD offset)
{
    return reinterpret_cast<T*>(reinterpret_cast<BYTE*>(module) + offset);
}

const IMAGE_IMPORT_DESCRIPTOR* importDescriptors(HMODULE module)
{
    const auto* const dos = at<IMAGE_DOS_HEADER>(module, 0);
    if (dos->e_magic != IMAGE_DOS_SIGNATURE)
        throw std::runtime_error("not a loaded module");
    const auto* const headers = at<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(dos->e_lfanew));
    const IMAGE_DATA_DIRECTORY& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    return directory.VirtualAddress ? at<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress) : nullptr;
}

// The table lies in a section that the loader made read-only. Other threads may be calling through the entry.
void writeEntry(void** entry, void* function)
{
    DWORD protection = 0;
    if (!VirtualProtect(entry, sizeof *entry, PAGE_READWRITE, &protection))
        throw std::runtime_error("the import table cannot be written");
    InterlockedExchangePointer(entry, function);
    VirtualProtect(entry, sizeof *entry, protection, &protection);
}

} // namespace

Imports::Imports(HMODULE module)
{
    const IMAGE_IMPORT_DESCRIPTOR* descriptor = importDescriptors(module);
    for (; descriptor && descriptor->Name; ++descriptor) {
        // The names are in the original table only: in the other one the loader has put the addresses.
        if (!descriptor->OriginalFirstThunk)
            continue;
        const auto* name = at<IMAGE_THUNK_DATA>(module, descriptor->OriginalFirstThunk);
        auto* address = at<IMAGE_THUNK_DATA>(module, descriptor->FirstThunk);
        for (; name->u1.AddressOfData; ++name, ++address) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal))
                continue;
            const auto* const byName = at<IMAGE_IMPORT_BY_NAME>(module, static_cast<DWORD>(name->u1.AddressOfData));
            entries_.emplace(reinterpret_cast<const char*>(byName->Name),
                             reinterpret_cast<void**>(&address->u1.Function));
        }
    }
}

Imports::~Imports()
{
    for (const auto& [entry, function] : originals_)
        writeEntry(entry, function);
}

void* Imports::redirect(const std::string& name, void* function)
{
    const auto found = entries_.find(name);
    if (found == entries_.end())
        return nullptr;
    void** const entry = found->second;
    void* const before = *entry;
    originals_.emplace(entry, before); // only the first redirection of an entry saw the original
    writeEntry(entry, function);
    return before;
}

std::vector<std::string> Imports::names() const
{
    std::vector<std::string> all;
    for (const auto& entry : entries_)
        all.push_back(entry.first);
    return all;
}

} // namespace whatif
