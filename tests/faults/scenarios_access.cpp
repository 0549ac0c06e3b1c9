// Access control on objects.
#include "tests/faults/driver.h"

#include <accctrl.h>

namespace faults {

namespace {

char svc[] = "svc";
char* users[] = {svc};

constexpr char homeKey[] = "MACHINE\\Software\\Kestel\\KEY_h1";
constexpr char remoteHomeKey[] = "\\\\DB2\\MACHINE\\Software\\Kestel\\KEY_h1";
constexpr char remoteDirectory[] = "\\\\DB2\\E$\\sub";

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
        {CALL(sswseAddAceToACL, s.sid(L"S-1-5-32-544"), TRUSTEE_IS_GROUP, FILE_ALL_ACCESS, GRANT_ACCESS, 0, s.acl()),
         "a second entry", 2},
        {CALL(sswseGetPredefKey, L"\\\\DB2\\MACHINE\\Software", s.value<HKEY>(), s.value<wchar_t*>(),
              s.text<wchar_t>(6)),
         "of a node", 2},
        {"sswseCheckAccessMask", checkMask, "yes", 1},
        {CALL(setPermissions, s.file("\\file"), 0, s.strings(), s.count<DWORD>()), "a file", 0},
        {CALL(setPermissions, s.file(), 0, s.strings(), s.count<DWORD>()), "a tree", 0},
        {CALL(setPermissions2, s.file(), 1, s.strings(), s.count<DWORD>()), "a tree for administrators", 0},
    };
}

} // namespace faults
