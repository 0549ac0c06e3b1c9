#include "tests/journal/on_journal.h"

#include "cli/text.h"

#include "whatif/model/kernel_objects.h"
#include "whatif/model/service_handles.h"
#include "whatif/security/object_security.h"
#include "whatif/whatif.h"

#include <fstream>

namespace support {

namespace {

constexpr char node[] = R"([node]
name=NODE
sid=S-1-5-21-1-2-3
domain=CORP
[users]
svc=Never-to-be-seen
old=Never-to-be-seen
[domain accounts]
CORP\old=Never-to-be-seen
CORP\KES_OLD=
[groups]
KES_DBA=administrators
KES_OLD=old ones
KES_h1_SVCSIDS=
KES_h1_DBA=
[members]
KES_DBA=svc, NT SERVICE\KesOld
KES_h1_SVCSIDS=NT SERVICE\KesOld
[service KesOld]
binary path=C:\h1\bin\kestel.exe
dependencies=RpcSs, Tcpip
start=3
sid type=1
security=D:(A;;CCDCLCSWRPWPDTLOCRSDRCWDWO;;;BA)(A;;RPWP;;;SY)
[service KesUser]
binary path=C:\h1\bin\norow.exe
account=.\svc
[security]
file C:\tree=D:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)
file C:\tree\own=O:SYD:(A;;FA;;;BA)
event KesReady=D:P(A;;0x1f0003;;;BA)
[registry SOFTWARE\Kestel\KEY_h1]
KESTEL_HOME_NAME=h1
KESTEL_HOME_TYPE=1
[registry SYSTEM\CurrentControlSet\Services\EventLog\Application\KesOldLog]
EventMessageFile=expand:%SystemRoot%\old.dll
odd=hex(3):01,02
)";

} // namespace

Told run(const std::vector<std::string>& words, const Between& between, const cli::Progress::Show& show)
{
    Told told;
    const cli::Options options = cli::parseOptions(words);
    cli::Session session(
        options, [&](const std::string& text) { told.output += text; }, show);
    if (between)
        between(*session.world());
    told.isGood = !options.verify.empty() ? session.verify()
                  : !options.undo.empty() ? session.undo()
                                          : session.runScript(cli::readScript(options.script));
    session.finish();
    return told;
}

JournalTest::JournalTest()
{
    std::filesystem::create_directories(scratch.path() / "C" / "tree" / "below");
    for (const char* const file : {"C\\tree\\own", "C\\tree\\below\\file"})
        write(file, "");
    std::filesystem::create_directories(scratch.path() / "C" / "h1" / "bin");
    write("C\\h1\\bin\\KESTEL.KEY", "SOFTWARE\\Kestel\\KEY_h1\n");
    write("node", node + std::string("[drives]\nC=") + path("C") + "\n");
}

void JournalTest::write(const std::string& file, const std::string& bytes) const
{
    std::ofstream(scratch.path() / file, std::ios::binary) << bytes;
}

Told JournalTest::play(const std::vector<std::string>& calls, const std::string& from, const std::string& to,
                       const std::string& journal, const Between& between, const cli::Progress::Show& show)
{
    std::string script;
    for (const std::string& call : calls)
        script += call + "\n";
    write("script", script);
    return run({"--node", path(from), "--save", path(to), "--journal", path(journal), "--script", path("script")},
               between, show);
}

Told JournalTest::verify(const std::string& from, const std::string& journal)
{
    return run({"--node", path(from), "--verify", path(journal)});
}

Told JournalTest::undo(const std::string& from, const std::string& to, const std::string& journal,
                       const std::string& redo, const Between& between)
{
    return run({"--node", path(from), "--save", path(to), "--undo", path(journal), "--journal", path(redo)}, between);
}

// A node as a text: its description, but what the next account is numbered and how its objects are secured, which is
// added for all `objects`: one that nobody has described has what it inherits.
std::string JournalTest::described(whatif::World& world, const std::set<std::wstring>& objects) const
{
    for (whatif::Group& group : world.local().groups)
        std::sort(group.members.begin(), group.members.end());
    std::sort(world.local().services.begin(), world.local().services.end(),
              [](const auto& a, const auto& b) { return a.name < b.name; });
    for (whatif::Service& service : world.local().services)
        if (service.security.empty()) // as it is when it has been asked for
            service.security = whatif::defaultServiceSecurity;
    auto& rights = world.local().rights; // one that nobody has any more is as one that nobody ever had
    for (auto right = rights.begin(); right != rights.end();)
        right = right->second.empty() ? rights.erase(right) : std::next(right);
    const auto security = std::exchange(world.local().security, {});
    world.save(scratch.path() / "saved");
    world.local().security = security;
    const std::string saved = contents("saved");
    std::string text = saved.substr(0, saved.find("next rid")) + saved.substr(saved.find("product="));
    for (const std::wstring& name : objects) {
        whatif::Object object;
        whatif::Security found;
        if (const auto kernel = whatif::kernelNameOf(name)) { // that of a token has a default
            object = {&world.local(), name, L"", false, &whatif::fileRights};
            if (!readSecurity(nullptr, {kernel->kind, object, 0}, found))
                text += cli::utf8FromWide(name + L"=" + textOf(found)) + '\n';
            continue;
        }
        const bool isKey = name.find(L"registry HKLM") == 0;
        const std::wstring path = name.substr(isKey ? wcslen(L"registry HKLM") : wcslen(L"file C:"));
        const DWORD error =
            isKey ? keyObject(world, L"MACHINE" + path, object) : fileObject(world, L"\\\\NODE\\C$" + path, object);
        if (!error && !readSecurity(object, found))
            text += cli::utf8FromWide(name + L"=" + textOf(found)) + '\n';
    }
    return text;
}

void JournalTest::expectSame(const std::string& one, const std::string& other) const
{
    whatif::World worlds[] = {whatif::World(whatif::Base::described), whatif::World(whatif::Base::described)};
    std::set<std::wstring> objects;
    for (size_t i = 0; i < 2; ++i) {
        worlds[i].load(scratch.path() / (i ? other : one));
        for (const auto& [name, text] : worlds[i].local().security.all())
            objects.insert(name);
        objects.insert(whatif::tokenOfThisProcess);
    }
    EXPECT_EQ(described(worlds[0], objects), described(worlds[1], objects));
}

} // namespace support
