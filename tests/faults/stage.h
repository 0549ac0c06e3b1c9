// Where the fault runs take place: the library's checked build in a home of its own, on what-if nodes that hold what
// the scenarios need, with the outputs of the call under test.
#pragma once

#include "keswsec.h"
#include "tests/support/guarded_heap.h"
#include "tests/support/home.h"
#include "tests/support/intercept.h"
#include "whatif/whatif.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <optional>

namespace faults {

// The words for an output that is as it was, or that has been emptied.
inline constexpr char untouched[] = "untouched";
inline constexpr char none[] = "0";

// Both texts of the record before the call.
inline constexpr char recordBefore[] = "before";

class Stage
{
public:
    Stage();
    ~Stage() { reloadLibrary(); }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    support::TemporaryHome& library() { return library_; }
    intercept::Interception& interception() { return *interception_; }
    sswseErrRec* rec() { return reinterpret_cast<sswseErrRec*>(rec_.data()); }

    void set(void (*prepare)(Stage&)); // the usual machine, changed as the scenario wants it
    void reset(bool cold);             // back to that; `cold`: the library has not read the version nor found messages

    // ---- for scenarios that want another machine than the usual one
    whatif::Node& local() { return world_->local(); } // "NODE"
    whatif::Node& remote() { return world_->add(L"DB2"); }
    whatif::Registry& registry() { return world_->registry(); }
    void setHome(const wchar_t* value, const wchar_t* text); // of the home KEY_h1, on both nodes
    void setEnvironment(const char* name, const char* value) { environment_.emplace_back(name, value); }
    void putMessageModule();
    void putOnVlfs(); // every file becomes a mount point of the cluster file system

    // ---- inputs of a call, kept until the next reset
    const char* keep(const std::string& text) { return texts_.emplace_back(text).c_str(); }
    const char* home() { return keep(library_.path()); }
    const char* file(const char* below = "") { return keep((files_.path() / below).string()); } // "file", "sub\\file"
    char* writable(const std::string& text);
    PSID sid(const wchar_t* text);

    // ---- outputs of a call, in blocks that end at an inaccessible page
    template <class Char = char>
    Char* text(size_t size)
    {
        return static_cast<Char*>(output(size * sizeof(Char), [size](void* place) -> std::string {
            const auto* const text = static_cast<const Char*>(place);
            const auto* const end = std::find(text, text + size, Char());
            if (end != text + size)
                return std::string(text, end);
            return describe(place, size * sizeof(Char)) == untouched ? untouched : "not terminated";
        }));
    }
    PSID* sidOut();
    SC_HANDLE* service();
    char*** strings(); // as many as `count` says
    PACL* acl();       // in and out

    template <class T>
    T* value()
    {
        return static_cast<T*>(output(sizeof(T), [](void* bytes) { return describe(bytes, sizeof(T)); }));
    }

    template <class T>
    T* count()
    {
        T* const place = value<T>();
        count_ = reinterpret_cast<const int*>(place);
        return place;
    }

    // ---- what the run has left
    std::vector<std::string> takeOutputs(); // in words; what the library handed out is released
    std::vector<std::string> plan() const;
    size_t planLength() const { return world_->plan().size(); }

private:
    struct Output
    {
        Output(size_t size, std::function<std::string(void*)> words, std::function<void(void*)> releaser)
            : buffer(size), describe(std::move(words)), release(std::move(releaser))
        {
        }

        guarded::Buffer buffer;
        std::function<std::string(void*)> describe;
        std::function<void(void*)> release;
        std::string before = untouched;
    };

    static std::string describe(const void* bytes, size_t size);
    void* output(size_t size, std::function<std::string(void*)> words, std::function<void(void*)> release = {});
    void* pointer(const std::function<std::string(void*)>& words, std::function<void(void*)> release);
    void furnish();
    void redirect();
    void unredirect();
    void reloadLibrary();

    support::TemporaryHome library_{"SOFTWARE\\KESTEL\\KEY_h1\r\n", "checked"};
    support::ScratchDirectory files_;
    std::optional<whatif::World> world_;
    std::optional<whatif::Redirection> redirection_;
    std::optional<whatif::Imports> beneath_; // what the world has no replacement for
    std::optional<intercept::Interception> interception_;
    void (*prepare_)(Stage&) = nullptr;
    const whatif::Node usual_;
    std::vector<whatif::Node> nodes_; // as they were set
    guarded::Buffer rec_{sizeof(sswseErrRec)};
    std::deque<support::EnvironmentVariable> environment_;
    std::deque<std::string> texts_;
    std::deque<guarded::Buffer> blocks_;
    std::deque<Output> outputs_;
    const int* count_ = nullptr; // of strings
};

} // namespace faults
