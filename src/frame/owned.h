// Owners: one alias per kind of resource. Adopt on the line after the acquisition.
#pragma once

#include <windows.h>

#include <authz.h>
#include <lm.h>
#include <ntsecapi.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <type_traits>
#include <utility>

namespace owned {

template <auto release>
struct Releaser
{
    template <class T>
    void operator()(T* resource) const
    {
        release(resource);
    }
};

struct HandleCloser
{
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};

// Opening the key of no name below a predefined one may yield that one itself, which is not ours to close.
struct RegistryKeyCloser
{
    void operator()(HKEY key) const
    {
        for (HKEY const predefined : {HKEY_LOCAL_MACHINE, HKEY_USERS, HKEY_CLASSES_ROOT, HKEY_CURRENT_USER})
            if (key == predefined)
                return;
        RegCloseKey(key);
    }
};

struct PolicyCloser
{
    using pointer = LSA_HANDLE;
    void operator()(LSA_HANDLE policy) const { LsaClose(policy); }
};

struct FindCloser
{
    using pointer = HANDLE;
    void operator()(HANDLE search) const { FindClose(search); }
};

struct VerdictReleaser
{
    void operator()(void* verdict) const { NetValidatePasswordPolicyFree(&verdict); }
};

template <class T>
using Heap = std::unique_ptr<T, Releaser<&free>>; // malloc
template <class T>
using Local = std::unique_ptr<T, Releaser<&LocalFree>>; // LocalAlloc, and what the platform allocates so
template <class T>
using NetBuffer = std::unique_ptr<T, Releaser<&NetApiBufferFree>>;
template <class T>
using LsaBuffer = std::unique_ptr<T, Releaser<&LsaFreeMemory>>;
using Sid = std::unique_ptr<void, Releaser<&FreeSid>>; // AllocateAndInitializeSid
using RegistryKey = std::unique_ptr<HKEY__, RegistryKeyCloser>;
using ServiceHandle = std::unique_ptr<SC_HANDLE__, Releaser<&CloseServiceHandle>>;
using Module = std::unique_ptr<HINSTANCE__, Releaser<&FreeLibrary>>;
using Handle = std::unique_ptr<void, HandleCloser>; // files, tokens
using PolicyHandle = std::unique_ptr<void, PolicyCloser>;
using AuthzManager = std::unique_ptr<AUTHZ_RESOURCE_MANAGER_HANDLE__, Releaser<&AuthzFreeResourceManager>>;
using AuthzContext = std::unique_ptr<AUTHZ_CLIENT_CONTEXT_HANDLE__, Releaser<&AuthzFreeContext>>;
using PasswordVerdict = std::unique_ptr<NET_VALIDATE_OUTPUT_ARG, VerdictReleaser>;
using FindHandle = std::unique_ptr<void, FindCloser>;

// A handle whose "none" is INVALID_HANDLE_VALUE, normalised to NULL so that an owner can test it.
inline HANDLE orNull(HANDLE handle)
{
    return handle == INVALID_HANDLE_VALUE ? nullptr : handle;
}

// A size that is a multiple of T's alignment. The guarded heap of the tests aligns a block as its size allows.
template <class T>
constexpr size_t roundedFor(size_t bytes)
{
    if constexpr (std::is_void_v<T>)
        return bytes;
    else
        return (bytes + alignof(T) - 1) / alignof(T) * alignof(T);
}

// An uninitialised block of the one heap that callers also release from; NULL when memory is exhausted.
template <class T>
Heap<T> allocate(size_t bytes)
{
    return Heap<T>(static_cast<T*>(malloc(roundedFor<T>(bytes))));
}

template <class T>
Heap<T> allocateZeroed(size_t bytes)
{
    Heap<T> block = allocate<T>(bytes);
    if (block)
        memset(block.get(), 0, bytes);
    return block;
}

// An array of blocks: owns the pointers and what they point at, the way that callers release such arrays.
template <class T>
struct Blocks
{
    T** entries = nullptr;
    DWORD count = 0; // entries in use; one in use may be NULL
    DWORD room = 0;  // that an array which grows has

    Blocks() = default;
    Blocks(const Blocks&) = delete;
    Blocks& operator=(const Blocks&) = delete;
    ~Blocks()
    {
        for (DWORD i = 0; i < count; ++i)
            free(entries[i]);
        free(entries);
    }

    // Room for that many in a new, empty array, all of them NULL; false when memory is exhausted.
    bool reserve(size_t size)
    {
        entries = static_cast<T**>(calloc(size ? size : 1, sizeof(T*)));
        return entries != nullptr;
    }

    // For an array that grows as it is filled, instead of `reserve`: takes the block, which may not be NULL; false when
    // memory is exhausted.
    bool append(Heap<T> block)
    {
        if (!block || (count == room && !grow()))
            return false;
        entries[count++] = block.release();
        return true;
    }

    T** release()
    {
        count = room = 0;
        return std::exchange(entries, nullptr);
    }

private:
    bool grow()
    {
        Blocks larger;
        const DWORD doubled = room ? room * 2 : 16;
        if (!larger.reserve(doubled))
            return false;
        if (count)
            memcpy(larger.entries, entries, count * sizeof(T*));
        std::swap(entries, larger.entries); // the old one goes with `larger`, which counts no block as its own
        room = doubled;
        return true;
    }
};

} // namespace owned
