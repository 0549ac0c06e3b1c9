#include "tests/hostile/subject.h"

#include "cli/cells.h"
#include "cli/script.h"
#include "tests/support/guarded_heap.h"
#include "tests/support/statuses.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>

namespace hostile {

namespace {

constexpr char usualKeyFile[] = "SOFTWARE\\KESTEL\\KEY_keswsec_test\r\n";
constexpr wchar_t homeKey[] = L"SOFTWARE\\Kestel\\KEY_keswsec_test";

UINT machineCodePage;
std::wstring listedTree; // no test walks the whole machine
std::string running;     // the call under way

LONG WINAPI nameTheCall(EXCEPTION_POINTERS* exception)
{
    fprintf(stderr, "exception %lx in %s\n", exception->ExceptionRecord->ExceptionCode, running.c_str());
    _exit(EXIT_FAILURE);
}

UINT codePageOf(UINT asked)
{
    return asked == CP_ACP && machineCodePage ? machineCodePage : asked;
}

UINT WINAPI ansiCodePage()
{
    return machineCodePage ? machineCodePage : GetACP();
}

BOOL WINAPI isLeadByte(BYTE byte)
{
    return IsDBCSLeadByteEx(codePageOf(CP_ACP), byte);
}

int WINAPI toWide(UINT codePage, DWORD flags, LPCSTR text, int size, LPWSTR wide, int room)
{
    return MultiByteToWideChar(codePageOf(codePage), flags, text, size, wide, room);
}

int WINAPI toMultibyte(UINT codePage, DWORD flags, LPCWSTR wide, int size, LPSTR text, int room, LPCSTR other,
                       BOOL* used)
{
    return WideCharToMultiByte(codePageOf(codePage), flags, wide, size, text, room, other, used);
}

HANDLE WINAPI findFirstFile(LPCWSTR pattern, WIN32_FIND_DATAW* found)
{
    if (std::wstring(pattern).compare(0, listedTree.size(), listedTree) == 0)
        return FindFirstFileW(pattern, found);
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
}

// What the ordinary calls are given, by the names of the parameters; for some functions another value.
constexpr char ordinaryValues[] =
    R"(messageId=0xC002000A username=svc sswseCreateKestelSVCUser.username=other uname=svc usernames=svc cUser=NODE\svc)"
    R"( accname="LOCAL SERVICE" sswseGetBuiltinAccName.accname=LOCAL_SERVICE passwd=Secret-1 password=Secret-1)"
    R"( groupname=KES_h1_SVCACCTS homename=h1 khtype=1 khometype=1 khomekey=KEY_keswsec_test)"
    R"( SVCAppKey=KestelSource EventMsgFile=C:\h1\bin\messages.dll servicename=KestelService svcname=KestelService)"
    R"( sswseCreateService.servicename=KestelServiceNew binpath="C:\h1\bin\kestel.exe -x" dependencies=RpcSs)"
    R"( OSSid=S-1-5-19 pszTrustee=S-1-5-19 sid=S-1-5-19 dwAccessRights=1 mask=1)"
    R"( acl=D:(A;;0x1;;;LS)(D;OICI;0x6;;;WD) list=D:(A;;0x1;;;LS)(D;OICI;0x6;;;WD))"
    R"( path=file sswseGetPredefKey.path=MACHINE\Software wFilename=file wtype=0 ptype=6)";

std::string ordinaryValue(const std::string& function, const std::string& parameter)
{
    static const auto values = [] {
        std::map<std::string, std::string> all;
        for (const std::string& word : cli::splitWords(ordinaryValues))
            all[word.substr(0, word.find('='))] = word.substr(word.find('=') + 1);
        return all;
    }();
    const auto special = values.find(function + "." + parameter);
    const auto found = special == values.end() ? values.find(parameter) : special;
    return found == values.end() ? "" : found->second;
}

} // namespace

Functions callableFunctions()
{
    Functions all;
    for (const cli::Function& function : cli::functions())
        if (function.result != cli::Result::switching && function.result != cli::Result::memory)
            all.push_back(&function);
    return all;
}

bool isText(const cli::Parameter& parameter)
{
    constexpr cli::Kind texts[] = {cli::Kind::text,  cli::Kind::secret,  cli::Kind::writableText, cli::Kind::wideText,
                                   cli::Kind::names, cli::Kind::strings, cli::Kind::inserts};
    return std::find(std::begin(texts), std::end(texts), parameter.kind) != std::end(texts);
}

Subject::Subject()
    : home(usualKeyFile, "checked"), local(world.local()), remote(world.add(L"DB2")),
      redirection_(home.module(), world), guard_(home.module(), world), stands_(home.module())
{
    std::filesystem::current_path(files_.path()); // relative paths lead to where the test is at home
    std::ofstream("file") << "content";
    listedTree = files_.path().wstring();
    stands_.redirect("FindFirstFileW", reinterpret_cast<void*>(&findFirstFile));
    stands_.redirect("GetACP", reinterpret_cast<void*>(&ansiCodePage));
    stands_.redirect("IsDBCSLeadByte", reinterpret_cast<void*>(&isLeadByte));
    stands_.redirect("MultiByteToWideChar", reinterpret_cast<void*>(&toWide));
    stands_.redirect("WideCharToMultiByte", reinterpret_cast<void*>(&toMultibyte));
    whatif::Account user;
    user.name = L"svc";
    user.sid = L"S-1-5-21-9-9-9-1003";
    user.password = L"Secret-1";
    whatif::Service service;
    service.name = service.displayName = L"KestelService";
    service.account = L".\\svc";
    for (whatif::Node* const node : {&local, &remote}) {
        node->accounts.push_back(user);
        node->services.push_back(service);
        node->groups.push_back({L"KES_h1_SVCACCTS", L"", L"S-1-5-21-7-7-7-2001", {user.sid}});
        node->groups.push_back({L"KES_h1_DBA", L"", L"S-1-5-21-7-7-7-2002", {}});
        node->groups.push_back({L"KES_DBA", L"", L"S-1-5-21-7-7-7-2003", {}});
    }
    SetUnhandledExceptionFilter(&nameTheCall);
    restore();
}

Subject::~Subject()
{
    SetUnhandledExceptionFilter(nullptr);
    std::filesystem::current_path(support::programDirectory());
    machineCodePage = 0;
}

void Subject::restore()
{
    home.writeKeyFile(usualKeyFile);
    setValue(L"KESTEL_HOME_NAME", whatif::registryText(L"h1"));
    setValue(L"KESTEL_HOME_TYPE", whatif::registryText(L"1"));
    setValue(L"KESTEL_SVCUSER", whatif::registryText(L"svc"));
    setValue(L"KESTEL_SVCUSER_TYPE", whatif::registryText(L" "));
    setValue(L"KESTEL_SVCUSER_PWDREQ", whatif::registryText(L"1"));
}

void Subject::setValue(const wchar_t* name, const whatif::RegistryValue& value)
{
    for (const wchar_t* const node : {L"", L"DB2"})
        world.registry().setValue(*world.find(node), homeKey, name, value);
}

void Subject::setCodePage(UINT codePage)
{
    machineCodePage = codePage;
}

void Subject::traceTo(support::TraceLog* log)
{
    tracing_ = log;
    if (log)
        EXPORT_OF(home, sswseTraceOn)(nullptr, &support::TraceLog::receive, log, 0);
    else
        EXPORT_OF(home, sswseTraceOff)(nullptr);
}

Call Subject::ordinary(const cli::Function& function) const
{
    std::vector<std::string> words = {function.name};
    for (const cli::Parameter& parameter : function.parameters) {
        const std::string name = parameter.name;
        const bool isHome = name == "khomepath" || name == "ckhpath";
        const std::string value = isHome ? home.path() : ordinaryValue(function.name, name);
        if (cli::takesArgument(parameter) && !value.empty())
            words.push_back(name + "=" + value);
    }
    return {cli::parseCall(words), {}};
}

void Subject::callLibrary(const Call& call, Answer& answer)
{
    const cli::Host host = {home.module(), &whatif::closeServiceHandle, nullptr};
    const guarded::Buffer record(sizeof(sswseErrRec), '\0');
    auto* const rec = reinterpret_cast<sswseErrRec*>(record.data());
    cli::Slots slots = {reinterpret_cast<std::uintptr_t>(rec)};
    std::vector<cli::Cell> cells = cli::prepareCells(host, call, slots);
    const size_t first = cli::takesRecord(*call.function) ? 1 : 0;
    std::vector<std::unique_ptr<guarded::Buffer>> guardedBytes(cells.size());
    for (size_t i = 0; i < cells.size(); ++i) {
        const cli::Kind kind = call.function->parameters[i].kind;
        std::vector<char>& bytes = cells[i].bytes;
        std::uintptr_t& slot = slots[first + i];
        if (call.nulls.count(i)) {
            slot = 0;
        } else if (!bytes.empty() && slot == reinterpret_cast<std::uintptr_t>(bytes.data())) {
            const bool isBuffer = kind == cli::Kind::textOut || kind == cli::Kind::wideOut; // with a byte more
            guardedBytes[i] = std::make_unique<guarded::Buffer>(bytes.data(), bytes.size() - isBuffer);
            slot = reinterpret_cast<std::uintptr_t>(guardedBytes[i]->data());
        }
    }
    answer.status = cli::callWithSlots(host, call.function->name, slots);
    for (size_t i = 0; i < cells.size(); ++i)
        if (guardedBytes[i])
            memcpy(cells[i].bytes.data(), guardedBytes[i]->data(), guardedBytes[i]->size());
    EXPECT_TRUE(memchr(rec->message, '\0', sizeof rec->message) && memchr(rec->oserror, '\0', sizeof rec->oserror));
    answer.message.assign(rec->message, strnlen(rec->message, sizeof rec->message));
    const bool good = cli::verdictOf(*call.function, answer.status, !answer.message.empty()).good;
    answer.outputs = cli::readOutputs(call, cells, good);
    cli::releaseCells(host, call, cells);
    answer.leaked = guarded::leakedSecrets(); // before the caller's own blocks are released
}

Answer Subject::run(const Call& call, const std::string& what, const intercept::Fault& fault)
{
    running = std::string(call.function->name) + ": " + what;
    SCOPED_TRACE(running);
    world.local() = local;
    *world.find(L"DB2") = remote;
    world.clearPlan();
    const size_t blocks = guarded::liveBlocks();
    Answer answer;
    guard_.start(fault);
    callLibrary(call, answer);
    trail = guard_.finish();
    EXPECT_TRUE(support::mayAnswer(*call.function, answer.status)) << answer.status << " " << answer.message;
    if (answer.status == SSWSE_INVALID_ARGUMENT && cli::takesRecord(*call.function)) {
        EXPECT_NE(answer.message, "");
        EXPECT_TRUE(world.plan().empty());
    }
    EXPECT_TRUE(tracing_ || guarded::liveBlocks() == blocks); // argument lines are kept
    guarded::sweep();
    guarded::leakedSecrets();
    return answer;
}

Functions Subject::functionsThatCall(const std::set<std::string>& imports)
{
    Functions found;
    for (const cli::Function* const function : callableFunctions()) {
        run(ordinary(*function), "ordinary");
        if (std::any_of(trail.calls.begin(), trail.calls.end(),
                        [&](const intercept::Trail::Call& each) { return imports.count(each.row->name); }))
            found.push_back(function);
    }
    return found;
}

void Subject::runAll(const Functions& functions, const std::string& what)
{
    for (const cli::Function* const function : functions)
        run(ordinary(*function), what);
}

} // namespace hostile
