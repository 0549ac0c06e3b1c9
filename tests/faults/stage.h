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

// Nobody may find it where it is not due.
inline constexpr char password[] = "Never-to-be-seen-4711";

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

    void set(const std::function<void(Stage&)>& prepare); // the usual machine, changed as the scenario wants it
    void reset(bool isCold); // back to that; cold: the library has neither asked the version nor found messages

    // ---- for scenarios that want another machine than the usual one
    whatif::Node& local() { return world_->local(); } // "NODE"
    whatif::Node& remote() { return world_->add(L"DB2"); }
    whatif::Registry& registry() { return world_->registry(); }
    void setHome(const wchar_t* value, const wchar_t* text); // of the home KEY_h1, on both nodes
    void setEnvironment(const char* name, const char* value) { environment_.emplace_back(name, value); }
    void makeDomainController();
    void putMessageModule();
    void secure(const wchar_t* sddl); // the tree and the key of the home, with one below
    void putOnVlfs();                 // every file becomes a mount point of the cluster file system

    // The exported function with the stage's record.
    template <class... Parameters, class... Arguments>
    DWORD call(DWORD(WINAPI* function)(sswseErrRec*, Parameters...), Arguments&&... arguments)
    {
        return function(rec(), static_cast<Parameters>(input(arguments))...);
    }

    // One without a record.
    template <class... Parameters, class... Arguments>
    DWORD call(DWORD(WINAPI* function)(const char*, Parameters...), const char* first, Arguments&&... arguments)
    {
        return function(first, static_cast<Parameters>(input(arguments))...);
    }

    // ---- inputs of a call, until the next reset; texts end at an inaccessible page
    template <class T>
    T input(T other)
    {
        return other;
    }
    template <size_t size>
    const char* input(const char (&text)[size])
    {
        return static_cast<const char*>(block(text, sizeof text));
    }
    template <size_t size>
    const wchar_t* input(const wchar_t (&text)[size])
    {
        return static_cast<const wchar_t*>(block(text, sizeof text));
    }
    char* writable(const std::string& text) { return static_cast<char*>(block(text.c_str(), text.size() + 1)); }
    char* home() { return writable(library_.path()); }
    char* file(const char* below = "") { return writable(files_.path().string() + below); } // "\\file", "\\sub\\file"
    PSID sid(const wchar_t* text);
    HANDLE object(const wchar_t* name); // open for what the function does with it

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
        return static_cast<T*>(output(sizeof(T), [](void* bytes) -> std::string {
            const std::string words = describe(bytes, sizeof(T));
            return std::is_pointer_v<T> && words != untouched && words != none ? "an address" : words;
        }));
    }

    template <class T>
    T* count()
    {
        T* const place = value<T>();
        count_ = reinterpret_cast<const int*>(place);
        return place;
    }

    // ---- what the run has left
    // "HOME" and "FILES" for the directories of this machine, in a call "****" for the password.
    std::string withoutPlaces(std::string text, bool isCall) const;
    std::vector<std::string> takeOutputs(); // in words; what the library handed out is released
    const whatif::World& world() const { return *world_; }

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
    void* block(const void* bytes, size_t size) { return blocks_.emplace_back(bytes, size).data(); }
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
    std::function<void(Stage&)> prepare_;
    const whatif::Node usual_;
    std::vector<whatif::Node> nodes_; // as they were set
    guarded::Buffer rec_{sizeof(sswseErrRec)};
    std::deque<support::EnvironmentVariable> environment_;
    std::deque<guarded::Buffer> blocks_;
    std::deque<HANDLE> objects_;
    std::deque<Output> outputs_;
    const int* count_ = nullptr; // of strings
};

} // namespace faults
