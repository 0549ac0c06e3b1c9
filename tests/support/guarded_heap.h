// A heap whose blocks end exactly at an inaccessible page, so an overrun by one byte stops the program on the spot; an
// underrun does so at the release. Freed blocks become inaccessible until `sweep`. A block is as aligned as its size
// allows: for what it holds, if its size is a multiple of that, which `owned::allocate` sees to.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace guarded {

void* allocate(size_t bytes); // NULL only when the process is out of address space
void* allocateZeroed(size_t n, size_t bytes);
bool release(void* block);         // false: no live block of this heap
bool isBlock(const void* address); // where a block begins, live or not
constexpr unsigned char usualFill = 0xA5;
inline unsigned char freshFill = usualFill; // of fresh blocks: what is read before it is written shows as a difference

size_t liveBlocks();
void sweep(); // gives the freed blocks' address space back

// Texts that must not be found in a block when it is released (multibyte and wide forms are looked for).
void watchFor(const std::vector<std::string>& secrets);
std::vector<std::string> leakedSecrets(); // found since the last call

// A block of the caller's own that ends at an inaccessible page, for output buffers and the like.
class Buffer
{
public:
    explicit Buffer(size_t bytes, unsigned char fill = 0xCC);
    Buffer(const void* bytes, size_t count);
    ~Buffer();
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    char* data() const { return data_; }
    size_t size() const { return size_; }

private:
    char* data_;
    size_t size_;
};

} // namespace guarded
