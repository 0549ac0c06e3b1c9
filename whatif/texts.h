// Texts by their names. However many there are, they take the memory of some thousands: the others are kept in a
// temporary file.
#pragma once

#include "whatif/spelling.h"
#include "whatif/temporary_file.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace whatif {

class Texts
{
public:
    Texts() = default;
    Texts(std::initializer_list<std::pair<const wchar_t*, std::wstring>> all)
    {
        for (const auto& [name, text] : all)
            (*this)[name] = text;
    }
    Texts(const Texts& other);
    Texts& operator=(const Texts& other);
    Texts(Texts&&) = default;
    Texts& operator=(Texts&&) = default;
    ~Texts() = default;

    // Both are valid until the next one is asked for.
    const std::wstring* find(const std::wstring& name) const; // NULL when there is none
    std::wstring& operator[](const std::wstring& name);       // made when there is none

    // As it was written when it was new; NULL when there is none.
    const std::wstring* spelled(const std::wstring& name) const;
    bool count(const std::wstring& name) const { return find(name) != nullptr; }
    void erase(const std::wstring& name);

    std::map<std::wstring, std::wstring, NoCase> all() const;

private:
    struct Recent
    {
        std::wstring text;
        bool isNew = false; // not yet in the file
        bool isGone = false;
    };
    Recent* known(const std::wstring& name) const;
    Recent& keep(const std::wstring& name, const Recent& recent) const;
    std::uint64_t read(std::uint64_t at, std::wstring& name, Recent& recent) const; // where the next one lies
    void spill() const;

    mutable std::map<std::wstring, Recent, NoCase> recent_;
    mutable TemporaryFile file_;
    mutable std::vector<std::uint64_t> heads_; // by the hash of a name: where the newest of its chain lies, or 0
    mutable std::uint64_t end_ = 0;
};

} // namespace whatif
