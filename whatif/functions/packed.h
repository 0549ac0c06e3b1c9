// A block as the platform hands them out: records first, behind them the texts and SIDs that their fields point at.
#pragma once

#include "whatif/node.h"

#include <cstring>

namespace whatif {

class Packed
{
public:
    explicit Packed(size_t records) : bytes_(records) {}

    template <class T>
    void value(size_t field, const T& value)
    {
        memcpy(&bytes_[field], &value, sizeof value);
    }

    void text(size_t field, const std::wstring& text)
    {
        const auto* const begin = reinterpret_cast<const BYTE*>(text.c_str());
        data(field, std::vector<BYTE>(begin, begin + (text.size() + 1) * sizeof(wchar_t)));
    }

    void data(size_t field, const std::vector<BYTE>& data)
    {
        bytes_.resize(rounded(bytes_.size()));
        pointers_.push_back({field, bytes_.size()});
        bytes_.insert(bytes_.end(), data.begin(), data.end());
    }

    size_t size() const { return bytes_.size(); }

    // What data of that size takes behind other data.
    static size_t rounded(size_t bytes) { return (bytes + alignment - 1) / alignment * alignment; }

    // Writes the block, `size` bytes, where it will be read.
    void place(void* destination) const
    {
        BYTE* const block = static_cast<BYTE*>(destination);
        memcpy(block, bytes_.data(), bytes_.size());
        for (const Pointer& pointer : pointers_) {
            const BYTE* const target = block + pointer.target;
            memcpy(block + pointer.field, &target, sizeof target);
        }
    }

private:
    static constexpr size_t alignment = sizeof(void*);

    struct Pointer
    {
        size_t field;
        size_t target;
    };

    std::vector<BYTE> bytes_;
    std::vector<Pointer> pointers_;
};

} // namespace whatif
