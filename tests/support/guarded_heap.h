// A heap whose blocks end at an inaccessible page. Fresh blocks are filled, freed ones become inaccessible until
// `sweep`, so an overrun by one byte or a use after free stops the program on the spot. Where the alignment of pointers
// leaves a gap before the page, a write into it does so at the release.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace guarded {

void* allocate(size_t bytes); // NULL only when the process is out of address space
void* allocateZeroed(size_t n, size_t bytes);
void* reallocate(void* block, size_t bytes);
bool release(void* block); // false: no live block of this heap
bool owns(const void* block);

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
