// What the library costs when it secures a tree: its time for an object beside that of a bare loop of the same platform
// calls, the best of some rounds, and the memory of both. On a made-up node, where the difference is the library's own;
// and on a what-if node over the same made-up tree, where it is seen beside what the node does. With arguments only
// these parts of it: accounts, journal, made-up, what-if.
#include "bench/bare_loop.h"
#include "bench/journal.h"
#include "bench/made_up_tree.h"
#include "keswsec.h"
#include "whatif/security/descriptors.h"
#include "whatif/whatif.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>
#include <stdexcept>

namespace {

using namespace bench;

constexpr wchar_t newSecurity[] = L"D:(A;OICI;GA;;;BA)(A;OICI;GA;;;SY)(A;OICI;GA;;;WD)"; // of permission type 1
constexpr size_t objectsPerDirectory = filesPerDirectory + 1;

struct Result
{
    double time = 0;   // of the best round
    double memory = 0; // of the process until the end of the first round

    void add(double roundTime)
    {
        time = memory > 0 ? std::min(time, roundTime) : roundTime;
        memory = memory > 0 ? memory : peakMegabytes();
    }
};

void secureBare(const Platform& platform)
{
    whatif::Security security = whatif::securityOf(std::wstring(newSecurity));
    secureTree(platform, treeRoot, reinterpret_cast<PACL>(security.dacl.data()));
}

class Bench
{
public:
    Bench() : own_(GetModuleHandleW(nullptr)), library_(LoadLibraryW(L"keswsec19.dll"))
    {
        if (!library_)
            throw std::runtime_error("keswsec19.dll is not beside this program");
        imports_.emplace(library_);
        for (const whatif::Replacement& row : treeFunctions()) {
            own_.redirect(row.name, row.function); // for the node, which is linked into this program
            imports_->redirect(row.name, row.function);
        }
    }

    // The made-up node is the machine then.
    void runJournals()
    {
        whatif::Imports own(GetModuleHandleW(nullptr));
        for (const whatif::Replacement& row : securityFunctions())
            own.redirect(row.name, row.function);
        useMadeUpSecurity();
        for (const size_t directories : {10, 100, 1000})
            runJournal(directories);
    }

    // The smallest tree first: how time and memory have grown from it to the largest is the last line.
    void runTrees(bool onWhatIfNode, std::initializer_list<size_t> sizes)
    {
        Result first;
        Result last;
        for (const size_t directories : sizes) {
            last = run(onWhatIfNode, directories, onWhatIfNode ? 2 : std::max(5, static_cast<int>(4000 / directories)));
            if (first.time == 0)
                first = last;
        }
        printf("%-10s%34s%10.2f%24s%+9.1f\n", "", "growth: times", last.time / first.time, "",
               last.memory - first.memory);
        fflush(stdout);
    }

    // One object whose DACL names that many accounts, by setPermissions.
    void runAccounts()
    {
        useMadeUpSecurity();
        growTree(0);
        for (const size_t accounts : {409, 819, 1638, 3276}) {
            giveAccounts(accounts);
            Result result;
            for (int round = 0; round < 20; ++round) {
                growTree(0);
                const double start = microseconds();
                setPermissionsOfTree();
                result.add(microseconds() - start);
            }
            printf("%14zu%14.1f%14.3f\n", accounts, result.time, result.time / static_cast<double>(accounts));
        }
        giveAccounts(0);
        fflush(stdout);
    }

private:
    Result run(bool onWhatIfNode, size_t directories, int rounds) // the library's, for an object
    {
        Result bare;
        Result library;
        const auto objects = static_cast<double>(directories * objectsPerDirectory + 1);
        for (int round = 0; round < rounds; ++round) {
            bare.add(timeOf(onWhatIfNode, directories, secureBare) / objects);
            library.add(timeOf(onWhatIfNode, directories, [this](const Platform&) { secure(); }) / objects);
        }
        printf("%-10s%10.0f%14.2f%10.2f%14.1f%10.1f\n", onWhatIfNode ? "what-if" : "made up", objects, bare.time,
               library.time, bare.memory, library.memory);
        fflush(stdout);
        return library;
    }

    void useMadeUpSecurity()
    {
        for (const whatif::Replacement& row : securityFunctions())
            imports_->redirect(row.name, row.function);
    }

    template <class Work>
    double timeOf(bool onWhatIfNode, size_t directories, Work work)
    {
        growTree(directories); // as it was
        std::vector<whatif::Replacement> functions = treeFunctions();
        std::optional<whatif::World> world;
        std::optional<whatif::Redirection> redirection;
        if (onWhatIfNode) {
            world.emplace(whatif::Base::described);
            world->local().security[std::wstring(L"file ") + treeRoot] = treeSecurity;
            redirection.emplace(library_, *world);
            for (const auto& table : {whatif::fileReplacements(), whatif::securityReplacements()})
                functions.insert(functions.begin(), table.begin(), table.end());
        } else {
            useMadeUpSecurity();
            for (const whatif::Replacement& row : securityFunctions())
                functions.push_back(row);
        }
        const Platform platform = platformOf(functions);
        takeWriteCount();
        const double start = microseconds();
        work(platform);
        const double time = microseconds() - start;
        if ((world ? world->plan().size() : takeWriteCount()) != directories * objectsPerDirectory + 1)
            throw std::runtime_error("not every object has been written");
        return time;
    }

    static Platform platformOf(const std::vector<whatif::Replacement>& functions)
    {
        Platform platform = {};
        const auto take = [&](auto& member, const char* name) {
            const auto row = std::find_if(functions.begin(), functions.end(),
                                          [name](const auto& one) { return strcmp(one.name, name) == 0; });
            member = reinterpret_cast<std::decay_t<decltype(member)>>(row->function);
        };
        take(platform.getFileAttributes, "GetFileAttributesW");
        take(platform.findFirstFile, "FindFirstFileW");
        take(platform.findNextFile, "FindNextFileW");
        take(platform.findClose, "FindClose");
        take(platform.getFileSecurity, "GetFileSecurityW");
        take(platform.setFileSecurity, "SetFileSecurityW");
        return platform;
    }

    template <class Function>
    Function* exported(const char* name) const
    {
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(library_, name)));
    }

    void setPermissionsOfTree() const
    {
        const auto set = exported<decltype(setPermissions)>("setPermissions");
        char** failed = nullptr;
        DWORD count = 0;
        if (set("C:\\home", 0, &failed, &count) != 0)
            throw std::runtime_error("setPermissions has failed");
    }

    void secure() const
    {
        const auto add = exported<decltype(sswseAddACLOnObjectForUser)>("sswseAddACLOnObjectForUser");
        char path[] = "C:\\home";
        char everyone[] = "Everyone";
        char* users[] = {everyone};
        sswseErrRec rec = {};
        if (add(&rec, 1, path, users, 1, 1, 1) != SSWSE_SUCCESS || rec.message[0])
            throw std::runtime_error(rec.message);
    }

    whatif::Imports own_;
    HMODULE library_;
    std::optional<whatif::Imports> imports_;
};

} // namespace

int main(int count, char** words)
{
    const auto isWanted = [&](const char* part) {
        return count < 2 || std::find_if(words + 1, words + count,
                                         [part](const char* word) { return strcmp(word, part) == 0; }) != words + count;
    };
    try {
        Bench bench;
        if (isWanted("accounts")) {
            puts("      accounts  microseconds   an account");
            bench.runAccounts();
        }
        if (isWanted("journal")) {
            puts("                    microseconds an object                              peak memory\n"
                 "       objects        call   journaled      verify        undo     so far, MB");
            bench.runJournals();
        }
        puts("                      microseconds an object    peak memory so far, MB\n"
             "node         objects     bare loop   library     bare loop   library");
        if (isWanted("made-up"))
            bench.runTrees(false, {100, 1000, 10000});
        if (isWanted("what-if"))
            bench.runTrees(true, {100, 1000});
        return 0;
    } catch (const std::exception& error) {
        fprintf(stderr, "keswsec_bench: %s\n", error.what());
        return 1;
    }
}
