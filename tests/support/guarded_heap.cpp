#include "tests/support/guarded_heap.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <utility>

namespace guarded {

namespace {

constexpr size_t page = 4096;
constexpr char restFill = 0x5D;

struct Block
{
    char* region;
    size_t regionSize; // its pages, without the inaccessible one behind them
    size_t size;
    bool live;
};

std::recursive_mutex mutex;
std::map<const void*, Block> blocks;
std::vector<std::string> watched; // both forms
std::vector<std::string> found;
size_t live = 0;

// What lies before a block in its first page.
bool isRestUntouched(const char* data, const char* region)
{
    static const std::string rest(page, restFill);
    return memcmp(region, rest.data(), static_cast<size_t>(data - region)) == 0;
}

void look(const char* data, size_t size)
{
    for (const std::string& text : watched)
        if (std::search(data, data + size, text.begin(), text.end()) != data + size)
            found.push_back(text);
}

} // namespace

void* allocate(size_t bytes)
{
    const std::lock_guard lock(mutex);
    const size_t pages = (bytes / page + 1) * page; // a byte before the block at least: the platform reads there, too
    auto* const region = static_cast<char*>(VirtualAlloc(nullptr, pages + page, MEM_RESERVE, PAGE_NOACCESS));
    if (!region || !VirtualAlloc(region, pages, MEM_COMMIT, PAGE_READWRITE))
        return nullptr;
    char* const data = region + pages - bytes;
    memset(region, restFill, pages - bytes);
    memset(data, freshFill, bytes);
    blocks[data] = {region, pages, bytes, true};
    ++live;
    return data;
}

void* allocateZeroed(size_t n, size_t bytes)
{
    void* const block = allocate(n * bytes);
    if (block)
        memset(block, 0, n * bytes);
    return block;
}

bool release(void* block)
{
    const std::lock_guard lock(mutex);
    const auto known = blocks.find(block);
    if (known == blocks.end() || !known->second.live)
        return false;
    look(static_cast<char*>(block), known->second.size);
    if (!isRestUntouched(static_cast<char*>(block), known->second.region))
        RaiseException(static_cast<DWORD>(STATUS_ACCESS_VIOLATION), EXCEPTION_NONCONTINUABLE, 0, nullptr);
    DWORD protection = 0;
    VirtualProtect(known->second.region, known->second.regionSize, PAGE_NOACCESS, &protection);
    known->second.live = false;
    --live;
    return true;
}

bool isBlock(const void* address)
{
    const std::lock_guard lock(mutex);
    return blocks.count(address) > 0;
}

size_t liveBlocks()
{
    const std::lock_guard lock(mutex);
    return live;
}

void sweep()
{
    const std::lock_guard lock(mutex);
    for (auto block = blocks.begin(); block != blocks.end();) {
        if (block->second.live) {
            ++block;
            continue;
        }
        VirtualFree(block->second.region, 0, MEM_RELEASE);
        block = blocks.erase(block);
    }
}

void watchFor(const std::vector<std::string>& secrets)
{
    const std::lock_guard lock(mutex);
    watched.clear();
    for (const std::string& secret : secrets) {
        std::string wide;
        for (const char character : secret) {
            wide += character;
            wide += '\0';
        }
        watched.push_back(secret);
        watched.push_back(wide);
    }
}

std::vector<std::string> leakedSecrets()
{
    const std::lock_guard lock(mutex);
    return std::exchange(found, {});
}

Buffer::Buffer(size_t bytes, unsigned char fill) : data_(static_cast<char*>(allocate(bytes))), size_(bytes)
{
    if (!data_)
        throw std::bad_alloc();
    memset(data_, fill, bytes);
}

Buffer::Buffer(const void* bytes, size_t count) : Buffer(count)
{
    memcpy(data_, bytes, count);
}

Buffer::~Buffer()
{
    release(data_);
}

} // namespace guarded
