// The nodes, what stands in for the platform above them, and the library's home.
#include "tests/support/subject.h"

#include "tests/support/guarded_heap.h"
#include "tests/support/this_machine.h"

#include <fstream>

namespace support {

namespace {

constexpr char keyFile[] = "SOFTWARE\\KESTEL\\KEY_h1\r\n";
constexpr wchar_t homeKey[] = L"SOFTWARE\\Kestel\\KEY_h1";

std::wstring listedTree; // no test walks the whole machine
decltype(&FindFirstFileW) findOnNode;
decltype(&GetVolumeInformationW) volumeOfNode;

UINT codePageOf(UINT asked)
{
    return asked == CP_ACP && Subject::codePage ? Subject::codePage : asked;
}

HANDLE WINAPI findFirstFile(LPCWSTR pattern, WIN32_FIND_DATAW* found)
{
    if (std::wstring(pattern).compare(0, listedTree.size(), listedTree) == 0)
        return findOnNode(pattern, found);
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
}

HANDLE WINAPI findFirstFileAnsi(LPCSTR path, WIN32_FIND_DATAA* entry)
{
    const HANDLE search = FindFirstFileA(path, entry);
    if (Subject::isOnVlfs) {
        entry->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
        entry->dwReserved0 = IO_REPARSE_TAG_MOUNT_POINT;
    }
    return search;
}

BOOL WINAPI getVolumeInformation(LPCWSTR root, LPWSTR name, DWORD nameSize, LPDWORD serial, LPDWORD longest,
                                 LPDWORD flags, LPWSTR fileSystem, DWORD size)
{
    const BOOL done = volumeOfNode(root, name, nameSize, serial, longest, flags, fileSystem, size);
    if (done && Subject::isOnVlfs)
        wcscpy(fileSystem, L"VLFS");
    return done;
}

} // namespace

Subject::Subject(const Prepare& prepare) : prepare_(prepare)
{
    std::filesystem::create_directory("sub");
    std::ofstream("file") << "content";
    std::ofstream("sub/file");
    listedTree = files();
    furnish();
}

Subject::~Subject()
{
    underWay.clear();
    Subject::codePage = 0;
    guarded::watchFor({});
    reload();
    unredirect();
}

void Subject::set(const Prepare& prepare)
{
    prepare_ = prepare;
    reload();
    std::filesystem::remove(home.directory() / "KESWSECMSGUS.DLL");
    furnish();
}

void Subject::furnish()
{
    const auto described = [](const char* name, const char* sid) {
        const std::string usual = contentsOf(projectFile("tests/faults/node.ini"));
        std::ofstream("node.ini") << replaced(replaced(usual, "NODE", name), "S-1-5-21-1-2-3", sid);
        whatif::World world(whatif::Base::described);
        world.load("node.ini");
        std::filesystem::remove("node.ini");
        return world.local();
    };
    // Who is looked up on the wrong machine shows.
    static const whatif::Node usual = described("NODE", "S-1-5-21-1-2-3");
    static const whatif::Node other = described("DB2", "S-1-5-21-4-5-6");
    Subject::isOnVlfs = false;
    environment_.clear();
    unredirect();
    world_.emplace(whatif::Base::described);
    local = usual;
    world_->add(L"DB2");
    remote = other;
    remote.drives[L"D"] = std::filesystem::path(home.path()).wstring();
    remote.drives[L"E"] = files();
    restoreHome();
    if (prepare_)
        prepare_(*this);
    world_->local() = local;
    *world_->find(L"DB2") = remote;
    redirect();
}

void Subject::redirect()
{
    redirection_.emplace(home.module(), *world_);
    above_.emplace(home.module());
    const auto stand = [this](const char* name, auto* function) {
        return reinterpret_cast<decltype(function)>(above_->redirect(name, reinterpret_cast<void*>(function)));
    };
    findOnNode = stand("FindFirstFileW", &findFirstFile);
    volumeOfNode = stand("GetVolumeInformationW", &getVolumeInformation);
    stand("FindFirstFileA", &findFirstFileAnsi);
    stand(
        "GetVolumePathNameA", +[](LPCSTR path, LPSTR volume, DWORD size) -> BOOL { // if mounted there, the path
            return Subject::isOnVlfs ? snprintf(volume, size, "%s\\", path) > 0
                                     : GetVolumePathNameA(path, volume, size);
        });
    // Not that of the messages that are always there.
    stand(
        "GetUserDefaultLangID", +[]() -> LANGID { return MAKELANGID(LANG_JAPANESE, SUBLANG_DEFAULT); });
    stand(
        "GetACP", +[] { return Subject::codePage ? Subject::codePage : GetACP(); });
    stand(
        "IsDBCSLeadByte", +[](BYTE byte) { return IsDBCSLeadByteEx(codePageOf(CP_ACP), byte); });
    stand(
        "MultiByteToWideChar", +[](UINT page, DWORD flags, LPCSTR text, int size, LPWSTR wide, int room) {
            return MultiByteToWideChar(codePageOf(page), flags, text, size, wide, room);
        });
    stand(
        "WideCharToMultiByte",
        +[](UINT page, DWORD flags, LPCWSTR wide, int size, LPSTR text, int room, LPCSTR other, BOOL* used) {
            return WideCharToMultiByte(codePageOf(page), flags, wide, size, text, room, other, used);
        });
    guard_.emplace(home.module(), *world_);
}

void Subject::unredirect()
{
    guard_.reset();
    above_.reset();
    redirection_.reset();
}

void Subject::reload()
{
    unredirect();
    home.reload();
    redirect();
}

void Subject::restore(bool isCold)
{
    const std::vector<whatif::Change>& plan = world_->plan();
    if (std::any_of(plan.begin(), plan.end(),
                    [](const whatif::Change& change) { return change.object.compare(0, 8, L"registry") == 0; }))
        furnish();
    if (isCold)
        return reload();
    sswseErrRec ignored; // once is enough, and costs nothing later
    EXPORT_OF(home, sswseFillErrMsg)(&ignored, SSWSE_ERROR_MESSAGE(2), 0, "", "");
    EXPORT_OF(home, sswseIsOSWinDC)(&ignored);
}

void Subject::restoreHome()
{
    home.writeKeyFile(keyFile);
    for (const auto& [name, text] : usualValues)
        setText(name, text);
}

void Subject::setValue(const wchar_t* name, const whatif::RegistryValue& value)
{
    for (const whatif::Node* const node : {&local, &remote})
        world_->registry().setValue(*node, homeKey, name, value);
}

void Subject::setTracing(bool on)
{
    EXPORT_OF(home, sswseTraceOff)(nullptr);
    log.take();
    if (on)
        EXPORT_OF(home, sswseTraceOn)(nullptr, &TraceLog::receive, &log, 0);
}

void Subject::makeSource()
{
    for (const whatif::Node* const node : {&local, &remote})
        world().registry().createKey(*node, L"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\Kestel");
}

} // namespace support
