#include "tests/acl/legacy_tree.h"

#include <fstream>

namespace legacy {

namespace fs = std::filesystem;

namespace {

Failing* failing;
decltype(GetFileSecurityW)* heldRead;
decltype(SetFileSecurityW)* heldWrite;

DWORD WINAPI attributesOf(LPCWSTR path)
{
    return failing->now("GetFileAttributesW", path) ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(path);
}

HANDLE WINAPI findFirst(LPCWSTR pattern, WIN32_FIND_DATAW* found)
{
    const std::wstring directory(pattern, wcslen(pattern) - 2);
    if (failing->now("FindFirstFileW", directory))
        return INVALID_HANDLE_VALUE;
    const HANDLE search = FindFirstFileW(pattern, found);
    failing->searches[search] = directory;
    return search;
}

BOOL WINAPI findNext(HANDLE search, WIN32_FIND_DATAW* found)
{
    return !failing->now("FindNextFileW", failing->searches[search]) && FindNextFileW(search, found);
}

BOOL WINAPI readSecurity(LPCWSTR path, SECURITY_INFORMATION part, PSECURITY_DESCRIPTOR buffer, DWORD size,
                         DWORD* needed)
{
    return !failing->now(size ? "second GetFileSecurityW" : "GetFileSecurityW", path) &&
           heldRead(path, part, buffer, size, needed);
}

BOOL WINAPI writeSecurity(LPCWSTR path, SECURITY_INFORMATION part, PSECURITY_DESCRIPTOR descriptor)
{
    return !failing->now("SetFileSecurityW", path) && heldWrite(path, part, descriptor);
}

} // namespace

bool Failing::now(const char* function, const std::wstring& path)
{
    const auto row = calls.find({function, path});
    if (row == calls.end())
        return false;
    if (row->second != ERROR_FILE_NOT_FOUND && (order.empty() || order.back() != path))
        order.push_back(path);
    SetLastError(row->second);
    return true;
}

LegacyTree::LegacyTree()
{
    failing = &failures;
    heldRead = &GetFileSecurityW;
    heldWrite = &SetFileSecurityW;
    library.redirect("GetFileSecurityW", &readSecurity);
    library.redirect("SetFileSecurityW", &writeSecurity);
    library.redirect("GetFileAttributesW", &attributesOf);
    library.redirect("FindFirstFileW", &findFirst);
    library.redirect("FindNextFileW", &findNext);
}

std::wstring LegacyTree::make(const std::wstring& relative) const
{
    const bool isDirectory = relative.back() == L'\\';
    const fs::path path = root / relative;
    fs::create_directories(path.parent_path());
    if (!isDirectory)
        std::ofstream(path) << "x";
    return (isDirectory ? path.parent_path() : path).wstring();
}

Result LegacyTree::call(const fs::path& path, DWORD isAdmin) const
{
    return legacy::call(path.string(), isAdmin, EXPORT_OF(library, setPermissions));
}

} // namespace legacy
