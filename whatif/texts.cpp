#include "whatif/texts.h"

#include <algorithm>

namespace whatif {

namespace {

constexpr size_t mostRecent = 4096;
constexpr size_t chains = 1 << 16;

struct Record
{
    std::uint64_t next; // in the chain; behind it name and text
    std::uint32_t nameSize;
    std::uint32_t textSize;
};

constexpr std::uint32_t gone = 0xFFFFFFFF; // in place of the size of a text

// The same for names that differ in case only.
size_t chainOf(const std::wstring& name)
{
    std::uint32_t hash = 2166136261;
    for (const wchar_t c : name)
        hash = (hash ^ (c >= 128 ? 128U : c >= L'a' && c <= L'z' ? c - 32U : c)) * 16777619;
    return hash % chains;
}

bool readText(FILE* file, std::wstring& text, size_t size)
{
    text.resize(size);
    return fread(text.data(), sizeof(wchar_t), size, file) == size;
}

} // namespace

Texts::Texts(const Texts& other) : recent_(other.recent_), heads_(other.heads_), end_(other.end_)
{
    if (!other.file_)
        return;
    file_ = temporaryFile();
    std::vector<char> piece(1 << 16);
    rewind(other.file_.get());
    for (size_t size = 0; (size = fread(piece.data(), 1, piece.size(), other.file_.get())) != 0;)
        require(fwrite(piece.data(), 1, size, file_.get()) == size);
}

Texts& Texts::operator=(const Texts& other)
{
    Texts copy(other);
    return *this = std::move(copy);
}

const std::wstring* Texts::find(const std::wstring& name) const
{
    const Recent* const found = known(name);
    return found && !found->isGone ? &found->text : nullptr;
}

const std::wstring* Texts::spelled(const std::wstring& name) const
{
    return find(name) ? &recent_.find(name)->first : nullptr;
}

std::wstring& Texts::operator[](const std::wstring& name)
{
    Recent* const found = known(name);
    Recent& kept = found ? *found : keep(name, {});
    kept.isNew = true;
    kept.isGone = false;
    return kept.text;
}

void Texts::erase(const std::wstring& name)
{
    if (Recent* const found = known(name))
        *found = {L"", true, true};
}

std::map<std::wstring, std::wstring, NoCase> Texts::all() const
{
    std::map<std::wstring, Recent, NoCase> newest = recent_;
    std::wstring name;
    Recent recent;
    for (std::uint64_t at : heads_)
        while (at) { // the newest comes first
            at = read(at, name, recent);
            newest.emplace(name, recent);
        }
    std::map<std::wstring, std::wstring, NoCase> texts;
    for (const auto& [key, each] : newest)
        if (!each.isGone)
            texts.emplace(key, each.text);
    return texts;
}

Texts::Recent* Texts::known(const std::wstring& name) const
{
    const auto found = recent_.find(name);
    if (found != recent_.end() || heads_.empty())
        return found == recent_.end() ? nullptr : &found->second;
    std::wstring other;
    Recent recent;
    for (std::uint64_t at = heads_[chainOf(name)]; at;) {
        at = read(at, other, recent);
        if (!NoCase()(name, other) && !NoCase()(other, name))
            return &keep(other, recent);
    }
    return nullptr;
}

Texts::Recent& Texts::keep(const std::wstring& name, const Recent& recent) const
{
    if (recent_.size() >= mostRecent)
        spill();
    return recent_[name] = recent;
}

std::uint64_t Texts::read(std::uint64_t at, std::wstring& name, Recent& recent) const
{
    Record record = {};
    require(_fseeki64(file_.get(), static_cast<long long>(at), SEEK_SET) == 0 &&
            fread(&record, sizeof record, 1, file_.get()) == 1);
    recent.isNew = false;
    recent.isGone = record.textSize == gone;
    require(readText(file_.get(), name, record.nameSize) &&
            readText(file_.get(), recent.text, recent.isGone ? 0 : record.textSize));
    return record.next;
}

void Texts::spill() const
{
    if (!file_) {
        file_ = temporaryFile();
        heads_.resize(chains);
        end_ = 1; // nothing lies at 0
    }
    require(_fseeki64(file_.get(), static_cast<long long>(end_), SEEK_SET) == 0);
    for (const auto& [name, recent] : recent_) {
        if (!recent.isNew)
            continue;
        std::uint64_t& head = heads_[chainOf(name)];
        const Record record = {head, static_cast<std::uint32_t>(name.size()),
                               recent.isGone ? gone : static_cast<std::uint32_t>(recent.text.size())};
        require(fwrite(&record, sizeof record, 1, file_.get()) == 1 &&
                fwrite(name.data(), sizeof(wchar_t), name.size(), file_.get()) == name.size() &&
                fwrite(recent.text.data(), sizeof(wchar_t), recent.text.size(), file_.get()) == recent.text.size());
        head = end_;
        end_ += sizeof record + (name.size() + recent.text.size()) * sizeof(wchar_t);
    }
    recent_.clear();
}

} // namespace whatif
