#include "tests/hostile/subject.h"

#include "cli/cells.h"
#include "cli/script.h"
#include "tests/support/guarded_heap.h"
#include "tests/support/last_words.h"
#include "tests/support/node_test.h"
#include "tests/support/scratch_directory.h"
#include "tests/support/statuses.h"

#include <gmock/gmock.h>

#include <fstream>
#include <memory>

using testing::IsEmpty;

namespace hostile {

namespace {

using intercept::Interception;

constexpr char usualKeyFile[] = "SOFTWARE\\KESTEL\\KEY_keswsec_test\r\n";
constexpr wchar_t homeKey[] = L"SOFTWARE\\Kestel\\KEY_keswsec_test";

UINT machineCodePage;
std::wstring listedTree; // no test walks the whole machine

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
    R"( accname="LOCAL SERVICE" sswseGetBuiltinAccName.accname=LOCAL_SERVICE passwd=Never-to-be-seen-4711 password=Never-to-be-seen-4711)"
    R"( groupname=KES_h1_DBA sswseGetKHomeNameFromVAGroupName.groupname=KES_h1_SVCACCTS homename=h1 khtype=1 khometype=1 khomekey=KEY_keswsec_test)"
    R"( SVCAppKey=KestelSource EventMsgFile=C:\h1\bin\messages.dll servicename=KesOld svcname=KesOld)"
    R"( sswseCreateService.servicename=KesNew binpath="C:\h1\bin\kestel.exe -x" dependencies=RpcSs)"
    R"( OSSid=S-1-5-19 pszTrustee=S-1-5-19 sid=S-1-5-19 dwAccessRights=1 mask=1)"
    R"( object="event Ready" token="process 17" accessmask=2)"
    R"( acl=D:(A;;0x1;;;LS)(D;OICI;0x6;;;WD) list=D:(A;;0x1;;;LS)(D;OICI;0x6;;;WD))"
    R"( path=file sswseCopyPermissionsFromParentToChildren.path=. installuser=svc excludelist=none)"
    R"( sswseGetPredefKey.path=MACHINE\Software wFilename=file wtype=0 ptype=6)"
    R"( sswseCheckACLsOnReg.path=MACHINE\Software\Kestel sswseCheckACLsOnReg.ptype=9)";

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

bool isUntouched(const guarded::Buffer& buffer)
{
    return std::all_of(buffer.data(), buffer.data() + buffer.size(), [](char byte) { return byte == '\xCC'; });
}

// What the library has written where a parameter lies: a text with its end in a buffer that it is given for one.
void takeBack(cli::Kind kind, const guarded::Buffer& buffer, std::vector<char>& bytes)
{
    const auto* const wide = reinterpret_cast<const wchar_t*>(buffer.data());
    if (kind == cli::Kind::textOut || kind == cli::Kind::wideOut) {
        if (isUntouched(buffer))
            return;
        EXPECT_TRUE(kind == cli::Kind::wideOut
                        ? wcsnlen(wide, buffer.size() / sizeof *wide) < buffer.size() / sizeof *wide
                        : strnlen(buffer.data(), buffer.size()) < buffer.size());
    }
    memcpy(bytes.data(), buffer.data(), buffer.size());
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

Subject::Subject() : home(usualKeyFile, "checked"), redirection_(home.module(), world), beneath_(home.module())
{
    std::ofstream("file") << "content";
    listedTree = files_.path().wstring();
    beneath_.redirect("FindFirstFileW", reinterpret_cast<void*>(&findFirstFile));
    beneath_.redirect("GetACP", reinterpret_cast<void*>(&ansiCodePage));
    beneath_.redirect("IsDBCSLeadByte", reinterpret_cast<void*>(&isLeadByte));
    beneath_.redirect("MultiByteToWideChar", reinterpret_cast<void*>(&toWide));
    beneath_.redirect("WideCharToMultiByte", reinterpret_cast<void*>(&toMultibyte));
    guard_.emplace(home.module(), world);
    world.load(support::projectFile("tests/faults/node.ini"));
    support::Nodes::addGroup(world.local(), L"KES_h1_SVCSIDS");
    local = remote = world.local();
    remote.name = world.add(L"DB2").name;
    restore();
}

Subject::~Subject()
{
    support::underWay.clear();
    machineCodePage = 0;
}

void Subject::restore()
{
    home.writeKeyFile(usualKeyFile);
    for (const auto& [name, text] : usualValues)
        setValue(name, whatif::registryText(text));
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

void Subject::setTracing(bool on)
{
    EXPORT_OF(home, sswseTraceOff)(nullptr);
    log.take();
    if (on)
        EXPORT_OF(home, sswseTraceOn)(nullptr, &support::TraceLog::receive, &log, 0);
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
    const cli::Host host = {home.module(), &whatif::closeServiceHandle, nullptr, &whatif::openObject,
                            &whatif::closeObject};
    static const std::set<std::string> keeping = {"sswseFillErrMsg", "sswseCheckAccessMask"}; // what is in the record
    const guarded::Buffer record(sizeof(sswseErrRec), keeping.count(call.function->name) ? 0 : 0xCC);
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
            guardedBytes[i] = isBuffer ? std::make_unique<guarded::Buffer>(bytes.size() - 1)
                                       : std::make_unique<guarded::Buffer>(bytes.data(), bytes.size());
            slot = reinterpret_cast<std::uintptr_t>(guardedBytes[i]->data());
        }
        if (kind == cli::Kind::aclInOut && cells[i].word)
            Interception::give(intercept::Kind::localBlock, cells[i].as<void*>());
    }
    answer.status = cli::callWithSlots(host, call.function->name, slots);
    for (size_t i = 0; i < cells.size(); ++i) {
        const cli::Kind kind = call.function->parameters[i].kind;
        if (guardedBytes[i])
            takeBack(kind, *guardedBytes[i], cells[i].bytes);
        if (cells[i].word && (kind == cli::Kind::aclInOut || kind == cli::Kind::serviceOut))
            Interception::take(kind == cli::Kind::aclInOut ? intercept::Kind::localBlock
                                                           : intercept::Kind::serviceHandle,
                               cells[i].as<void*>());
    }
    if (!isUntouched(record)) {
        EXPECT_LT(strnlen(rec->message, sizeof rec->message), sizeof rec->message);
        EXPECT_LT(strnlen(rec->oserror, sizeof rec->oserror), sizeof rec->oserror);
        answer.message = rec->message;
    }
    const bool good = cli::verdictOf(*call.function, answer.status, !answer.message.empty()).good;
    answer.outputs = cli::readOutputs(call, cells, good);
    cli::releaseCells(host, call, cells);
}

Answer Subject::run(const Call& call, const std::string& what)
{
    support::underWay = std::string(call.function->name) + ": " + what;
    SCOPED_TRACE(support::underWay);
    world.local() = local;
    *world.find(L"DB2") = remote;
    world.clearPlan();
    const size_t blocks = guarded::liveBlocks();
    Answer answer;
    guard_->start({});
    callLibrary(call, answer);
    trail = guard_->finish();
    EXPECT_TRUE(support::mayAnswer(*call.function, answer.status)) << answer.status << " " << answer.message;
    if (answer.status >= SSWSE_INVALID_ARGUMENT && !support::statusesOf(*call.function).empty()) {
        EXPECT_TRUE(world.plan().empty());
        EXPECT_TRUE(!answer.message.empty() || answer.status > SSWSE_INVALID_ARGUMENT ||
                    !cli::takesRecord(*call.function));
    }
    EXPECT_THAT(trail.offences, IsEmpty());
    EXPECT_THAT(trail.balance, IsEmpty());
    EXPECT_EQ(guarded::liveBlocks(), blocks);
    guarded::sweep();
    return answer;
}

Functions Subject::readers(const std::set<std::string>& imports, size_t least)
{
    Functions found;
    std::set<std::string> called;
    for (const cli::Function* const function : callableFunctions()) {
        const Answer answer = run(ordinary(*function), "ordinary");
        const cli::Verdict verdict = cli::verdictOf(*function, answer.status, !answer.message.empty());
        EXPECT_TRUE(verdict.good || verdict.meaning == "no") << function->name << " " << answer.message;
        for (const intercept::Trail::Call& each : trail.calls)
            if (imports.count(each.row->name)) {
                called.insert(each.row->name);
                if (found.empty() || found.back() != function)
                    found.push_back(function);
            }
    }
    EXPECT_EQ(called, imports);
    EXPECT_GE(found.size(), least);
    return found;
}

void Subject::runAll(const Functions& functions, const std::string& what)
{
    for (const cli::Function* const function : functions)
        run(ordinary(*function), what);
}

} // namespace hostile
