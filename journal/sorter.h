// Sorts any number of records in the memory of a few: more than that are written to a temporary file in sorted runs,
// which are merged when they are taken.
#pragma once

#include "whatif/temporary_file.h"

#include <algorithm>
#include <vector>

namespace journal {

template <class Record, class Before>
class Sorter
{
public:
    explicit Sorter(Before before) : before_(before) {}

    void add(const Record& record)
    {
        memory_.push_back(record);
        if (memory_.size() == mostInMemory)
            spill();
    }

    // The next one in order; false at the end. Nothing can be added after the first one has been taken.
    bool next(Record& record)
    {
        if (!taking_)
            begin();
        if (heap_.empty())
            return false;
        std::pop_heap(heap_.begin(), heap_.end(), later());
        Run& run = *heap_.back();
        record = run.buffer[run.at++];
        if (run.at < run.buffer.size() || refill(run))
            std::push_heap(heap_.begin(), heap_.end(), later());
        else
            heap_.pop_back();
        return true;
    }

private:
    static constexpr size_t mostInMemory = 8192;
    static constexpr size_t bufferOfRun = 64;

    struct Run
    {
        std::vector<Record> buffer;
        size_t at = 0;
        long long next = 0; // in the file, in records, and how many are left there
        size_t left = 0;
    };

    auto later() const
    {
        return [this](const Run* a, const Run* b) { return before_(b->buffer[b->at], a->buffer[a->at]); };
    }

    void spill()
    {
        std::sort(memory_.begin(), memory_.end(), before_);
        if (!file_)
            file_ = whatif::temporaryFile();
        Run run;
        run.next = written_;
        run.left = memory_.size();
        whatif::require(fwrite(memory_.data(), sizeof(Record), memory_.size(), file_.get()) == memory_.size());
        written_ += static_cast<long long>(memory_.size());
        runs_.push_back(run);
        memory_.clear();
    }

    bool refill(Run& run)
    {
        run.at = 0;
        run.buffer.resize(std::min(run.left, bufferOfRun));
        if (run.buffer.empty())
            return false;
        whatif::require(_fseeki64(file_.get(), run.next * static_cast<long long>(sizeof(Record)), SEEK_SET) == 0 &&
                        fread(run.buffer.data(), sizeof(Record), run.buffer.size(), file_.get()) == run.buffer.size());
        run.next += static_cast<long long>(run.buffer.size());
        run.left -= run.buffer.size();
        return true;
    }

    void begin()
    {
        taking_ = true;
        std::sort(memory_.begin(), memory_.end(), before_);
        for (Run& run : runs_)
            refill(run);
        runs_.emplace_back().buffer = std::move(memory_);
        for (Run& run : runs_)
            if (!run.buffer.empty())
                heap_.push_back(&run);
        std::make_heap(heap_.begin(), heap_.end(), later());
    }

    Before before_;
    std::vector<Record> memory_;
    std::vector<Run> runs_;
    std::vector<Run*> heap_;
    whatif::TemporaryFile file_;
    long long written_ = 0;
    bool taking_ = false;
};

} // namespace journal
