#include "bench/made_up_tree.h"

#include "whatif/security/access.h"
#include "whatif/security/entries.h"

#include <cstring>
#include <utility>

namespace bench {

namespace {

size_t directoriesOfRoot;
size_t writes;
std::vector<bool> written;         // by number
std::vector<BYTE> writtenSecurity; // the last one

struct Listing
{
    bool ofRoot;
    size_t next; // 0 and 1 are "." and ".."
};

std::vector<BYTE> descriptorOf(const std::wstring& text)
{
    return whatif::selfRelative(whatif::securityOf(text), DACL_SECURITY_INFORMATION);
}

std::vector<BYTE>& descriptor()
{
    static std::vector<BYTE> bytes = descriptorOf(treeSecurity);
    return bytes;
}

// A letter and six digits; directories begin with "d".
void writeName(wchar_t* name, wchar_t letter, size_t number)
{
    *name = letter;
    for (int digit = 6; digit > 0; --digit, number /= 10)
        name[digit] = static_cast<wchar_t>(L'0' + number % 10);
    name[7] = L'\0';
}

bool isDirectory(const wchar_t* path)
{
    const wchar_t* const name = wcsrchr(path, L'\\') + 1;
    return *name == L'd' || wcscmp(path, treeRoot) == 0;
}

// Of an object below the root, by the digits of its name and its directory's; the root is 0.
size_t numberOf(const wchar_t* path)
{
    if (wcscmp(path, treeRoot) == 0)
        return 0;
    const wchar_t* const directory = path + wcslen(treeRoot) + 2;
    const wchar_t* const file = wcschr(directory, L'\\');
    const size_t first = 1 + (wcstoul(directory, nullptr, 10) - 2) * (filesPerDirectory + 1);
    return file ? first + wcstoul(file + 2, nullptr, 10) - 1 : first;
}

DWORD WINAPI getFileAttributes(LPCWSTR path)
{
    return isDirectory(path) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
}

BOOL WINAPI findNextFile(HANDLE handle, LPWIN32_FIND_DATAW entry)
{
    auto* const listing = static_cast<Listing*>(handle);
    const size_t number = listing->next++;
    if (number >= 2 + (listing->ofRoot ? directoriesOfRoot : filesPerDirectory)) {
        SetLastError(ERROR_NO_MORE_FILES);
        return FALSE;
    }
    entry->dwFileAttributes = listing->ofRoot || number < 2 ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
    if (number < 2)
        wcscpy(entry->cFileName, number ? L".." : L".");
    else
        writeName(entry->cFileName, listing->ofRoot ? L'd' : L'f', number);
    return TRUE;
}

HANDLE WINAPI findFirstFile(LPCWSTR pattern, LPWIN32_FIND_DATAW entry)
{
    static Listing listings[2]; // as deep as the tree
    const bool ofRoot = wcslen(pattern) == wcslen(treeRoot) + 2;
    Listing& listing = listings[ofRoot];
    listing = {ofRoot, 0};
    findNextFile(&listing, entry);
    return &listing;
}

BOOL WINAPI findClose(HANDLE)
{
    return TRUE;
}

BOOL WINAPI getFileSecurity(LPCWSTR path, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR buffer, DWORD size, LPDWORD needed)
{
    const std::vector<BYTE>& bytes = written[numberOf(path)] ? writtenSecurity : descriptor();
    *needed = static_cast<DWORD>(bytes.size());
    if (size < *needed) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    memcpy(buffer, bytes.data(), *needed);
    return TRUE;
}

// What has the text of the first security has become that one again.
bool takeSecurity(PSECURITY_DESCRIPTOR given)
{
    whatif::Security security = whatif::securityOf(given);
    whatif::mapGenericRights(security, whatif::fileRights);
    const bool isNew = security.dacl != whatif::securityOf(std::wstring(treeSecurity)).dacl;
    if (isNew)
        writtenSecurity = whatif::selfRelative(security, DACL_SECURITY_INFORMATION);
    return isNew;
}

// The same list again, as it comes from a walk, costs next to nothing: it is the walk that is measured.
BOOL WINAPI setFileSecurity(LPCWSTR path, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR given)
{
    static std::vector<BYTE> last;
    static bool lastIsNew;
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL dacl = nullptr;
    GetSecurityDescriptorDacl(given, &present, &dacl, &defaulted);
    if (last.size() != dacl->AclSize || memcmp(last.data(), dacl, last.size()) != 0) {
        last.assign(reinterpret_cast<const BYTE*>(dacl), reinterpret_cast<const BYTE*>(dacl) + dacl->AclSize);
        lastIsNew = takeSecurity(given);
    }
    written[numberOf(path)] = lastIsNew;
    ++writes;
    return TRUE;
}

template <class Function>
void* address(Function* function)
{
    return reinterpret_cast<void*>(function);
}

} // namespace

void growTree(size_t directories)
{
    directoriesOfRoot = directories;
    written.assign(1 + directories * (filesPerDirectory + 1), false);
}

std::vector<whatif::Replacement> treeFunctions()
{
    return {{"GetFileAttributesW", address(getFileAttributes)},
            {"FindFirstFileW", address(findFirstFile)},
            {"FindNextFileW", address(findNextFile)},
            {"FindClose", address(findClose)}};
}

std::vector<whatif::Replacement> securityFunctions()
{
    return {{"GetFileSecurityW", address(getFileSecurity)}, {"SetFileSecurityW", address(setFileSecurity)}};
}

void giveAccounts(size_t accounts)
{
    std::wstring text = L"D:";
    for (size_t i = 0; i < accounts; ++i)
        text += L"(A;;FR;;;S-1-5-" + std::to_wstring(1000 + i) + L")";
    descriptor() = descriptorOf(accounts ? text : treeSecurity);
}

size_t takeWriteCount()
{
    return std::exchange(writes, 0);
}

} // namespace bench
