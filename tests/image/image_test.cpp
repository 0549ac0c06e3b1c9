// The library's file as it ships: what it exports and imports, how it is laid out and hardened, its version.
#include "tests/support/library_copy.h"
#include "tests/support/scratch_directory.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <set>

using testing::Contains;
using testing::ElementsAreArray;
using testing::IsSubsetOf;

namespace {

class Image : public testing::Test
{
protected:
    template <class T>
    const T* at(DWORD offset) const
    {
        return reinterpret_cast<const T*>(reinterpret_cast<const BYTE*>(module) + offset);
    }

    DWORD directory(int entry) const { return headers.OptionalHeader.DataDirectory[entry].VirtualAddress; }

    const HMODULE module = support::shippedLibrary();
    const IMAGE_NT_HEADERS64& headers = *at<IMAGE_NT_HEADERS64>(static_cast<DWORD>(at<IMAGE_DOS_HEADER>(0)->e_lfanew));
};

} // namespace

TEST_F(Image, ExportsWhatItSaysAndNothingElse)
{
    std::ifstream file(support::projectFile("src/resources/exports.def"));
    std::set<std::string> listed;
    for (std::string word; file >> word;)
        listed.insert(word);
    for (const char* const other : {"LIBRARY", "keswsec19.dll", "EXPORTS"})
        EXPECT_EQ(listed.erase(other), 1u);

    const auto& table = *at<IMAGE_EXPORT_DIRECTORY>(directory(IMAGE_DIRECTORY_ENTRY_EXPORT));
    EXPECT_EQ(table.NumberOfFunctions, table.NumberOfNames); // nothing without a name
    EXPECT_STREQ(at<char>(table.Name), "keswsec19.dll");
    std::vector<std::string> names;
    for (DWORD i = 0; i < table.NumberOfNames; ++i)
        names.emplace_back(at<char>(at<DWORD>(table.AddressOfNames)[i]));
    EXPECT_THAT(names, ElementsAreArray(listed)); // both sorted by their bytes
}

TEST_F(Image, ImportsSystemLibrariesOnly)
{
    std::vector<std::string> names;
    for (auto* entry = at<IMAGE_IMPORT_DESCRIPTOR>(directory(IMAGE_DIRECTORY_ENTRY_IMPORT)); entry->Name; ++entry) {
        names.emplace_back(at<char>(entry->Name));
        for (char& letter : names.back())
            letter = static_cast<char>(tolower(letter));
    }
    EXPECT_THAT(names, Contains("kernel32.dll"));
    EXPECT_THAT(names, IsSubsetOf({"kernel32.dll", "advapi32.dll", "authz.dll", "netapi32.dll", "msvcrt.dll"}));
    EXPECT_EQ(directory(IMAGE_DIRECTORY_ENTRY_DELAY_IMPORT), 0u);
}

TEST_F(Image, IsSmallAndHardened)
{
    EXPECT_FALSE(headers.FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED);
    EXPECT_NE(directory(IMAGE_DIRECTORY_ENTRY_BASERELOC), 0u); // or it could not move
    for (const DWORD flag :
         std::initializer_list<DWORD>{IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE, IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA,
                                      IMAGE_DLLCHARACTERISTICS_NX_COMPAT})
        EXPECT_TRUE(headers.OptionalHeader.DllCharacteristics & flag) << std::hex << flag;
    const IMAGE_SECTION_HEADER* const sections = IMAGE_FIRST_SECTION(&headers);
    DWORD size = headers.OptionalHeader.SizeOfHeaders;
    for (WORD i = 0; i < headers.FileHeader.NumberOfSections; ++i) {
        size += sections[i].SizeOfRawData;
        const DWORD flags = sections[i].Characteristics;
        EXPECT_FALSE((flags & IMAGE_SCN_MEM_WRITE) && (flags & IMAGE_SCN_MEM_EXECUTE))
            << std::string(reinterpret_cast<const char*>(sections[i].Name), IMAGE_SIZEOF_SHORT_NAME);
    }
    EXPECT_LE(size, 152u << 10); // 1.9 KB an exported function
}

TEST_F(Image, CarriesItsVersion)
{
    const HRSRC found = FindResourceA(module, MAKEINTRESOURCEA(1), RT_VERSION);
    const std::string version(static_cast<const char*>(LockResource(LoadResource(module, found))),
                              SizeofResource(module, found));
    const DWORD signature = VS_FFI_SIGNATURE;
    const size_t fixed = version.find(std::string(reinterpret_cast<const char*>(&signature), sizeof signature));
    ASSERT_TRUE(fixed != std::string::npos && fixed + sizeof(VS_FIXEDFILEINFO) <= version.size());
    VS_FIXEDFILEINFO info;
    memcpy(&info, version.data() + fixed, sizeof info);
    EXPECT_EQ(HIWORD(info.dwFileVersionMS), KESWSEC_RELEASE);
    EXPECT_EQ(HIWORD(info.dwProductVersionMS), KESWSEC_RELEASE);
}
