// Access control on objects.
#include "tests/faults/driver.h"
#include "tests/support/node_test.h"

#include <accctrl.h>

namespace faults {

namespace {

char svc[] = "svc";
char* users[] = {svc};
char service[] = "NT SERVICE\\KesOld";
char* accounts[] = {svc, service};

char localSystem[] = "localsystem";
char ownSvc[] = ".\\svc";
char authenticatedUsers[] = "S-1-5-11";
char* spellings[] = {localSystem, ownSvc, authenticatedUsers};
char* readers[] = {authenticatedUsers, svc};

char none[] = "none";
char below[] = "SUB/file";
char* excluded[] = {none, below};

constexpr char homeKey[] = "MACHINE\\Software\\Kestel\\KEY_h1";
constexpr char remoteHomeKey[] = "\\\\DB2\\MACHINE\\Software\\Kestel\\KEY_h1";
constexpr char remoteDirectory[] = "\\\\DB2\\E$\\sub";

// Authenticated users may read every object; each has an entry of its own as well.
void allowReaders(Stage& s)
{
    constexpr wchar_t all[] = L"D:PAI(A;;GA;;;BA)(A;OICI;GR;;;AU)";
    int mask = 1;
    for (const char* const name : {"", "\\file", "\\sub", "\\sub\\file"}) {
        const std::string path = s.file(name);
        s.local().security[L"file " + std::wstring(path.begin(), path.end())] =
            all + std::wstring(L"(A;;0x") + std::to_wstring(mask++) + L";;;SY)";
    }
    s.local().security[L"registry HKLM\\SOFTWARE"] = L"D:P(A;OICI;KA;;;AU)";
    s.local().security[L"registry HKLM\\SOFTWARE\\Kestel\\KEY_h1"] = L"D:AI(A;;KR;;;AU)(A;CIID;KA;;;AU)";
}

void allowOnVlfs(Stage& s)
{
    allowReaders(s);
    s.putOnVlfs();
}

void describeFile(Stage& s, const wchar_t* sddl)
{
    const std::string path = s.file("\\file");
    s.local().security[L"file " + std::wstring(path.begin(), path.end())] = sddl;
}

void closeFile(Stage& s)
{
    describeFile(s, L"O:SYD:P");
}

void sealFile(Stage& s)
{
    describeFile(s, L"O:SYD:P(A;;FR;;;BA)");
}

void makeGroup(Stage& s)
{
    support::Nodes::addGroup(s.local(), L"KES_h1_SVCSIDS");
    support::Nodes::addGroup(s.remote(), L"KES_h1_SVCSIDS");
}

// All that a check can ask for, but something for the service.
void give(Stage& s)
{
    s.secure(L"O:BAG:SYD:P(A;OICI;GA;;;BA)(A;OICI;GA;;;SY)(A;OICI;GA;;;S-1-5-21-1-2-3-2001)(A;OICI;0x20039;;;WD)");
}

void giveOnVlfs(Stage& s)
{
    give(s);
    s.local().security[L"file C:\\"] = L"D:P(A;;GA;;;BA)(A;;GA;;;SY)(A;;GA;;;S-1-5-21-1-2-3-2001)"; // the volume
    s.putOnVlfs();
}

// Less than that.
void giveLittle(Stage& s)
{
    s.secure(L"O:BAG:SYD:P(A;OICI;GA;;;BA)(A;OICI;GR;;;WD)");
}

DWORD checkMask(Stage& s)
{
    const PSID sid = s.sid(L"S-1-5-32-544");
    ACCESS_ALLOWED_ACE ace = {{ACCESS_ALLOWED_ACE_TYPE, 0, sizeof ace}, FILE_ALL_ACCESS, 0};
    AceListNode other = {&ace, s.sid(L"S-1-5-18"), nullptr};
    AceListNode list = {&ace, sid, &other};
    return EXPORT_OF(s.library(), sswseCheckAccessMask)(s.rec(), nullptr, &list, sid, FILE_GENERIC_READ);
}

} // namespace

std::vector<Scenario> accessScenarios()
{
    return {
        {CALL(sswseAddACLOnObjectForUser, 0, s.file("\\file"), users, 1, 6, 0), "a file", 2},
        {CALL(sswseAddACLOnObjectForUser, 1, s.file(), users, 1, 1, 1), "a tree", 2},
        {CALL(sswseAddACLOnObjectForUser, 1, remoteDirectory, users, 1, 0, 0), "a directory of a node", 2},
        {CALL(sswseAddACLOnObjectForUser, 1, s.file("\\sub"), users, 1, 6, 0), "a mount point", 2, &Stage::putOnVlfs},
        {CALL(sswseAddACLOnObjectForUser, 2, homeKey, users, 1, 9, 0), "a key", 2},
        {CALL(sswseAddACLOnObjectForUser, 2, remoteHomeKey, users, 1, 9, 0), "a key of a node", 2},
        {CALL(sswseAddACLOnObjectForUser, 3, s.file(), nullptr, 0, 7, 0), "for groups", 2},
        {CALL(sswseSetACLOnObjectForUser, 1, s.file(), users, 1, 0, 1), "a tree", 2},
        {CALL(sswseSetACLOnObjectForUser, 1, s.file(), users, 1, 0, 1), "a tree with a file out of reach", 2,
         &closeFile, true},
        {CALL(sswseSetACLOnObjectForUser, 2, remoteHomeKey, spellings, 3, 9, 0), "a key of a node", 2},
        {CALL(sswseAddACLOnObjectForUser2, 1, s.file(), users, 1, 1, 1, "svc", excluded, 2), "all but some of a tree",
         2},
        {CALL(sswseSetACLOnObjectForUser2, 1, s.file("\\sub"), nullptr, 0, 10, 1, ".\\svc", excluded, 2),
         "a mount point", 2, &Stage::putOnVlfs},
        {CALL(sswseRevokeACLOnObjectForUser, 1, s.file(), readers, 2, 1), "a tree", 2, allowReaders},
        {CALL(sswseRevokeACLOnObjectForUser, 0, s.file("\\file"), readers, 1, 0), "a mount point", 2, allowOnVlfs},
        {CALL(sswseRevokeACLOnObjectForUser, 2, homeKey, readers, 2, 0), "a key", 2, allowReaders},
        {CALL(sswseAddFullPermForSVCSIDSGroup, 1, s.file(), 1), "a tree", 2, makeGroup},
        {CALL(sswseAddFullPermForSVCSIDSGroup, 2, remoteHomeKey, 0), "a key of a node", 2, makeGroup},
        {CALL(sswseCopyPermissionsFromParentToChildren, s.file()), "a tree", 2, allowReaders},
        {CALL(sswseCheckACLOnObjectForUser, 0, s.file("\\file"), users, 1, 10, 0), "a file", 0, &giveLittle},
        {CALL(sswseCheckACLOnObjectForUser, 1, s.file(), users, 1, 1, 1), "a tree", 1, &give},
        {CALL(sswseCheckACLOnObjectForUser, 1, s.file("\\sub"), users, 1, 6, 0), "a mount point", 1, &giveOnVlfs},
        {CALL(sswseCheckACLOnObjectForUser, 2, homeKey, users, 1, 9, 0), "a key", 1, &give},
        {CALL(sswseCheckACLsOnReg, homeKey, users, 1, 9, nullptr, nullptr), "keys", 1, &give},
        {CALL(sswseCheckACLsOnReg, remoteHomeKey, users, 1, 9, s.strings(), s.count<int>()), "keys of a node", 0,
         &giveLittle},
        {CALL(sswseCheckACLsOnObject, 1, s.file(), accounts, 2, FILE_ALL_ACCESS, 1, s.strings(), s.count<int>()),
         "a tree", 0, &give},
        {CALL(sswseCheckACLsOnObject, 2, homeKey, users, 1, KEY_ALL_ACCESS, 1, nullptr, nullptr), "keys", 1, &give},
        {CALL(sswseAddAceToACL, s.sid(L"S-1-5-32-544"), TRUSTEE_IS_GROUP, FILE_ALL_ACCESS, GRANT_ACCESS, 0, s.acl()),
         "a second entry", 2},
        {CALL(sswseAddACEOnKernelObjectForUserOrGroup, s.object(L"event Ready"), ".\\svc", EVENT_MODIFY_STATE),
         "an event", 2},
        {CALL(sswseAddACEOnKernelObjectForUserOrGroup, s.object(L"process 17"), "NODE\\LocalSystem", SYNCHRONIZE),
         "a process, for LocalSystem", 2},
        {CALL(sswseAddACEOnDefaultDACLForSvcUser, s.object(L"token of process 17"), "CORP\\svc", GENERIC_READ),
         "another process", 2},
        {CALL(sswseAddACEOnDefaultDACLForSvcUser, nullptr, nullptr, GENERIC_READ), "this process, for its home's user",
         2},
        {CALL(sswseGetPredefKey, L"\\\\DB2\\MACHINE\\Software", s.value<HKEY>(), s.value<wchar_t*>(),
              s.text<wchar_t>(6)),
         "of a node", 2},
        {"sswseCheckAccessMask", checkMask, "yes", 1},
        {CALL(setPermissions, s.file("\\file"), 0, s.strings(), s.count<DWORD>()), "a file", 0},
        {CALL(setPermissions, s.file(), 0, s.strings(), s.count<DWORD>()), "a tree", 0},
        {CALL(setPermissions, s.file(), 0, s.strings(), s.count<DWORD>()), "a tree with a file out of reach", 3,
         &closeFile, true},
        {CALL(setPermissions2, s.file(), 1, s.strings(), s.count<DWORD>()), "a tree with a file that cannot be written",
         3, &sealFile, true},
        {CALL(setPermissions2, s.file(), 1, s.strings(), s.count<DWORD>()), "a tree for administrators", 0},
    };
}

} // namespace faults
