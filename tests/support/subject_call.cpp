// Calls as lines, what they are given and fill, and what they have left.
#include "tests/support/subject.h"

#include "cli/cells.h"
#include "cli/script.h"
#include "cli/text.h"
#include "cli/values.h"
#include "tests/support/guarded_heap.h"
#include "tests/support/this_machine.h"

#include <gmock/gmock.h>

#include <memory>

using testing::IsEmpty;

namespace support {

namespace {

using cli::Kind;
using intercept::Interception;
using intercept::rawOf;

void __cdecl ignoreLine(void*, const char*, ...) {}

constexpr char password[] = "Never-to-be-seen-4711";

// What a call is given where its line does not say, by the names of the parameters; for some functions another value.
constexpr char ordinaryValues[] =
    R"(messageId=0xC002000A username=svc sswseCreateKestelSVCUser.username=newsvc uname=svc usernames=svc)"
    R"( cUser=NODE\svc accname="LOCAL SERVICE" sswseGetBuiltinAccName.accname=LOCAL_SERVICE passwd=**** password=****)"
    R"( groupname=KES_h1_DBA sswseGetKHomeNameFromVAGroupName.groupname=KES_h1_SVCACCTS homename=h1)"
    R"( khtype=1 khometype=1 khomekey=KEY_h1 khomepath=HOME ckhpath=HOME SVCAppKey=Kestel EventMsgFile=m.dll)"
    R"( servicename=KesOld svcname=KesOld sswseCreateService.servicename=KesDB displayname="Kestel database")"
    R"( starttype=3 loadordergroup=group binpath="C:\h1\bin\kestel.exe h1" dependencies=Tcpip)"
    R"( OSSid=S-1-5-19 pszTrustee=S-1-5-19 sid=S-1-5-19 dwAccessRights=1 mask=1)"
    R"( object="event Ready" token="process 17" accessmask=2)"
    R"( acl=D:(A;;0x1;;;LS)(D;OICI;0x6;;;WD) list=D:(A;;0x1;;;LS)(D;OICI;0x6;;;WD))"
    R"( path=file sswseCopyPermissionsFromParentToChildren.path=. installuser=svc excludelist=none)"
    R"( sswseGetPredefKey.path=MACHINE\Software wFilename=file wtype=0 ptype=6)"
    R"( sswseCheckACLsOnReg.path=MACHINE\Software\Kestel sswseCheckACLsOnReg.ptype=9)";

// "parameter=value", or nothing.
Lines ordinaryValue(const std::string& function, const std::string& parameter)
{
    static const Lines all = cli::splitWords(ordinaryValues);
    for (const std::string& name : {function + '.' + parameter, parameter})
        for (const std::string& word : all)
            if (word.compare(0, name.size() + 1, name + '=') == 0)
                return {parameter + word.substr(name.size())};
    return {};
}

// ---- what a call is given and fills ---------------------------------------------------------------------------------

using Place = std::unique_ptr<guarded::Buffer>;

bool isUntouched(const guarded::Buffer& buffer)
{
    return std::all_of(buffer.data(), buffer.data() + buffer.size(), [](char byte) { return byte == '\xCC'; });
}

bool isInOut(Kind kind)
{
    return kind == Kind::aclInOut || kind == Kind::numberInOut;
}

// NULL where the argument is no address, or where what lies there is not written by the function.
Place placeFor(Kind kind, const cli::Cell& cell, uintptr_t slot)
{
    if (kind == Kind::sid && cell.word)
        return std::make_unique<guarded::Buffer>(cell.as<PSID>(), GetLengthSid(cell.as<PSID>()));
    if (kind == Kind::textOut || kind == Kind::wideOut) // with a byte more
        return std::make_unique<guarded::Buffer>(cell.bytes.size() - 1);
    if (!cell.bytes.empty() && slot == rawOf(cell.bytes.data()))
        return std::make_unique<guarded::Buffer>(cell.bytes.data(), cell.bytes.size());
    if (slot != rawOf(&cell.word))
        return nullptr;
    const bool isNumber = kind == Kind::numberOut || kind == Kind::numberInOut || kind == Kind::count;
    const size_t size = isNumber ? sizeof(DWORD) : sizeof(void*);
    return isInOut(kind) ? std::make_unique<guarded::Buffer>(&cell.word, size)
                         : std::make_unique<guarded::Buffer>(size);
}

// What the library has written: a text with its end in a buffer that it is given for one.
void takeBack(Kind kind, const guarded::Buffer& place, cli::Cell& cell)
{
    if (kind == Kind::sid || isUntouched(place))
        return;
    const auto* const wide = reinterpret_cast<const wchar_t*>(place.data());
    const size_t room = kind == Kind::wideOut ? place.size() / sizeof *wide : place.size();
    const bool isText = kind == Kind::textOut || kind == Kind::wideOut;
    EXPECT_TRUE(!isText || (kind == Kind::wideOut ? wcsnlen(wide, room) : strnlen(place.data(), room)) < room);
    if (isInOut(kind) || cell.bytes.empty())
        memcpy(&(cell.word = 0), place.data(), place.size());
    else
        memcpy(cell.bytes.data(), place.data(), place.size());
}

// ---- what it has said -----------------------------------------------------------------------------------------------

// The ends of the password, so that no half of it is left either.
const std::vector<std::string> passwordEnds = {std::string(password, 8), password + sizeof password - 9};

bool tells(const std::string& text)
{
    return std::any_of(passwordEnds.begin(), passwordEnds.end(),
                       [&](const std::string& half) { return text.find(half) != std::string::npos; });
}

// Three functions trace it in their argument line; the services' functions trace "****".
bool isPasswordDue(const std::string& line)
{
    return line.rfind("Username = ", 0) == 0 || line.rfind("username = ", 0) == 0 || line.rfind("password = ", 0) == 0;
}

// The number in "... (OS 5) ...".
std::string errorIn(const std::string& message)
{
    constexpr char before[] = "(OS ";
    const size_t at = message.find(before);
    return at == std::string::npos ? "" : std::to_string(strtoul(message.c_str() + at + strlen(before), nullptr, 10));
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

std::string statusesOf(const cli::Function& function)
{
    static const struct
    {
        const char* functions; // between blanks
        const char* statuses;
    } special[] = {
        {" sswseIsOSVistaOrAbove sswseIsOSWin7OrAbove sswseIsOSWin8OrAbove sswseIsOSWinDC sswseCheckAccessMask ",
         "013"},
        {" sswseIsKhomeTypeValid ", "014"},
        {" sswseGetPredefKey ", "24"},
        {" sswseCreateKestelSVCUser ", "2349"},
        {" sswseCheckUserPrivileges ", "01345"},
        {" sswseGetKestelHomeType sswseGetKestelHomeTypeForKHPath sswseGetKestelHomeName sswseSetUnameForKhome "
         "sswseGetUnameForKhomePath sswseAddFullPermForSVCSIDSGroup sswseDeleteSVCSidsFromKESHomeGroups "
         "sswseMigrateDBServiceSidsForUpgrade sswseMigrateDBServiceSidsForDowngrade ",
         "2346"},
        {" sswseIsSVCUserMSA sswseIsSVCUserPasswordRequired sswseIsSvcUserVirtualAccount ", "01346"},
        {" sswseSetKestelHomeType sswseCreateService sswseUpdateService ", "23456"},
    };
    for (const auto& row : special)
        if (std::string(row.functions).find(" " + std::string(function.name) + " ") != std::string::npos)
            return row.statuses;
    switch (function.result) {
    case cli::Result::status:
        return "234";
    case cli::Result::predicate:
        return "0134";
    case cli::Result::silentNo:
        return "134";
    case cli::Result::switching:
        return "01";
    case cli::Result::legacy:
        return "01234";
    default:
        return "";
    }
}

SubjectCall Subject::call(const std::string& line) const
{
    const std::vector<std::string> words = cli::splitWords(line);
    const cli::Function& function = *cli::findFunction(words.front());
    std::vector<std::string> all = {function.name};
    std::set<size_t> nulls;
    for (size_t i = 0; i < function.parameters.size(); ++i) {
        const cli::Parameter& parameter = function.parameters[i];
        const std::string name = parameter.name;
        const auto isOf = [&name](const std::string& word) {
            return word == '-' + name || word.substr(0, word.find_first_of("=.")) == name;
        };
        std::vector<std::string> given;
        std::copy_if(words.begin() + 1, words.end(), std::back_inserter(given), isOf);
        if (given.empty() && cli::takesArgument(parameter))
            given = ordinaryValue(function.name, name);
        if (given.empty() || given.front() != '-' + name)
            all.insert(all.end(), given.begin(), given.end());
        else
            nulls.insert(i);
    }
    for (std::string& word : all)
        word =
            replaced(replaced(replaced(word, "HOME", home.path()), "FILES", files_.path().string()), "****", password);
    return {cli::parseCall(all), nulls};
}

std::string Subject::withoutPlaces(std::string text, bool isCall) const
{
    text = replaced(replaced(text, home.path(), "HOME"), files_.path().string(), "FILES");
    return isCall ? replaced(text, '"' + std::string(password) + '"', "****") : text;
}

std::string Subject::callLibrary(const SubjectCall& call, Answer& answer)
{
    const cli::Host host = {home.module(), &whatif::closeServiceHandle, nullptr, &whatif::openObject,
                            &whatif::closeObject};
    static const std::set<std::string> keeping = {"sswseFillErrMsg", "sswseCheckAccessMask"}; // what is in the record
    const std::vector<cli::Parameter>& parameters = call.function->parameters;
    const guarded::Buffer record(sizeof(sswseErrRec), keeping.count(call.function->name) ? 0 : 0xCC);
    auto* const rec = reinterpret_cast<sswseErrRec*>(record.data());
    cli::Slots slots = {rawOf(rec)};
    std::vector<cli::Cell> cells = cli::prepareCells(host, call, slots);
    const size_t first = cli::takesRecord(*call.function) ? 1 : 0;
    std::vector<Place> places(cells.size());
    for (size_t i = 0; i < cells.size(); ++i) {
        const Kind kind = parameters[i].kind;
        uintptr_t& slot = slots[first + i];
        if (!call.nulls.count(i))
            places[i] = placeFor(kind, cells[i], slot);
        if (kind == Kind::traceLine)
            slot = rawOf(&ignoreLine);
        if (call.nulls.count(i) || places[i])
            slot = places[i] ? rawOf(places[i]->data()) : 0;
        if (kind == Kind::traceContext && !call.nulls.count(i))
            slot = rawOf(rec);
        if (places[i] && kind == Kind::aclInOut && cells[i].word)
            Interception::give("LocalAlloc", cells[i].as<void*>());
        if ((kind == Kind::object || kind == Kind::token) && cells[i].word)
            Interception::lend(cells[i].as<void*>(), cli::objectName(parameters[i], call.values[i].texts.front()));
    }
    answer.status = cli::callWithSlots(host, call.function->name, slots);
    if (call.function->result == cli::Result::nothing)
        answer.status = 0;
    std::vector<const char*> kept; // as they were given
    for (size_t i = 0; i < cells.size(); ++i) {
        const Kind kind = parameters[i].kind;
        const uintptr_t before = cells[i].word;
        if (places[i])
            takeBack(kind, *places[i], cells[i]);
        if (isInOut(kind) && cells[i].word == before)
            kept.push_back(parameters[i].name);
        if (places[i] && cells[i].word && (kind == Kind::aclInOut || kind == Kind::serviceOut))
            Interception::take(kind == Kind::aclInOut ? "LocalAlloc" : "service", cells[i].as<void*>());
    }
    if (!isUntouched(record)) {
        EXPECT_LT(strnlen(rec->message, sizeof rec->message), sizeof rec->message);
        EXPECT_LT(strnlen(rec->oserror, sizeof rec->oserror), sizeof rec->oserror);
        answer.message = rec->message;
        answer.osError = rec->oserror;
    }
    answer.outputs = cli::readOutputs(call, cells, true);
    for (const char* const name : kept)
        answer.outputs.erase(name);
    cli::releaseCells(host, call, cells);
    const std::string leaked = guarded::leakedSecrets().empty() ? "" : "released memory ";
    return leaked + (tells({record.data(), record.size()}) ? "record " : "");
}

Answer Subject::run(const SubjectCall& call, const std::string& what, const intercept::Fault& fault, bool inWords)
{
    const cli::Function& function = *call.function;
    underWay = std::string(function.name) + ' ' + what;
    SCOPED_TRACE(underWay);
    world_->local() = local;
    *world_->find(L"DB2") = remote;
    world_->clearPlan();
    guarded::watchFor(secretsOf(call).empty() ? Lines() : passwordEnds);
    guarded::leakedSecrets();
    const size_t blocks = guarded::liveBlocks();
    const size_t traced = log.lines.size();
    Answer answer;
    guard_->start(fault, inWords);
    std::string leaked = callLibrary(call, answer);
    answer.trail = guard_->finish();
    answer.plan = planOf(*world_);
    const bool hasRecord = cli::takesRecord(function);
    for (size_t i = traced; i < log.lines.size(); ++i) {
        const std::string& line = log.lines[i];
        if (tells(line) && !isPasswordDue(line))
            leaked += "trace " + line;
        if (!hasRecord && answer.message.empty() && (line[0] == '\n' || line.find("alloc") != std::string::npos))
            answer.message = line.substr(line[0] == '\n');
    }
    if (!hasRecord)
        answer.osError = errorIn(answer.message);
    EXPECT_TRUE(mayAnswer(function, answer.status)) << answer.status << " " << answer.message;
    if (answer.status >= SSWSE_INVALID_ARGUMENT && !statusesOf(function).empty()) {
        EXPECT_THAT(answer.plan, IsEmpty());
        EXPECT_TRUE(!answer.message.empty() || answer.status > SSWSE_INVALID_ARGUMENT || !hasRecord);
    }
    EXPECT_FALSE(tells(answer.outputs.dump()) || std::any_of(answer.plan.begin(), answer.plan.end(), tells));
    EXPECT_EQ(leaked, "");
    EXPECT_THAT(answer.trail.offences, IsEmpty());
    EXPECT_THAT(answer.trail.balance, IsEmpty());
    EXPECT_EQ(guarded::liveBlocks(), blocks);
    guarded::sweep();
    return answer;
}

} // namespace support
