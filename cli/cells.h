// What lies in memory for each parameter during a call.
#pragma once

#include "cli/invoke.h"

#include "keswsec.h"

#include <cstring>

namespace cli {

// Text and buffers are in `bytes`; numbers and pointers that a function writes through a pointer are in `word`.
struct Cell
{
    std::vector<char> bytes;
    std::vector<char*> pointers;    // the array of a list of strings
    std::vector<AceListNode> nodes; // the list of the entries in `bytes`
    std::uintptr_t word = 0;

    template <class T>
    T as() const
    {
        static_assert(sizeof(T) <= sizeof word);
        T value;
        memcpy(&value, &word, sizeof value);
        return value;
    }
};

// Fills the cells and the slots behind the error record's.
std::vector<Cell> prepareCells(const Host& host, const Call& call, Slots& slots);

// The outputs that the function has stored: what it did not touch is not among them.
nlohmann::ordered_json readOutputs(const Call& call, const std::vector<Cell>& cells, bool good);

void releaseCells(const Host& host, const Call& call, const std::vector<Cell>& cells);

template <class Signature>
Signature* exported(const Host& host, const char* name)
{
    const FARPROC address = GetProcAddress(host.library, name);
    if (!address)
        throw UsageError(std::string("the library does not export ") + name);
    return reinterpret_cast<Signature*>(reinterpret_cast<void*>(address));
}

} // namespace cli
