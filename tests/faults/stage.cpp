#include "tests/faults/stage.h"
#include "tests/support/scratch_directory.h"

#include "whatif/model/registry.h"
#include "whatif/model/sids.h"
#include "whatif/security/descriptors.h"

#include <algorithm>
#include <cstring>
#include <fstream>

namespace faults {

namespace {

using intercept::Interception;
using intercept::Kind;

constexpr wchar_t homeKey[] = L"SOFTWARE\\Kestel\\KEY_h1";

// ---- the cluster file system -------------------------------------------------------------------------------------

bool onVlfs;
decltype(&GetVolumeInformationW) volumeInformation;

BOOL WINAPI getVolumeInformation(LPCWSTR root, LPWSTR name, DWORD nameSize, LPDWORD serial, LPDWORD longest,
                                 LPDWORD flags, LPWSTR fileSystem, DWORD size)
{
    const BOOL done = volumeInformation(root, name, nameSize, serial, longest, flags, fileSystem, size);
    if (done && onVlfs)
        wcscpy(fileSystem, L"VLFS");
    return done;
}

HANDLE WINAPI findFirstFile(LPCSTR path, WIN32_FIND_DATAA* entry)
{
    const HANDLE search = FindFirstFileA(path, entry);
    if (onVlfs) {
        entry->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
        entry->dwReserved0 = IO_REPARSE_TAG_MOUNT_POINT;
    }
    return search;
}

// ---- the message module, which the library keeps as long as it lives itself ----------------------------------------

std::vector<HMODULE> loaded;

HMODULE WINAPI loadLibrary(LPCSTR path, HANDLE file, DWORD flags)
{
    return loaded.emplace_back(LoadLibraryExA(path, file, flags));
}

whatif::Node usualNode()
{
    whatif::World world(whatif::Base::described);
    world.load(support::projectFile("tests/faults/node.ini"));
    return world.local();
}

std::string sidWords(PSID sid)
{
    const std::wstring text = whatif::sidText(sid);
    return text.empty() ? "no SID" : std::string(text.begin(), text.end());
}

} // namespace

Stage::Stage() : usual_(usualNode())
{
    std::filesystem::create_directory(files_.path() / "sub");
    std::ofstream(files_.path() / "file");
    std::ofstream(files_.path() / "sub" / "file");
}

void Stage::set(const std::function<void(Stage&)>& prepare)
{
    prepare_ = prepare;
    reloadLibrary();
    library_.writeKeyFile("SOFTWARE\\KESTEL\\KEY_h1\r\n");
    std::filesystem::remove(library_.directory() / "KESWSECMSGUS.DLL");
    furnish();
}

void Stage::furnish()
{
    onVlfs = false;
    environment_.clear();
    unredirect();
    world_.emplace(whatif::Base::described);
    local() = usual_;
    whatif::Node& other = remote();
    other = usual_;
    other.name = L"DB2";
    other.drives[L"D"] = std::filesystem::path(library_.path()).wstring();
    other.drives[L"E"] = files_.path().wstring();
    setHome(L"KESTEL_HOME_TYPE", L"1");
    setHome(L"KESTEL_HOME_NAME", L"h1");
    setHome(L"KESTEL_SVCUSER", L"svc");
    setHome(L"KESTEL_SVCUSER_TYPE", L" ");
    setHome(L"KESTEL_SVCUSER_PWDREQ", L"1");
    if (prepare_)
        prepare_(*this);
    nodes_ = {local(), remote()};
    redirect();
}

void Stage::reloadLibrary()
{
    unredirect();
    library_.reload();
    for (const HMODULE module : loaded)
        FreeLibrary(module);
    loaded.clear();
}

void Stage::redirect()
{
    redirection_.emplace(library_.module(), *world_);
    beneath_.emplace(library_.module());
    volumeInformation = reinterpret_cast<decltype(volumeInformation)>(
        beneath_->redirect("GetVolumeInformationW", reinterpret_cast<void*>(&getVolumeInformation)));
    beneath_->redirect("FindFirstFileA", reinterpret_cast<void*>(&findFirstFile));
    beneath_->redirect("LoadLibraryExA", reinterpret_cast<void*>(&loadLibrary));
    interception_.emplace(library_.module(), *world_);
}

void Stage::unredirect()
{
    interception_.reset();
    beneath_.reset();
    redirection_.reset();
}

void Stage::reset(bool isCold)
{
    const std::vector<whatif::Change>& plan = world_->plan();
    const bool isRegistryChanged = std::any_of(plan.begin(), plan.end(), [](const whatif::Change& change) {
        return change.object.compare(0, 8, L"registry") == 0;
    });
    if (isRegistryChanged) {
        furnish();
    } else {
        local() = nodes_[0];
        remote() = nodes_[1];
        world_->clearPlan();
    }
    if (isCold) {
        reloadLibrary();
        redirect();
    } else { // once is enough, and costs nothing later
        EXPORT_OF(library_, sswseFillErrMsg)(rec(), SSWSE_ERROR_MESSAGE(2), 0, "", "");
        EXPORT_OF(library_, sswseIsOSWinDC)(rec());
    }
    outputs_.clear();
    blocks_.clear();
    for (const HANDLE object : objects_)
        whatif::closeObject(object);
    objects_.clear();
    guarded::sweep();
    memset(rec_.data(), 'x', rec_.size());
    strcpy(rec()->message, recordBefore);
    strcpy(rec()->oserror, recordBefore);
}

void Stage::setHome(const wchar_t* value, const wchar_t* text)
{
    for (const whatif::Node* const node : {&local(), &remote()})
        world_->registry().setValue(*node, homeKey, value, whatif::registryText(text));
}

void Stage::makeDomainController()
{
    for (whatif::Node* const node : {&local(), &remote()})
        node->productType = VER_NT_DOMAIN_CONTROLLER;
}

void Stage::putMessageModule()
{
    std::filesystem::copy_file(support::programDirectory() / "message-modules" / "KESWSECMSGUS.DLL",
                               library_.directory() / "KESWSECMSGUS.DLL",
                               std::filesystem::copy_options::overwrite_existing);
}

void Stage::secure(const wchar_t* sddl)
{
    local().security[L"file " + files_.path().wstring()] = remote().security[L"file E:"] = sddl;
    for (whatif::Node* const node : {&local(), &remote()}) {
        node->security[L"registry HKLM\\" + std::wstring(homeKey)] = sddl;
        registry().createKey(*node, std::wstring(homeKey) + L"\\sub");
    }
}

void Stage::putOnVlfs()
{
    onVlfs = true;
}

PSID Stage::sid(const wchar_t* text)
{
    const std::vector<BYTE> bytes = whatif::sidBytes(text);
    return block(bytes.data(), bytes.size());
}

HANDLE Stage::object(const wchar_t* name)
{
    const bool isToken = wcsncmp(name, L"token", 5) == 0;
    const HANDLE object =
        whatif::openObject(name, isToken ? TOKEN_QUERY | TOKEN_ADJUST_DEFAULT : READ_CONTROL | WRITE_DAC);
    Interception::lend(object, std::string(name, name + wcslen(name)));
    return objects_.emplace_back(object);
}

void* Stage::output(size_t size, std::function<std::string(void*)> words, std::function<void(void*)> release)
{
    outputs_.emplace_back(size, std::move(words), std::move(release));
    return outputs_.back().buffer.data();
}

std::string Stage::describe(const void* bytes, size_t size)
{
    const auto* const first = static_cast<const unsigned char*>(bytes);
    if (std::all_of(first, first + size, [](unsigned char byte) { return byte == 0xCC; }))
        return untouched;
    std::string words;
    for (size_t i = size; i > 0; --i)
        if (first[i - 1] || !words.empty())
            words += std::to_string(first[i - 1]) + ' ';
    return words.empty() ? none : words;
}

void* Stage::pointer(const std::function<std::string(void*)>& words, std::function<void(void*)> release)
{
    const auto wordsOfPlace = [words](void* place) {
        const std::string bytes = describe(place, sizeof(void*));
        return bytes == untouched || bytes == none ? bytes : words(*static_cast<void**>(place));
    };
    return output(sizeof(void*), wordsOfPlace, std::move(release));
}

PSID* Stage::sidOut()
{
    return static_cast<PSID*>(pointer(sidWords, [this](void* sid) { EXPORT_OF(library_, sswseFreeMemory)(sid); }));
}

SC_HANDLE* Stage::service()
{
    return static_cast<SC_HANDLE*>(pointer([](void*) { return "a handle"; },
                                           [](void* handle) {
                                               Interception::take(Kind::serviceHandle, handle);
                                               whatif::closeServiceHandle(static_cast<SC_HANDLE>(handle));
                                           }));
}

char*** Stage::strings()
{
    const auto words = [this](void* array) {
        std::string all;
        for (int i = 0; i < *count_; ++i)
            all += std::string(static_cast<char**>(array)[i]) + '|';
        return all;
    };
    return static_cast<char***>(pointer(words, [this](void* array) {
        EXPORT_OF(library_, sswseFreeArrayofStrings)(static_cast<char**>(array), static_cast<size_t>(*count_));
    }));
}

PACL* Stage::acl()
{
    const whatif::Security security = whatif::securityOf(std::wstring(L"D:(A;;FR;;;BU)"));
    void* const given = LocalAlloc(LMEM_FIXED, security.dacl.size());
    memcpy(given, security.dacl.data(), security.dacl.size());
    Interception::give(Kind::localBlock, given);
    const auto words = [](void* acl) { return std::to_string(static_cast<ACL*>(acl)->AceCount) + " entries"; };
    auto* const place = static_cast<PACL*>(pointer(words, [](void* acl) {
        Interception::take(Kind::localBlock, acl);
        LocalFree(acl);
    }));
    *place = static_cast<PACL>(given);
    outputs_.back().before = words(given);
    return place;
}

std::string Stage::withoutPlaces(std::string text, bool isCall) const
{
    for (const auto& [place, name] : {std::pair(library_.path(), "HOME"),
                                      {files_.path().string(), "FILES"},
                                      {isCall ? '"' + std::string(password) + '"' : "\n", "****"}})
        for (size_t at = text.find(place); at != std::string::npos; at = text.find(place, at))
            text.replace(at, place.size(), name);
    return text;
}

std::vector<std::string> Stage::takeOutputs()
{
    std::vector<std::string> words;
    for (const Output& each : outputs_) {
        void* const place = each.buffer.data();
        words.push_back(each.describe(place));
        if (each.release && words.back() != untouched && words.back() != none)
            each.release(*static_cast<void**>(place));
        if (words.back() == each.before)
            words.back() = untouched;
    }
    return words;
}

} // namespace faults
